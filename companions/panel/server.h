// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/panel.h"

#include <chrono>
#include <functional>
#include <memory>

/// The HTTP server: one thread ("panel-io") for all connections; whatever waits is done by others and comes
/// back to it as a value.
///
/// A client costs others nothing: every connection has bounds (header, body, time to the first byte, time to
/// send, what waits to be sent), a peer and all together have a most of connections. What is beyond is
/// answered or closed.
class Server
{
public:
    Server();
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    /// What runs a function on the server's thread; once close() was called, it does nothing. Any thread.
    std::function<void(std::function<void()>)> poster() const;
    /// Begins to listen; empty, or an error sentence. Before run().
    QString listen(Panel &panel);
    /// The port that is listened on.
    quint16 port() const;
    /// Serves until stop(). On its own thread.
    void run();
    /// Ends run(). Any thread.
    void stop();
    /// Ends all connections, after run() has returned and before what they use goes.
    void close();

    struct Private;

private:
    std::shared_ptr<Private> d;
};

/// Bounds of a connection.
namespace Limit {
constexpr size_t header = 16 * 1024;
constexpr size_t body = 1024 * 1024;
constexpr size_t webSocketMessage = 64 * 1024;
constexpr int connections = 600;
constexpr int connectionsOfAPeer = 200;
/// From the connection, or the last answer's first byte, to a whole request.
constexpr std::chrono::seconds requestWithin{10};
constexpr std::chrono::seconds idleFor{60};    ///< between requests
constexpr std::chrono::seconds sendWithin{20}; ///< that a piece of an answer may take
constexpr std::chrono::seconds lingerFor{2};   ///< that a client which still sends has to see the last answer
constexpr size_t waitingEvents = 512;          ///< that a client of events may be behind
constexpr size_t waitingBytes = 4 * 1024 * 1024;
constexpr size_t unacknowledgedPictures = 2; ///< on their way to a client that acknowledges them
constexpr int unsentBytes =
    128 * 1024; ///< that the kernel keeps of a client's answers: more would get old there
} // namespace Limit
