// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlog.h"

/// How much a record of the log matters; the functions of the log take it as a number.
namespace QmxLogLevel {
enum Level : int { Error = 1, Warning = 2, Info = 3, Debug = 4 };
} // namespace QmxLogLevel

/// Logs a text that is put together already.
void qmxLogText(int level, const char *source, int line, const QString &text);
