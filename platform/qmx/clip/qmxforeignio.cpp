// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxforeignio.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <utility>

namespace {
constexpr int bufferSize = 64 * 1024;

/// A play list in disguise must not reach for other files or into the network.
int openNothingElse(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EACCES);
}
} // namespace

QmxForeignIo::~QmxForeignIo()
{
    if (_context) {
        av_freep(&_context->buffer);
        avio_context_free(&_context);
    }
    if (_fd >= 0) _files->close(_fd);
}

AVFormatContext *QmxForeignIo::open(const QString &path, int &error)
{
    _fd = _files->open(path, O_RDONLY | O_CLOEXEC);
    struct stat64 data = {};
    if (_fd < 0 || _files->fstat(_fd, &data) != 0) {
        error = errno;
        return nullptr;
    }
    error = S_ISREG(data.st_mode) ? ENOMEM : EINVAL;
    if (!S_ISREG(data.st_mode)) return nullptr;
    _size = data.st_size;
    _changed = data.st_mtim.tv_sec * QmxClock::nsPerSecond + data.st_mtim.tv_nsec;
    auto *buffer = static_cast<uint8_t *>(av_malloc(bufferSize));
    if (!buffer) return nullptr;
    _context = avio_alloc_context(buffer, bufferSize, 0, this, read, nullptr, seek);
    AVFormatContext *format = _context ? avformat_alloc_context() : nullptr;
    if (!_context) av_free(buffer);
    if (!format) return nullptr;
    format->pb = _context;
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    format->io_open = openNothingElse;
    error = 0;
    return format;
}

QByteArray QmxForeignIo::head(qsizetype size) const
{
    QByteArray bytes(size, Qt::Uninitialized);
    const ssize_t read = _files->pread(_fd, bytes.data(), size_t(size), 0);
    return bytes.left(qsizetype(std::max<ssize_t>(read, 0)));
}

int QmxForeignIo::takeError()
{
    if (_error != 0) {
        // It stays in force there otherwise, also when the medium is back.
        _context->error = 0;
        _context->eof_reached = 0;
    }
    return std::exchange(_error, 0);
}

int QmxForeignIo::read(void *opaque, uint8_t *to, int size)
{
    auto *self = static_cast<QmxForeignIo *>(opaque);
    self->_isExhausted = self->_isExhausted || self->_left <= 0;
    if (self->_isExhausted) return AVERROR(EFBIG);
    const ssize_t count = self->_files->pread(self->_fd, to, size_t(size), self->_position);
    if (count < 0) {
        self->_error = errno;
        return AVERROR(self->_error);
    }
    if (count == 0) return AVERROR_EOF;
    self->_position += count;
    self->_left -= self->_left == unlimited ? 0 : count;
    return int(count);
}

int64_t QmxForeignIo::seek(void *opaque, int64_t offset, int whence)
{
    auto *self = static_cast<QmxForeignIo *>(opaque);
    struct stat64 data = {};
    const int from = whence & ~(AVSEEK_SIZE | AVSEEK_FORCE);
    if (whence & AVSEEK_SIZE || from == SEEK_END) {
        if (self->_files->fstat(self->_fd, &data) != 0) {
            self->_error = errno;
            return AVERROR(self->_error);
        }
        if (whence & AVSEEK_SIZE) return data.st_size;
    }
    const int64_t base = from == SEEK_END ? data.st_size : from == SEEK_CUR ? self->_position : 0;
    if (base + offset < 0) return AVERROR(EINVAL);
    return self->_position = base + offset;
}
