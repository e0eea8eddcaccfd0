// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmxlatency.h"
#include "platform/qmx/core/qmxrecordtable.h"
#include "platform/qmx/stream/streamactor.h"
#include "platform/qmx/stream/streamtally.h"
#include "platform/qmx/stream/streamwriterlock.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>

/// The writing end of one copy of a record stream: a queue and the thread behind it.
///
/// Threads: the owner's and the writer thread "qmx-write", the only one that touches the file. They share the
/// queue. It holds at least four seconds of the clip and is bounded in bytes besides; append() never refuses,
/// whoever feeds asks hasRoom() before (policy: back-pressure), and what is appended after the medium has
/// failed is dropped and counted. What has been appended is flushed within half a second of its writing,
/// without being asked.
///
/// A writer whose thread hangs in the kernel is left behind with abandon(): when the kernel returns, the
/// thread writes what it has, closes the file and ends. Let go of, a writer closes the file when that has not
/// been done, and is waited for, at most ten seconds; a thread that has been in one call for three is left
/// behind.
class StreamWriter final : public StreamActor
{
public:
    struct Events
    {
        std::function<void(const QmxError &)> opened; ///< once
        /// Once, after close(), behind which nothing may be appended; not by one that could not be opened.
        std::function<void(const QmxError &)> closed;
        /// `fatal`: the medium has failed, told once; else one frame was refused.
        std::function<void(const QmxError &, bool fatal)> failed;
        std::function<void()> room;                         ///< the queue was full and is so no longer
        std::function<void(QmxClock::Duration took)> wrote; ///< a frame; not told by a second copy
        /// After a flush: percent of the medium that is free, as the recorder measures it. May be empty.
        std::function<void(int percentFree)> level;
    };

    /// Which file of its stream it writes, and with which it counts; whether wrote() is asked for.
    struct Copy
    {
        std::shared_ptr<StreamTally> tally;
        int number = 0;
        std::shared_ptr<const std::atomic<bool>> measured;
    };

    StreamWriter(const QString &path, const QmxClipInfo &info, const Events &events, QObject *listener,
                 const QmxEnvironment &environment, const Copy &copy);

    /// Creates the file; answers with opened(). Refuses the file system of "/". Frames may be appended at
    /// once: they wait for the file, and are lost, and counted, when it cannot be made.
    void open();
    /// The same before anybody needs the clip: under a hidden name, which begin() changes. Closed before
    /// that, the file goes again. False: the system has no thread for it, and nothing will be told.
    bool openAhead();
    /// What was opened ahead is a clip from now on. That it cannot get its name is a failure of the medium.
    void begin(const QmxClipInfo &info);
    /// Another clip has followed this one: the figures that are published are no longer this one's.
    void leaveFigures();
    bool hasRoom();
    void append(const QmxFrame &frame);
    /// Makes what has been appended durable soon.
    void flush();
    /// Another copy has to do: what waits is forgotten, the file is closed with what it has.
    void giveUp();
    /// Leaves the thread behind whose call hangs in the kernel.
    void abandon();
    /// Frames queued or being written.
    int pending() const
    {
        const std::lock_guard lock(_mutex);
        return int(_queue.size()) + _writing;
    }
    /// How full the queue is, 1: full.
    double fill() const
    {
        const std::lock_guard lock(_mutex);
        return filled();
    }
    /// The queue still holds of what the take began with, more than it is promised to hold otherwise.
    bool hasBacklog() const
    {
        const std::lock_guard lock(_mutex);
        return _backlog.frames > 0;
    }

private:
    enum class Step { Open, Begin, Write, Flush, Close, Idle };
    struct Queued
    {
        QmxFrame frame;
        qint64 since = 0; ///< came then
    };

    void end() override;
    // On the writer thread.
    bool step() override;
    Step nextStep(Queued &next);
    bool isFlushDue() const;
    void openFile();
    void beginClip();
    void writeFrame(const QmxFrame &frame, qint64 since);
    void frameLeft();
    void flushFile();
    void closeFile();
    void fail(const QmxError &error);
    void judgeSpeed();
    void setSlow(bool now);
    void flushAtOnce();
    void drop(qint64 frames);
    void dropQueue();
    void tellLevel();
    QString hiddenPath() const;
    bool isFull() const
    {
        return int(_queue.size()) + _writing >= _maximumFrames + _backlog.frames ||
               _queuedBytes >= _maximumBytes + _backlog.bytes;
    }
    double filled() const
    {
        return qMax(double(qint64(_queue.size()) - _backlog.frames) / _maximumFrames,
                    double(_queuedBytes - _backlog.bytes) / double(_maximumBytes));
    }

    const std::shared_ptr<StreamTally> _tally;
    const int _copy; ///< its number in the tally
    const std::shared_ptr<const std::atomic<bool>> _measured;
    const QString _path;
    QmxClipInfo _info; ///< with the mutex once the thread runs
    const Events _events;
    int _maximumFrames = 0;
    qint64 _maximumBytes = 0;

    // With the lock.
    std::deque<Queued> _queue;
    qint64 _queuedBytes = 0;
    qint64 _appended = 0;             ///< frames so far
    QmxRecordTable::Backlog _backlog; ///< of the take's begin: more than the queue holds otherwise
    int _writing = 0;                 ///< frames taken out of the queue and not yet written
    quint64 _steps = 1;               ///< that the thread has taken
    qint64 _dropped = 0;              ///< frames that came after the medium had failed
    bool _roomWanted = false;
    bool _ahead = false; ///< the file has a hidden name
    bool _beginAsked = false;
    bool _flushAsked = false;
    bool _failed = false;
    std::condition_variable _doneChanged;

    // The file: the writer thread's, and the program's forced end's.
    StreamWriterLock _fileMutex;
    std::unique_ptr<QmxClipWriter> _writer;
    std::shared_ptr<void> _emergency;
    qint64 _unflushed = 0;            ///< frames written since the last flush
    qint64 _firstUnflushed = 0;       ///< when the first of them came into the queue
    qint64 _lastFlush = 0;            ///< when it was done
    QmxClock::Duration _flushTakes{}; ///< as far as one knows
    QmxLatency _latency;
};
