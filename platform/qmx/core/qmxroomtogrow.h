// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Frames that a play list leaves room for where a clip stands in it that somebody still records: a day and a
/// half at 60 a second. How many there are the stream that plays the list finds out, again and again.
inline constexpr int qmxRoomToGrow = 1 << 23;
