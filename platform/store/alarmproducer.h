// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"

#include <string>

class Config;

namespace kel::alarms {
// The message's own header (platform/store/alarms.pb.h) stays out of public headers.
enum Alarm_Severity : int;
} // namespace kel::alarms

/// Writes alarm parameters. Any thread; false when the write was refused (see Config::lastError()).
class AlarmProducer
{
public:
    static bool raise(Config *config, eParam_t id, kel::alarms::Alarm_Severity severity, std::string message);
    static bool clear(Config *config, eParam_t id);
};
