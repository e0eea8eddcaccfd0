// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamwriter.h"

#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/stream/streamwriterstate.h"

#include <cerrno>
#include <utility>

namespace {
/// How long whoever destroys an open writer waits for it in all, and for one call on the medium.
constexpr std::chrono::seconds endWait(10);
constexpr std::chrono::seconds hangTime(3);
} // namespace

StreamWriter::StreamWriter(const QString &path, const QmxClipInfo &info, const Events &events,
                           const QmxEnvironment &environment, const Copy &copy)
    : _state(std::make_shared<State>(path, info, events, environment, copy)),
      _thread(std::make_unique<QmxTaskThread>(QStringLiteral("qmx-write"), QmxTaskThread::defaultBound,
                                              environment))
{}

StreamWriter::~StreamWriter()
{
    if (!_thread) return;
    close();
    std::unique_lock lock(_state->mutex);
    const auto end = std::chrono::steady_clock::now() + endWait;
    for (quint64 step = 0; !_state->done && std::chrono::steady_clock::now() < end;) {
        if (std::exchange(step, _state->steps) == _state->steps) break; // it hangs in the kernel
        _state->doneChanged.wait_for(lock, hangTime, [this] { return _state->done; });
    }
    const bool done = _state->done;
    lock.unlock();
    if (!done) abandon();
}

/// With the state's mutex held.
void StreamWriter::schedule()
{
    if (_state->scheduled || _state->done || !_thread) return;
    // The task owns the state, so that it can outlive everything else when the kernel does not return.
    _state->scheduled = _thread->post([state = _state] { state->run(); });
}

void StreamWriter::open()
{
    {
        const std::lock_guard lock(_state->mutex);
        _state->openAsked = true;
        _state->tally->show(true);
        schedule();
        if (_state->scheduled) return;
        _state->done = true;
        _state->tally->leave(_state->copy);
    }
    _state->events.opened(
        {EAGAIN,
         QStringLiteral("%1 cannot be recorded: the system has no thread to write it").arg(_state->path)});
}

void StreamWriter::openAhead()
{
    const std::lock_guard lock(_state->mutex);
    _state->openAsked = true;
    _state->ahead = true;
    schedule();
}

void StreamWriter::begin(const QmxClipInfo &info)
{
    const std::lock_guard lock(_state->mutex);
    _state->beginAsked = true;
    _state->info = info;
    _state->tally->show(true);
    schedule();
}

void StreamWriter::leaveFigures()
{
    const std::lock_guard lock(_state->mutex);
    _state->setSlow(false);
    _state->tally->show(false);
}

bool StreamWriter::hasRoom()
{
    const std::lock_guard lock(_state->mutex);
    if (_state->failed || _state->done || !_state->isFull()) return true;
    _state->roomWanted = true;
    return false;
}

void StreamWriter::append(const QmxFrame &frame)
{
    const std::lock_guard lock(_state->mutex);
    if (_state->done) {
        _state->drop(1);
        return;
    }
    _state->queue.push_back(frame);
    _state->queuedBytes += frame.bytes();
    ++_state->appended;
    _state->judgeSpeed();
    schedule();
}

void StreamWriter::flush()
{
    const std::lock_guard lock(_state->mutex);
    _state->flushAsked = true;
    schedule();
}

void StreamWriter::close()
{
    const std::lock_guard lock(_state->mutex);
    _state->closeAsked = true;
    schedule();
}

void StreamWriter::giveUp()
{
    const std::lock_guard lock(_state->mutex);
    _state->failed = true;
    _state->tally->leave(_state->copy);
    _state->dropQueue();
    _state->setSlow(false);
    _state->closeAsked = true;
    schedule();
}

void StreamWriter::abandon()
{
    {
        const std::lock_guard lock(_state->mutex);
        // The running task goes on to the end of the queue and closes by itself.
        _state->closeAsked = true;
        _state->setSlow(false);
    }
    _thread->abandon();
    _thread.reset();
}

bool StreamWriter::hasBacklog() const
{
    const std::lock_guard lock(_state->mutex);
    return _state->backlog.frames > 0;
}

int StreamWriter::pending() const
{
    const std::lock_guard lock(_state->mutex);
    return int(_state->queue.size()) + _state->writing;
}

double StreamWriter::fill() const
{
    const std::lock_guard lock(_state->mutex);
    return _state->fill();
}
