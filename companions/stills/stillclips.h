// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmximagedesc.h"

#include <QList>
#include <QString>

/// One still clip.
struct StillClip
{
    QString file; ///< relative: "prores_422/loss_of_video_1080i_422.mov"
    QmxImageDesc desc;
};

/// All that the recorder looks for.
QList<StillClip> stillClips();
/// Writes one below `directory`, in place of one that is there; readers see the old or the new one.
QmxError writeStillClip(const QString &directory, const StillClip &clip);
