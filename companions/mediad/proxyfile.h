// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/core/qmxenvironment.h"

/// An MP4 file that libavformat writes through the environment's file calls. One thread, which blocks.
class ProxyFile
{
public:
    explicit ProxyFile(const QmxEnvironment &environment) : _files(environment.files) {}
    ~ProxyFile();
    ProxyFile(const ProxyFile &) = delete;
    ProxyFile &operator=(const ProxyFile &) = delete;

    /// EEXIST when there is such a file. It is locked until it is closed.
    QmxError create(const QString &path);
    AVFormatContext *context() const { return _format; }
    /// Writes the tables and makes all of it durable.
    QmxError finish();
    /// What went wrong: the medium's error when it had one, else libav's.
    QmxError error(const QString &what, int averror) const;

private:
    /// Newer versions of libavformat hand over bytes that must not be changed.
    template <typename Byte>
    static int write(void *self, Byte *data, int size);
    static int64_t seek(void *self, int64_t offset, int whence);

    std::shared_ptr<QmxFiles> _files;
    AVFormatContext *_format = nullptr;
    AVIOContext *_io = nullptr;
    QString _path;
    int _fd = -1;
    int64_t _position = 0;
    int64_t _size = 0;
    int64_t _unsynced = 0;
    int _error = 0;
};
