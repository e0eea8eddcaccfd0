// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/alarms/alarmevents.h"

std::span<const std::string> alarmDelayAttributes()
{
    static const std::string attributes[] = {
        playPressed.raiseAttribute, recordPressed.raiseAttribute, stopPressed.raiseAttribute,
        playback.raiseAttribute,    record.raiseAttribute,        "raise_on_standby",
        standbyOff.raiseAttribute,
    };
    return attributes;
}
