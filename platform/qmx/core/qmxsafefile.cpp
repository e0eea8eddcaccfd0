// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxsafefile.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QFile>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

int closeWith(int fd, int error)
{
    ::close(fd);
    errno = error;
    return -1;
}

} // namespace

int QmxSafeFile::open(const char *path, int flags, mode_t mode, Names names)
{
    return openAt(AT_FDCWD, path, flags, mode, names);
}

int QmxSafeFile::openAt(int folder, const char *name, int flags, mode_t mode, Names names)
{
    // Without O_NONBLOCK a pipe would wait for its other end, here, before anybody could ask what it is.
    const int fd = ::openat64(folder, name, flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode);
    if (fd < 0) {
        if (errno == ENXIO) errno = ENOTSUP; // a pipe or a socket without its other end
        return -1;
    }
    struct stat64 status = {};
    if (::fstat64(fd, &status) != 0) return closeWith(fd, errno);
    const bool isFolder = (flags & O_DIRECTORY) != 0;
    if (!isFolder && !S_ISREG(status.st_mode)) return closeWith(fd, ENOTSUP);
    if (!isFolder && names == Names::Only && status.st_nlink > 1) return closeWith(fd, EMLINK);
    if (::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) != 0) return closeWith(fd, errno);
    return fd;
}

std::optional<QByteArray> QmxSafeFile::contents(int fd, qint64 most)
{
    QByteArray all;
    std::array<char, 16384> piece{};
    for (;;) {
        const ssize_t got = ::read(fd, piece.data(), piece.size());
        if (got < 0 && errno == EINTR) continue;
        if (got == 0) return all;
        if (got < 0 || all.size() + got > most) return std::nullopt;
        all.append(piece.data(), got);
    }
}

QByteArray QmxSafeFile::line(const QString &path, Writer writer)
{
    constexpr qint64 longest = 4096;
    const int fd = open(QFile::encodeName(path).constData(), O_RDONLY, 0, Names::Only);
    if (fd < 0) return {};
    struct stat64 status = {};
    const bool isTrusted =
        writer == Writer::Anybody ||
        (::fstat64(fd, &status) == 0 && (status.st_uid == ::geteuid() || status.st_uid == 0));
    const QByteArray text = isTrusted ? contents(fd, longest).value_or(QByteArray()) : QByteArray();
    ::close(fd);
    return text.left(text.indexOf('\n')).trimmed();
}

int QmxSafeFile::share(const char *path, gid_t group, mode_t mode)
{
    // An O_PATH descriptor: closing it takes away no lock that this process holds on the file.
    const int fd = ::open64(path, O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return -1;
    struct stat64 status = {};
    if (::fstat64(fd, &status) != 0) return closeWith(fd, errno);
    const bool known = S_ISREG(status.st_mode) || S_ISSOCK(status.st_mode);
    if (!known || status.st_nlink != 1 || status.st_uid != ::geteuid()) {
        ::close(fd);
        return 0;
    }
    if (group != gid_t(-1) && status.st_gid != group &&
        ::fchownat(fd, "", uid_t(-1), group, AT_EMPTY_PATH) != 0)
        return closeWith(fd, errno);
    constexpr mode_t rights = 07777;
    if ((status.st_mode & rights) != mode) {
        char self[32];
        std::snprintf(self, sizeof self, "/proc/self/fd/%d", fd); // the file itself, whatever its name is now
        if (::chmod(self, mode) != 0) return closeWith(fd, errno);
    }
    ::close(fd);
    return 0;
}

std::optional<uid_t> QmxSafeFile::owner(const char *path)
{
    struct stat64 status = {};
    return ::lstat64(path, &status) == 0 ? std::optional(status.st_uid) : std::nullopt;
}

bool QmxSafeFile::isTrustedOwner(uid_t owner)
{
    if (owner == 0 || owner == ::geteuid()) return true;
    struct stat64 status = {};
    const std::shared_ptr<const QmxPlaces> places = QmxEnvironment::current().places;
    // (The folder of a further channel is seen by its members only.)
    return (::stat64(QFile::encodeName(places->state).constData(), &status) == 0 ||
            ::stat64(QFile::encodeName(QmxPlaces().state).constData(), &status) == 0) &&
           status.st_uid == owner;
}
