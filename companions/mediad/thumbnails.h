// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"

#include <functional>
#include <string>

/// Keeps a folder of thumbnails in step with the clips of a medium: "NAME.jpg" with the clip's own time. It
/// makes those that are missing or of another time and removes those whose clip has gone. `goesOn` is asked
/// before each: it may wait, and ends the work by returning false. Blocks on both; any thread. How many were
/// made.
int keepThumbnails(const std::string &medium, const std::string &folder, const QmxEnvironment &environment,
                   const std::function<bool()> &goesOn);
