// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxtaskthread.h"

#include "platform/qmx/core/qmxloglevel.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

struct QmxTaskThread::State
{
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::function<void()>> tasks;
    std::shared_ptr<QmxClock> clock;
    std::shared_ptr<void> handover; // busy token from the first post to an idle thread until it takes over
    std::shared_ptr<QmxThreads> threads;
    QString name;
    std::thread thread;
    bool started = false;
    bool told = false; // that there was none
    int bound = defaultBound;
    bool running = false; // a task is
    bool stopping = false;
    bool abandoned = false;
    bool finished = false;

    static void loop(const std::shared_ptr<State> &state);
};

void QmxTaskThread::State::loop(const std::shared_ptr<State> &state)
{
    std::unique_lock lock(state->mutex);
    for (;;) {
        state->wake.wait(lock, [&state] { return state->stopping || !state->tasks.empty(); });
        if (state->tasks.empty()) break;
        // While tasks run the thread itself counts as busy, but not while one of them sleeps on the clock:
        // then what waits behind it must not stop the time either.
        const std::shared_ptr<void> sleeper = state->clock->addSleeper();
        state->handover.reset();
        while (!state->tasks.empty() && !state->abandoned) {
            std::function<void()> task = std::move(state->tasks.front());
            state->tasks.pop_front();
            state->running = true;
            lock.unlock();
            task();
            task = nullptr; // what it owns goes before it counts as done
            lock.lock();
            state->running = false;
        }
    }
    state->finished = true;
    state->handover.reset();
}

QmxTaskThread::QmxTaskThread(const QString &name, int bound, const QmxEnvironment &environment)
    : _state(std::make_shared<State>())
{
    _state->clock = environment.clock;
    _state->bound = bound;
    _state->name = name;
    _state->threads = environment.threads;
    std::lock_guard lock(_state->mutex);
    start();
}

/// With the mutex held.
bool QmxTaskThread::start()
{
    if (_state->started || _state->stopping) return _state->started;
    const QmxError error = _state->threads->start(
        _state->name, [state = _state] { State::loop(state); }, _state->thread);
    _state->started = !error.isError();
    if (!_state->started && !std::exchange(_state->told, true))
        qmxLogText(QmxLogLevel::Error, "qmxtaskthread", __LINE__, error.toString());
    return _state->started;
}

QmxTaskThread::~QmxTaskThread()
{
    stop();
}

bool QmxTaskThread::post(std::function<void()> task)
{
    std::lock_guard lock(_state->mutex);
    if (_state->stopping || int(_state->tasks.size()) >= _state->bound || !start()) return false;
    if (!_state->running && !_state->handover) _state->handover = _state->clock->busy();
    _state->tasks.push_back(std::move(task));
    _state->wake.notify_one();
    return true;
}

int QmxTaskThread::pending() const
{
    std::lock_guard lock(_state->mutex);
    return int(_state->tasks.size()) + (_state->running ? 1 : 0);
}

void QmxTaskThread::stop()
{
    {
        std::lock_guard lock(_state->mutex);
        if (_state->started && !_state->running && !_state->finished && !_state->handover)
            _state->handover = _state->clock->busy();
        _state->stopping = true;
        _state->wake.notify_all();
    }
    if (!_state->thread.joinable()) return;
    _state->clock->join(_state->thread, [state = _state] {
        std::lock_guard lock(state->mutex);
        return state->finished;
    });
}

void QmxTaskThread::abandon()
{
    std::deque<std::function<void()>> dropped; // their contents are destroyed without the lock
    {
        std::lock_guard lock(_state->mutex);
        _state->stopping = true;
        _state->abandoned = true;
        dropped.swap(_state->tasks);
        _state->handover.reset();
        _state->wake.notify_all();
    }
    if (_state->thread.joinable()) _state->thread.detach();
}
