// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/alarms/alarmevents.h"

std::span<const std::string> alarmDelayAttributes()
{
    static const std::string attributes[] = {
        kPlayPressed.raiseAttribute, kRecordPressed.raiseAttribute, kStopPressed.raiseAttribute,
        kPlayback.raiseAttribute,    kRecord.raiseAttribute,        "raise_on_standby",
        kStandbyOff.raiseAttribute,
    };
    return attributes;
}
