// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/connection.h"
#include "companions/panel/passedon.h"

#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

/// Passes a request on to another panel, and what comes back to the client: an answer, a file, events or a
/// WebSocket, byte by byte until one of them closes. What does not answer, or does not prove to be of the
/// fleet, is an error of its own for the client. `proof`: that this one is of the fleet, for another machine
/// that has asked it. Keeps itself alive; on the server's thread.
template <typename Stream>
void startTunnel(std::shared_ptr<ConnectionContext> context, std::shared_ptr<ConnectionCount> count,
                 Stream stream, boost::beast::http::request<boost::beast::http::string_body> request,
                 const PassedOn &to, const QByteArray &proof);

extern template void startTunnel(std::shared_ptr<ConnectionContext>, std::shared_ptr<ConnectionCount>,
                                 boost::beast::tcp_stream,
                                 boost::beast::http::request<boost::beast::http::string_body>,
                                 const PassedOn &, const QByteArray &);
extern template void startTunnel(std::shared_ptr<ConnectionContext>, std::shared_ptr<ConnectionCount>,
                                 boost::beast::ssl_stream<boost::beast::tcp_stream>,
                                 boost::beast::http::request<boost::beast::http::string_body>,
                                 const PassedOn &, const QByteArray &);
