// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/commands.h"

#include "platform/control/control.h"

/// Does a verb with what was typed.
ExitCode runVerb(Control &control, const VerbRow &verb, const Report &report, const Arguments &arguments);
/// Prints what came of a verb.
ExitCode tell(const Report &report, const Answer &answer);
/// The daemon is there, but does nothing now.
ExitCode tellStandsStill(const Report &report);
