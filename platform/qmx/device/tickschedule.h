// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxvideorate.h"

/// The ideal moments of the device's ticks, in exact rational arithmetic: no drift, whatever the rate. An
/// interlaced format has two ticks a frame (one a field). Knows no clock: the caller tells the time.
class TickSchedule
{
public:
    struct Step
    {
        qint64 deadline = 0;     ///< ideal moment of the tick that is due
        bool frameStart = true;  ///< false: second field of a frame
        qint64 missedFrames = 0; ///< whole frames before it whose moment has passed unused
        bool late = false;       ///< the caller came more than half a tick after the deadline
    };

    /// Ticks start one period after `start`.
    TickSchedule(qint64 start, const QmxVideoRate &rate);

    /// Ticks on the machine's grid: frame n begins n frames after the origin of the clock that tells `now`,
    /// in every process alike. The first one is the next frame's start.
    static TickSchedule onGrid(qint64 now, const QmxVideoRate &rate);

    /// Another rate from the last tick on: the next one comes a new period after it (on the grid: at the
    /// frame nearest to that), with a frame's start.
    void setRate(const QmxVideoRate &rate, bool twoFields);
    QmxVideoRate rate() const { return _rate; }
    qint64 nextDeadline() const;
    /// The tick for this moment (at or after nextDeadline()): the last one whose deadline has passed. Those
    /// before it are missed; they are never made up for by a burst.
    Step advance(qint64 now);

private:
    qint64 deadlineAt(qint64 tick) const;
    void move(qint64 ticks);
    void align(qint64 from);

    qint64 _base;     ///< deadline of tick 0
    qint64 _last;     ///< deadline of the last tick
    qint64 _tick = 0; ///< ticks since _base; less than a cycle of num() frames
    QmxVideoRate _rate;
    int _fields = 1;
    bool _onGrid = false;
    bool _secondField = false; ///< the last tick was a frame's first field and the second one is next
};
