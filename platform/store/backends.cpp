// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/sqlitebackend.h"
#include "platform/store/storebackend.h"

StoreBackend::~StoreBackend() = default;

const std::vector<StoreBackendRow> &storeBackends()
{
    static const std::vector<StoreBackendRow> rows = {
        {"sqlite", "sqlite:PATH",
         [](const StoreContext &context) -> std::unique_ptr<StoreBackend> {
             return std::make_unique<SqliteBackend>(context);
         }},
    };
    return rows;
}

const StoreBackendRow *findStoreBackend(const std::string &uri, std::string &path)
{
    for (const StoreBackendRow &row : storeBackends()) {
        const std::string prefix = row.scheme + ":";
        if (!uri.starts_with(prefix) || uri.size() == prefix.size()) continue;
        path = uri.substr(prefix.size());
        return &row;
    }
    return nullptr;
}
