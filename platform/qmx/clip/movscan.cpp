// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movscan.h"

#include "platform/qmx/clip/movlayout.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <utility>

namespace {
/// Many pictures of high definition, few enough bytes to stay in the cache of a processor.
constexpr qint64 pieceBytes = qint64(2) << 20;
} // namespace

void MovScan::Free::operator()(uchar *data) const
{
    std::free(data);
}

MovScan::MovScan(const QmxEnvironment &environment, Told told)
    : _files(environment.files),
      _told(std::move(told)),
      _piece(static_cast<uchar *>(std::aligned_alloc(MovLayout::block, size_t(pieceBytes))))
{}

MovScan::~MovScan()
{
    if (_fd >= 0) _files->close(_fd);
}

QmxError MovScan::open(const QString &path)
{
    _path = path;
    if (!_piece) return {ENOMEM, QStringLiteral("No memory is left to read %1").arg(path)};
    _fd = _files->open(path, O_RDONLY | O_DIRECT | O_CLOEXEC);
    _direct = _fd >= 0;
    if (!_direct) _fd = _files->open(path, O_RDONLY | O_CLOEXEC);
    if (_fd >= 0) return {};
    const int reason = errno;
    return {reason, QStringLiteral("Cannot open %1: %2").arg(path, QmxError(reason).toString())};
}

/// Where reading past the page cache is refused only at the first read, or for a piece that begins within a
/// block. False when that has been done.
bool MovScan::openCached()
{
    if (!std::exchange(_direct, false)) return false;
    _files->close(_fd);
    _fd = _files->open(_path, O_RDONLY | O_CLOEXEC);
    return _fd >= 0;
}

QmxError MovScan::fill()
{
    const qint64 offset = _position;
    ssize_t got = 0;
    do
        got = _files->pread(_fd, _piece.get(), size_t(pieceBytes), offset);
    while (got < 0 && (errno == EINTR || (errno == EINVAL && openCached())));
    _used = 0;
    _pieceSize = got;
    if (got < 0 && errno != EIO) {
        const int reason = errno;
        return {reason, QStringLiteral("Cannot read %1: %2").arg(_path, QmxError(reason).toString())};
    }
    if (got < 0) fillByBlocks(offset);
    _atEnd = _pieceSize == 0;
    if (!_atEnd && !_told(_piece.get(), _pieceSize))
        return {ECANCELED, QStringLiteral("the check of %1 was ended").arg(_path)};
    return {};
}

/// Around a place that the medium cannot read.
void MovScan::fillByBlocks(qint64 offset)
{
    struct stat64 status = {};
    const qint64 size = _files->fstat(_fd, &status) == 0 ? qint64(status.st_size) : 0;
    _pieceSize = std::clamp<qint64>(size - offset, 0, pieceBytes);
    std::memset(_piece.get(), 0, size_t(_pieceSize));
    for (qint64 at = 0; at < _pieceSize; at += MovLayout::block)
        if (_files->pread(_fd, _piece.get() + at, size_t(MovLayout::block), offset + at) < 0)
            std::memset(_piece.get() + at, 0, size_t(MovLayout::block));
}

QmxError MovScan::pass(qint64 size, const std::function<void(const uchar *, qint64)> &use)
{
    while (size > 0 && !_atEnd) {
        if (_used == _pieceSize) {
            if (QmxError error = fill(); error.isError()) return error;
            continue;
        }
        const qint64 part = std::min(size, _pieceSize - _used);
        use(_piece.get() + _used, part);
        _used += part;
        _position += part;
        size -= part;
    }
    return {};
}
