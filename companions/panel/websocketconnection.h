// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/connection.h"

#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>

/// Goes on with a connection as a WebSocket of events or of pictures; keeps itself alive. On the server's
/// thread.
template <typename Stream>
void startWebSocket(std::shared_ptr<ConnectionContext> context, std::shared_ptr<ConnectionCount> count,
                    Stream stream,
                    const boost::beast::http::request<boost::beast::http::string_body> &request,
                    const HttpCall &call, bool isPictures);

extern template void startWebSocket(std::shared_ptr<ConnectionContext>, std::shared_ptr<ConnectionCount>,
                                    boost::beast::tcp_stream,
                                    const boost::beast::http::request<boost::beast::http::string_body> &,
                                    const HttpCall &, bool);
extern template void startWebSocket(std::shared_ptr<ConnectionContext>, std::shared_ptr<ConnectionCount>,
                                    boost::beast::ssl_stream<boost::beast::tcp_stream>,
                                    const boost::beast::http::request<boost::beast::http::string_body> &,
                                    const HttpCall &, bool);
