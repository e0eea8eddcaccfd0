// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamwriter.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxmemorypool.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <utility>

namespace {

/// The queue's length; four seconds are promised, so a frame that is being written does not matter.
constexpr double queueSeconds = 5.0;
constexpr int minimumQueueFrames = 32;
/// The queue's share of the pool, and what it may have however small that is.
constexpr int poolShare = 3;
constexpr qint64 minimumQueueBytes = 64 * 1024 * 1024;
/// Half a second is promised, at any rate; what is being coded comes on top.
constexpr QmxClock::Duration flushInterval = std::chrono::milliseconds(350);
/// A flush begins earlier by what the last ones took, at most by so much: a medium that only flushes does not
/// get faster by it.
constexpr QmxClock::Duration mostFlushAhead = std::chrono::milliseconds(200);
/// The medium is slow while the queue is fuller than the first fraction, until it is emptier than the second.
constexpr double slowAbove = 0.5;
constexpr double slowUntil = 0.1;
/// How long the end of the program waits for a write under way.
constexpr std::chrono::milliseconds emergencyWait(1000);

/// How long whoever lets go of an open writer waits for it in all, and for one call on the medium.
constexpr std::chrono::seconds endWait(10);
constexpr std::chrono::seconds hangTime(3);

} // namespace

StreamWriter::StreamWriter(const QString &path, const QmxClipInfo &info, const Events &events,
                           QObject *listener, const QmxEnvironment &environment, const Copy &copy)
    : StreamActor(QStringLiteral("qmx-write"), listener, environment),
      _tally(copy.tally),
      _copy(copy.number),
      _measured(copy.measured),
      _path(path),
      _info(info),
      _events(events)
{
    const double rate = info.image.frameRate().isValid() ? info.image.frameRate().toDouble() : 0.0;
    _maximumFrames = qMax(minimumQueueFrames, int(std::ceil(rate * queueSeconds)));
    QmxMemoryPool::UsageData usage;
    QmxMemoryPool::instance()->getUsageData(usage);
    _maximumBytes = qMax(minimumQueueBytes, qint64(usage.totalSize / poolShare));
    _backlog = _tally->backlog(_copy);
}

void StreamWriter::end()
{
    if (!hasThread()) return;
    close();
    bool done = false;
    {
        std::unique_lock lock(_mutex);
        const auto end = std::chrono::steady_clock::now() + endWait;
        for (quint64 step = 0; !_done && std::chrono::steady_clock::now() < end;) {
            if (std::exchange(step, _steps) == _steps) break; // it hangs in the kernel
            _doneChanged.wait_for(lock, hangTime, [this] { return _done; });
        }
        done = _done;
    }
    if (done)
        leaveThread(false);
    else
        abandon();
}

void StreamWriter::open()
{
    _tally->show(true);
    if (askToOpen()) return;
    _tally->leave(_copy);
    const QmxError error(
        EAGAIN, QStringLiteral("%1 cannot be recorded: the system has no thread to write it").arg(_path));
    tell([this, error] { _events.opened(error); });
}

bool StreamWriter::openAhead()
{
    const std::lock_guard lock(_mutex);
    _openAsked = true;
    _ahead = true;
    schedule();
    return _scheduled;
}

void StreamWriter::begin(const QmxClipInfo &info)
{
    const std::lock_guard lock(_mutex);
    _beginAsked = true;
    _info = info;
    _tally->show(true);
    schedule();
}

void StreamWriter::leaveFigures()
{
    const std::lock_guard lock(_mutex);
    setSlow(false);
    _tally->show(false);
}

bool StreamWriter::hasRoom()
{
    const std::lock_guard lock(_mutex);
    if (_failed || _done || !isFull()) return true;
    _roomWanted = true;
    return false;
}

void StreamWriter::append(const QmxFrame &frame)
{
    const std::lock_guard lock(_mutex);
    if (_done) {
        drop(1);
        return;
    }
    _queue.push_back({frame, _environment.clock->now()});
    _queuedBytes += frame.bytes();
    ++_appended;
    judgeSpeed();
    schedule();
}

void StreamWriter::flush()
{
    const std::lock_guard lock(_mutex);
    _flushAsked = true;
    schedule();
}

void StreamWriter::giveUp()
{
    const std::lock_guard lock(_mutex);
    _failed = true;
    _tally->leave(_copy);
    dropQueue();
    setSlow(false);
    _closeAsked = true;
    schedule();
}

void StreamWriter::abandon()
{
    deafen();
    {
        const std::lock_guard lock(_mutex);
        // The running task goes on to the end of the queue and closes by itself.
        _closeAsked = true;
        setSlow(false);
    }
    leaveThread(true);
}

bool StreamWriter::step()
{
    const std::lock_guard file(_fileMutex);
    Queued next;
    switch (nextStep(next)) {
    case Step::Open:
        openFile();
        return true;
    case Step::Begin:
        beginClip();
        return true;
    case Step::Write:
        writeFrame(next.frame, next.since);
        return true;
    case Step::Flush:
        flushFile();
        return true;
    case Step::Close:
        closeFile();
        return false;
    case Step::Idle:
        break;
    }
    return false;
}

/// Counted from when a frame came, since it may have waited for the flush before.
bool StreamWriter::isFlushDue() const
{
    if (_unflushed == 0) return false;
    const QmxClock &clock = *_environment.clock;
    return clock.since(_firstUnflushed) >= flushInterval - std::min(_flushTakes, mostFlushAhead) &&
           clock.since(_lastFlush) >= flushInterval - mostFlushAhead;
}

StreamWriter::Step StreamWriter::nextStep(Queued &next)
{
    const std::lock_guard lock(_mutex);
    ++_steps;
    if (_openAsked) {
        _openAsked = false;
        return Step::Open;
    }
    if (!_writer) { // never opened
        _scheduled = false;
        if (_closeAsked && !_done) return Step::Close;
        return Step::Idle;
    }
    if (std::exchange(_beginAsked, false)) return Step::Begin;
    if (_failed) {
        dropQueue();
        _unflushed = 0;
    }
    if (isFlushDue() || (_flushAsked && _unflushed > 0 && _queue.empty())) return Step::Flush;
    if (!_queue.empty()) {
        next = _queue.front();
        _queue.pop_front();
        _writing = 1;
        return Step::Write;
    }
    _flushAsked = false;
    if (_closeAsked) return Step::Close;
    _scheduled = false;
    return Step::Idle;
}

/// Frames are lost; with the mutex held.
void StreamWriter::drop(qint64 frames)
{
    if (_tally->lose(_copy, frames)) _dropped += frames;
}

void StreamWriter::dropQueue()
{
    drop(qint64(_queue.size()));
    for (const Queued &waiting : _queue)
        _queuedBytes -= waiting.frame.bytes(); // one may be with the thread
    _queue.clear();
    judgeSpeed();
}

/// A place in the queue has come free.
void StreamWriter::frameLeft()
{
    bool tellRoom = false;
    {
        const std::lock_guard lock(_mutex);
        tellRoom = _roomWanted && !isFull();
        if (tellRoom) _roomWanted = false;
        judgeSpeed();
    }
    if (tellRoom) tell([this] { _events.room(); });
}

/// Publishes the state of the queue; with the mutex held.
void StreamWriter::judgeSpeed()
{
    _tally->set(_copy, QmxCounters::WriterQueue, qint64(_queue.size()));
    _tally->set(_copy, QmxCounters::WriterQueueBytes, _queuedBytes);
    // What the take began with does not come from a slow medium, until it has been written.
    if (_appended > _backlog.frames && _queue.size() < size_t(_maximumFrames * slowUntil)) _backlog = {};
    if (filled() > slowAbove) setSlow(true);
    if (filled() < slowUntil) setSlow(false);
}

void StreamWriter::fail(const QmxError &error)
{
    {
        const std::lock_guard lock(_mutex);
        if (_failed) return;
        _failed = true;
    }
    tell([this, error] { _events.failed(error, true); });
}

void StreamWriter::setSlow(bool now)
{
    _tally->setSlow(_copy, now, _path);
}

/// The program is being ended by force: what waits goes to the medium now, unless the writer thread itself
/// hangs there.
void StreamWriter::flushAtOnce()
{
    const std::unique_lock file(_fileMutex, emergencyWait);
    if (!file.owns_lock() || !_writer) return;
    std::deque<Queued> waiting;
    {
        const std::lock_guard lock(_mutex);
        waiting.swap(_queue);
        _queuedBytes = 0;
    }
    for (const Queued &queued : waiting)
        _writer->writeFrame(queued.frame);
    _writer->flush();
}
