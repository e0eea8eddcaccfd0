// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <string>

/// How clips are named. Free functions without state; any thread.

/// What the words of a name pattern stand for.
struct ClipNameWords
{
    std::string name;    ///< {name}
    unsigned take = 1;   ///< {take}, at least three digits
    std::string reel;    ///< {reel}
    qint64 wallTime = 0; ///< {date} and {time}, local time: nanoseconds since 1970
};

/// The file name that a pattern gives, with its extension. What no file name can hold becomes "_".
std::string clipNameFromPattern(const std::string &pattern, const ClipNameWords &words);
/// The name that somebody else gives a clip, a camera for example: as it is when it is one, else made so that
/// the clip stays on its medium and is found there. A take is not lost for its name.
std::string clipNameFromOutside(const std::string &name);
/// Whether names of the pattern differ from take to take.
bool patternCountsTakes(const std::string &pattern);
/// "take_001.mov" gives "take_001_R2.mov", and that one "take_001_R3.mov".
std::string clipNameWithNextRolloverIndex(const std::string &name);
/// The other way round, "take_001_R3.mov" gives "take_001_R2.mov", and that one "take_001.mov"; empty: it is
/// no name that a rollover gives.
std::string clipNameBeforeRollover(const std::string &name);
