// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/recorder.h"
#include "platform/control/verbs.h"

/// Stops the take that runs and waits until its clip is closed.
Answer endOfTake(Recorder &recorder);
