// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

/// A whole timecode in one number, for who has only room for its hours: above every hour that there is, so
/// that 0 to 23 go on being hours. QmxTimecode's constructor from six integers takes it for its hours and
/// then has all digits of it.
namespace QmxPackedTimecode {
constexpr int marker = 1 << 24;
constexpr int hoursAt = 19, minutesAt = 13, secondsAt = 7; ///< bits
constexpr int sixBits = 0x3f, sevenBits = 0x7f;

inline int pack(const QmxTimecode &timecode)
{
    return marker | timecode.hours() << hoursAt | timecode.minutes() << minutesAt |
           timecode.seconds() << secondsAt | timecode.frames();
}
} // namespace QmxPackedTimecode
