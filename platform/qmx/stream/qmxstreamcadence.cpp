// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstreamcadence.h"

#include <cmath>

int QmxStreamCadence::position(const StreamAxis &axis) const
{
    return positionAfter(0, axis);
}

int QmxStreamCadence::positionAfter(qint64 ahead, const StreamAxis &axis) const
{
    return axis.advanced(start, qint64(std::trunc(double(reads + ahead) * speed)));
}

QList<int> QmxStreamCadence::upcoming(int count, const StreamAxis &axis) const
{
    QList<int> frames;
    // Up to normal speed no frame is left out, so the next ones are neighbours; above it every read is
    // another frame.
    const bool neighbours = std::abs(speed) <= 1.0;
    const int step = speed < 0 ? -1 : 1;
    const int first = position(axis);
    for (int ahead = 0; ahead < count; ++ahead) {
        const int frame =
            neighbours ? axis.advanced(first, qint64(ahead) * step) : positionAfter(ahead, axis);
        if (!axis.has(frame)) break;
        frames.append(frame);
    }
    return frames;
}

void QmxStreamCadence::setSpeed(double newSpeed, const StreamAxis &axis)
{
    if (newSpeed == speed) return;
    start = position(axis);
    reads = 0;
    speed = newSpeed;
}

void QmxStreamCadence::seek(int frame)
{
    start = frame;
    reads = 0;
}
