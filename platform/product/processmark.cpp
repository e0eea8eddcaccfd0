// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/processmark.h"

#include "platform/store/storesource.h"

#include <cstdlib>
#include <string>

#include <unistd.h>

namespace {

// Linux gives numbers below 2^22; ticks since the machine started last for 21 years. The rest tells the
// processes of one container from those of another.
constexpr int startBits = 36;
constexpr int spaceBits = 6;
constexpr quint64 startMask = (quint64(1) << startBits) - 1;
constexpr quint64 spaceMask = ((quint64(1) << spaceBits) - 1) << startBits;

} // namespace

quint64 ProcessMark::self()
{
    const std::string source = storeSource("");
    const auto start = source.rfind('.') + 1;
    const auto space = source.find('-', start);
    const quint64 numbers =
        space == std::string::npos ? 0 : std::strtoull(source.c_str() + space + 1, nullptr, 10);
    return (static_cast<quint64>(::getpid()) << (startBits + spaceBits)) |
           ((numbers << startBits) & spaceMask) |
           (std::strtoull(source.c_str() + start, nullptr, 10) & startMask);
}

bool ProcessMark::isAlive(quint64 mark)
{
    if (mark == 0) return false;
    if (((mark ^ self()) & spaceMask) != 0) return true; // nobody here can tell
    return storeSourceIsAlive("@" + std::to_string(mark >> (startBits + spaceBits)) + "." +
                              std::to_string(mark & startMask));
}
