// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

/// The file under a clip that is written: whole blocks, past the page cache where the file system allows it,
/// room allocated ahead, the lock of a take. Blocks; one thread.
class MovOutput
{
public:
    explicit MovOutput(const QmxEnvironment &environment);
    ~MovOutput();
    MovOutput(const MovOutput &) = delete;
    MovOutput &operator=(const MovOutput &) = delete;

    /// EEXIST when there is such a file.
    QmxError create(const QString &path);
    /// An existing clip, to be finished; EWOULDBLOCK while another process has its lock.
    QmxError openExisting(const QString &path);
    void close();
    /// Removes the file that create() has made, then closes it.
    void discard();
    /// Somebody has deleted the file since it was made: what is written to it goes with it.
    bool isDeleted() const;
    /// Another name in the same folder, that is free. On an error the file keeps the one it has.
    QmxError rename(const QString &path);
    bool isOpen() const { return _fd >= 0; }

    /// `data` and `offset` at multiples of a block, `size` a multiple of it.
    QmxError write(const void *data, qint64 size, qint64 offset);
    /// Everything written, and what is needed to read it again, is on the medium.
    QmxError sync();
    /// Puts what is on the medium there into the page cache, for those who read the clip while it grows.
    void cache(qint64 offset, qint64 size);
    QmxError truncate(qint64 size);
    /// Before a write from `begin` to `end`: allocates ahead when it passes what is allocated. Never an
    /// error: the write that lacks the room has one.
    void reserve(qint64 begin, qint64 end);

    /// An error of this clip in words for the operator.
    QmxError error(int value, const char *doing) const;

private:
    void openDirect();
    QmxError lock();
    QmxError syncFolder();

    std::shared_ptr<QmxFiles> _files;
    QString _path;
    bool _hasName = false; ///< the file system counts the names of a file
    int _fd = -1;          ///< holds the lock; through the page cache
    int _directFd = -1;    ///< past the page cache; -1 where that is refused
    qint64 _allocated = 0;
    qint64 _ahead = -1; ///< bytes to allocate at a time; 0 none, -1 not asked yet
};
