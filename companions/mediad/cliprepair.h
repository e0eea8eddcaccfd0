// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <string>
#include <vector>

/// Closes every clip of a folder that a crash left unfinished; a sentence for each says what became of it,
/// also in the log. What somebody records, what is closed and other people's files stay as they are. Blocks
/// on the medium for as long as it takes; any thread. `failed`, when given, is set when a clip stays
/// unfinished.
std::vector<std::string> repairClips(const std::string &folder, const QmxEnvironment &environment,
                                     bool *failed = nullptr);
