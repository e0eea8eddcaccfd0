// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <functional>
#include <string>

/// Keeps the thumbnails of a medium, in the folder of its name below the environment's, in step with its
/// clips: "NAME.jpg" with the clip's own time. It makes those that are missing or of another time and removes
/// those whose clip has gone. Both folders are this account's, and only its group looks into them; nothing is
/// reached by a link. `goesOn` is asked before each: it may wait, and ends the work by returning false.
/// Blocks on both; any thread. How many were made; -1, with errno, when there is no folder for them.
int keepThumbnails(const std::string &medium, const QmxEnvironment &environment,
                   const std::function<bool()> &goesOn);
