// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxblake3.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <functional>
#include <memory>

/// A file read once from its first byte to its last, from the medium itself where the file system allows
/// that. Bytes that the medium cannot give are zeros. One thread, which blocks.
class MovScan
{
public:
    /// Called for each piece; false ends the reading.
    using Told = std::function<bool(const uchar *data, qint64 size)>;

    MovScan(const QmxEnvironment &environment, Told told);
    ~MovScan();
    MovScan(const MovScan &) = delete;
    MovScan &operator=(const MovScan &) = delete;

    QmxError open(const QString &path);
    qint64 position() const { return _position; }
    /// Gives the next `size` bytes to `use`, in pieces; fewer at the end of the file.
    QmxError pass(qint64 size, const std::function<void(const uchar *, qint64)> &use);

private:
    QmxError fill();
    bool openCached();
    void fillByBlocks(qint64 offset);
    struct Free
    {
        void operator()(uchar *data) const;
    };

    std::shared_ptr<QmxFiles> _files;
    const Told _told;
    QString _path;
    int _fd = -1;
    bool _direct = false; ///< past the page cache
    std::unique_ptr<uchar, Free> _piece;
    qint64 _pieceSize = 0;
    qint64 _used = 0; ///< of the piece
    qint64 _position = 0;
    bool _atEnd = false;
};
