// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/heardchange.h"

#include <charconv>

namespace {
constexpr std::string_view mark = "=";

/// The next word of `text`, which loses it.
std::string_view word(std::string_view &text)
{
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view found = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return found;
}

template <typename Number>
bool read(std::string_view &text, Number &number)
{
    const std::string_view digits = word(text);
    const auto [end, problem] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return problem == std::errc() && end == digits.data() + digits.size();
}
} // namespace

std::string HeardChange::toText() const
{
    const StoredValue &stored = change.stored;
    const bool isNumber = stored.value.kind == StoreValue::Kind::Unsigned;
    std::string text(mark);
    for (const std::string &field :
         {epoch, std::to_string(stored.version), std::to_string(unsigned(change.id)),
          std::to_string(int(stored.value.kind)), std::to_string(stored.time), stored.source})
        text += field + ' ';
    text += isNumber ? std::to_string(stored.value.number) : stored.value.text;
    const bool isPlain = epoch.find(' ') == std::string::npos && stored.source.find(' ') == std::string::npos;
    return isPlain && text.size() <= largest ? text : std::string();
}

std::optional<HeardChange> HeardChange::parse(std::string_view text)
{
    if (!text.starts_with(mark)) return {};
    text.remove_prefix(mark.size());
    HeardChange heard;
    heard.epoch = word(text);
    unsigned id = 0;
    int kind = 0;
    StoredValue &stored = heard.change.stored;
    if (!read(text, stored.version) || !read(text, id) || !read(text, kind) || !read(text, stored.time))
        return {};
    stored.source = word(text);
    heard.change.id = eParam_t(id);
    const ParamDescriptor *descriptor = GetDescriptor(heard.change.id);
    if (!descriptor || int(descriptor->valueKind()) != kind) return {};
    stored.value.kind = descriptor->valueKind();
    if (stored.value.kind != StoreValue::Kind::Unsigned)
        stored.value.text = text;
    else if (!read(text, stored.value.number))
        return {};
    return heard;
}
