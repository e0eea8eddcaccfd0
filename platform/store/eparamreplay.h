// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"

// Playing what is still being recorded, and parts of clips.
constexpr eParam_t eParam_StartAt{0x50000080};
constexpr eParam_t eParam_MarksChanged{0x50000081};
