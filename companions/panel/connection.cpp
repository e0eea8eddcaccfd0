// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/connection.h"

#include "companions/panel/httpconnection.h"

#include <boost/beast/ssl/ssl_stream.hpp>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace beast = boost::beast;

ConnectionCount::ConnectionCount(std::shared_ptr<ConnectionContext> context, QString peer)
    : _context(std::move(context)), _peer(std::move(peer))
{
    ++_context->open;
    ++_context->ofPeer[_peer];
}

ConnectionCount::~ConnectionCount()
{
    --_context->open;
    if (const auto known = _context->ofPeer.find(_peer); --known->second == 0) _context->ofPeer.erase(known);
}

bool ConnectionCount::isOneTooMany() const
{
    return _context->open > Limit::connections || _context->ofPeer.at(_peer) > Limit::connectionsOfAPeer;
}

void startConnection(const std::shared_ptr<ConnectionContext> &context, boost::asio::ip::tcp::socket socket)
{
    boost::system::error_code error;
    const auto peer = socket.remote_endpoint(error);
    if (error) return; // gone already
    const QString address = QString::fromStdString(peer.address().to_string());
    auto count = std::make_shared<ConnectionCount>(context, address);
    if (count->isOneTooMany()) {
        // Who connects and says nothing makes room; when all are at work, the new one is closed.
        if (context->silent.empty()) return;
        const auto oldest = context->silent.begin();
        const auto end = std::move(oldest->second);
        context->silent.erase(oldest);
        end();
    }
    socket.set_option(boost::asio::ip::tcp::no_delay(true), error);
    // (Without it more waits in the kernel; the pages that acknowledge their pictures are bounded all the
    // same.)
    setsockopt(socket.native_handle(), IPPROTO_TCP, TCP_NOTSENT_LOWAT, &Limit::unsentBytes,
               sizeof Limit::unsentBytes);
    if (context->tls) {
        std::make_shared<HttpConnection<beast::ssl_stream<beast::tcp_stream>>>(
            context, count, address,
            beast::ssl_stream<beast::tcp_stream>(beast::tcp_stream(std::move(socket)), *context->tls))
            ->start();
    } else {
        std::make_shared<HttpConnection<beast::tcp_stream>>(context, count, address,
                                                            beast::tcp_stream(std::move(socket)))
            ->start();
    }
}
