// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Names the calling thread for debuggers and process lists; the kernel keeps 15 bytes.
void qmxNameThread(const QString &name);

/// Puts the calling thread behind the event loop: picture work fills every core, and a loop that waits for
/// one is late for its frame. Ten steps of niceness, a tenth of the loop's weight; no right is needed for
/// that.
void qmxYieldToEventLoop();
