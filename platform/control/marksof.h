// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/recorder.h"
#include "platform/control/verbs.h"
#include "platform/product/clipmarks.h"
#include "platform/qmx/clip/qmxclippart.h"
#include "platform/qmx/clip/qmxclipreader.h"

#include <optional>

/// The file behind what a verb is asked about: a clip of the active medium, by the name of it, of a part of
/// it, or by its full path. A value; of() asks the disk.
struct Material
{
    QString clip; ///< file name
    QString path;
    QmxClipInfo info;
    QmxClipPart::Range range; ///< of the part; of a whole clip all frames
    QString why;              ///< it cannot be played; empty: it can

    static Material of(const Recorder &recorder, const QString &name);
    bool isThere() const { return why.isEmpty(); }
    double rate() const;
    Answer refusal() const;
    /// Its frames and timecodes, as advice.
    QString describe() const;
    /// The frame of the file that is on the output, if it is of this material.
    std::optional<qint64> frameOnOutput(const Recorder &recorder) const;
};

/// As whom the marks of clips are changed: a replay channel cannot write where the clips lie that it plays,
/// so there it is the channel whose clips they are.
QmxEnvironment markingEnvironment(const Recorder &recorder);
/// The marks of a clip as fronts tell them.
QJsonObject marksObject(const ClipMarks &marks, const QmxClipInfo &info);
