// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudiodesc.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmximagedesc.h"

/// Black and silent frames in the form that a description asks for, to stand where a frame cannot be read.
/// The black picture of each description is coded once and then shared. May take as long as the coding of
/// a picture: for the threads of streams, not for the event loop; several threads at once.
namespace StreamReaderBlack {
/// `frameNumber` (in its clip) decides the number of samples. An empty audio description: no sound. When a
/// picture cannot be made (no coder, exhausted memory) the image has the description and is not valid.
QmxFrame frame(const QmxImageDesc &image, const QmxAudioDesc &audio, qint64 frameNumber);
/// The silence of one frame.
QmxAudio silence(const QmxAudioDesc &audio, qint64 frameNumber);
} // namespace StreamReaderBlack
