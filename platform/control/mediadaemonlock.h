// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/answer.h"

/// Process of the media daemon; 0: it does not run. Any thread.
int mediaDaemonPid();
/// That it does not run; `consequence` for the operator.
Answer noMediaDaemon(const QString &consequence);
