// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

/// The same numbers as in alarms.proto, for code that keeps clear of the generated header.
enum class AlarmSeverity : int { Information = 0, Warning = 1, Error = 2 };

/// Value of an alarm parameter: a serialised alarm.
std::string alarmValue(AlarmSeverity severity, const std::string &message);
/// False when `value` is empty (a clear alarm) or no alarm; the outputs are then empty.
bool parseAlarmValue(const std::string &value, AlarmSeverity &severity, std::string &message);
