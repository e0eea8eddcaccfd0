// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/recorder.h"
#include "platform/control/verbs.h"

/// Stops the take that runs and waits until its clip is closed.
Answer endOfTake(Recorder &recorder);
/// Why no take could begin now, as far as that can be told before: nothing stands in its way when it is
/// empty.
std::optional<Answer> whyNoTake(Recorder &recorder);
