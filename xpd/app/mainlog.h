// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlogstream.h"

#include <QString>

/// Source name under which the application object logs, in all of its files, and raises alarms.
inline constexpr const char *kMainObject = "mainobject";

/// A record of the application object whose text is already put together.
inline void logMain(int level, int line, const QString &text)
{
    QmxLogStream(kMainObject, line, level, QmxLog::defaultLog()) << text;
}
