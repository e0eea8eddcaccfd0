// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipnames.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/core/qmxclock.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

constexpr const char *extension = ".mov";
constexpr const char *takeWord = "{take}";
constexpr const char *rolloverMark = "_R";
constexpr int firstRollover = 2;         // the clip that rolls over is the first
constexpr std::size_t maximumStem = 200; // bytes; file systems take 255 with everything appended
constexpr std::size_t maximumIndexDigits = 6;

std::string localTime(qint64 wallTime, const char *format)
{
    const auto seconds = static_cast<time_t>(wallTime / QmxClock::nsPerSecond);
    struct tm parts
    {};
    char text[32];
    ::localtime_r(&seconds, &parts);
    return std::string(text, ::strftime(text, sizeof text, format, &parts));
}

void replaceAll(std::string &text, const std::string &word, const std::string &by)
{
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + by.size()))
        text.replace(at, word.size(), by);
}

/// Cuts at a character's border: UTF-8 continuation bytes do not begin one.
void cut(std::string &text, std::size_t size)
{
    if (text.size() <= size) return;
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U)
        --size;
    text.resize(size);
}

/// "take_001_R2.mov"
struct RolloverName
{
    std::string stem; ///< "take_001"
    int index = -1;   ///< -1: it has none
    std::string tail; ///< ".mov"
};

RolloverName partsOf(const std::string &name)
{
    const auto dot = name.rfind('.');
    const std::string stem = name.substr(0, dot);
    const std::string tail = dot == std::string::npos ? std::string() : name.substr(dot);
    const std::string mark = rolloverMark;
    const auto at = stem.rfind(mark);
    const std::string digits = at == std::string::npos ? std::string() : stem.substr(at + mark.size());
    const bool isIndex =
        !digits.empty() && digits.size() <= maximumIndexDigits &&
        std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!isIndex) return {stem, -1, tail};
    return {stem.substr(0, at), std::atoi(digits.c_str()), tail};
}

} // namespace

std::string clipNameFromPattern(const std::string &pattern, const ClipNameWords &words)
{
    char take[16];
    std::snprintf(take, sizeof take, "%03u", words.take);
    std::string stem = pattern;
    replaceAll(stem, "{date}", localTime(words.wallTime, "%Y%m%d"));
    replaceAll(stem, "{time}", localTime(words.wallTime, "%H%M%S"));
    // The take distinguishes clips, so the rest is what is shortened.
    std::string reel = words.reel;
    std::string name = words.name;
    cut(reel, maximumStem / 4);
    cut(name, maximumStem / 2);
    replaceAll(stem, "{reel}", reel);
    replaceAll(stem, takeWord, take);
    replaceAll(stem, "{name}", name);
    for (char &c : stem)
        if (c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20) c = '_';
    // A leading dot would hide the clip from every list.
    if (stem.empty() || stem[0] == '.') stem.insert(stem.begin(), '_');
    cut(stem, maximumStem);
    return stem + extension;
}

std::string clipNameFromOutside(const std::string &name)
{
    const bool fits = name.size() <= maximumStem + std::string_view(extension).size();
    if (fits && isClipName(name) && name.find('/') == std::string::npos) return name;
    std::string clean = name;
    cut(clean, maximumStem);
    for (char &c : clean)
        if (c == '/' || static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '_';
    if (clean.empty() || clean.front() == '.') clean.insert(0, "_");
    return isClipName(clean) ? clean : clean + extension;
}

bool patternCountsTakes(const std::string &pattern)
{
    return pattern.find(takeWord) != std::string::npos;
}

std::string clipNameWithNextRolloverIndex(const std::string &name)
{
    const RolloverName parts = partsOf(name);
    const int next = parts.index < 0 ? firstRollover : parts.index + 1;
    return parts.stem + rolloverMark + std::to_string(next) + parts.tail;
}

std::string clipNameBeforeRollover(const std::string &name)
{
    const RolloverName parts = partsOf(name);
    if (parts.index < firstRollover) return {};
    return parts.index == firstRollover
               ? parts.stem + parts.tail
               : parts.stem + rolloverMark + std::to_string(parts.index - 1) + parts.tail;
}
