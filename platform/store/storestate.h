// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storebackend.h"

#include <mutex>
#include <string>

/// Whether a client's store can be reached; logs when that changes. Any thread.
class StoreState
{
public:
    explicit StoreState(std::string uri);
    void report(const StoreResult &result);
    /// Empty while it can be reached.
    std::string text() const;

private:
    const std::string _uri;
    mutable std::mutex _mutex;
    std::string _text;
};
