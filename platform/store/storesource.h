// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

/// Who writes: "CLIENT@PID.START", START being the process's start time, so that a number that the system
/// gives out again is not taken for the same process.
std::string storeSource(const std::string &client);
/// Whether the process of a source is still there. A source that cannot be read counts as alive.
bool storeSourceIsAlive(const std::string &source);
/// Whether the store's own upkeep wrote, and not a client that means it.
bool isStoreUpkeep(const std::string &source);
