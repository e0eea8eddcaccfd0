// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/stream/streamaxis.h"

#include <QList>
#include <QtGlobal>

/// Which frame is due after how many reads. Pure arithmetic, no state but where the count began: the
/// position never accumulates an error, at whatever speed and however long.
struct QmxStreamCadence
{
    int start = 0;      ///< position at the last seek or change of speed
    qint64 reads = 0;   ///< frames read since then
    double speed = 1.0; ///< in units of normal speed; negative is reverse; never 0

    /// start + trunc(reads × speed), held between -1 and the end: the two positions just past the ends.
    /// Numbers without a frame are not counted.
    int position(const StreamAxis &axis) const;
    /// The position `ahead` reads later.
    int positionAfter(qint64 ahead, const StreamAxis &axis) const;
    /// The next different frames in the direction of travel, the one at the position first: at most `count`,
    /// all of them inside the stream.
    QList<int> upcoming(int count, const StreamAxis &axis) const;
    /// Changes the speed without moving the position; the same speed changes nothing.
    void setSpeed(double newSpeed, const StreamAxis &axis);
    void seek(int frame);
};
