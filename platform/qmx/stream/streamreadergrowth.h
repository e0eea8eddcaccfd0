// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/stream/streamreaderentries.h"

#include <optional>

/// How the clip of a read stream becomes longer while somebody records it, where the take goes on when
/// it rolls over to another medium, and when the end of it is real. Reader thread only.
///
/// A clip grows as long as its file is not finished and its recorder holds the lock on it. Nothing here
/// keeps a recorder waiting: the file is read, and its lock is asked for only when it has stood still.
class StreamReaderGrowth
{
public:
    /// Of the clip at `index` of the source. One of a list is followed into no other file: the list says what
    /// comes behind it.
    StreamReaderGrowth(const StreamReaderSource &source, StreamReaderEntries &entries,
                       const QmxEnvironment &environment, int index = 0);

    /// The clip, or the take it belongs to, is now `length` frames long, and may become longer.
    struct Now
    {
        qint64 length = 0;
        bool growing = false;
        QString ended; ///< why a clip ends that nobody has finished; for the operator, told once
    };
    /// When the stream is opened.
    Now begin();
    /// Looks whether there is more.
    Now look();

private:
    qint64 lengthOf(const QmxClipInfo &info) const;
    bool isAtItsEnd(const QmxClipInfo &info) const;
    bool grows(QmxClipReader &clip);
    Now closed(const QmxClipInfo &info);
    bool followAgain(const QmxClipInfo &first);
    bool follow(const QString &path, const QmxClipInfo &before, bool &mayCome);
    Now stopped(const QString &why);
    qint64 now() const { return _environment.clock->now(); }

    const StreamReaderSource _source;
    StreamReaderEntries &_entries;
    const QmxEnvironment _environment;
    int _last;            ///< index of the clip that grows: one more with each rollover
    QString _path;        ///< of its file
    qint64 _before = 0;   ///< frames of the entries before it
    qint64 _frames = 0;   ///< its own
    qint64 _changed = 0;  ///< when it became longer last
    qint64 _brokenAt = 0; ///< since when it cannot be read; 0: it can
    qint64 _closedAt = 0; ///< when its end was seen; 0: not yet
};
