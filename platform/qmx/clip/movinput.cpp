// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movinput.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace {
constexpr qint64 windowSize = 16384;
}

MovInput::MovInput(const QmxEnvironment &environment) : _files(environment.files) {}

MovInput::~MovInput()
{
    close();
}

QmxError MovInput::open(const QString &path)
{
    close();
    _path = path;
    _fd = _files->open(path, O_RDONLY | O_CLOEXEC);
    if (_fd < 0) {
        const int value = errno;
        return {value, QStringLiteral("Cannot open clip %1: %2")
                           .arg(path, value == ELOOP ? QStringLiteral("it is a link")
                                                     : QString::fromLocal8Bit(std::strerror(value)))};
    }
    QmxError error = refreshSize();
    if (error.isError()) close();
    return error;
}

void MovInput::close()
{
    if (_fd >= 0) _files->close(_fd);
    _fd = -1;
    _window.clear();
}

QmxError MovInput::refreshSize()
{
    struct stat64 data = {};
    _window.clear();
    if (_files->fstat(_fd, &data) != 0) {
        const int value = errno;
        return {value, QStringLiteral("Cannot read clip %1: %2")
                           .arg(_path, QString::fromLocal8Bit(std::strerror(value)))};
    }
    if (!S_ISREG(data.st_mode)) return {EILSEQ, QStringLiteral("%1 is not a file").arg(_path)};
    _size = qint64(data.st_size);
    return {};
}

QmxError MovInput::damaged(const char *what) const
{
    return {EILSEQ, QStringLiteral("Clip %1 is damaged: %2").arg(_path, QString::fromUtf8(what))};
}

QmxError MovInput::read(void *data, qint64 size, qint64 offset)
{
    auto *to = static_cast<uchar *>(data);
    if (offset < 0 || size < 0 || size > _size || offset > _size - size) return damaged("it ends too early");
    while (size > 0) {
        const ssize_t count = _files->pread(_fd, to, size_t(size), offset);
        if (count > 0) {
            to += count;
            offset += count;
            size -= count;
        } else if (count == 0) {
            return damaged("it ends too early");
        } else if (errno != EINTR) {
            const int value = errno;
            return {value, QStringLiteral("Cannot read clip %1: %2")
                               .arg(_path, QString::fromLocal8Bit(std::strerror(value)))};
        }
    }
    return {};
}

void MovInput::announce(qint64 offset, qint64 size)
{
    if (offset >= 0 && offset < _size) _files->fadvise(_fd, offset, size, POSIX_FADV_WILLNEED);
}

QmxError MovInput::readSmall(void *data, qint64 size, qint64 offset)
{
    if (size > windowSize) return read(data, size, offset);
    if (offset < _windowOffset || offset + size > _windowOffset + _window.size()) {
        if (offset < 0 || offset >= _size) return damaged("it ends too early");
        QByteArray window(std::min(windowSize, _size - offset), Qt::Uninitialized);
        QmxError error = read(window.data(), window.size(), offset);
        if (error.isError()) return error;
        _window = window;
        _windowOffset = offset;
    }
    if (offset + size > _windowOffset + _window.size()) return damaged("it ends too early");
    std::memcpy(data, _window.constData() + (offset - _windowOffset), size_t(size));
    return {};
}
