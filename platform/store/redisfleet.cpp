// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/redisfleet.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/config.h"
#include "platform/store/redisrow.h"
#include "platform/store/redisscripts.h"
#include "platform/store/storebackend.h"

#include <algorithm>
#include <array>

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace {
constexpr const char *keyBegin = "xp:{";
constexpr const char *keyEnd = "}:";

std::string panelKey(const std::string &name)
{
    return keyBegin + name + keyEnd + "panel";
}
} // namespace

std::optional<RedisAddress> redisAddressOfStore()
{
    std::string path;
    const StoreBackendRow *row = findStoreBackend(GetConfigURI("udp"), path);
    if (!row || row->scheme == "sqlite") return {};
    return row->scheme == "redis" ? RedisAddress::parse(path) : RedisAddress::parseSentinels(path);
}

RedisFleet::RedisFleet(const RedisAddress &address, const std::string &passwordFile)
    : _connection(address, passwordFile, std::make_shared<std::atomic<bool>>(false))
{}

std::string RedisFleet::thisRecorder()
{
    // Of several channels of a machine each has its own folder of locks, under whatever name.
    struct stat places = {};
    const std::string locks = QmxEnvironment::current().places->locks.toStdString();
    const bool isThere = ::stat(locks.c_str(), &places) == 0;
    return RedisRow::thisOrigin() + "#" + std::to_string(isThere ? places.st_dev : 0) + "-" +
           std::to_string(isThere ? places.st_ino : 0);
}

RedisFleet::Member RedisFleet::memberOf(const std::string &name, const std::string &holder)
{
    const auto blank = holder.find(' ');
    return {name,
            holder.substr(0, std::min(holder.find('/'), blank)),
            blank == std::string::npos ? std::string() : holder.substr(blank + 1),
            {}};
}

std::string RedisFleet::addressOf(int descriptor)
{
    sockaddr_storage address = {};
    socklen_t size = sizeof address;
    std::array<char, NI_MAXHOST> text{};
    auto *const own = reinterpret_cast<sockaddr *>(&address);
    const bool isKnown = ::getsockname(descriptor, own, &size) == 0 &&
                         ::getnameinfo(own, size, text.data(), text.size(), nullptr, 0, NI_NUMERICHOST) == 0;
    return isKnown ? text.data() : "an unknown address";
}

RedisConnection::Words RedisFleet::keysOf(const std::string &name)
{
    RedisConnection::Words keys;
    for (const char *part : {"epoch", "version", "param", "log", "alarms", "machine"})
        keys.push_back(keyBegin + name + keyEnd + part);
    return keys;
}

StoreResult RedisFleet::list(std::vector<Member> &members)
{
    members.clear();
    StoreResult result = _connection.open();
    if (!result.isDone()) return result;
    std::vector<std::string> names;
    std::string cursor = "0";
    do {
        RedisValue answer;
        result = _connection.ask({"SCAN", cursor, "MATCH", "xp:{*}:epoch", "COUNT", "1000"}, answer);
        if (result.isDone() && answer.isError()) result = _connection.refusal(answer);
        if (!result.isDone()) return result;
        cursor = answer.at(0).text;
        for (const RedisValue &key : answer.at(1).items)
            names.push_back(key.text.substr(4, key.text.find('}') - 4));
    } while (cursor != "0" && !cursor.empty());
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end()); // SCAN may tell one twice
    for (const std::string &name : names) {
        RedisValue holder;
        result = _connection.ask({"MGET", keysOf(name).back(), panelKey(name)}, holder);
        if (!result.isDone()) return result;
        members.push_back(memberOf(name, holder.at(0).text));
        members.back().panel = holder.at(1).text;
    }
    return {};
}

StoreResult RedisFleet::ownAddress(std::string &address)
{
    StoreResult result = _connection.open();
    if (result.isDone()) address = addressOf(_connection.descriptor());
    return result;
}

StoreResult RedisFleet::announce(const std::string &name, const std::string &panel,
                                 std::chrono::seconds forSoLong)
{
    StoreResult result = _connection.open();
    if (!result.isDone()) return result;
    RedisValue answer;
    result = _connection.ask({"SET", panelKey(name), panel, "EX", std::to_string(forSoLong.count())}, answer);
    return result.isDone() && answer.isError() ? _connection.refusal(answer) : result;
}

StoreResult RedisFleet::run(const char *script, const RedisConnection::Words &keys, const std::string &name,
                            const std::string &to)
{
    StoreResult result = _connection.open();
    if (!result.isDone()) return result;
    RedisConnection::Words command{"EVAL", script, std::to_string(keys.size())};
    command.insert(command.end(), keys.begin(), keys.end());
    RedisValue answer;
    result = _connection.ask(command, answer);
    if (!result.isDone()) return result;
    if (answer.isError()) return _connection.refusal(answer);
    const std::string &outcome = answer.at(0).text;
    if (outcome == "done") return {};
    if (outcome == "gone") return {StoreResult::ReadOnly, "there is no recorder " + name + " on this server"};
    if (outcome == "there") return {StoreResult::ReadOnly, "there is a recorder " + to + " already"};
    const Member holder = memberOf(name, answer.at(1).text);
    return {StoreResult::ReadOnly, "the recorder " + name + " is in use: it is " + holder.machine + " at " +
                                       holder.address + "; end its daemons first, and wait 15 s"};
}

StoreResult RedisFleet::rename(const std::string &from, const std::string &to)
{
    RedisConnection::Words keys = keysOf(from);
    const RedisConnection::Words others = keysOf(to);
    keys.insert(keys.end(), others.begin(), others.end());
    return run(RedisScripts::rename, keys, from, to);
}

StoreResult RedisFleet::remove(const std::string &name)
{
    return run(RedisScripts::remove, keysOf(name), name);
}
