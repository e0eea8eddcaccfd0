// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movformat.h"

#include <functional>

/// The atoms of movie and tracks that are the same in the first and the final moov.
namespace MovTrack {

struct Lengths
{
    qint64 movie = 0;   ///< in units of the movie's time scale; 0: not known yet, the fragments tell
    qint64 samples = 0; ///< of sound
    bool hasChapters = false;
};

void writeMovieHeader(AtomWriter &atoms, const MovFormat &format, qint64 duration);

/// One trak; `writeTables` adds what follows stsd in the stbl.
void write(AtomWriter &atoms, const MovFormat &format, MovFormat::TrackId track, const Lengths &lengths,
           const std::function<void()> &writeTables);

/// The moov of a clip that is being recorded: no samples but the first timecode; mvex.
QByteArray openMoov(const MovFormat &format, qint64 frames);

/// Offset in the file of the four bytes of the first timecode.
qint64 startTimecodeOffset(const MovFormat &format);

} // namespace MovTrack
