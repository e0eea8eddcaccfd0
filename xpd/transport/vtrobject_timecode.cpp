// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/device/qmxvideodevice.h"
#include "xpd/transport/vtrids.h"

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
    if (_tcgSource == VtrIds::GeneratorTimecode) return _tcgValue;
    if (_tcgSource == VtrIds::TimeOfDayTimecode) return currentTimeOfDayTimecode();
    return _lastVbi.inputTimecode();
}

void VtrObject::jamTCG()
{
    if (!_vdev) return;
    _tcgValue.setFPS(currentTimecodeFrameRate());
    QmxTimecode jam;
    if (_tcgSource == VtrIds::GeneratorTimecode)
        jam = _tcgValue;
    else if (_tcgSource == VtrIds::TimeOfDayTimecode)
        jam = currentTimeOfDayTimecode();
    if (jam.isValid()) _vdev->setProperty(VtrIds::TimecodeJam, QVariant::fromValue(jam));
}

void VtrObject::timecodeTriggerHasStarted()
{
    if (_recordOnRunningTimecode) record();
}

void VtrObject::timecodeTriggerHasStopped()
{
    if (_recordOnRunningTimecode) standbyOff();
}
