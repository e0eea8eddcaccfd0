// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlockfile.h"

#include "platform/qmx/core/qmxsafefile.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Locks of the open file description: they do not go when another part of the process closes the same file,
// and can be asked for without being taken.
struct flock wholeFile()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

/// In a folder that everybody may write somebody may take the name first.
void tellWhoseItIs(const QByteArray &path)
{
    const std::optional<uid_t> owner = QmxSafeFile::owner(path.constData());
    if (owner && !QmxSafeFile::isTrustedOwner(*owner))
        std::fprintf(
            stderr,
            "%s belongs to another account (user id %u): if no recorder of that account runs, remove "
            "it as root: rm -r %s\n",
            path.constData(), unsigned(*owner), path.constData());
}

} // namespace

QmxLockFile::QmxLockFile(const QString &path) : _path(path) {}

QmxLockFile::~QmxLockFile()
{
    if (_fd < 0) return;
    // Emptied first, so that nobody reads the pid of a process that has let go.
    if (ftruncate(_fd, 0) == 0) fdatasync(_fd);
    ::close(_fd);
}

bool QmxLockFile::lock()
{
    if (_fd >= 0) return true;
    const QByteArray path = QFile::encodeName(_path);
    const int fd = QmxSafeFile::open(path.constData(), O_RDWR | O_CREAT, 0644, QmxSafeFile::Names::Only);
    struct flock request = wholeFile();
    if (fd < 0 || fcntl(fd, F_OFD_SETLK, &request) != 0) {
        const int reason = errno;
        if (fd >= 0) ::close(fd);
        tellWhoseItIs(path);
        errno = reason;
        return false;
    }
    const QByteArray pid = QByteArray::number(getpid()) + '\n';
    if (ftruncate(fd, 0) != 0 || pwrite(fd, pid.constData(), size_t(pid.size()), 0) != pid.size()) {
        // The kernel lock counts; without room for the pid others only see that somebody holds it.
    }
    _fd = fd;
    return true;
}

int QmxLockFile::whoHasLock() const
{
    return qMax(holder(), 0);
}

int QmxLockFile::holder() const
{
    if (_fd >= 0) return int(getpid());
    const int fd = QmxSafeFile::open(QFile::encodeName(_path).constData(), O_RDONLY);
    if (fd < 0) return 0;
    int holder = 0;
    struct flock query = wholeFile();
    if (fcntl(fd, F_OFD_GETLK, &query) == 0 && query.l_type != F_UNLCK) {
        char text[16] = {};
        if (pread(fd, text, sizeof(text) - 1, 0) > 0) holder = QByteArray(text).trimmed().toInt();
        // The kernel's word is that somebody has it: the folder may be full, or the pid not written yet.
        if (holder <= 0) holder = unknownHolder;
    }
    ::close(fd);
    return holder;
}
