// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/stillfiles.h"
#include "platform/qmx/core/qmxerror.h"

#include <QString>

/// Writes one below `directory`, in place of one that is there; readers see the old or the new one.
QmxError writeStillClip(const QString &directory, const StillFile &clip);
