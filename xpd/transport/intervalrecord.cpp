// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/intervalrecord.h"

namespace {

constexpr double secondsPerMinute = 60.0;
constexpr double minutesPerHour = 60.0;

float framesInPeriod(float rate, int period, float previous)
{
    switch (period) {
    case 0:
        return rate;
    case 1:
        return static_cast<float>(rate * secondsPerMinute);
    case 2:
        return static_cast<float>(rate * secondsPerMinute * minutesPerHour);
    default:
        return previous;
    }
}

} // namespace

IntervalRecord::Step IntervalRecord::step(float rate, int period, int interval, float previous)
{
    Step result{framesInPeriod(rate, period, previous), interval == 0, false};
    if (!result.totalIsZero) result.frames /= static_cast<float>(interval);
    result.totalTooHigh = result.frames < 1.0F;
    if (result.totalTooHigh) result.frames = 1.0F;
    return result;
}

bool IntervalRecord::takesFrame(float &accumulator, float step)
{
    accumulator += 1.0F;
    if (accumulator < step) return false;
    accumulator -= step;
    return true;
}
