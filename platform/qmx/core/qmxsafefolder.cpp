// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxsafefolder.h"

#include "platform/qmx/core/qmxsafefile.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

namespace {
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// Empty (with errno) for what is not one name in the folder.
QByteArray oneName(const QString &name)
{
    QByteArray plain = QFile::encodeName(name);
    if (!plain.isEmpty() && plain != "." && plain != ".." && !plain.contains('/') && !plain.contains('\0'))
        return plain;
    errno = EINVAL;
    return {};
}

/// Nobody can have put anything there; with the ending of `name`, so that it is known by it when a crash
/// leaves it behind.
QByteArray newName(const QByteArray &name)
{
    constexpr size_t size = 8;
    std::array<char, size> bytes{};
    if (getrandom(bytes.data(), bytes.size(), 0) != ssize_t(bytes.size())) return {};
    const qsizetype dot = name.lastIndexOf('.');
    return ".new-" + QByteArray(bytes.data(), size).toHex() +
           (dot > 0 ? name.mid(dot).left(8) : QByteArray());
}

bool writeAll(int fd, const QByteArray &bytes)
{
    for (qsizetype at = 0; at < bytes.size();) {
        const ssize_t done = ::write(fd, bytes.constData() + at, size_t(bytes.size() - at));
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return false;
        at += done;
    }
    return true;
}

bool fill(int fd, const QByteArray &bytes, const QmxSafeFolder::As &as)
{
    const bool isGiven = as.owner != uid_t(-1) || as.group != gid_t(-1);
    const struct timespec times[] = {{as.seconds, 0}, {as.seconds, 0}};
    return writeAll(fd, bytes) && (!isGiven || ::fchown(fd, as.owner, as.group) == 0) &&
           ::fchmod(fd, as.mode) == 0 && (as.seconds < 0 || ::futimens(fd, times) == 0) && ::fsync(fd) == 0;
}
} // namespace

QmxSafeFolder::QmxSafeFolder(const QString &path)
    : _fd(::open(QFile::encodeName(path).constData(), folderFlags))
{}

QmxSafeFolder::~QmxSafeFolder()
{
    const int why = errno;
    if (_fd >= 0) ::close(_fd);
    errno = why;
}

QmxSafeFolder::QmxSafeFolder(QmxSafeFolder &&other) noexcept : _fd(std::exchange(other._fd, -1)) {}

QmxSafeFolder &QmxSafeFolder::operator=(QmxSafeFolder &&other) noexcept
{
    std::swap(_fd, other._fd);
    return *this;
}

struct stat QmxSafeFolder::status() const
{
    struct stat is = {};
    if (::fstat(_fd, &is) != 0) is = {};
    return is;
}

struct stat QmxSafeFolder::status(const QString &name) const
{
    struct stat is = {};
    const QByteArray plain = oneName(name);
    if (plain.isEmpty() || ::fstatat(_fd, plain.constData(), &is, AT_SYMLINK_NOFOLLOW) != 0) is = {};
    return is;
}

QmxSafeFolder QmxSafeFolder::below(const QString &name) const
{
    QmxSafeFolder folder;
    const QByteArray plain = oneName(name);
    if (isOpen() && !plain.isEmpty()) folder._fd = ::openat(_fd, plain.constData(), folderFlags);
    return folder;
}

QmxSafeFolder QmxSafeFolder::make(const QString &name, mode_t mode) const
{
    constexpr int mostTries = 3; // somebody may put something there again and again
    const QByteArray plain = oneName(name);
    for (int tries = 0; isOpen() && !plain.isEmpty() && tries < mostTries; ++tries) {
        if (::mkdirat(_fd, plain.constData(), 0700) != 0 && errno != EEXIST) return {};
        QmxSafeFolder folder = below(name);
        const struct stat is = folder.status();
        if (folder.isOpen() && is.st_uid == ::geteuid()) {
            constexpr mode_t rights = 0777; // the bit that hands the group on stays as it is
            if ((is.st_mode & rights) == mode || ::fchmod(folder._fd, (is.st_mode & S_ISGID) | mode) == 0)
                return folder;
            return {};
        }
        // A folder of ours that cannot be opened now (no descriptors are left) is not put away.
        const struct stat named = status(name);
        const bool isForeign = named.st_mode != 0 && (!S_ISDIR(named.st_mode) || named.st_uid != ::geteuid());
        if (!isForeign || !putAside(plain)) return {};
    }
    return {};
}

bool QmxSafeFolder::putAside(const QByteArray &name) const
{
    constexpr int most = 100;
    for (int copy = 1; copy <= most; ++copy) {
        const QByteArray target =
            name + ".foreign" + (copy > 1 ? '-' + QByteArray::number(copy) : QByteArray());
        if (::renameat2(_fd, name.constData(), _fd, target.constData(), RENAME_NOREPLACE) == 0) return true;
        if (errno != EEXIST) return errno == ENOENT;
    }
    return false;
}

int QmxSafeFolder::open(const QString &name, int flags) const
{
    const QByteArray plain = oneName(name);
    if (!isOpen() || plain.isEmpty()) return -1;
    return QmxSafeFile::openAt(_fd, plain.constData(), flags, 0, QmxSafeFile::Names::Only);
}

bool QmxSafeFolder::replace(const QString &name, const QByteArray &bytes, const As &as) const
{
    const QByteArray plain = oneName(name);
    const QByteArray part = newName(plain);
    if (!isOpen() || plain.isEmpty() || part.isEmpty()) return false;
    const int fd = QmxSafeFile::openAt(_fd, part.constData(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (fd < 0) return false;
    const bool isDone = fill(fd, bytes, as) && ::renameat(_fd, part.constData(), _fd, plain.constData()) == 0;
    const int why = errno;
    ::close(fd);
    if (!isDone) ::unlinkat(_fd, part.constData(), 0);
    errno = why;
    return isDone;
}

bool QmxSafeFolder::remove(const QString &name) const
{
    const QByteArray plain = oneName(name);
    return isOpen() && !plain.isEmpty() && ::unlinkat(_fd, plain.constData(), 0) == 0;
}
