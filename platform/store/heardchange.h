// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storebackend.h"

#include <optional>
#include <string>
#include <string_view>

/// A committed change as its writer tells it to those who listen, with the epoch in which it was made: who
/// stands right before it need not read it from the store.
struct HeardChange
{
    static constexpr std::size_t largest = 1400; ///< bytes of a text: longer ones are not told

    std::string epoch;
    StoreChange change;

    /// Empty when it is too long.
    std::string toText() const;
    /// Nothing when it is something else, or makes no sense for its parameter.
    static std::optional<HeardChange> parse(std::string_view text);
};

/// What has come since it was asked last.
struct HeardChanges
{
    std::vector<HeardChange> changes;
    bool isAll = false; ///< nothing came that did not say what has changed
};
