// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/steppeddispatcher.h"

#include "platform/qmx/core/qmxtimertable.h"

namespace {
/// Real time for which the loop waits for busy threads before it looks at its sockets again.
constexpr std::chrono::milliseconds lookAgain{20};
} // namespace

SteppedDispatcher::SteppedDispatcher(const std::shared_ptr<SteppedClock> &clock)
    : QmxEventDispatcher(clock), _clock(clock)
{
    _clock->setMover();
}

bool SteppedDispatcher::mayWait(QEventLoop::ProcessEventsFlags flags, bool found)
{
    const bool may = QmxEventDispatcher::mayWait(flags, found);
    _idleCalls = found || may ? 0 : _idleCalls + 1;
    return may || _idleCalls > 1;
}

/// Moves the time until something is to be done; false when the limit is reached first.
bool SteppedDispatcher::wait(QEventLoop::ProcessEventsFlags flags)
{
    const bool beyondLimit = isNested();
    for (;;) {
        if (isPending() || poll(0, flags)) return true;
        const qint64 deadline = firstDeadline(flags);
        if (deadline <= _clock->now()) return true;
        if (!_clock->waitUntilIdle(lookAgain) || isPending()) continue;
        if (_clock->advanceTowards(deadline, beyondLimit)) continue;
        if (_clock->isBusy() || isPending()) continue;
        if (!beyondLimit && _clock->now() >= _clock->limit()) return false;
        // Nobody has a deadline: only a wake-up or a socket can bring anything.
        if (!(flags & QEventLoop::WaitForMoreEvents)) return false;
        poll(QmxTimerTable::never, flags);
    }
}

void SteppedDispatcher::wakeUp()
{
    QmxEventDispatcher::wakeUp();
    _clock->kick();
}

bool SteppedDispatcher::waitForOutside(std::chrono::nanoseconds within)
{
    return isPending() || poll(within.count());
}
