// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxeventdispatcher.h"
#include "tests/support/steppedclock.h"

#include <chrono>
#include <memory>

/// The event loop that moves a stepped clock: when no event is posted, no socket is ready, no timer is due
/// and nobody is busy, it advances to the next deadline, in calls that may wait, and in calls that may not
/// from the second idle one in a row on (loops that only process pending events get on as well). With a limit
/// set on the clock it stops there and returns; the limit does not bind nested calls, which wait for
/// something of their own.
class SteppedDispatcher : public QmxEventDispatcher
{
public:
    explicit SteppedDispatcher(const std::shared_ptr<SteppedClock> &clock);

    SteppedClock *steppedClock() const { return _clock.get(); }
    void wakeUp() override;
    /// Waits so long in real time, without moving the clock, for something that comes from outside: a wake-up
    /// or a socket; whether there was one. Handles nothing.
    bool waitForOutside(std::chrono::nanoseconds within);

protected:
    bool mayWait(QEventLoop::ProcessEventsFlags flags, bool found) override;
    bool wait(QEventLoop::ProcessEventsFlags flags) override;

private:
    const std::shared_ptr<SteppedClock> _clock;
    int _idleCalls = 0; // in a row, that may not wait and found nothing
};
