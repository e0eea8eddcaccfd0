// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstreamcadence.h"

#include <algorithm>
#include <cmath>

int QmxStreamCadence::position(int length) const
{
    return positionAfter(0, length);
}

int QmxStreamCadence::positionAfter(qint64 ahead, int length) const
{
    const double exact = double(start) + std::trunc(double(reads + ahead) * speed);
    return int(std::clamp(exact, -1.0, double(length)));
}

QList<int> QmxStreamCadence::upcoming(int count, int length) const
{
    QList<int> frames;
    // Up to normal speed no frame is left out, so the next ones are neighbours; above it every read is
    // another frame.
    const bool neighbours = std::abs(speed) <= 1.0;
    const int step = speed < 0 ? -1 : 1;
    const int first = position(length);
    for (int ahead = 0; ahead < count; ++ahead) {
        const int frame = neighbours ? first + ahead * step : positionAfter(ahead, length);
        if (frame < 0 || frame >= length) break;
        frames.append(frame);
    }
    return frames;
}

void QmxStreamCadence::setSpeed(double newSpeed, int length)
{
    if (newSpeed == speed) return;
    start = position(length);
    reads = 0;
    speed = newSpeed;
}

void QmxStreamCadence::seek(int frame)
{
    start = frame;
    reads = 0;
}
