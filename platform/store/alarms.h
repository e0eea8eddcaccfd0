// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"
#include "platform/store/eparam.h"

#include <span>

/// When an alarm is shown and what takes it away: the attributes of its parameter.
enum class AlarmPolicy {
    News,       ///< told once; any deliberate action of the operator takes it away
    Condition,  ///< whoever raised it clears it
    NextName,   ///< about the next clip's name
    NextRecord, ///< about the record that was asked for
    BeforeTake, ///< held back until a take is asked for
};

/// One alarm: a row of platform/qmx/core/qmxalarmlist.h.
struct AlarmRow
{
    eParam_t param;
    QmxId id; ///< not valid: raised in the store by another program than the transport
    const char *name;
    AlarmPolicy policy;
    const char *levels;  ///< that it is raised with; empty: never
    const char *meaning; ///< one sentence
    const char *reason;  ///< why it comes and goes as it does
    const char *advice;  ///< what an operator can do about it
};

/// Every alarm, those of the framework first and in rising order of their identifiers. Any thread.
std::span<const AlarmRow> alarmTable();
/// What an operator can do about an alarm, in one sentence; empty for what is no alarm. Any thread.
const char *alarmAdvice(eParam_t param);
/// What an alarm of that policy is cleared by and held back until, for the parameter's row.
std::span<const char *const> attributesOf(AlarmPolicy policy);
