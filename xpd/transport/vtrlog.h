// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxlogstream.h"

#include <QString>

#include <source_location>

/// How the sources of the transport engine log: printf texts through qmxLogOutput() with `source`, texts
/// put together with QString through text().
namespace VtrLog {

inline constexpr char source[] = "vtrobject";

enum Level { Error = 1, Warning = 2, Info = 3, Debug = 4 };

inline void text(Level level, const QString &line,
                 const std::source_location &where = std::source_location::current())
{
    QmxLogStream(source, static_cast<int>(where.line()), level, QmxLog::defaultLog()) << line;
}

} // namespace VtrLog
