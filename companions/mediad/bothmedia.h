// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/mediad/mediamachine.h"
#include "platform/product/mediaorder.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <string>

/// Carries out "delete", "protect", "unprotect" or "rename" for a clip; one that was written to two media is
/// treated in both places when the order means it everywhere. `text` becomes the sentence that says what was
/// done, and where. Where the first place refuses, the second is left as it is. Blocks on the media; any
/// thread.
QmxError onEveryMedium(const MediaOrder &order, const MediaParameters &is, const QmxEnvironment &environment,
                       std::string &text);
