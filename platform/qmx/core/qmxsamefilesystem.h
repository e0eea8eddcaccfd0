// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxfiles.h"

/// Whether two places, whose statfs() is known, lie on one file system. By its identity, and by the device
/// where a file system gives none (it is zero then, as the identity of any other such one). Blocks on the
/// file systems.
bool qmxSameFileSystem(QmxFiles &files, const QString &one, const struct statfs64 &ofOne,
                       const QString &other, const struct statfs64 &ofOther);
