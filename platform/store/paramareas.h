// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparam.h"

#include <string>

/// What people look for this parameter under: "media and clips". Empty for an unknown id, and before
/// CreateDescriptors(). Any thread.
std::string parameterArea(eParam_t id);
