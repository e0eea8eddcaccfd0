// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxaudiodesc.h"

QString QmxAudioDesc::toString() const
{
    if (!isValid()) return QStringLiteral("none");
    const int rate = _sampleRateDen > 0 ? _sampleRateNum / _sampleRateDen : 0;
    return QStringLiteral("%1 %2 channels %3 Hz").arg(_dataType.name()).arg(_channels).arg(rate);
}
