// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/eparammedia.h"

/// Alarms that no part of the framework knows, raised in the store alone: rows as the Y of QMX_ALARMS
/// (platform/qmx/core/qmxalarmlist.h), which everybody includes.
// clang-format off
#define STORE_ALARMS(Y) \
    Y(ChoiceRefused, "choice_refused", Condition, "error", \
      "A program has written a clip, a place or a list to the store that is not there to be played.", \
      "the media daemon raises it, and clears it with the next good one or take", \
      "look at what writes to the store; choose with `xpctl clip`, `xpctl list` or the panel, which say what is wrong")
// clang-format on
