// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movinput.h"
#include "platform/qmx/clip/qmxclipindex.h"
#include "platform/qmx/core/qmxaudio.h"

/// The sound of exactly one frame of a clip whose tables are loaded, of all its tracks; what the file lacks
/// stays silent. ENOMEM, or the medium's error.
QmxError movReadSound(MovInput &input, const QmxClipIndex &index, qint64 frame, QmxAudio &audio);
