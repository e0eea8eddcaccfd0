// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxlogstream.h"

#include <QString>

/// How the sources of the transport engine log: printf texts through qmxLogOutput() with `source`, texts
/// put together with QString through text().
namespace VtrLog {

inline constexpr char source[] = "vtrobject";

enum Level { Error = 1, Warning = 2, Info = 3, Debug = 4 };

/// The line is the caller's. (Not every compiler that reads this has std::source_location.)
inline void text(Level level, const QString &words, int line = __builtin_LINE())
{
    QmxLogStream(source, line, level, QmxLog::defaultLog()) << words;
}

} // namespace VtrLog
