// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/commands.h"

/// Commands for the settings of other recorders, which keep them on the same server as this one.
namespace FleetSettings {

/// From here on the settings of the environment are those of that recorder. Empty when it is done; else what
/// is wrong. Main thread, before the first object exists.
QString enter(const QString &recorder, const CommandRow &row);

/// The same command for several: "all", or names with commas between them. `words` are the command line
/// behind what says for whom it is.
ExitCode run(const QString &recorders, const CommandRow &row, const QStringList &words, const Report &report);

} // namespace FleetSettings
