// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/metricssocket.h"

#include "platform/qmx/core/qmxenvironment.h"

#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
constexpr int backlog = 16;
constexpr int lookEvery = 200; // ms, for the end
/// With a client that says or takes nothing, or one byte after the other.
constexpr std::chrono::seconds patience(1);
constexpr qsizetype longestRequest = 16384;

bool isServed(const sockaddr_un &address)
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool served =
        fd >= 0 && ::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    if (fd >= 0) ::close(fd);
    return served;
}

/// Up to the blank line behind its head, or what came of it in time.
void readRequest(int client)
{
    QmxClock &clock = *QmxEnvironment::current().clock;
    const qint64 end = clock.after(patience);
    QByteArray request;
    char buffer[1024];
    while (!request.contains("\r\n\r\n") && !request.contains("\n\n") && request.size() < longestRequest) {
        pollfd waiting = {client, POLLIN, 0};
        const qint64 left = (end - clock.now()) / QmxClock::nsPerMillisecond;
        if (left <= 0 || ::poll(&waiting, 1, int(left)) <= 0) return;
        const ssize_t size = ::read(client, buffer, sizeof buffer);
        if (size <= 0) return;
        request.append(buffer, size);
    }
}

void answer(int client, const QByteArray &text)
{
    const QByteArray reply = "HTTP/1.0 200 OK\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\n"
                             "Content-Length: " +
                             QByteArray::number(text.size()) + "\r\n\r\n" + text;
    for (qsizetype at = 0; at < reply.size();) {
        const ssize_t size = ::send(client, reply.constData() + at, size_t(reply.size() - at), MSG_NOSIGNAL);
        if (size <= 0) return;
        at += size;
    }
}
} // namespace

MetricsSocket::~MetricsSocket()
{
    if (_fd < 0) return;
    ::unlink(_path.constData());
    ::close(_fd);
}

QString MetricsSocket::listen(const QString &path)
{
    const QByteArray name = path.toLocal8Bit();
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (size_t(name.size()) >= sizeof address.sun_path) return QStringLiteral("the path is too long");
    std::memcpy(address.sun_path, name.constData(), size_t(name.size()));
    if (isServed(address)) return QStringLiteral("it is served already");
    struct stat status = {};
    if (::lstat(name.constData(), &status) == 0 && S_ISSOCK(status.st_mode)) ::unlink(name.constData());

    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // The group of the recorder may ask, nobody else.
    const mode_t mask = ::umask(0117);
    const bool isBound =
        fd >= 0 && ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    const int error = errno;
    ::umask(mask);
    if (!isBound || ::listen(fd, backlog) != 0) {
        QString reason = QString::fromLocal8Bit(std::strerror(isBound ? errno : error));
        if (fd >= 0) ::close(fd);
        return reason;
    }
    _path = name;
    _fd = fd;
    return {};
}

void MetricsSocket::serve(const std::function<QByteArray()> &text, const std::function<bool()> &ended)
{
    while (!ended()) {
        pollfd waiting = {_fd, POLLIN, 0};
        if (::poll(&waiting, 1, lookEvery) <= 0) continue;
        const int client = ::accept4(_fd, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) continue;
        const timeval within = {patience.count(), 0};
        ::setsockopt(client, SOL_SOCKET, SO_SNDTIMEO, &within, sizeof within);
        readRequest(client);
        answer(client, text());
        ::close(client);
    }
}
