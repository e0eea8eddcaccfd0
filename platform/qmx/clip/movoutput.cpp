// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movoutput.h"

#include "platform/qmx/clip/movlayout.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/falloc.h>
#include <sys/file.h>
#include <utility>

namespace {

constexpr mode_t fileMode = 0664;
// Room allocated ahead counts as used: it must not carry a medium over a threshold of its free space.
constexpr qint64 mediumShare = 400; // 0.25 %
constexpr qint64 maxAhead = qint64(256) << 20;
constexpr qint64 minAhead = qint64(1) << 20;

const char *advice(int value)
{
    switch (value) {
    case ENOSPC:
    case EDQUOT:
        return "the medium is full; use another medium or delete clips";
    case EIO:
        return "the medium reports an input/output error; check or replace it";
    case EROFS:
        return "the medium is read-only; remount or replace it";
    case ENODEV:
    case ENXIO:
    case ESTALE:
    case ENOTCONN:
    case ECONNABORTED:
        return "the medium is gone; put it back or choose another one";
    case EEXIST:
        return "a clip of this name exists; choose another name";
    case EACCES:
    case EPERM:
        return "the recorder has no right to write here; check the owner of the folder";
    case EWOULDBLOCK:
        return "it is being recorded";
    case ENOENT:
        return "there is no such file or folder; check the medium";
    default:
        return nullptr;
    }
}

} // namespace

MovOutput::MovOutput(const QmxEnvironment &environment) : _files(environment.files) {}

MovOutput::~MovOutput()
{
    close();
}

QmxError MovOutput::error(int value, const char *doing) const
{
    const QFileInfo info(_path);
    const char *text = advice(value);
    return {value, QStringLiteral("Cannot %1 clip %2 in %3: %4")
                       .arg(QString::fromUtf8(doing), info.fileName(), info.path(),
                            QString::fromLocal8Bit(text ? text : std::strerror(value)))};
}

QmxError MovOutput::create(const QString &path)
{
    _path = path;
    // The file is made without O_DIRECT: a file system that refuses that flag may leave an empty file behind.
    _fd = _files->open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, fileMode);
    if (_fd < 0) return error(errno, "create");
    struct stat64 status = {};
    _hasName = _files->fstat(_fd, &status) == 0 && status.st_nlink > 0;
    QmxError result = lock();
    if (!result.isError()) result = syncFolder();
    if (result.isError())
        discard();
    else
        openDirect();
    return result;
}

bool MovOutput::isDeleted() const
{
    struct stat64 status = {};
    // Some file systems count no names at all.
    return _hasName && _files->fstat(_fd, &status) == 0 && status.st_nlink == 0;
}

QmxError MovOutput::rename(const QString &path)
{
    const QString before = std::exchange(_path, path);
    if (_files->renameNew(before, path) != 0) {
        const QmxError refused = error(errno, "name");
        _path = before;
        return refused;
    }
    return syncFolder();
}

QmxError MovOutput::openExisting(const QString &path)
{
    _path = path;
    _fd = _files->open(path, O_RDWR | O_CLOEXEC);
    if (_fd < 0) return error(errno, "open");
    QmxError result = lock();
    if (result.isError())
        close();
    else
        openDirect();
    return result;
}

QmxError MovOutput::lock()
{
    if (_files->flock(_fd, LOCK_EX | LOCK_NB) == 0) return {};
    const int value = errno;
    // Some network file systems have no locks; a clip is worth more than its lock.
    return value == EWOULDBLOCK ? error(value, "lock") : QmxError();
}

void MovOutput::openDirect()
{
    // Where it is refused the same calls run through the page cache.
    _directFd = _files->open(_path, O_RDWR | O_DIRECT | O_CLOEXEC);
}

QmxError MovOutput::syncFolder()
{
    const int folder = _files->open(QFileInfo(_path).path(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return error(errno, "create");
    const int result = _files->fsync(folder);
    const int value = errno;
    _files->close(folder);
    // EINVAL: this file system keeps its folders in another way.
    return result == 0 || value == EINVAL ? QmxError() : error(value, "create");
}

void MovOutput::close()
{
    if (_directFd >= 0) _files->close(_directFd);
    if (_fd >= 0) _files->close(_fd);
    _directFd = _fd = -1;
}

void MovOutput::discard()
{
    if (_fd >= 0) _files->unlink(_path);
    close();
}

QmxError MovOutput::write(const void *data, qint64 size, qint64 offset)
{
    const auto *from = static_cast<const uchar *>(data);
    while (size > 0) {
        // After a write that stopped within a block the rest goes through the page cache.
        const bool direct = _directFd >= 0 && offset % MovLayout::block == 0;
        const ssize_t written = _files->pwrite(direct ? _directFd : _fd, from, size_t(size), offset);
        if (written > 0) {
            from += written;
            offset += written;
            size -= written;
        } else if (written < 0 && errno == EINVAL && direct) {
            _files->close(_directFd);
            _directFd = -1;
        } else if (written == 0 || errno != EINTR) {
            return error(written == 0 ? EIO : errno, "write");
        }
    }
    return {};
}

QmxError MovOutput::sync()
{
    while (_files->fdatasync(_fd) != 0) {
        if (errno != EINTR) return error(errno, "write");
    }
    return {};
}

void MovOutput::cache(qint64 offset, qint64 size)
{
    if (_directFd >= 0) _files->fadvise(_fd, offset, size, POSIX_FADV_WILLNEED);
}

QmxError MovOutput::truncate(qint64 size)
{
    while (_files->ftruncate(_fd, size) != 0) {
        if (errno != EINTR) return error(errno, "shorten");
    }
    return {};
}

void MovOutput::reserve(qint64 begin, qint64 end)
{
    if (_ahead < 0) {
        struct statfs64 medium = {};
        _ahead = 0;
        if (_files->statfs(_path, &medium) == 0) {
            const qint64 bytes = qint64(medium.f_blocks) * qint64(medium.f_bsize);
            _ahead = std::min(bytes / mediumShare, maxAhead) / MovLayout::block * MovLayout::block;
        }
        if (_ahead < minAhead) _ahead = 0;
    }
    if (_ahead == 0 || end <= _allocated) return;
    const qint64 from = std::max(_allocated, begin);
    if (_files->fallocate(_fd, FALLOC_FL_KEEP_SIZE, from, _ahead) == 0)
        _allocated = from + _ahead;
    else
        _ahead = 0;
}
