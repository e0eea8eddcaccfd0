// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// A process in one number, for shared memory: its number and when it started, so that another process that
/// gets the number later is not taken for it. 0 is nobody. Any thread.
namespace ProcessMark {

quint64 self();
/// False for 0, for what was never a mark, and for a process that has ended.
bool isAlive(quint64 mark);

} // namespace ProcessMark
