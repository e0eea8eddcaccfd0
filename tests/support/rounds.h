// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// How often a test repeats what chance decides: `usual`, or `full` when `./xp check --long` runs it.
inline int testRounds(int usual, int full)
{
    return qEnvironmentVariableIsSet("XP_FULL_ROUNDS") ? full : usual;
}
