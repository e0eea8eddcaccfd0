// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// The arithmetic of interval record: so many frames a second, minute or hour.
namespace IntervalRecord {

/// How the distance between two recorded frames came out, and what was wrong with the request.
struct Step
{
    float frames;      ///< captured frames for each recorded one, at least 1.0
    bool totalIsZero;  ///< zero frames a period were asked for; one is taken
    bool totalTooHigh; ///< more frames a period were asked for than are captured; all are taken
};

/// The step for `interval` frames in each period, at `rate` captured frames a second. `period` is
/// 0 second, 1 minute, 2 hour; with any other value the period is `previous` frames long.
Step step(float rate, int period, int interval, float previous);

/// Counts one captured frame into `accumulator` and tells whether it is to be recorded. What is left over
/// is carried, so that the mean distance is exact.
bool takesFrame(float &accumulator, float step);

} // namespace IntervalRecord
