// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/movmovie.h"

/// Reads the content of an stsd atom into the track's description; false when it is malformed. The track's
/// handler must be known.
bool movParseDescriptions(AtomCursor &cursor, MovMovie::Track &track);
