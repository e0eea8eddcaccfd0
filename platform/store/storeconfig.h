// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/config.h"
#include "platform/store/storeclient.h"

#include <memory>
#include <mutex>

/// A Config over a store client: checks values against their descriptors and keeps the last reason.
class StoreConfig : public Config
{
public:
    explicit StoreConfig(std::shared_ptr<StoreClient> client);
    ~StoreConfig() override;

    bool setUInt(eParam_t id, unsigned value) override;
    bool getUInt(eParam_t id, unsigned &value) override;
    bool setString(eParam_t id, const std::string &value) override;
    bool getString(eParam_t id, std::string &value) override;
    bool getData(eParam_t id, std::string &value) override;
    bool setData(eParam_t id, const std::string &value) override;
    void addListener(ConfigEventListener *listener) override;
    const ParamDescriptor *descriptor(eParam_t id) override;
    bool setValue(eParam_t id, const StoreValue &value) override;
    bool getValue(eParam_t id, StoreValue &value) override;
    std::string lastError() const override;
    std::string storeState() const override;
    int pendingWrites() const override;
    std::vector<AlarmRecord> alarmHistory(int newest) override;

private:
    bool getOfKind(eParam_t id, StoreValue::Kind kind, StoreValue &value, bool &answered);
    bool fail(const std::string &reason);

    const std::shared_ptr<StoreClient> _client;
    mutable std::mutex _mutex;
    std::string _lastError;
};
