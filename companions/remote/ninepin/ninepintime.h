// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

#include <QByteArray>

#include <cstdint>
#include <span>

/// Timecodes as four BCD bytes: frames, seconds, minutes, hours. The frame digits stay below 30: at 50 and 60
/// frames a second two frames share one count.
namespace NinepinTimecode {
/// `timecode` at its own rate (0: as its digits are); one that is not valid is all zero.
QByteArray encode(const QmxTimecode &timecode);
/// At `fps` frames; the first of two that share a count. Digits above 9 count as they stand (0x0B is 11);
/// not valid when the sum is no time of day at this rate. Flags are not looked at: drop-frame counting is
/// the deck's affair, `drop`.
QmxTimecode decode(std::span<const std::uint8_t, 4> bytes, int fps, bool drop);
/// Frames that share a count: 2 above 30 frames a second.
int framesACount(int fps);
/// The digits that the other side counts with: frames below 30.
QmxTimecode counted(const QmxTimecode &timecode);
} // namespace NinepinTimecode

/// Speeds as one or two bytes.
namespace NinepinSpeed {
constexpr double fastestVariable = 3.0;
constexpr double fastestShuttle = 50.0;

/// Times play: 10^(n/32 - 2), between two of them in a straight line by `fraction`/256. 0, 0 is still.
double decode(std::uint8_t n, std::uint8_t fraction = 0);
/// The byte nearest to a speed, without its sign; 0 for still.
std::uint8_t encode(double speed);
} // namespace NinepinSpeed
