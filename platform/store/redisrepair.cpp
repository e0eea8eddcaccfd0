// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/alarmvalue.h"
#include "platform/store/paramdescriptor.h"
#include "platform/store/redisbackend.h"
#include "platform/store/redisrow.h"
#include "platform/store/redisscripts.h"
#include "platform/store/storesource.h"

#include <algorithm>

#include <unistd.h>

namespace {
constexpr const char *module = "redisrepair";
}

std::string RedisBackend::newEpoch() const
{
    return std::to_string(wallMicroseconds()) + "-" + std::to_string(::getpid()) + "@" + _origin;
}

quint64 RedisBackend::newestKnown() const
{
    quint64 newest = _newest;
    if (_context.memory)
        for (const auto &[id, stored] : _context.memory())
            newest = std::max(newest, stored.version);
    return newest;
}

/// A new store, or one that the server has lost, from what this process knows.
StoreResult RedisBackend::create()
{
    StoreImage image;
    if (_context.memory) image = _context.memory();
    quint64 top = newestKnown();
    const std::string text =
        "The configuration store " + _address.text() + " has been restored: its server had lost it";
    const bool isNew = image.empty();
    if (!isNew)
        image[eParam_AlarmStoreRestored] = {StoreValue::fromData(alarmValue(AlarmSeverity::Warning, text)),
                                            ++top, storeSource("store"), wallMicroseconds()};
    Words arguments{newEpoch(), std::to_string(top)};
    for (const auto &[id, stored] : image) {
        const ParamDescriptor *descriptor = GetDescriptor(eParam_t(id));
        const bool isUp =
            descriptor && descriptor->isAlarm() && !(stored.value == descriptor->defaultValue());
        arguments.push_back(std::to_string(id));
        arguments.push_back(isUp ? "a" : "");
        arguments.push_back(RedisRow::make(stored, _origin));
    }
    Words keys = storeKeys();
    keys.push_back(key("alarms"));
    RedisValue answer;
    Answer outcome = Answer::Done;
    StoreResult result = run(RedisScripts::create, keys, arguments, answer, outcome);
    if (result.isDone() && outcome == Answer::Done && !isNew)
        qmxLogOutput(QmxLogLevel::Error, module, __LINE__, "%s. Look at the settings\n", text.c_str());
    return result;
}

/// The server holds less than it has told. `first`: nobody else has done it before.
StoreResult RedisBackend::beginEpoch(const std::string &old, bool &first)
{
    RedisValue answer;
    Answer outcome = Answer::Done;
    StoreResult result = run(RedisScripts::beginEpoch, storeKeys(),
                             {old, newEpoch(), std::to_string(newestKnown())}, answer, outcome);
    first = result.isDone() && outcome == Answer::Done;
    if (!first) return result;
    const std::string text = "The configuration store " + _address.text() +
                             " has been restored: its server had lost the newest changes";
    qmxLogOutput(QmxLogLevel::Error, module, __LINE__, "%s. Look at the settings\n", text.c_str());
    return putUpkeep(
        {{{eParam_AlarmStoreRestored, StoreValue::fromData(alarmValue(AlarmSeverity::Warning, text))}, 0}});
}

/// Under a name of its own, so that the server still knows the last batch of the client.
StoreResult RedisBackend::putUpkeep(const std::vector<Order> &orders)
{
    RedisValue answer;
    Answer outcome = Answer::Done;
    return put(orders, storeSource("store"), _writer + ":store", _try + 1, answer, outcome);
}

/// What earlier processes left behind: alarms that nobody is there to clear, and, after a restart of this
/// machine, what was written on it and is not kept. Of other machines nobody here can tell.
StoreResult RedisBackend::clearLeftovers(bool thorough)
{
    StoreImage image;
    StoreCursor cursor;
    Origins origins;
    StoreResult result = take(image, cursor, &origins);
    if (!result.isDone()) return result;
    std::vector<Order> stale;
    for (const auto &[id, stored] : image) {
        const ParamDescriptor *descriptor = GetDescriptor(eParam_t(id));
        const std::string &origin = origins[id];
        if (!descriptor || stored.value == descriptor->defaultValue()) continue;
        if (!RedisRow::isSameMachine(origin, _origin)) continue;
        const bool restarted = origin != _origin;
        // That the store was restored is shown until the daemon starts anew: whoever restored it may have
        // been a command of a moment.
        const bool staysUp = descriptor->id() == eParam_AlarmStoreRestored && !restarted && !thorough;
        const bool isDead =
            descriptor->isAlarm() && !staysUp &&
            (restarted || storeSourceHasLeft(stored.source, _context.source, _context.isRecorder, thorough));
        const bool isOver =
            !descriptor->isAlarm() && restarted && descriptor->keep() == ParamDescriptor::Keep::Volatile;
        if (isDead || isOver) stale.push_back({{eParam_t(id), descriptor->defaultValue()}, stored.version});
    }
    return stale.empty() ? StoreResult() : putUpkeep(stale);
}

void RedisBackend::warnOfForgetfulServer()
{
    RedisValue answer;
    // A server that does not tell is in other hands.
    if (!ask({"CONFIG", "GET", "append*"}, answer).isDone()) return;
    const auto has = [&answer](const char *name, const char *value) {
        for (std::size_t i = 0; i + 1 < answer.items.size(); i += 2)
            if (answer.items[i].text == name) return answer.items[i + 1].text == value;
        return true;
    };
    if (has("appendonly", "yes") && has("appendfsync", "always")) return;
    qmxLogOutput(QmxLogLevel::Warning, module, __LINE__,
                 "A power cut may take the newest settings from the configuration store %s: give its server "
                 "the settings 'appendonly yes' and 'appendfsync always'\n",
                 _address.text().c_str());
}

StoreResult RedisBackend::prepare(bool thorough)
{
    StoreResult result = clearLeftovers(thorough);
    if (result.code == StoreResult::Unreachable && _connection.isOpen()) {
        result = create();
        if (result.isDone()) result = clearLeftovers(thorough);
    }
    if (result.isDone() && thorough) warnOfForgetfulServer();
    // A store that cannot be written may still be read.
    const bool mayBeRead = result.code == StoreResult::ReadOnly || result.code == StoreResult::Full;
    return mayBeRead ? StoreResult() : result;
}
