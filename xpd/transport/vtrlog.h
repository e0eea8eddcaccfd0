// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxloglevel.h"

#include <QString>

/// How the sources of the transport engine log: printf texts through qmxLogOutput() with `source`, texts
/// put together with QString through text().
namespace VtrLog {

inline constexpr char source[] = "vtrobject";

using namespace QmxLogLevel;

/// The line is the caller's. (Not every compiler that reads this has std::source_location.)
inline void text(Level level, const QString &words, int line = __builtin_LINE())
{
    qmxLogText(level, source, line, words);
}

} // namespace VtrLog
