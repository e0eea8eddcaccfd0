// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movoutput.h"
#include "platform/qmx/clip/movtables.h"

/// Makes an ordinary QuickTime file of a growing one, in place: the final moov overwrites the open slot at
/// `slot`, and one write of the first block, `header`, puts it in force. Until then the file is what it was.
QmxError movClose(MovOutput &output, const MovTables &tables, const MovFormat &format, QByteArray header,
                  qint64 slot);
