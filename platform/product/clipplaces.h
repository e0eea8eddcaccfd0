// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/clip.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <list>
#include <map>
#include <string>

/// Whether two files are copies of one take, of whatever lengths: one may have ended early. By what the
/// recorder wrote into both when the take began. False when either cannot be read. Blocks on the media; any
/// thread.
bool isSameClip(const std::string &one, const std::string &other, const QmxEnvironment &environment);

/// Which of the clips of `folder` lie in `other` as well, and how many of their frames there. Blocks on the
/// media; any thread.
std::map<std::string, int> secondPlaces(const std::string &folder, const std::string &other,
                                        const std::list<Clip> &clips, const QmxEnvironment &environment);

/// The same on the helper thread of `other`; none when it takes longer than two seconds. Not for event loops
/// that must turn.
std::map<std::string, int> askSecondPlaces(const std::string &folder, const std::string &other,
                                           const std::list<Clip> &clips, const QmxEnvironment &environment);
