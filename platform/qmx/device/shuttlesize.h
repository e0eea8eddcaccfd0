// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxclock.h"

#include <array>

/// How many times smaller the pictures of fast play are decoded. Where the machine has no time for whole
/// ones, by what they cost or because they come late, it is half and then a quarter of the size, so that each
/// tick shows another picture; where it has room again they grow, a step at a time, later each time that was
/// too early. A state machine without clock and thread; guarded by its owner.
class ShuttleSize
{
public:
    /// One tick of fast play. Times in ns.
    struct Tick
    {
        qint64 now = 0;
        qint64 length = 0; ///< until the next one
        int workers = 1;   ///< that decode
        int coarsest = 4;  ///< the greatest divisor that all outputs put up with
        bool late = false; ///< the picture that was due is still being decoded
    };
    void tick(const Tick &tick);
    /// A picture has been decoded so many times smaller, at any speed, in so many ns.
    void decoded(int divisor, qint64 time);
    /// 1, 2 or 4.
    int divisor() const { return 1 << _step; }

private:
    static constexpr int steps = 3;
    struct Cost
    {
        double mean = 0; ///< ns, of the last few
        int count = 0;
        bool isKnown() const { return count >= 4; }
    };
    bool isShort(const Tick &tick);
    bool hasRoom(const Tick &tick) const;
    void change(int step, qint64 now);

    int _step = 0;
    std::array<Cost, steps> _cost;              ///< by step
    std::array<double, steps> _growth{2, 2, 2}; ///< how much more a picture one step larger costs
    double _before = 0;                         ///< what one did cost before the last step down
    quint32 _late = 0;                          ///< a bit a tick, the last one lowest
    int _overTicks = 0;                         ///< in a row whose pictures cost more than there is
    qint64 _last = 0;                           ///< tick
    qint64 _since = 0;                          ///< last change, or last time there was no room
    qint64 _grown = 0;                          ///< last step up
    qint64 _patience = QmxClock::nsPerSecond;   ///< so long there must be room
};
