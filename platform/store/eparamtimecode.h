// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"

// What stands beside the timecode of a recording.
constexpr eParam_t eParam_TimecodeUserBits{0x500000A0};
