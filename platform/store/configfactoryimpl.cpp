// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/configfactoryimpl.h"

#include "platform/store/storeconfig.h"

ConfigFactoryImpl *ConfigFactoryImpl::GetInstance()
{
    static ConfigFactoryImpl factory;
    return &factory;
}

Config *ConfigFactoryImpl::create(const std::string &uri, const std::string &client, bool queued)
{
    std::shared_ptr<StoreClient> shared = StoreClient::acquire(uri, client, queued);
    return shared ? new StoreConfig(std::move(shared)) : nullptr;
}
