// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>
#include <optional>
#include <utility>

#include <sys/socket.h>

/// A descriptor that is closed with its owner.
class RemoteFd
{
public:
    RemoteFd() = default;
    explicit RemoteFd(int fd) : _fd(fd) {}
    RemoteFd(RemoteFd &&other) noexcept : _fd(std::exchange(other._fd, -1)) {}
    RemoteFd &operator=(RemoteFd &&other) noexcept;
    ~RemoteFd() { close(); }
    int fd() const { return _fd; }
    bool isOpen() const { return _fd >= 0; }
    void close();

private:
    int _fd = -1;
};

/// Descriptors that never wait. `problem` says what is wrong and where.
namespace Sockets {
/// "192.0.2.7:4711"
QString textOf(const sockaddr_storage &address);
RemoteFd listenTcp(const QString &host, quint16 port, QString &problem);
RemoteFd bindUdp(const QString &host, quint16 port, QString &problem);
/// Not open when nobody calls. `peer` is "192.0.2.7:4711".
RemoteFd accept(int listener, QString &peer);
/// 38400 baud, eight bits, odd parity, with damaged bytes marked in what is read; nobody else may open it.
RemoteFd openTerminal(const QString &device, QString &problem);
} // namespace Sockets

/// How much of one peer is read: whoever sends more is read later, so that a flood costs nobody else their
/// reply, nor the recorder a core. Moments in nanoseconds.
class ReadPace
{
public:
    static constexpr std::chrono::nanoseconds window = std::chrono::milliseconds(10);
    static constexpr qint64 mostCalls = 8; ///< of new peers, in a window

    explicit ReadPace(qint64 mostInAWindow) : _most(mostInAWindow) {}
    void took(qint64 amount, qint64 now)
    {
        if (now >= _until) _taken = 0;
        if (_taken == 0) _until = now + window.count();
        _taken += amount;
    }
    /// When it may be read again; nothing: now.
    std::optional<qint64> pausedUntil(qint64 now) const
    {
        return _taken >= _most && now < _until ? std::optional(_until) : std::nullopt;
    }

private:
    const qint64 _most;
    qint64 _taken = 0;
    qint64 _until = 0;
};

/// Bytes on their way out, at most `bound`; what does not fit is refused.
class OutBuffer
{
public:
    explicit OutBuffer(qsizetype bound) : _bound(bound) {}
    /// Written at once, in one call, when nothing waits before it. False: there was no room, or the other
    /// side is gone.
    bool write(int fd, const QByteArray &bytes);
    /// The descriptor takes more. False: the other side is gone.
    bool flush(int fd);
    bool isEmpty() const { return _bytes.isEmpty(); }

private:
    const qsizetype _bound;
    QByteArray _bytes;
};
