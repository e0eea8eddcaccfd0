// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxsharedmemory.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsafefile.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Closes and keeps errno.
std::nullptr_t giveUp(int fd)
{
    const int reason = errno;
    ::close(fd);
    errno = reason;
    return nullptr;
}

/// A segment has one name only: what is written there is nobody else's file.
bool isTrustedSegment(const struct stat &info)
{
    return S_ISREG(info.st_mode) && info.st_nlink <= 1 && QmxSafeFile::isTrustedOwner(info.st_uid);
}

/// Who may write there may cut it short.
bool isWritableByOthers(const struct stat &info, mode_t than)
{
    constexpr mode_t writing = S_IWGRP | S_IWOTH;
    return (info.st_mode & writing & ~than) != 0;
}

bool isPath(const QString &name)
{
    return name.lastIndexOf('/') > 0;
}

QString firstPlace(const QString &name)
{
    // (A path is that of another channel, in a folder of the recorder's own.)
    return isPath(name) ? name : QStringLiteral("/dev/shm/") + name.mid(name.startsWith('/') ? 1 : 0);
}

/// Empty: there is none.
QString secondPlace(const QString &name)
{
    if (isPath(name)) return {};
    return QmxEnvironment::current().places->run + '/' + name.mid(name.startsWith('/') ? 1 : 0);
}

bool isTrustedFile(const QString &file)
{
    const std::optional<uid_t> owner = QmxSafeFile::owner(QFile::encodeName(file).constData());
    return owner && QmxSafeFile::isTrustedOwner(*owner);
}

int openFile(const QString &file, int flags, mode_t mode)
{
    // No link is followed, and a pipe with such a name is not waited for.
    constexpr int always = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    return ::open(QFile::encodeName(file).constData(), flags | always, mode);
}

int removeFile(const QString &file)
{
    return ::unlink(QFile::encodeName(file).constData());
}

int openTrustedFile(const QString &file, QmxSharedMemory::Access access)
{
    const int fd = openFile(file, access == QmxSharedMemory::Access::Write ? O_RDWR : O_RDONLY, 0);
    struct stat info = {};
    if (fd < 0 || (::fstat(fd, &info) == 0 && isTrustedSegment(info))) return fd;
    ::close(fd);
    errno = EPERM;
    return -1;
}

} // namespace

QString QmxSharedMemory::fileOf(const QString &name)
{
    const QString first = firstPlace(name);
    const QString second = secondPlace(name);
    return !isTrustedFile(first) && isTrustedFile(second) ? second : first;
}

int QmxSharedMemory::removeName(const QString &name)
{
    const QString second = secondPlace(name);
    const bool isRemoved = !second.isEmpty() && isTrustedFile(second) && removeFile(second) == 0;
    const int result = removeFile(firstPlace(name));
    return isRemoved ? 0 : result;
}

int QmxSharedMemory::openTrusted(const QString &name, Access access)
{
    const int fd = openTrustedFile(firstPlace(name), access);
    const QString second = secondPlace(name);
    if (fd >= 0 || second.isEmpty()) return fd;
    const int reason = errno;
    const int other = openTrustedFile(second, access);
    errno = reason;
    return other;
}

bool QmxSharedMemory::reserve(int fd, qsizetype from, qsizetype bytes)
{
    errno = bytes > 0 ? ::posix_fallocate(fd, off_t(from), off_t(bytes)) : 0;
    return errno == 0;
}

std::unique_ptr<QmxSharedMemory> QmxSharedMemory::map(int fd, qsizetype size, Access access)
{
    const int protection = access == Access::Write ? PROT_READ | PROT_WRITE : PROT_READ;
    void *memory = ::mmap(nullptr, size_t(size), protection, MAP_SHARED, fd, 0);
    if (memory == MAP_FAILED) return giveUp(fd);
    return std::unique_ptr<QmxSharedMemory>(new QmxSharedMemory(fd, static_cast<uchar *>(memory), size));
}

std::unique_ptr<QmxSharedMemory> QmxSharedMemory::make(const QString &name, qsizetype bytes, mode_t mode,
                                                       Existing existing, qsizetype reserved)
{
    const QString first = firstPlace(name);
    const QString second = secondPlace(name);
    auto memory = makeAt(first, bytes, mode, existing, reserved);
    if (second.isEmpty()) return memory;
    if (memory) {
        if (isTrustedFile(second)) removeFile(second); // of a time when the name was taken
        return memory;
    }
    const int reason = errno;
    const std::optional<uid_t> owner = QmxSafeFile::owner(QFile::encodeName(first).constData());
    if (owner && !QmxSafeFile::isTrustedOwner(*owner))
        memory = makeAt(second, bytes, mode, existing, reserved);
    if (memory)
        qmxLogOutput(
            QmxLogLevel::Warning, "qmxsharedmemory", __LINE__,
            "%s belongs to another account (user id %u): %s is used in its place, which other programs "
            "than the recorder's do not know; remove the first one as root (rm -r) and start again\n",
            qUtf8Printable(first), unsigned(*owner), qUtf8Printable(second));
    else
        errno = reason;
    return memory;
}

std::unique_ptr<QmxSharedMemory> QmxSharedMemory::makeAt(const QString &file, qsizetype bytes, mode_t mode,
                                                         Existing existing, qsizetype reserved)
{
    // A segment is never made smaller or larger: others may have it mapped.
    struct stat info = {};
    if (existing == Existing::Keep) {
        const int fd = openTrustedFile(file, Access::Write);
        if (fd >= 0 && ::fstat(fd, &info) == 0 && info.st_size == bytes && !isWritableByOthers(info, mode)) {
            ::fchmod(fd, mode); // one that belongs to somebody else stays as it is
            return reserve(fd, 0, reserved) ? map(fd, bytes, Access::Write) : giveUp(fd);
        }
        if (fd >= 0) ::close(fd);
    }
    if (removeFile(file) != 0 && errno != ENOENT) return nullptr;
    const int fd = openFile(file, O_RDWR | O_CREAT | O_EXCL, mode);
    if (fd < 0) return nullptr;
    if (::fchmod(fd, mode) == 0 && ::ftruncate(fd, off_t(bytes)) == 0 && reserve(fd, 0, reserved))
        return map(fd, bytes, Access::Write);
    const int reason = errno;
    removeFile(file);
    errno = reason;
    return giveUp(fd);
}

std::unique_ptr<QmxSharedMemory> QmxSharedMemory::open(const QString &name, Access access, qsizetype least)
{
    const int fd = openTrusted(name, access);
    if (fd < 0) return nullptr;
    struct stat info = {};
    if (::fstat(fd, &info) != 0 || info.st_size < least || info.st_size <= 0) return giveUp(fd);
    return map(fd, info.st_size, access);
}

QmxSharedMemory::~QmxSharedMemory()
{
    ::munmap(_data, size_t(_size));
    ::close(_fd);
}
