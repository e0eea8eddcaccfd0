// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"

constexpr eParam_t eParam_MediaOrder{0x50000030};
constexpr eParam_t eParam_MediaOrderState{0x50000031};
constexpr eParam_t eParam_MediaReport{0x50000032};
constexpr eParam_t eParam_RecordTimeLeft{0x50000033};
constexpr eParam_t eParam_AlarmClipsRepaired{0x50000012};
