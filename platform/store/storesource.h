// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

/// Who writes: "CLIENT@PID.START-SPACE", START being the process's start time, so that a number that the
/// system gives out again is not taken for the same process, and SPACE the name space that the number is of.
std::string storeSource(const std::string &client);
/// Whether the process of a source is still there. One that cannot be read, or
/// of which this process cannot know, counts as alive.
bool storeSourceIsAlive(const std::string &source);
/// Whether `by`, of which there is one at a time, is another process of the same client.
bool storeSourceIsReplaced(const std::string &source, const std::string &by);
/// Whether what a source has raised may be cleared by `by`. Only the recorder's own programs judge of others
/// (`byRecorder`), since a reader may not see every process; `isStart`: `by` has just begun.
bool storeSourceHasLeft(const std::string &source, const std::string &by, bool byRecorder, bool isStart);
/// Whether the store's own upkeep wrote, and not a client that means it.
bool isStoreUpkeep(const std::string &source);
