// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movinput.h"

/// EILSEQ when a QuickTime or MP4 file claims more samples, in its description and in its fragments, than it
/// has bytes for, or than a day has: a few hundred bytes can claim millions, and libavformat would make room
/// for each of them before it looks. All that is not of these kinds passes, and so does what other damage
/// leaves unclear.
QmxError movCheckClaims(MovInput &input);
