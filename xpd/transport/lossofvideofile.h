// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmximagedesc.h"

#include <QList>
#include <QString>

/// The still that is recorded while the input is lost, for one size, scan and family of codecs.
struct LossOfVideoFile
{
    int width;
    int height;
    bool interlaced;
    QmxId dataType;   ///< 202 stands for all 4:2:2 members of the family
    QString fileName; ///< below QmxPlaces::stills
};

/// All stills that there are, in the order in which they are searched.
const QList<LossOfVideoFile> &lossOfVideoFiles();

/// The file for pictures of `desc`, relative to QmxPlaces::stills; empty when there is none.
QString findLossOfVideoFile(const QmxImageDesc &desc);
