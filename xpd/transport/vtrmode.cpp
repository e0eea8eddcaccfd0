// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrmode.h"

const char *VtrMode::name(Value value)
{
    switch (value) {
    case Invalid:
        return "Invalid";
    case StandbyOff:
        return "StandbyOff";
    case Play:
        return "Play";
    case Record:
        return "Record";
    case Shutdown:
        return "Shutdown";
    }
    return nullptr;
}
