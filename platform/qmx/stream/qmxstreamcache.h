// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"

#include <QObject>

#include <memory>

class QmxStream;

/// The frames between a stream and whoever plays or records it.
///
/// Reading, it holds the next frames in the direction of travel (setCacheSize() of them, fewer when they are
/// so large that the pool would suffer, and a few that have just been left) and knows the position: after n
/// reads it is start + trunc(n × speed), where the start is the place of the last seek or change of speed.
/// Writing, it hands every frame to the writer's queue as soon as that has room; only when a stalled medium
/// has filled that queue do frames stay here (policy: cacheIsFull() says so, and write() refuses).
///
/// Event loop only; nothing here waits for a file. Signals come from posted events.
class QmxStreamCache : public QObject
{
    Q_OBJECT

public:
    explicit QmxStreamCache(QObject *parent = nullptr);
    ~QmxStreamCache() override;

    /// Frames held ahead; at least 1.
    void setCacheSize(int frames);
    /// The stream must be closed.
    void setStream(QmxStream *stream);

    /// In units of normal speed, negative in reverse; 0 is ignored. Never moves the position. Holds also for
    /// streams that are opened later.
    void setSpeed(double speed);
    /// Frame that the next read() gives; -1 and the length are the places past the ends. Writing: frames
    /// written since the open.
    int position() const;
    /// Unless the stream is open for reading the seek is kept (the last one counts) and applied right after
    /// the next openIsDone; an open for writing and a failed open forget it. Beyond an end: just past it.
    void seek(int frame);
    void seekToFirstFrame();
    void seekToLastFrame();
    /// The position has run past the first frame, or the last one.
    bool atStartOfStream() const;
    bool atEndOfStream() const;

    /// Loaded frames from the position on; past an end none. Writing: not yet handed to the writer.
    int framesInCache() const;
    /// The frame at the position, again and again the same until read(). Not loaded yet: one without images
    /// that has its keys 1, 9, 10, 12 and 18; past an end, or while the stream is not open: an empty one.
    QmxFrame peek() const;
    /// The same, and moves on when the frame was loaded.
    QmxFrame read();

    void write(const QmxFrame &frame);
    bool cacheIsFull() const;
    /// Hands all frames to the writer, however much waits there. The argument has no meaning.
    void pushCachedToPending(int count);

signals:
    /// Frames came in, room came free, or a seek or open has its frame; many of them make one signal.
    void ready();
    /// Reading: the first of a run of frames that cannot be read. Writing: the medium has failed (once), or
    /// a frame was refused.
    void error(int position, const QmxError &error);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
