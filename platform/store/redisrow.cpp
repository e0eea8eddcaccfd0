// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/redisrow.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <fstream>
#include <string_view>

#include <unistd.h>

namespace {

/// Takes the number at the beginning of `text` away, and the space after it.
template <class Number>
bool takeNumber(std::string_view &text, Number &number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const auto length = static_cast<std::size_t>(end - text.data());
    if (error != std::errc() || length >= text.size() || text[length] != ' ') return false;
    text.remove_prefix(length + 1);
    return true;
}

} // namespace

std::string RedisRow::thisOrigin()
{
    std::array<char, 256> host{};
    ::gethostname(host.data(), host.size() - 1);
    std::string name = host.data();
    std::replace_if(
        name.begin(), name.end(),
        [](unsigned char character) { return !std::isgraph(character) || character == '/'; }, '_');
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string boot;
    std::getline(file, boot);
    return name + "/" + boot;
}

bool RedisRow::isSameMachine(const std::string &origin, const std::string &other)
{
    return origin.substr(0, origin.find('/')) == other.substr(0, other.find('/'));
}

std::string RedisRow::valueText(const StoreValue &value)
{
    return value.kind == StoreValue::Kind::Unsigned ? std::to_string(value.number) : value.text;
}

std::string RedisRow::sourceText(std::string source)
{
    std::replace(source.begin(), source.end(), '\n', ' ');
    return source;
}

std::string RedisRow::make(const StoredValue &stored, const std::string &origin)
{
    return std::to_string(static_cast<int>(stored.value.kind)) + " " + std::to_string(stored.version) + " " +
           std::to_string(stored.time) + " " + origin + " " + sourceText(stored.source) + "\n" +
           valueText(stored.value);
}

bool RedisRow::parse(const std::string &row, StoredValue &stored, std::string &origin)
{
    const auto head = row.find('\n');
    if (head == std::string::npos) return false;
    std::string_view text(row.data(), head);
    int kind = 0;
    if (!takeNumber(text, kind) || !takeNumber(text, stored.version) || !takeNumber(text, stored.time))
        return false;
    const auto space = text.find(' ');
    if (space == std::string_view::npos) return false;
    origin = text.substr(0, space);
    stored.source = text.substr(space + 1);
    const std::string_view value = std::string_view(row).substr(head + 1);
    switch (static_cast<StoreValue::Kind>(kind)) {
    case StoreValue::Kind::Unsigned: {
        std::uint32_t number = 0;
        const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
        stored.value = StoreValue::fromUnsigned(number);
        return error == std::errc() && end == value.data() + value.size();
    }
    case StoreValue::Kind::String:
        stored.value = StoreValue::fromString(std::string(value));
        return true;
    case StoreValue::Kind::Data:
        stored.value = StoreValue::fromData(std::string(value));
        return true;
    }
    return false;
}
