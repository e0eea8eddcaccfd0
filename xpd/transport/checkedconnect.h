// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlog.h"

/// Makes one string-based connection and logs its very text when it fails; construction goes on.
#define XPD_CHECKED(source, expression)                                                                      \
    do {                                                                                                     \
        if (!(expression)) qmxLogOutput(2, source, __LINE__, "FAILED: %s\n", #expression);                   \
    } while (false)
