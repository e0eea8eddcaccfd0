// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

/// What a parameter holds: an unsigned number, a text, or bytes. A plain value.
struct StoreValue
{
    enum class Kind : int { Unsigned = 1, String = 2, Data = 3 };

    Kind kind = Kind::Unsigned;
    std::uint32_t number = 0; ///< of Unsigned
    std::string text;         ///< of String and Data

    static StoreValue fromUnsigned(std::uint32_t value) { return {Kind::Unsigned, value, {}}; }
    static StoreValue fromString(std::string value) { return {Kind::String, 0, std::move(value)}; }
    static StoreValue fromData(std::string value) { return {Kind::Data, 0, std::move(value)}; }

    friend bool operator==(const StoreValue &, const StoreValue &) = default;
};
