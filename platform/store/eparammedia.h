// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"

/// Of the media daemon, beside those in eparam.h.
constexpr eParam_t eParam_AlarmChoiceRefused{0x50000016};
