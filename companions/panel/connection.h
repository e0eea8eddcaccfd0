// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/panel.h"
#include "platform/product/transferpace.h"

// (Asio of Boost 1.74 uses std::exchange without including it.)
#include <utility>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>

#include <atomic>
#include <map>
#include <memory>

/// What connections share. On the server's thread.
struct ConnectionContext
{
    ConnectionContext(Panel &whole, boost::asio::ssl::context *certificate) : panel(whole), tls(certificate)
    {}

    Panel &panel;
    boost::asio::ssl::context *tls; ///< null: plain
    int open = 0;
    std::map<QString, int> ofPeer;
    /// Those that have not asked for anything yet, oldest first: what closes them. They make room for others.
    std::map<quint64, std::function<void()>> silent;
    quint64 count = 0;
    std::function<void(std::function<void()>)> post;
    std::atomic<bool> isEnding = false;
    TransferPace pace{QmxEnvironment::current(), [this] {
                          const auto state = panel.watch.state();
                          return state->running && state->status != QLatin1String("stopped") && !isEnding;
                      }};
    QmxTaskThread files{QStringLiteral("panel-file")}; ///< last: what runs on it uses the others
};

/// Serves one client from its first byte to its last; keeps itself alive.
void startConnection(const std::shared_ptr<ConnectionContext> &context, boost::asio::ip::tcp::socket socket);

/// Counts a connection for as long as it lives.
class ConnectionCount
{
public:
    ConnectionCount(std::shared_ptr<ConnectionContext> context, QString peer);
    ~ConnectionCount();
    ConnectionCount(const ConnectionCount &) = delete;
    ConnectionCount &operator=(const ConnectionCount &) = delete;
    /// There are too many, in all or of this peer.
    bool isOneTooMany() const;

private:
    std::shared_ptr<ConnectionContext> _context;
    const QString _peer;
};
