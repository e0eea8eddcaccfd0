// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <array>
#include <cstddef>

/// How levels of 16 bits that are somewhere in a vector of eight are moved to its front, by one look-up of
/// bytes.
namespace ProResGather {

constexpr int lanes = 8;
using Order = std::array<quint8, 2 * lanes>;

/// For each set of lanes, the lowest bit the first one: the bytes of its lanes, and behind them whatever.
alignas(64) inline constexpr std::array<Order, 1 << lanes> orders = [] {
    std::array<Order, 1 << lanes> all{};
    for (size_t set = 0; set < all.size(); ++set) {
        size_t to = 0;
        for (size_t lane = 0; lane < lanes; ++lane) {
            if (!(set >> lane & 1)) continue;
            all[set][to++] = quint8(2 * lane);
            all[set][to++] = quint8(2 * lane + 1);
        }
    }
    return all;
}();

} // namespace ProResGather
