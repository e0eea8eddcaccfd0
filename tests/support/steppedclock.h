// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxclock.h"

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

/// A clock that stands still until every participant waits, and then jumps to the earliest deadline.
///
/// Participants are: threads registered with addSleeper() (busy whenever they are not inside sleepUntil();
/// others may sleep too, but the time may pass them by once they are awake), holders of busy() tokens (a
/// token held by a registered sleeper's own work must not be kept over a sleep), and the event loop, whose
/// dispatcher (SteppedDispatcher) alone moves the time: when no event is posted, no timer is due and
/// nobody is busy it calls advanceTowards() with the deadline of its next timer.
class SteppedClock : public QmxClock
{
public:
    SteppedClock();
    ~SteppedClock() override;

    qint64 now() const override;
    qint64 wallTime() const override;
    bool sleepUntil(qint64 deadline, QmxInterrupt *interrupt = nullptr) override;
    std::shared_ptr<void> busy() override;
    std::shared_ptr<void> addSleeper() override;
    bool isStepped() const override;
    void join(std::thread &thread, const std::function<bool()> &hasEnded) override;

    /// A step of the wall clock, as by an operator or NTP.
    void setWallTime(qint64 nsSince1970);

    /// The time beyond which advanceTowards() does not go (the end of the test's present step).
    void setLimit(qint64 limit);
    qint64 limit() const;

    /// Moves to the earliest of the sleepers' deadlines, `timerDeadline` and the limit (`beyondLimit`: or not
    /// that), and wakes one sleeper that is due; false (nothing happened) while somebody is busy, when the
    /// limit is reached, or when there is nothing to wait for.
    bool advanceTowards(qint64 timerDeadline, bool beyondLimit = false);
    bool isBusy() const;
    /// The calling thread is the one that moves the time: its own sleeps do so.
    void setMover();
    /// Waits until nobody is busy or so much real time has passed; true when nobody is. Woken also by kick(),
    /// which the dispatcher's wakeUp() calls.
    bool waitUntilIdle(std::chrono::milliseconds within);
    void kick();

private:
    bool moveUntil(qint64 deadline, QmxInterrupt *interrupt);
    struct State;
    std::shared_ptr<State> _state;
};
