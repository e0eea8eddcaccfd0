// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storebackend.h"

#include <array>
#include <mutex>
#include <string>

/// Whether a client's store can be reached; logs when that changes. Any thread.
class StoreState
{
public:
    /// Reading may work while writing does not.
    enum Use { Reading, Writing, UseCount };

    explicit StoreState(std::string uri);
    void report(Use use, const StoreResult &result);
    /// Empty while it can be reached.
    std::string text() const;

private:
    const std::string _uri;
    mutable std::mutex _mutex;
    std::array<std::string, UseCount> _texts;
};
