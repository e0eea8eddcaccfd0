// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>

#include <algorithm>

/// Which frame each tick must show, from the rules of the transport alone: at
/// speed s the n-th tick after the last seek or change of speed shows the frame
/// trunc(n * s) further; what runs past an end comes to the frame at that end,
/// and there it holds, or goes on at the other end when looping.
struct ShuttleModel
{
    int length;       ///< frames of the stream
    int sixtyFourths; ///< the speed, in 64ths
    bool isLooping;

    QList<qint64> run(int from, int ticks) const
    {
        QList<qint64> frames;
        qint64 start = from, reads = 0;
        const qint64 last = length - 1;
        const bool isForward = sixtyFourths > 0;
        for (int tick = 0; tick < ticks; ++tick) {
            const qint64 moved = reads * std::abs(sixtyFourths) / 64;
            qint64 frame = isForward ? start + moved : start - moved;
            if (frame < 0 || frame > last) {
                frame = start = std::clamp<qint64>(frame, 0, last);
                reads = 0;
            }
            frames.append(frame);
            const bool isAtItsEnd = frame == (isForward ? last : 0);
            if (!isAtItsEnd) {
                ++reads;
            } else if (isLooping) {
                start = isForward ? 0 : last;
                reads = 0;
            }
        }
        return frames;
    }
};
