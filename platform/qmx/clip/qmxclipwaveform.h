// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <QList>
#include <QString>

/// How loud a clip is from its left to its right, for a strip on a screen.
namespace QmxClipWaveform {
constexpr int mostColumns = 2000;

struct Peaks
{
    qint64 first = 0;
    qint64 end = 0;       ///< one behind the last frame
    QList<float> columns; ///< the largest sample of all channels, 0 to 1 (full scale); empty: no sound
};

/// The frames from `first` to before `end` (at most the clip's) in `count` columns, fewer when there are
/// fewer frames. Of a long clip each column stands for some of its frames, so that no more than some 50 MB
/// are read. Errors: as of opening a clip; EINVAL when there are no such frames. Blocks on the medium; any
/// thread.
QmxError make(const QString &clip, qint64 first, qint64 end, int count, const QmxEnvironment &environment,
              Peaks &peaks);
} // namespace QmxClipWaveform
