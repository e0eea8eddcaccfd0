// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/clockthread.h"

#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/device/lumenengine.h"

#include <pthread.h>
#include <sched.h>

ClockThread::ClockThread(LumenEngine &engine, const QmxEnvironment &environment)
    : _engine(engine), _clock(environment.clock)
{
    // A stepped clock must not move before the thread is one of its sleepers.
    const QmxError error = environment.threads->start(
        QStringLiteral("lumen-clock"),
        [this, starting = _clock->busy()]() mutable { run(std::move(starting)); }, _thread);
    // Without it the card stands still, which the service manager is told by its watchdog.
    if (error.isError()) qmxLogText(QmxLogLevel::Error, "clockthread", __LINE__, error.toString());
}

ClockThread::~ClockThread()
{
    _stop = true;
    _interrupt.interrupt();
    if (_thread.joinable()) _thread.join();
}

void ClockThread::wake()
{
    _interrupt.interrupt();
}

void ClockThread::run(std::shared_ptr<void> starting)
{
    if (!_clock->isStepped()) {
        // Its work is short and its moments are exact: before all others, where the system allows it.
        sched_param parameter = {};
        parameter.sched_priority = sched_get_priority_min(SCHED_RR);
        pthread_setschedparam(pthread_self(), SCHED_RR, &parameter);
    }
    const std::shared_ptr<void> sleeper = _clock->addSleeper();
    starting.reset();
    TickSchedule schedule = TickSchedule::onGrid(_clock->now(), _engine.rhythm().rate);
    while (!_stop) {
        const LumenEngine::Rhythm rhythm = _engine.rhythm();
        schedule.setRate(rhythm.rate, rhythm.twoFields);
        const bool due = _clock->sleepUntil(schedule.nextDeadline(), &_interrupt);
        if (due) {
            _heartbeat.beat();
            _engine.tick(schedule.advance(_clock->now()), schedule.rate());
        } else {
            _interrupt.reset();
        }
    }
}
