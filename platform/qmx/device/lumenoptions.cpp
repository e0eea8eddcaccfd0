// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/lumenoptions.h"

namespace {
LumenOptions &held()
{
    static LumenOptions options;
    return options;
}
} // namespace

LumenOptions LumenOptions::current()
{
    return held();
}

void LumenOptions::setCurrent(const LumenOptions &options)
{
    held() = options;
}
