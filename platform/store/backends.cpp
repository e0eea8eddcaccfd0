// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/heardchange.h"
#include "platform/store/redisbackend.h"
#include "platform/store/sqlitebackend.h"
#include "platform/store/storebackend.h"

#include <cstdlib>

StoreBackend::~StoreBackend() = default;

HeardChanges StoreBackend::takeHeard()
{
    return {};
}

quint64 StoreCursor::epochBegin() const
{
    const auto sign = epoch.rfind('+');
    return sign == std::string::npos ? version : std::strtoull(epoch.c_str() + sign + 1, nullptr, 10);
}

const std::vector<StoreBackendRow> &storeBackends()
{
    static const std::vector<StoreBackendRow> rows = {
        {"sqlite", "sqlite:PATH", [](const std::string &path) { return !path.empty(); },
         [](const StoreContext &context) -> std::unique_ptr<StoreBackend> {
             return std::make_unique<SqliteBackend>(context);
         }},
        {"redis", "redis://HOST[:PORT]/RECORDER",
         [](const std::string &path) { return RedisAddress::parse(path).has_value(); },
         [](const StoreContext &context) -> std::unique_ptr<StoreBackend> {
             return std::make_unique<RedisBackend>(context, *RedisAddress::parse(context.path));
         }},
        {"redis-sentinel", "redis-sentinel://HOST[:PORT][,HOST[:PORT]...]/MASTER/RECORDER",
         [](const std::string &path) { return RedisAddress::parseSentinels(path).has_value(); },
         [](const StoreContext &context) -> std::unique_ptr<StoreBackend> {
             return std::make_unique<RedisBackend>(context, *RedisAddress::parseSentinels(context.path));
         }},
    };
    return rows;
}

const StoreBackendRow *findStoreBackend(const std::string &uri, std::string &path)
{
    for (const StoreBackendRow &row : storeBackends()) {
        const std::string prefix = row.scheme + ":";
        if (!uri.starts_with(prefix) || !row.isWellFormed(uri.substr(prefix.size()))) continue;
        path = uri.substr(prefix.size());
        return &row;
    }
    return nullptr;
}
