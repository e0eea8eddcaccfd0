// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movoutput.h"
#include "platform/qmx/clip/movproof.h"
#include "platform/qmx/clip/movtables.h"

/// Makes an ordinary QuickTime file of a growing one, in place: the final moov, with the proof and the record
/// `take` in it, overwrites the open slot at `slot`, and one write of the first block of `header`, which is
/// all that stands before the first slot, puts it in force. Until then the file is what it was. With chapters
/// the open slot stays, with their text behind it, and the moov follows that.
QmxError movClose(MovOutput &output, const MovTables &tables, const MovFormat &format, QByteArray header,
                  qint64 slot, const MovProof &proof, const QJsonObject &take,
                  const QList<QmxClipChapter> &chapters = {});
