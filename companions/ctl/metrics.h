// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/report.h"
#include "platform/control/metrics.h"

/// Shows all figures once a second until interrupted.
ExitCode watchStats(Recorder &recorder, const Report &report, bool once);
