// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/stepper.h"

#include "tests/support/steppeddispatcher.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <limits>

namespace {

SteppedDispatcher *dispatcher()
{
    return static_cast<SteppedDispatcher *>(QAbstractEventDispatcher::instance(qApp->thread()));
}

/// Turns of the loop up to a limit of the clock. Never inside one another: the limit binds the outer loop
/// only.
class Turns
{
public:
    explicit Turns(qint64 limit)
    {
        if (_running) qFatal("A test's time cannot be stepped from inside a slot");
        _running = true;
        Stepper::clock()->setLimit(limit);
    }
    ~Turns()
    {
        _running = false;
        Stepper::clock()->setLimit(std::numeric_limits<qint64>::max());
    }
    /// False when everything up to the limit has happened.
    bool next()
    {
        const bool found = dispatcher()->processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        // Outside an event loop of Qt's own nobody else does this.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return found;
    }

private:
    static inline bool _running = false;
};

} // namespace

SteppedClock *Stepper::clock()
{
    return dispatcher()->steppedClock();
}

qint64 Stepper::now()
{
    return clock()->now();
}

void Stepper::run(qint64 ns)
{
    Turns turns(now() + ns);
    while (turns.next()) {}
}

void Stepper::runMs(qint64 ms)
{
    run(ms * QmxClock::nsPerMillisecond);
}

void Stepper::runTicks(int ticks, int num, int den)
{
    run(QmxClock::nsPerSecond * ticks * den / num);
}

bool Stepper::runUntil(const std::function<bool()> &predicate, qint64 maxNs)
{
    Turns turns(now() + maxNs);
    while (!predicate())
        if (!turns.next()) return predicate();
    return true;
}

void Stepper::deliver()
{
    run(0);
}

bool Stepper::waitFor(const std::function<bool()> &predicate, int realMs)
{
    constexpr std::chrono::milliseconds lookAgain{5}; // what is waited for may come without an event
    Turns turns(now());
    QElapsedTimer elapsed;
    elapsed.start();
    while (!predicate()) {
        if (elapsed.hasExpired(realMs)) return false;
        if (!turns.next()) dispatcher()->waitForOutside(lookAgain);
    }
    return true;
}
