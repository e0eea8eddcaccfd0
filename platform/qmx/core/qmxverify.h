// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxloglevel.h"

/// Evaluates `expression` once; when it is false, logs its own source text as a level 2 record
/// "FAILED: ..." of `source` under the message number `line`, and goes on. A macro, because the
/// text in the log has to be the text of the expression.
#define QMX_VERIFY(source, line, expression)                                                                 \
    do {                                                                                                     \
        if (!(expression)) qmxLogOutput(QmxLogLevel::Warning, source, line, "FAILED: %s\n", #expression);    \
    } while (false)
