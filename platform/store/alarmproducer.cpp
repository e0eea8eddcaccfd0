// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/alarmproducer.h"

#include "platform/store/alarms.pb.h"
#include "platform/store/alarmvalue.h"
#include "platform/store/config.h"

static_assert(static_cast<int>(AlarmSeverity::Error) == kel::alarms::Alarm::ERROR);

std::string alarmValue(AlarmSeverity severity, const std::string &message)
{
    kel::alarms::Alarm alarm;
    alarm.set_severity(static_cast<kel::alarms::Alarm::Severity>(severity));
    alarm.set_message(message);
    std::string value = alarm.SerializeAsString();
    // Nothing but defaults serialises to nothing, which would be a clear alarm. An explicit 0 in the
    // severity's field says the same and is there.
    if (value.empty()) value.assign("\x08\x00", 2);
    return value;
}

bool parseAlarmValue(const std::string &value, AlarmSeverity &severity, std::string &message)
{
    kel::alarms::Alarm alarm;
    severity = AlarmSeverity::Information;
    message.clear();
    if (value.empty() || !alarm.ParseFromString(value)) return false;
    if (alarm.severity() == kel::alarms::Alarm::WARNING) severity = AlarmSeverity::Warning;
    if (alarm.severity() == kel::alarms::Alarm::ERROR) severity = AlarmSeverity::Error;
    message = alarm.message();
    return true;
}

bool AlarmProducer::raise(Config *config, eParam_t id, kel::alarms::Alarm_Severity severity,
                          std::string message)
{
    const ParamDescriptor *descriptor = config ? config->descriptor(id) : nullptr;
    if (!descriptor || !descriptor->isAlarm()) return false;
    return config->setData(id, alarmValue(static_cast<AlarmSeverity>(severity), message));
}

bool AlarmProducer::clear(Config *config, eParam_t id)
{
    const ParamDescriptor *descriptor = config ? config->descriptor(id) : nullptr;
    if (!descriptor || !descriptor->isAlarm()) return false;
    return config->setData(id, {});
}
