// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QTemporaryDir>

#include <optional>

/// mpv, paused on a clip without window and sound, told over its socket where to go. One thread, which waits.
class MpvPeer
{
public:
    MpvPeer() = default;
    ~MpvPeer();
    MpvPeer(const MpvPeer &) = delete;
    MpvPeer &operator=(const MpvPeer &) = delete;

    /// False: it is not installed, or cannot play the clip.
    bool open(const QString &path);
    /// Milliseconds from the command until the frame at that time is there.
    std::optional<double> seek(double seconds);

private:
    bool connectTo(const QByteArray &address);
    bool waitForPicture();

    QTemporaryDir _dir;
    QProcess _program;
    int _socket = -1;
    QByteArray _received;
};
