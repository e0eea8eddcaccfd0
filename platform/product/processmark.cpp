// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/processmark.h"

#include "platform/store/storesource.h"

#include <cstdlib>
#include <string>

#include <unistd.h>

namespace {

// Linux gives numbers below 2^22; ticks since the machine started last for 1,300 years.
constexpr int startBits = 42;
constexpr quint64 startMask = (quint64(1) << startBits) - 1;

} // namespace

quint64 ProcessMark::self()
{
    const std::string source = storeSource("");
    const quint64 start = std::strtoull(source.c_str() + source.rfind('.') + 1, nullptr, 10);
    return (static_cast<quint64>(::getpid()) << startBits) | (start & startMask);
}

bool ProcessMark::isAlive(quint64 mark)
{
    return mark != 0 && storeSourceIsAlive("@" + std::to_string(mark >> startBits) + "." +
                                           std::to_string(mark & startMask));
}
