// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxfiles.h"

#include "platform/qmx/core/qmxsafefile.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

QmxFiles::~QmxFiles() = default;

int QmxFiles::open(const QString &path, int flags, mode_t mode)
{
    return QmxSafeFile::open(QFile::encodeName(path).constData(), flags, mode);
}

int QmxFiles::openAny(const QString &path, int flags, mode_t mode)
{
    return ::open64(QFile::encodeName(path).constData(), flags | O_CLOEXEC, mode);
}

int QmxFiles::close(int fd)
{
    return ::close(fd);
}

ssize_t QmxFiles::pread(int fd, void *data, size_t size, off64_t offset)
{
    return ::pread64(fd, data, size, offset);
}

ssize_t QmxFiles::pwrite(int fd, const void *data, size_t size, off64_t offset)
{
    return ::pwrite64(fd, data, size, offset);
}

int QmxFiles::fdatasync(int fd)
{
    return ::fdatasync(fd);
}

int QmxFiles::fsync(int fd)
{
    return ::fsync(fd);
}

int QmxFiles::ftruncate(int fd, off64_t size)
{
    return ::ftruncate64(fd, size);
}

int QmxFiles::fallocate(int fd, int mode, off64_t offset, off64_t length)
{
    return ::fallocate64(fd, mode, offset, length);
}

int QmxFiles::fadvise(int fd, off64_t offset, off64_t length, int advice)
{
    return ::posix_fadvise64(fd, offset, length, advice);
}

int QmxFiles::flock(int fd, int operation)
{
    return ::flock(fd, operation);
}

int QmxFiles::fstat(int fd, struct stat64 *data)
{
    return ::fstat64(fd, data);
}

int QmxFiles::stat(const QString &path, struct stat64 *data)
{
    return ::stat64(QFile::encodeName(path).constData(), data);
}

int QmxFiles::statfs(const QString &path, struct statfs64 *data)
{
    return ::statfs64(QFile::encodeName(path).constData(), data);
}

int QmxFiles::rename(const QString &from, const QString &to)
{
    return ::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData());
}

int QmxFiles::renameNew(const QString &from, const QString &to)
{
    if (::renameat2(AT_FDCWD, QFile::encodeName(from).constData(), AT_FDCWD,
                    QFile::encodeName(to).constData(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS) return -1;
    // Not every file system knows the call: there the name is taken first, and then one's own file replaced.
    const int taken = open(to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (taken < 0) return -1;
    close(taken);
    if (rename(from, to) == 0) return 0;
    const int reason = errno;
    unlink(to);
    errno = reason;
    return -1;
}

int QmxFiles::unlink(const QString &path)
{
    return ::unlink(QFile::encodeName(path).constData());
}
