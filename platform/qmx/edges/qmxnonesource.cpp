// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxnonesource.h"

#include "platform/qmx/edges/qmxsourceformat.h"

QmxSourceFrame QmxNoneSource::take(const QmxTick &tick)
{
    QmxSourceFrame frame;
    frame.audio =
        QmxAudio::silence(QmxSourceFormat::audioDesc(tick.rate), qmxAudioSamples(tick.index, tick.rate));
    return frame;
}
