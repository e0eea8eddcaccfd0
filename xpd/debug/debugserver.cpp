// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/debug/debugserver.h"

#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxverify.h"
#include "xpd/debug/debugserverconn.h"

#include <QSocketNotifier>
#include <QTimerEvent>

#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr const char *logSource = "debugserver";

// Line numbers in the log name the message and stay when the source moves.
enum LogLine : int {
    AlreadyRunning = 87,
    SocketFailed = 92,
    BindFailed = 105,
    ListenFailed = 112,
    ListenConnectFailed = 118,
    AcceptFailed = 130,
    ConnConnectFailed = 134,
    UnknownConnection = 142
};

constexpr int backlog = 5;
constexpr int reapInterval = 1000; // ms
constexpr int readSize = 4096;     // bytes
constexpr qsizetype longestLine = 16 << 20;

void logErrno(int line, const char *format)
{
    qmxLogOutput(QmxLogLevel::Error, logSource, line, format, std::strerror(errno));
}

} // namespace

DebugServer::DebugServer(QObject *) {}

DebugServer::~DebugServer()
{
    stop();
}

bool DebugServer::start(qint16 port)
{
    if (_listenFd >= 0) {
        qmxLogOutput(QmxLogLevel::Error, logSource, AlreadyRunning, "Server already running\n");
        return false;
    }
    _listenFd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (_listenFd < 0) {
        logErrno(SocketFailed, "Failed to create listen socket: %s\n");
        return false;
    }
    const int on = 1;
    ::setsockopt(_listenFd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);

    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    address.sin_port = htons(static_cast<quint16>(port));
    if (::bind(_listenFd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        logErrno(BindFailed, "Failed to bind: %s\n");
        stop();
        return false;
    }
    if (::listen(_listenFd, backlog) != 0) {
        logErrno(ListenFailed, "Failed to listen: %s\n");
        stop();
        return false;
    }
    _listenNotifier = std::make_unique<QSocketNotifier>(_listenFd, QSocketNotifier::Read);
    QSocketNotifier *listenNotifier = _listenNotifier.get();
    QMX_VERIFY(logSource, ListenConnectFailed,
               connect(listenNotifier, SIGNAL(activated(int)), this, SLOT(listenerReadable(int))));
    _reapTimer = startTimer(reapInterval);
    return true;
}

void DebugServer::stop()
{
    _connections.clear();
    _listenNotifier.reset();
    if (_listenFd >= 0) {
        ::close(_listenFd);
        _listenFd = -1;
    }
    if (_reapTimer >= 0) {
        killTimer(_reapTimer);
        _reapTimer = -1;
    }
}

void DebugServer::closeConnection(int fd)
{
    const std::shared_ptr<DebugServerConn> conn = _connections.value(fd);
    if (!conn) return;
    conn->close();
    conn->closed = true;
}

void DebugServer::listenerReadable(int)
{
    // Never waited for: a client that does not read its replies loses them.
    const int fd = ::accept4(_listenFd, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) {
        logErrno(AcceptFailed, "Accept failed: %s\n");
        // Without descriptors left the next try fails too, and the peer still waits: not at every turn.
        _listenNotifier->setEnabled(false);
        return;
    }
    const auto conn = std::make_shared<DebugServerConn>(fd, this);
    QMX_VERIFY(logSource, ConnConnectFailed,
               connect(conn->notifier, SIGNAL(activated(int)), this, SLOT(connectionReadable(int))));
    // The number may be that of a closed connection that still waits for its reaping; it goes now.
    _connections.insert(fd, conn);
}

void DebugServer::connectionReadable(int fd)
{
    const std::shared_ptr<DebugServerConn> conn = _connections.value(fd);
    if (!conn) {
        qmxLogOutput(QmxLogLevel::Error, logSource, UnknownConnection, "Unknown connection: %d\n", fd);
        return;
    }
    char buffer[readSize];
    const ssize_t size = ::read(fd, buffer, sizeof buffer);
    if (size > 0) {
        processRx(*conn, buffer, static_cast<int>(size));
        return;
    }
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return; // nothing there after all
    // At its end, as after an error, a descriptor is readable for ever: the notifier rests until the next
    // reaping, else the loop would do nothing but come here. An ended connection stays in the table; only
    // an error or a command removes it.
    conn->setListening(false);
    if (size < 0) conn->closed = true;
}

void DebugServer::processRx(DebugServerConn &conn, const char *data, int size)
{
    for (int i = 0; i < size && !conn.closed; ++i) {
        switch (data[i]) {
        case '\n':
            if (!conn.rx.isEmpty()) {
                const QString line = QString::fromUtf8(conn.rx);
                conn.rx.clear();
                emit lineReceived(conn.fd, line);
            }
            break;
        case '\r':
            break;
        case '\b':
            conn.rx.chop(1);
            break;
        default:
            // What is longer is no command of anybody's, and must not grow without bound.
            if (conn.rx.size() < longestLine) conn.rx.append(data[i]);
        }
    }
}

void DebugServer::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == _reapTimer) reap();
}

void DebugServer::reap()
{
    if (_listenNotifier) _listenNotifier->setEnabled(true);
    for (auto it = _connections.begin(); it != _connections.end();) {
        if ((*it)->closed) {
            it = _connections.erase(it);
        } else {
            (*it)->setListening(true);
            ++it;
        }
    }
}
