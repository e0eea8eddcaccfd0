// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipindex.h"

/// From the tables of a moov to places in the file. A place outside the file, or tables that contradict each
/// other, is EILSEQ; a frame that lies beyond the end of a file cut short has size 0.
QmxError movPlaceFrames(MovInput &input, const MovMovie::Track &track,
                        std::vector<QmxClipIndex::Frame> &frames);
QmxError movPlaceSound(MovInput &input, const MovMovie::Track &track, QmxClipIndex::Sound &sound);
