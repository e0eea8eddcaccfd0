// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

/// The end of the program. At aboutToQuit the event loop is kept turning until what was begun is complete:
/// the recorder drops a shutdown that comes during a change of mode, and would wait for it for ever. After
/// that a thread ("qmx-watchdog") looks after the framework's own operations, not after the recorder, which
/// may take as long as it needs. Event loop only.
namespace QmxProgramEnd {

/// Once, before anybody else connects to the application's aboutToQuit.
void connectToApplication();
/// Runs at the start of the end, in the order of the calls.
void addStep(std::function<void()> step);

} // namespace QmxProgramEnd
