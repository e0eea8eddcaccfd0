// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movfragment.h"
#include "platform/qmx/clip/movmovie.h"
#include "platform/qmx/core/qmxaudio.h"

/// What a picture track says, as a description; not valid when we have no codec for it or its rate is not
/// one of pictures. `delta` is the duration of a frame in the track's scale.
QmxImageDesc movDescribeImage(const MovMovie::Track &track, quint32 delta);

/// What only our own record knows, when it does not contradict the file.
void movApplyTraits(const MovFragment::ClipTraits &traits, QmxImageDesc &image);

QmxAudioDesc movAudioDesc(int channels, const QmxVideoRate &rate);

/// A picture track whose frames can be found without a demultiplexer: intra-only, one description, one
/// duration, at most one edit, which begins at a frame. `first` is that frame, `count` how many the edit
/// shows.
bool movStandsAlone(const MovMovie &movie, const MovMovie::Track &track, qint64 &first, qint64 &count);

/// Which sample belongs to the first frame; false when the edits are more than a shift.
bool movSoundShift(const MovMovie &movie, const MovMovie::Track &track, qint64 &shift);
