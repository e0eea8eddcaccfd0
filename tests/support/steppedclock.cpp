// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/steppedclock.h"

#include <algorithm>
#include <limits>
#include <list>
#include <map>
#include <thread>

namespace {

constexpr qint64 never = std::numeric_limits<qint64>::max();
/// Where a stepped clock begins, so that every run is the same: 2024-03-01 12:00:00 UTC.
constexpr qint64 wallStart = 1'709'294'400 * QmxClock::nsPerSecond;
/// Real time after which whoever waits for busy threads looks again.
constexpr std::chrono::milliseconds lookAgain{20};
constexpr qint64 monotonicStart = 1000 * QmxClock::nsPerSecond;

struct Sleeper
{
    qint64 deadline = 0;
    int registrations = 0; // addSleeper() tokens of the thread: busy again the moment it is woken
    bool awake = false;
    bool interrupted = false;
    std::condition_variable condition;
};

/// addSleeper() tokens of this thread, by clock.
thread_local std::map<const void *, int> registrationsHere;

} // namespace

struct SteppedClock::State
{
    std::mutex mutex;
    std::condition_variable idle;
    std::list<std::shared_ptr<Sleeper>> sleepers; // in the order in which they went to sleep
    std::thread::id mover;
    qint64 now = monotonicStart;
    qint64 wallOffset = wallStart - monotonicStart;
    qint64 limit = never;
    int busy = 0;
    bool kicked = false;

    // All with the mutex held.
    void release(int count)
    {
        busy -= count;
        if (busy == 0) idle.notify_all();
    }
    void wake(const std::shared_ptr<Sleeper> &sleeper, bool byInterrupt)
    {
        if (sleeper->awake) return;
        sleeper->awake = true;
        sleeper->interrupted = byInterrupt;
        // One more than its own until it has returned, for threads that are not registered.
        busy += sleeper->registrations + 1;
        sleepers.remove(sleeper);
        sleeper->condition.notify_all();
    }
};

SteppedClock::SteppedClock() : _state(std::make_shared<State>()) {}
SteppedClock::~SteppedClock() = default;

qint64 SteppedClock::now() const
{
    std::lock_guard lock(_state->mutex);
    return _state->now;
}

qint64 SteppedClock::wallTime() const
{
    std::lock_guard lock(_state->mutex);
    return _state->now + _state->wallOffset;
}

void SteppedClock::setWallTime(qint64 nsSince1970)
{
    std::lock_guard lock(_state->mutex);
    _state->wallOffset = nsSince1970 - _state->now;
}

bool SteppedClock::isStepped() const
{
    return true;
}

std::shared_ptr<void> SteppedClock::busy()
{
    const std::shared_ptr<State> state = _state;
    std::lock_guard lock(state->mutex);
    ++state->busy;
    return std::shared_ptr<void>(nullptr, [state](void *) {
        std::lock_guard guard(state->mutex);
        state->release(1);
    });
}

std::shared_ptr<void> SteppedClock::addSleeper()
{
    const std::shared_ptr<State> state = _state;
    std::lock_guard lock(state->mutex);
    ++state->busy;
    ++registrationsHere[state.get()];
    return std::shared_ptr<void>(nullptr, [state](void *) {
        std::lock_guard guard(state->mutex);
        if (--registrationsHere[state.get()] == 0) registrationsHere.erase(state.get());
        state->release(1);
    });
}

bool SteppedClock::sleepUntil(qint64 deadline, QmxInterrupt *interrupt)
{
    const std::shared_ptr<State> state = _state;
    bool isMover = false;
    {
        std::lock_guard lock(state->mutex);
        isMover = state->mover == std::this_thread::get_id();
    }
    if (isMover) return moveUntil(deadline, interrupt);

    const auto sleeper = std::make_shared<Sleeper>();
    sleeper->deadline = deadline;
    const auto own = registrationsHere.find(state.get());
    sleeper->registrations = own == registrationsHere.end() ? 0 : own->second;
    bool isPast = false;
    const auto fallAsleep = [&]() -> std::function<void()> {
        std::lock_guard lock(state->mutex);
        isPast = deadline <= state->now;
        if (isPast) return {};
        state->sleepers.push_back(sleeper);
        state->release(sleeper->registrations);
        return [state, sleeper] {
            std::lock_guard guard(state->mutex);
            state->wake(sleeper, true);
        };
    };
    if (!interrupt)
        fallAsleep();
    else if (!standBy(*interrupt, fallAsleep))
        return false;
    if (isPast) return true;
    {
        std::unique_lock lock(state->mutex);
        sleeper->condition.wait(lock, [&sleeper] { return sleeper->awake; });
    }
    if (interrupt) standDown(*interrupt);
    std::lock_guard lock(state->mutex);
    state->release(1);
    return !sleeper->interrupted;
}

bool SteppedClock::moveUntil(qint64 deadline, QmxInterrupt *interrupt)
{
    while (now() < deadline) {
        if (interrupt && interrupt->isInterrupted()) return false;
        if (!advanceTowards(deadline, true)) waitUntilIdle(lookAgain);
    }
    return true;
}

/// A thread that sleeps here would never wake while the one who moves the time waits for it.
void SteppedClock::join(std::thread &thread, const std::function<bool()> &hasEnded)
{
    while (!hasEnded())
        if (waitUntilIdle(lookAgain) && !hasEnded()) sleepFor(std::chrono::milliseconds(1));
    thread.join();
}

void SteppedClock::setMover()
{
    std::lock_guard lock(_state->mutex);
    _state->mover = std::this_thread::get_id();
}

void SteppedClock::setLimit(qint64 limit)
{
    std::lock_guard lock(_state->mutex);
    _state->limit = limit;
}

qint64 SteppedClock::limit() const
{
    std::lock_guard lock(_state->mutex);
    return _state->limit;
}

bool SteppedClock::isBusy() const
{
    std::lock_guard lock(_state->mutex);
    return _state->busy > 0;
}

bool SteppedClock::advanceTowards(qint64 timerDeadline, bool beyondLimit)
{
    State &state = *_state;
    std::lock_guard lock(state.mutex);
    if (state.busy > 0) return false;
    const auto first =
        std::min_element(state.sleepers.begin(), state.sleepers.end(),
                         [](const auto &a, const auto &b) { return a->deadline < b->deadline; });
    qint64 target = timerDeadline;
    if (first != state.sleepers.end()) target = std::min(target, (*first)->deadline);
    if (!beyondLimit) target = std::min(target, state.limit);
    if (target == never) return false;

    const bool moves = target > state.now;
    if (moves) state.now = target;
    // Always in the same order: at one moment the timers first, then one sleeper after the other.
    const bool timersFirst = timerDeadline <= state.now;
    const bool wakes = !timersFirst && first != state.sleepers.end() && (*first)->deadline <= state.now;
    if (wakes) {
        const std::shared_ptr<Sleeper> sleeper = *first;
        state.wake(sleeper, false);
    }
    return moves || wakes;
}

bool SteppedClock::waitUntilIdle(std::chrono::milliseconds within)
{
    State &state = *_state;
    std::unique_lock lock(state.mutex);
    state.idle.wait_for(lock, within, [&state] { return state.busy == 0 || state.kicked; });
    state.kicked = false;
    return state.busy == 0;
}

void SteppedClock::kick()
{
    std::lock_guard lock(_state->mutex);
    _state->kicked = true;
    _state->idle.notify_all();
}
