// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/ninepincontroller/ninepincontroller.h"

#include <arpa/inet.h>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {
using Clock = std::chrono::steady_clock;

uint8_t at(const QByteArray &bytes, int i)
{
    return i < bytes.size() ? uint8_t(bytes[i]) : 0;
}

char sumOf(const QByteArray &bytes)
{
    unsigned sum = 0;
    for (const char c : bytes)
        sum += uint8_t(c);
    return char(sum & 0xFF);
}

char bcd(int number)
{
    return char((number / 10) << 4 | number % 10);
}

int fromBcd(int byte)
{
    return (byte >> 4) * 10 + (byte & 15);
}
} // namespace

int NinepinReply::nak() const
{
    return command() == 0x1112 ? at(bytes, 2) : -1;
}

int NinepinReply::command() const
{
    return at(bytes, 0) << 8 | at(bytes, 1);
}

QByteArray NinepinReply::data() const
{
    return bytes.mid(2, at(bytes, 0) & 15);
}

QString NinepinTime::text() const
{
    return QString::asprintf("%02d:%02d:%02d%c%02d", hours, minutes, seconds, drop ? ';' : ':', frames);
}

bool NinepinStatus::bit(int byte, int number) const
{
    return at(_data, byte) >> number & 1;
}

NinepinController::~NinepinController()
{
    if (_fd >= 0) close(_fd);
}

int NinepinController::tcp(int port)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        close(fd);
        return -1;
    }
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return fd;
}

int NinepinController::terminal(QString &path)
{
    const int fd = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (fd < 0 || grantpt(fd) != 0 || unlockpt(fd) != 0) return -1;
    path = QString::fromLocal8Bit(ptsname(fd));
    termios raw = {};
    tcgetattr(fd, &raw);
    cfmakeraw(&raw);
    tcsetattr(fd, TCSANOW, &raw);
    return fd;
}

QByteArray NinepinController::block(int command, const QByteArray &data)
{
    QByteArray bytes;
    bytes.append(char(command >> 8 | int(data.size()))).append(char(command & 0xFF)).append(data);
    return bytes.append(sumOf(bytes));
}

NinepinReply NinepinController::ask(int command, const QByteArray &data)
{
    return askRaw(block(command, data));
}

NinepinReply NinepinController::askRaw(const QByteArray &bytes)
{
    send(bytes);
    NinepinReply reply = receive();
    // Behind a fault of the line a controller is silent for a while.
    if (reply.nak() > 1) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return reply;
}

void NinepinController::send(const QByteArray &bytes)
{
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t written = write(_fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (written <= 0) return;
        done += written;
    }
}

NinepinReply NinepinController::receive(int milliseconds)
{
    NinepinReply reply;
    const auto begin = Clock::now();
    const auto end = begin + std::chrono::milliseconds(milliseconds);
    qsizetype wanted = 3;
    while (reply.bytes.size() < wanted) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd waiting{_fd, POLLIN, 0};
        char byte = 0;
        if (left <= 0 || poll(&waiting, 1, int(left)) <= 0 || read(_fd, &byte, 1) != 1) {
            reply.bytes.clear();
            return reply;
        }
        reply.bytes.append(byte);
        wanted = 3 + (at(reply.bytes, 0) & 15);
    }
    reply.microseconds = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin).count();
    reply.sumIsRight = sumOf(reply.bytes.chopped(1)) == reply.bytes.back();
    return reply;
}

NinepinStatus NinepinController::status()
{
    return NinepinStatus(ask(0x6020, QByteArray(1, 0x0A)).data());
}

std::optional<NinepinTime> NinepinController::time(int command, const QByteArray &question)
{
    const NinepinReply reply = ask(command, question);
    const QByteArray data = reply.data();
    if ((reply.command() & 0xF000) != 0x7000 || data.size() < 4) return std::nullopt;
    return NinepinTime{fromBcd(at(data, 3) & 0x3F), fromBcd(at(data, 2) & 0x7F), fromBcd(at(data, 1) & 0x7F),
                       fromBcd(at(data, 0) & 0x3F), (at(data, 0) & 0x40) != 0,   (at(data, 0) & 0x80) != 0};
}

QByteArray NinepinController::timeData(int hours, int minutes, int seconds, int frames)
{
    QByteArray data;
    return data.append(bcd(frames)).append(bcd(seconds)).append(bcd(minutes)).append(bcd(hours));
}

int NinepinController::byteFor(double speed)
{
    return int(std::lround(32.0 * (std::log10(speed) + 2.0)));
}
