// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/tickschedule.h"

#include "platform/qmx/core/qmxclock.h"

TickSchedule::TickSchedule(qint64 start, const QmxVideoRate &rate) : _base(start), _rate(rate) {}

void TickSchedule::setRate(const QmxVideoRate &rate, bool twoFields)
{
    const int fields = twoFields ? 2 : 1;
    if (rate == _rate && fields == _fields) return;
    _base = deadlineAt(_tick);
    _tick = 0;
    _rate = rate;
    _fields = fields;
    _secondField = false;
}

qint64 TickSchedule::deadlineAt(qint64 tick) const
{
    // Fits: a tick number stays below num * fields (see next()), so the product below 2^63 for all rates.
    return _base + tick * _rate.den() * QmxClock::nsPerSecond / (qint64(_rate.num()) * _fields);
}

qint64 TickSchedule::nextDeadline() const
{
    return deadlineAt(_tick + 1);
}

void TickSchedule::next()
{
    _secondField = _fields == 2 && !_secondField;
    if (++_tick < qint64(_rate.num()) * _fields) return;
    // `num` frames last exactly `den` seconds, so here the deadline is a whole number of nanoseconds.
    _base += qint64(_rate.den()) * QmxClock::nsPerSecond;
    _tick = 0;
}

TickSchedule::Step TickSchedule::advance(qint64 now)
{
    Step step;
    // _secondField says what the tick just made was: true for a first field of an interlaced frame.
    next();
    while (nextDeadline() <= now) {
        const bool skippedFrame = _fields == 1 || _secondField;
        if (skippedFrame) ++step.missedFrames;
        next();
    }
    step.deadline = deadlineAt(_tick);
    step.frameStart = _fields == 1 || _secondField;
    step.late = step.missedFrames > 0 || now - step.deadline > (nextDeadline() - step.deadline) / 2;
    return step;
}
