// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxlatency.h"
#include "platform/qmx/core/qmxrecordtable.h"
#include "platform/qmx/stream/streamtally.h"
#include "platform/qmx/stream/streamwriter.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

/// Who may use the file. A timed mutex of its own, because thread checkers understand its parts.
class StreamWriterLock
{
public:
    void lock()
    {
        std::unique_lock guard(_mutex);
        _free.wait(guard, [this] { return !_held; });
        _held = true;
    }
    bool try_lock_for(std::chrono::milliseconds time)
    {
        std::unique_lock guard(_mutex);
        if (!_free.wait_for(guard, time, [this] { return !_held; })) return false;
        _held = true;
        return true;
    }
    void unlock()
    {
        const std::lock_guard guard(_mutex);
        _held = false;
        _free.notify_one();
    }

private:
    std::mutex _mutex;
    std::condition_variable _free;
    bool _held = false;
};

/// What the two threads of a StreamWriter share, and what its own thread does. The task that runs it owns it,
/// so that it can outlive everything else when the kernel does not return.
struct StreamWriter::State : std::enable_shared_from_this<StreamWriter::State>
{
    enum class Step { Open, Begin, Write, Flush, Close, Idle };

    State(const QString &clipPath, const QmxClipInfo &clipInfo, const Events &receiver,
          const QmxEnvironment &where, const Copy &which);

    void run();
    Step nextStep(QmxFrame &frame);
    void openFile();
    void beginClip();
    void writeFrame(const QmxFrame &frame);
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
    QmxError refusePlace() const;
    QmxError refuseMedium(const QString &folder, const struct statfs64 &medium) const;
    bool isFull() const
    {
        return int(queue.size()) + writing >= maximumFrames + backlog.frames ||
               queuedBytes >= maximumBytes + backlog.bytes;
    }
    double fill() const
    {
        return qMax(double(qint64(queue.size()) - backlog.frames) / maximumFrames,
                    double(queuedBytes - backlog.bytes) / double(maximumBytes));
    }

    const QmxEnvironment environment;
    const std::shared_ptr<StreamTally> tally;
    const int copy; ///< its number in the tally
    const QString path;
    QmxClipInfo info; ///< with the mutex once the thread runs
    const Events events;
    int maximumFrames = 0;
    qint64 maximumBytes = 0;

    // Shared by both threads.
    mutable std::mutex mutex;
    std::deque<QmxFrame> queue;
    qint64 queuedBytes = 0;
    qint64 appended = 0;             ///< frames so far
    QmxRecordTable::Backlog backlog; ///< of the take's begin: more than the queue holds otherwise
    int writing = 0;                 ///< frames taken out of the queue and not yet written
    quint64 steps = 1;               ///< that the thread has taken
    qint64 dropped = 0;              ///< frames that came after the medium had failed
    bool roomWanted = false;
    bool openAsked = false;
    bool ahead = false; ///< the file has a hidden name
    bool beginAsked = false;
    bool flushAsked = false;
    bool closeAsked = false;
    bool scheduled = false;
    bool failed = false;
    bool done = false; ///< closed, or never opened
    std::condition_variable doneChanged;

    // The file: the writer thread's, and the program's forced end's.
    StreamWriterLock fileMutex;
    std::unique_ptr<QmxClipWriter> writer;
    std::shared_ptr<void> emergency;
    qint64 unflushed = 0; ///< frames written since the last flush
    qint64 firstUnflushed = 0;
    QmxLatency latency;
};
