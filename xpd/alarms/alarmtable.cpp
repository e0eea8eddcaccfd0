// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/alarms/alarmtable.h"

namespace {

constexpr AlarmRow kAlarms[] = {
    {eParam_AlarmMediaWriteFailed, 1901},
    {eParam_AlarmClipNameExists, 1902},
    {eParam_AlarmMediaReadFailed, 1903},
    {eParam_AlarmFrameDropped, 1904},
    {eParam_AlarmLossOfVideoStillMissing, 1905},
    {eParam_AlarmMediaSlow, 1906},
    {eParam_AlarmInputLostInRecord, 1907},
    {eParam_AlarmOutputFailed, 1908},
    {eParam_AlarmAudioInputLost, 1909},
    {eParam_AlarmReferenceMissing, 1910},
    {eParam_AlarmChannelsNeedEmbeddedAudio, 1911},
    {eParam_AlarmClockLate, 1912},
    {eParam_AlarmReferenceNotLocked, 1913},
    {eParam_AlarmVariableRate, 1914},
    {eParam_AlarmMemoryExhausted, 1915},
    {eParam_AlarmLogOutputFailed, 1916},
    {eParam_AlarmSpare1, 1917},
    {eParam_AlarmSpare2, 1918},
    {eParam_AlarmSpare3, 1919},
    {eParam_AlarmLutError, 1920},
    {eParam_AlarmRecordInhibited, 1921},
};

} // namespace

std::span<const AlarmRow> alarmTable()
{
    return kAlarms;
}

std::span<const std::string> alarmDelayAttributes()
{
    static const std::string attributes[] = {
        kPlayPressed.raiseAttribute, kRecordPressed.raiseAttribute, kStopPressed.raiseAttribute,
        kPlayback.raiseAttribute,    kRecord.raiseAttribute,        "raise_on_standby",
        kStandbyOff.raiseAttribute,
    };
    return attributes;
}
