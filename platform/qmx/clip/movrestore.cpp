// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movrestore.h"

#include "platform/qmx/clip/atomcursor.h"

QmxError movReadJumps(MovInput &input, MovFragment &fragment)
{
    for (auto &jump : fragment.jumps) {
        uchar bytes[4] = {};
        QmxError error = input.read(bytes, sizeof bytes, jump.offset);
        if (error.isError()) return error;
        jump.value = AtomCursor(bytes).u32();
    }
    return {};
}

QmxError movFormatOf(MovInput &input, const QmxClipIndex &index, MovFormat &format)
{
    QmxError error = MovFormat::fromInfo(index.info, format);
    if (error.isError()) return error;
    const auto *video = index.movie().firstTrack(atomType("vide"));
    const auto *timecode = index.movie().firstTrack(atomType("tmcd"));
    format.timeScale = video->timeScale;
    format.frameDuration = video->fragmentDuration;
    format.created = index.movie().created;
    format.hasTimecode = timecode && !timecode->chunks.empty();
    if (format.hasTimecode) format.timecodeOffset = timecode->chunks.front();
    return format.frameDuration == 0 ? input.damaged("its frame rate is missing") : QmxError();
}
