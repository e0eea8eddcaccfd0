// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/proxyfile.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

namespace {
constexpr int bufferBytes = 1 << 18;
/// As a copy does: the recorder's own flush does not have to wait for many written pages.
constexpr int64_t syncEvery = 4 << 20;
} // namespace

ProxyFile::~ProxyFile()
{
    if (_format) {
        _format->pb = nullptr;
        avformat_free_context(_format);
    }
    if (_io) av_freep(&_io->buffer);
    avio_context_free(&_io);
    if (_fd >= 0) _files->close(_fd);
}

QmxError ProxyFile::create(const QString &path)
{
    _path = path;
    _fd = _files->open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (_fd < 0) {
        const int reason = errno;
        return {reason, QStringLiteral("cannot write %1: %2").arg(path, QmxError(reason).toString())};
    }
    _files->flock(_fd, LOCK_EX | LOCK_NB); // tells it from one that a crash has ended
    auto *buffer = static_cast<uint8_t *>(av_malloc(bufferBytes));
    _io = buffer ? avio_alloc_context(buffer, bufferBytes, 1, this, nullptr, write, seek) : nullptr;
    if (!_io) av_free(buffer);
    if (!_io || avformat_alloc_output_context2(&_format, nullptr, "mp4", nullptr) < 0)
        return {ENOMEM, QStringLiteral("no memory is left to make a proxy")};
    _format->pb = _io;
    _format->flags |= AVFMT_FLAG_CUSTOM_IO;
    return {};
}

template <typename Byte>
int ProxyFile::write(void *self, Byte *data, int size)
{
    auto &file = *static_cast<ProxyFile *>(self);
    for (int done = 0; done < size;) {
        const ssize_t more = file._files->pwrite(file._fd, data + done, size_t(size - done), file._position);
        if (more < 0 && errno == EINTR) continue;
        if (more <= 0) {
            file._error = more < 0 ? errno : EIO;
            return AVERROR(file._error);
        }
        done += int(more);
        file._position += more;
        file._unsynced += more;
    }
    file._size = std::max(file._size, file._position);
    if (file._unsynced >= syncEvery) {
        file._unsynced = 0;
        if (file._files->fdatasync(file._fd) != 0) {
            file._error = errno;
            return AVERROR(file._error);
        }
    }
    return size;
}

int64_t ProxyFile::seek(void *self, int64_t offset, int whence)
{
    auto &file = *static_cast<ProxyFile *>(self);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return file._size;
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += file._position;
        break;
    case SEEK_END:
        offset += file._size;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0) return AVERROR(EINVAL);
    return file._position = offset;
}

QmxError ProxyFile::finish()
{
    if (const int failed = av_write_trailer(_format); failed < 0)
        return error(QStringLiteral("end the file"), failed);
    avio_flush(_io);
    if (_error == 0 && _files->fsync(_fd) != 0) _error = errno;
    return _error == 0 ? QmxError() : error(QStringLiteral("end the file"), AVERROR(_error));
}

QmxError ProxyFile::error(const QString &what, int averror) const
{
    if (_error == 0) return QmxLibav::error(what, averror);
    return {_error, QStringLiteral("cannot write %1: %2").arg(_path, QmxError(_error).toString())};
}
