// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movformat.h"
#include "platform/qmx/clip/movinput.h"
#include "platform/qmx/clip/qmxclipindex.h"

/// For whoever goes on with a file that another writer has left: what that one knew.

/// The description of the clip as its writer had it.
QmxError movFormatOf(MovInput &input, const QmxClipIndex &index, MovFormat &format);
/// The timecodes that jump; a slot has their places only.
QmxError movReadJumps(MovInput &input, MovFragment &fragment);
