// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <map>
#include <memory>
#include <mutex>
#include <string>

/// Keeps a stepped clock still from the moment a write is queued until every listener of this process has
/// been called for it, so that a test sees the same order every time. One for each store of the process; any
/// thread. Without a stepped clock there is no token to hold and nothing happens.
class DeliveryGate
{
public:
    static std::shared_ptr<DeliveryGate> forStore(const std::string &uri);

    /// `reader`, any unique address, is waited for from now on; it has passed `version` already.
    void join(const void *reader, quint64 version);
    void leave(const void *reader);
    void passed(const void *reader, quint64 version);
    /// Keeps the clock's token until all readers have passed `version`.
    void hold(std::shared_ptr<void> token, quint64 version);

private:
    void release();

    std::mutex _mutex;
    std::map<const void *, quint64> _readers;
    std::multimap<quint64, std::shared_ptr<void>> _held;
};
