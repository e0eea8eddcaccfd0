// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Names the calling thread for debuggers and process lists; the kernel keeps 15 bytes.
void qmxNameThread(const QString &name);
