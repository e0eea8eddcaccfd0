// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/alarms.h"
#include "platform/store/paramrow.h"

std::vector<ParamRow> alarmRows()
{
    std::vector<ParamRow> rows;
    for (const AlarmRow &alarm : alarmTable()) {
        ParamRow row = data(alarm.param, alarm.name, ParamDescriptor::Keep::Volatile, alarm.meaning);
        row.with({Attribute::alarm});
        for (const char *attribute : attributesOf(alarm.policy))
            row.with({attribute});
        rows.push_back(std::move(row));
    }
    return rows;
}
