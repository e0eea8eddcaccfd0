// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <string>

/// A protected clip is a file that nobody may write: the mark goes with the medium and everybody sees it.
/// All calls block on the medium; any thread.

QmxError protectClip(const std::string &path, bool on, const QmxEnvironment &environment);
/// Removes a clip. Refused when it is protected (EPERM) or somebody records it or reads it for a copy
/// (EWOULDBLOCK).
QmxError deleteClip(const std::string &path, const QmxEnvironment &environment);
/// Gives a clip another name on its medium; nothing is replaced (EEXIST). Refused as deleting is.
QmxError renameClip(const std::string &path, const std::string &target, const QmxEnvironment &environment);
