// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <limits>

/// The bytes of one file for libavformat, read through the environment's file calls. One thread at a time.
class QmxForeignIo
{
public:
    static constexpr qint64 unlimited = std::numeric_limits<qint64>::max();

    explicit QmxForeignIo(const QmxEnvironment &environment) : _files(environment.files) {}
    ~QmxForeignIo();
    QmxForeignIo(const QmxForeignIo &) = delete;
    QmxForeignIo &operator=(const QmxForeignIo &) = delete;

    /// Opens the file and gives a demultiplexer's context that reads it and nothing else, whatever the file
    /// may refer to. Null with an errno value in `error`.
    AVFormatContext *open(const QString &path, int &error);
    /// Of the open file: bytes, and when it was changed (nanoseconds since 1970).
    qint64 size() const { return _size; }
    qint64 changed() const { return _changed; }
    /// Its first bytes, as many as are there.
    QByteArray head(qsizetype size) const;
    /// From now on no more than so many bytes are given out; holes of the file count, too.
    void allow(qint64 bytes) { _left = bytes; }
    /// More was asked for than allowed.
    bool isExhausted() const { return _isExhausted; }
    /// The medium's last error since it was asked for; 0: none.
    int takeError();

private:
    static int read(void *self, uint8_t *to, int size);
    static int64_t seek(void *self, int64_t offset, int whence);

    std::shared_ptr<QmxFiles> _files;
    AVIOContext *_context = nullptr;
    int _fd = -1;
    qint64 _size = 0;
    qint64 _changed = 0;
    int64_t _position = 0;
    int _error = 0;
    qint64 _left = unlimited;
    bool _isExhausted = false;
};
