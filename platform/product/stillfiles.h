// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmximagedesc.h"

#include <QList>
#include <QString>

/// A still that is recorded while the input is lost, for one size, scan and family of codecs.
struct StillFile
{
    QString file;      ///< below QmxPlaces::stills: "prores_422/loss_of_video_1080i_422.mov"
    QmxImageDesc desc; ///< of its pictures; the rate is a usual one, the recorder takes the still at any
};

/// All that there are, in the order in which they are searched. Any thread.
const QList<StillFile> &stillFiles();
/// The one for pictures of `desc`, relative to QmxPlaces::stills; empty when there is none. Any thread.
QString findStillFile(const QmxImageDesc &desc);
