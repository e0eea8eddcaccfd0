// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

/// What an edit controller knows of the other side's answer to one block.
struct NinepinReply
{
    QByteArray bytes;         ///< the whole block; empty: the line is dead
    int64_t microseconds = 0; ///< from the last byte sent to the last byte received
    bool sumIsRight = false;

    bool isAck() const { return bytes == QByteArray("\x10\x01\x11", 3); }
    /// The bits of a NAK; -1 when it is none.
    int nak() const;
    /// First two bytes, as 0x7C20; 0 when there is no block.
    int command() const;
    QByteArray data() const;
    QString hex() const { return QString::fromLatin1(bytes.toHex(' ')); }
};

/// Hours, minutes, seconds, frames as they stand in a reply, with its flags.
struct NinepinTime
{
    int hours = 0, minutes = 0, seconds = 0, frames = 0;
    bool drop = false, colour = false;
    bool operator==(const NinepinTime &) const = default;
    QString text() const;
};

/// Status bytes by number and bit.
class NinepinStatus
{
public:
    explicit NinepinStatus(const QByteArray &data = {}) : _data(data) {}
    bool isValid() const { return _data.size() == 10; }
    bool bit(int byte, int number) const;
    QString hex() const { return QString::fromLatin1(_data.toHex(' ')); }

private:
    QByteArray _data;
};

/// Speaks first, waits for the answer, tries no block twice. Owns its descriptor.
class NinepinController
{
public:
    explicit NinepinController(int fd) : _fd(fd) {}
    ~NinepinController();
    NinepinController(const NinepinController &) = delete;
    NinepinController &operator=(const NinepinController &) = delete;

    /// Connected to a port of this machine, or to nothing (isOpen() is false).
    static int tcp(int port);
    /// The far end of a pseudo-terminal; `path` names the end that the deck opens.
    static int terminal(QString &path);
    bool isOpen() const { return _fd >= 0; }
    int fd() const { return _fd; }

    /// With its sum behind it; the low half of the first byte is the count of the data.
    static QByteArray block(int command, const QByteArray &data = {});
    NinepinReply ask(int command, const QByteArray &data = {});
    /// As it is, right or wrong.
    NinepinReply askRaw(const QByteArray &bytes);
    void send(const QByteArray &bytes);
    NinepinReply receive(int milliseconds = 2000);

    NinepinStatus status();
    /// The reply to one of the questions for a time (current time with 61 0C and its kind, marks with 60 10
    /// ...).
    std::optional<NinepinTime> time(int command, const QByteArray &data = {});
    static QByteArray timeData(int hours, int minutes, int seconds, int frames);
    /// The byte next to a speed.
    static int byteFor(double speed);

private:
    int _fd;
};
