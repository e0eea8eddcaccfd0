// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxloglevel.h"

/// Source name under which the application object logs, in all of its files, and raises alarms.
inline constexpr const char *mainObjectSource = "mainobject";
