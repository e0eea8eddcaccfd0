// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/qmxvideodevice.h"

#include <QFile>

int VtrObject::currentTimecodeFrameRate() const
{
    return _lastSetup.imageDesc().frameRate().timecodeRate();
}

QmxTimecode VtrObject::currentTimeOfDayTimecode() const
{
    return QmxTimecode::fromTimeOfDay(currentTimecodeFrameRate(), _tcgValue.isDropFrame());
}

QmxTimecode VtrObject::currentInputTimecode() const
{
    if (_tcgSource == QmxIds::timecodeGenerator) return _tcgValue;
    if (_tcgSource == QmxIds::timecodeTimeOfDay) return currentTimeOfDayTimecode();
    return _lastVbi.inputTimecode();
}

void VtrObject::jamTCG()
{
    if (!_vdev) return;
    _tcgValue.setFPS(currentTimecodeFrameRate());
    QmxTimecode jam;
    if (_tcgSource == QmxIds::timecodeGenerator)
        jam = _tcgValue;
    else if (_tcgSource == QmxIds::timecodeTimeOfDay)
        jam = currentTimeOfDayTimecode();
    if (jam.isValid()) _vdev->setProperty(QmxIds::timecodeJam, QVariant::fromValue(jam));
}

void VtrObject::timecodeTriggerHasStarted()
{
    if (_recordOnRunningTimecode) record();
}

void VtrObject::timecodeTriggerHasStopped()
{
    if (_recordOnRunningTimecode) standbyOff();
}
