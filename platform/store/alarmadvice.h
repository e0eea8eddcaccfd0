// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"

#include <string>

/// What an operator can do about an alarm, in one sentence; empty for what is no alarm. Any thread.
std::string alarmAdvice(eParam_t id);
