// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/lumenoptions.h"

namespace {
LumenOptions &held()
{
    static LumenOptions options;
    return options;
}
} // namespace

CodecLookup LumenOptions::codecsFor(const LumenProfile &used) const
{
    if (codec) return codec;
    return used.libavProRes ? qmxCodecByLibav : qmxCodec;
}

LumenOptions LumenOptions::current()
{
    return held();
}

void LumenOptions::setCurrent(const LumenOptions &options)
{
    held() = options;
}
