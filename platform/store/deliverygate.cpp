// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/deliverygate.h"

#include <algorithm>
#include <limits>

std::shared_ptr<DeliveryGate> DeliveryGate::forStore(const std::string &uri)
{
    static std::mutex mutex;
    static std::map<std::string, std::weak_ptr<DeliveryGate>> gates;
    const std::lock_guard lock(mutex);
    std::shared_ptr<DeliveryGate> gate = gates[uri].lock();
    if (!gate) gates[uri] = gate = std::make_shared<DeliveryGate>();
    return gate;
}

void DeliveryGate::join(const void *reader, quint64 version)
{
    const std::lock_guard lock(_mutex);
    _readers[reader] = version;
}

void DeliveryGate::leave(const void *reader)
{
    const std::lock_guard lock(_mutex);
    _readers.erase(reader);
    release();
}

void DeliveryGate::passed(const void *reader, quint64 version)
{
    const std::lock_guard lock(_mutex);
    const auto found = _readers.find(reader);
    if (found == _readers.end() || found->second >= version) return;
    found->second = version;
    release();
}

void DeliveryGate::hold(std::shared_ptr<void> token, quint64 version)
{
    // A token owns but points to nothing.
    if (token.use_count() == 0) return;
    const std::lock_guard lock(_mutex);
    _held.emplace(version, std::move(token));
    release();
}

void DeliveryGate::release()
{
    quint64 lowest = std::numeric_limits<quint64>::max();
    for (const auto &[reader, version] : _readers)
        lowest = std::min(lowest, version);
    _held.erase(_held.begin(), _held.upper_bound(lowest));
}
