// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/alarms.h"

#include "platform/qmx/core/qmxalarmlist.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/store/storealarmlist.h"

namespace {

constexpr AlarmRow rows[] = {
#define FRAMEWORK_ALARM(row, number, name, policy, levels, meaning, reason, advice)                          \
    {eParam_Alarm##row, QmxIds::alarm##row, name, AlarmPolicy::policy, levels, meaning, reason, advice},
#define STORE_ALARM(row, name, policy, levels, meaning, reason, advice)                                      \
    {eParam_Alarm##row, QmxIds::none, name, AlarmPolicy::policy, levels, meaning, reason, advice},
    QMX_ALARMS(FRAMEWORK_ALARM, STORE_ALARM) STORE_ALARMS(STORE_ALARM)
#undef FRAMEWORK_ALARM
#undef STORE_ALARM
};

// Nobody tells that news are over and a repeat is swallowed, so the next deliberate action clears them:
// without that the second take's failure would stay silent. A stop does not clear them, because a stop
// pressed out of habit would wipe the news.
constexpr const char *news[] = {"clear_on_play_pressed", "clear_on_record_pressed", "clear_on_record"};
constexpr const char *nextName[] = {"clear_on_play_pressed", "clear_on_record_pressed"};
constexpr const char *nextRecord[] = {"clear_on_record_pressed", "clear_on_record"};
// A setting, not something that begins during a take: it counts only for the next one, and nobody has asked
// for that take before record is pressed.
constexpr const char *beforeTake[] = {"raise_on_record_pressed", "raise_on_record"};

} // namespace

std::span<const AlarmRow> alarmTable()
{
    return rows;
}

const char *alarmAdvice(eParam_t param)
{
    for (const AlarmRow &row : rows)
        if (row.param == param) return row.advice;
    return "";
}

std::span<const char *const> attributesOf(AlarmPolicy policy)
{
    switch (policy) {
    case AlarmPolicy::News:
        return news;
    case AlarmPolicy::NextName:
        return nextName;
    case AlarmPolicy::NextRecord:
        return nextRecord;
    case AlarmPolicy::BeforeTake:
        return beforeTake;
    case AlarmPolicy::Condition:
        break;
    }
    // A condition that were cleared would come back only when it changes.
    return {};
}
