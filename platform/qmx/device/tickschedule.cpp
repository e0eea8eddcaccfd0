// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/tickschedule.h"

#include <algorithm>

TickSchedule::TickSchedule(qint64 start, const QmxVideoRate &rate) : _base(start), _last(start), _rate(rate)
{}

TickSchedule TickSchedule::onGrid(qint64 now, const QmxVideoRate &rate)
{
    TickSchedule schedule(now, rate);
    schedule._onGrid = true;
    schedule.align(now);
    schedule._last = schedule.deadlineAt(schedule._tick);
    return schedule;
}

/// The next tick is the first frame of the grid after `from`.
void TickSchedule::align(qint64 from)
{
    constexpr qint64 second = 1'000'000'000;
    if (!_rate.isValid()) return;
    const qint64 cycle = _rate.den() * second; // num frames last exactly so long
    _base = from / cycle * cycle;
    // As in setRate(), the last tick counts as one that ended a frame.
    _tick = _rate.framesIn(from - _base) * _fields + _fields - 1;
}

void TickSchedule::setRate(const QmxVideoRate &rate, bool twoFields)
{
    const int fields = twoFields ? 2 : 1;
    if (rate == _rate && fields == _fields) return;
    // (Not deadlineAt(_tick): on the grid that is a moment of the rate before, at which there may have been
    // no tick; two changes after each other would have gone back behind the last one.)
    _base = _last;
    _tick = 0;
    _rate = rate;
    _fields = fields;
    _secondField = false;
    if (_onGrid) align(_last + _rate.nanoseconds(1, 2));
}

qint64 TickSchedule::deadlineAt(qint64 tick) const
{
    return _base + _rate.nanoseconds(tick, _fields);
}

qint64 TickSchedule::nextDeadline() const
{
    return deadlineAt(_tick + 1);
}

void TickSchedule::move(qint64 ticks)
{
    if (ticks % 2 != 0) _secondField = _fields == 2 && !_secondField;
    _tick += ticks;
    // `num` frames last exactly `den` seconds, so a deadline there is a whole number of nanoseconds.
    const qint64 cycle = qint64(_rate.num()) * _fields;
    _base = deadlineAt(_tick / cycle * cycle);
    _tick %= cycle;
}

TickSchedule::Step TickSchedule::advance(qint64 now)
{
    Step step;
    move(1);
    // However long the caller was away, what he has missed is counted without a loop.
    const qint64 missed =
        std::max<qint64>(0, _rate.framesIn(std::max<qint64>(0, now - _base), _fields) - _tick);
    // _secondField says what the tick is that was missed first: true for a first field of an interlaced
    // frame.
    step.missedFrames = _fields == 1 ? missed : (missed + (_secondField ? 1 : 0)) / 2;
    move(missed);
    step.deadline = _last = deadlineAt(_tick);
    step.frameStart = _fields == 1 || _secondField;
    step.late = step.missedFrames > 0 || now - step.deadline > (nextDeadline() - step.deadline) / 2;
    return step;
}
