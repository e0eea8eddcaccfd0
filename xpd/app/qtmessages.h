// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// Writes a message of Qt's own into the log; after a fatal one the process aborts. Any thread.
void localQtMessageHandler(QtMsgType type, const char *msg);

/// Makes localQtMessageHandler() the receiver of Qt's messages.
void installQtMessageHandler();
