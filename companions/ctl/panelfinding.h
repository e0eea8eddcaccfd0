// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/ctl/doctor.h"

/// Whether the panel runs, answers, and gives this account the right to operate.
Finding panelFinding(Recorder &recorder);
