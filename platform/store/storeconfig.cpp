// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/storeconfig.h"

#include "platform/store/alarmvalue.h"

#include <cstdio>

StoreConfig::StoreConfig(std::shared_ptr<StoreClient> client) : _client(std::move(client)) {}

StoreConfig::~StoreConfig()
{
    _client->leave(this);
}

bool StoreConfig::fail(const std::string &reason)
{
    const std::lock_guard lock(_mutex);
    _lastError = reason;
    return false;
}

bool StoreConfig::setValue(eParam_t id, const StoreValue &value)
{
    const ParamDescriptor *known = descriptor(id);
    std::string reason;
    if (!known) {
        char text[48];
        std::snprintf(text, sizeof text, "there is no parameter 0x%08X", static_cast<unsigned>(id));
        return fail(text);
    }
    if (!known->check(value, reason) || !_client->write({id, value}, reason)) return fail(reason);
    return true;
}

bool StoreConfig::getValue(eParam_t id, StoreValue &value)
{
    bool answered = false;
    const ParamDescriptor *known = descriptor(id);
    return getOfKind(id, known ? known->valueKind() : value.kind, value, answered);
}

/// `answered`: `value` has been filled, if only with the default.
bool StoreConfig::getOfKind(eParam_t id, StoreValue::Kind kind, StoreValue &value, bool &answered)
{
    const ParamDescriptor *known = descriptor(id);
    std::string reason;
    answered = known && known->valueKind() == kind;
    if (!answered) return fail(known ? known->name() + " is of another kind" : "there is no such parameter");
    return _client->read(*known, value, reason) || fail(reason);
}

bool StoreConfig::setUInt(eParam_t id, unsigned value)
{
    return setValue(id, StoreValue::fromUnsigned(value));
}

bool StoreConfig::setString(eParam_t id, const std::string &value)
{
    return setValue(id, StoreValue::fromString(value));
}

bool StoreConfig::setData(eParam_t id, const std::string &value)
{
    return setValue(id, StoreValue::fromData(value));
}

bool StoreConfig::getUInt(eParam_t id, unsigned &value)
{
    StoreValue found;
    bool answered = false;
    const bool certain = getOfKind(id, StoreValue::Kind::Unsigned, found, answered);
    if (answered) value = found.number;
    return certain;
}

bool StoreConfig::getString(eParam_t id, std::string &value)
{
    StoreValue found;
    bool answered = false;
    const bool certain = getOfKind(id, StoreValue::Kind::String, found, answered);
    if (answered) value = found.text;
    return certain;
}

bool StoreConfig::getData(eParam_t id, std::string &value)
{
    StoreValue found;
    bool answered = false;
    const bool certain = getOfKind(id, StoreValue::Kind::Data, found, answered);
    if (answered) value = found.text;
    return certain;
}

void StoreConfig::addListener(ConfigEventListener *listener)
{
    if (listener) _client->addListener(this, listener);
}

const ParamDescriptor *StoreConfig::descriptor(eParam_t id)
{
    return GetDescriptor(id);
}

std::string StoreConfig::lastError() const
{
    const std::lock_guard lock(_mutex);
    return _lastError;
}

std::string StoreConfig::storeState() const
{
    return _client->state();
}

int StoreConfig::pendingWrites() const
{
    return _client->pendingWrites();
}

std::vector<AlarmRecord> StoreConfig::alarmHistory(int newest)
{
    std::vector<AlarmRecord> records;
    std::string reason;
    if (!_client->alarmHistory(newest, records, reason)) fail(reason);
    for (AlarmRecord &record : records) {
        AlarmSeverity severity = AlarmSeverity::Information;
        std::string message;
        record.raised = parseAlarmValue(record.message, severity, message);
        record.severity = static_cast<int>(severity);
        record.message = std::move(message);
    }
    return records;
}
