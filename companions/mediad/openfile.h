// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxfiles.h"

#include <cerrno>
#include <functional>
#include <string>
#include <utility>

#include <fcntl.h>

/// Tries again for a moment: whoever only asks whether a clip is locked has its lock for an instant.
inline bool tryForAMoment(QmxClock &clock, const std::function<bool()> &attempt)
{
    constexpr int tries = 5;
    constexpr std::chrono::milliseconds pause(20);
    for (int left = tries - 1; !attempt(); --left) {
        if (left == 0) return false;
        clock.sleepFor(pause);
    }
    return true;
}

/// Why a clip cannot be opened, of `reason`, an errno value.
inline QString whyNotOpened(int reason)
{
    if (reason == ELOOP) return QStringLiteral("is a link; this is done with the file that it leads to");
    if (reason == ENOTSUP || reason == EISDIR)
        return QStringLiteral("is a folder; this is done with clips that are one file, and with folders by "
                              "the machine's own commands");
    return "cannot be opened: " + QmxError(reason).toString();
}

/// A file that is closed with its owner.
class OpenFile
{
public:
    OpenFile(QmxFiles &files, const std::string &path, int flags, mode_t mode = 0)
        : _files(&files), _fd(files.open(QString::fromLocal8Bit(path), flags | O_CLOEXEC, mode))
    {}
    ~OpenFile()
    {
        if (_fd >= 0) _files->close(_fd);
    }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;
    OpenFile &operator=(OpenFile &&other) noexcept
    {
        std::swap(_files, other._files);
        std::swap(_fd, other._fd);
        return *this;
    }

    bool isOpen() const { return _fd >= 0; }
    int fd() const { return _fd; }

private:
    QmxFiles *_files;
    int _fd;
};
