// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"

// Who operates the recorder; platform/control reads and writes these.
constexpr eParam_t eParam_ControlOwner{0x50000040};
constexpr eParam_t eParam_ControlLock{0x50000041};
constexpr eParam_t eParam_ControlMode{0x50000042};
constexpr eParam_t eParam_ControlVerb{0x50000043};
constexpr eParam_t eParam_TakeStarter{0x50000044};
constexpr eParam_t eParam_TakeProtection{0x50000045};
constexpr eParam_t eParam_AlarmsAcknowledged{0x50000046};

// Several recorders.
constexpr eParam_t eParam_SettingsProfiles{0x50000090};
