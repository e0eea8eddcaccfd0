// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/paramdescriptor.h"
#include "platform/store/storebackend.h"

#include <mutex>

/// What a client knows of the store: the committed values, and over them its own writes that wait in the
/// queue. Any thread; never waits for anything but another look into memory.
class StoreMemory
{
public:
    /// The value as this client sees it: its queued one, else the committed one, else the default.
    StoreValue value(const ParamDescriptor &descriptor) const;
    /// True once the store has been read.
    bool isLoaded() const;
    /// Committed values, for restoring a store that has been lost.
    StoreImage committed() const;

    void queued(eParam_t id, const StoreValue &value);
    /// A queued write has left the queue; `version` 0 when it changed nothing or was given up. `time`: of the
    /// machine's clock in microseconds, when it was written.
    void unqueued(eParam_t id, const StoreValue &value, quint64 version, const std::string &source,
                  qint64 time);
    /// A committed change, whoever made it. An older one than what is known changes nothing.
    void apply(const StoreChange &change);
    /// What a store that was made anew by another process has forgotten, or holds in an older state.
    /// Alarms only of `self`; what somebody has set since stays.
    std::vector<StoreWrite> missingIn(const StoreImage &image, const std::string &self) const;
    /// Takes over a snapshot; what differs from what was known before, in the order of the writes.
    std::vector<StoreChange> reload(const StoreImage &image);

private:
    struct Queued
    {
        StoreValue value;
        int count = 0;
    };
    mutable std::mutex _mutex;
    StoreImage _committed;
    std::unordered_map<std::uint32_t, Queued> _queued;
    bool _loaded = false;
};
