// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/sockets.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/serial.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace {
struct Address
{
    sockaddr_storage storage{};
    socklen_t size = 0;
    const sockaddr *pointer() const { return reinterpret_cast<const sockaddr *>(&storage); }
};

Address addressOf(const QString &host, quint16 port)
{
    Address address;
    auto *four = reinterpret_cast<sockaddr_in *>(&address.storage);
    auto *six = reinterpret_cast<sockaddr_in6 *>(&address.storage);
    if (inet_pton(AF_INET, host.toLatin1().constData(), &four->sin_addr) == 1) {
        four->sin_family = AF_INET;
        four->sin_port = htons(port);
        address.size = sizeof *four;
    } else if (inet_pton(AF_INET6, host.toLatin1().constData(), &six->sin6_addr) == 1) {
        six->sin6_family = AF_INET6;
        six->sin6_port = htons(port);
        address.size = sizeof *six;
    }
    return address;
}

QString errorText()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

RemoteFd boundSocket(const QString &host, quint16 port, int type, QString &problem)
{
    const Address address = addressOf(host, port);
    RemoteFd fd(socket(address.storage.ss_family, type | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    if (fd.isOpen() && type == SOCK_STREAM) setsockopt(fd.fd(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (fd.isOpen() && bind(fd.fd(), address.pointer(), address.size) == 0) return fd;
    problem = QStringLiteral("cannot listen on %1 port %2: %3").arg(host).arg(port).arg(errorText());
    return {};
}

/// What a USB adapter holds back by default is longer than a controller waits. Others know no such thing.
void dontHoldBack(int fd)
{
    serial_struct serial{};
    if (ioctl(fd, TIOCGSERIAL, &serial) != 0) return;
    serial.flags |= ASYNC_LOW_LATENCY;
    ioctl(fd, TIOCSSERIAL, &serial);
}

/// A pseudo-terminal has no parity; the library says so although all else has been set.
bool setLine(int fd, termios line)
{
    if (tcsetattr(fd, TCSANOW, &line) == 0) return true;
    if (errno != EINVAL) return false;
    line.c_cflag &= ~tcflag_t(PARENB | PARODD);
    return tcsetattr(fd, TCSANOW, &line) == 0;
}
} // namespace

RemoteFd &RemoteFd::operator=(RemoteFd &&other) noexcept
{
    if (this != &other) {
        close();
        _fd = std::exchange(other._fd, -1);
    }
    return *this;
}

void RemoteFd::close()
{
    if (_fd >= 0) ::close(_fd);
    _fd = -1;
}

namespace Sockets {
QString textOf(const sockaddr_storage &storage)
{
    char text[INET6_ADDRSTRLEN] = "?";
    quint16 port = 0;
    if (storage.ss_family == AF_INET) {
        const auto *four = reinterpret_cast<const sockaddr_in *>(&storage);
        inet_ntop(AF_INET, &four->sin_addr, text, sizeof text);
        port = ntohs(four->sin_port);
    } else {
        const auto *six = reinterpret_cast<const sockaddr_in6 *>(&storage);
        inet_ntop(AF_INET6, &six->sin6_addr, text, sizeof text);
        port = ntohs(six->sin6_port);
    }
    return QStringLiteral("%1:%2").arg(QLatin1String(text)).arg(port);
}

RemoteFd listenTcp(const QString &host, quint16 port, QString &problem)
{
    constexpr int backlog = 16;
    RemoteFd fd = boundSocket(host, port, SOCK_STREAM, problem);
    if (!fd.isOpen() || listen(fd.fd(), backlog) == 0) return fd;
    problem = QStringLiteral("cannot listen on %1 port %2: %3").arg(host).arg(port).arg(errorText());
    return {};
}

RemoteFd bindUdp(const QString &host, quint16 port, QString &problem)
{
    return boundSocket(host, port, SOCK_DGRAM, problem);
}

RemoteFd accept(int listener, QString &peer)
{
    sockaddr_storage storage{};
    socklen_t size = sizeof storage;
    RemoteFd fd(
        ::accept4(listener, reinterpret_cast<sockaddr *>(&storage), &size, SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!fd.isOpen()) return fd;
    const int on = 1;
    setsockopt(fd.fd(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    // A peer whose machine has gone is noticed within a minute.
    const int idle = 20, interval = 10, count = 4;
    setsockopt(fd.fd(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    setsockopt(fd.fd(), IPPROTO_TCP, TCP_KEEPIDLE, &idle, sizeof idle);
    setsockopt(fd.fd(), IPPROTO_TCP, TCP_KEEPINTVL, &interval, sizeof interval);
    setsockopt(fd.fd(), IPPROTO_TCP, TCP_KEEPCNT, &count, sizeof count);
    peer = textOf(storage);
    return fd;
}

RemoteFd openTerminal(const QString &device, QString &problem)
{
    RemoteFd fd(open(device.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    termios line{};
    if (!fd.isOpen() || tcgetattr(fd.fd(), &line) != 0) {
        problem = QStringLiteral("cannot open %1: %2").arg(device, errorText());
        return {};
    }
    cfmakeraw(&line);
    line.c_cflag &= ~tcflag_t(CSTOPB | CRTSCTS);
    line.c_cflag |= PARENB | PARODD | CREAD | CLOCAL | CS8;
    line.c_iflag &= ~tcflag_t(IGNPAR | IGNBRK | BRKINT);
    line.c_iflag |= INPCK | PARMRK;
    cfsetispeed(&line, B38400);
    cfsetospeed(&line, B38400);
    if (!setLine(fd.fd(), line) || ioctl(fd.fd(), TIOCEXCL) != 0) {
        problem =
            QStringLiteral("%1 cannot be set to 38400 baud, 8 bits, odd parity: %2").arg(device, errorText());
        return {};
    }
    dontHoldBack(fd.fd());
    tcflush(fd.fd(), TCIOFLUSH);
    return fd;
}
} // namespace Sockets

bool OutBuffer::write(int fd, const QByteArray &bytes)
{
    if (!_bytes.isEmpty()) {
        if (_bytes.size() + bytes.size() > _bound) return false;
        _bytes.append(bytes);
        return true;
    }
    const ssize_t written = ::write(fd, bytes.constData(), size_t(bytes.size()));
    if (written < 0 && errno != EAGAIN && errno != EINTR) return false;
    const qsizetype left = bytes.size() - std::max<ssize_t>(written, 0);
    if (left > _bound) return false;
    if (left > 0) _bytes = bytes.right(left);
    return true;
}

bool OutBuffer::flush(int fd)
{
    if (_bytes.isEmpty()) return true;
    const ssize_t written = ::write(fd, _bytes.constData(), size_t(_bytes.size()));
    if (written < 0) return errno == EAGAIN || errno == EINTR;
    _bytes.remove(0, written);
    return true;
}
