// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxmetadatahash.h"

/// The number of a frame that is played as operators count: in a list that of the frames before it. The
/// number it goes by may be higher, where a list has left room for a clip that grows. -1: it has none.
inline qint64 qmxFrameShown(const QmxMetadataHash &metadata)
{
    const QVariant inList = metadata.value(QmxIds::listPosition);
    if (inList.canConvert<qint64>()) return inList.value<qint64>();
    const QVariant number = metadata.value(QmxIds::frameNumber);
    return number.isValid() ? number.toInt() : -1;
}
