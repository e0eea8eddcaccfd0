// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxerror.h"

#include <QString>

#include <optional>

/// A clip or a part of one, as lists name it: "take_001.mov", "take_001.mov[100-250)",
/// "take_001.mov[10:00:04:00-10:00:10:00)". The frame behind the dash does not belong to it any more; either
/// side may be left out: "take_001.mov[100-)" goes to the end, wherever that is. A value; any thread.
struct QmxClipPart
{
    QString clip; ///< what stands before the brackets: a file name, or a path
    QString from; ///< a frame number or a timecode; empty: the beginning
    QString to;   ///< likewise, one behind the last frame; empty: the end
    bool isPart = false;

    /// Frames of the clip; `end` is one behind the last.
    struct Range
    {
        qint64 first = 0;
        qint64 end = 0;
        qint64 frames() const { return end - first; }
    };

    /// Nothing when there are brackets that make no sense. A name without them is a whole clip.
    static std::optional<QmxClipPart> fromText(const QString &text);
    QString toText() const;

    /// Which frames that are. EINVAL with a sentence: the clip lacks them, or the end stands before the
    /// beginning. An end by number may lie behind what a clip that still grows has now.
    QmxError resolve(const QmxClipInfo &info, Range &range) const;

    /// The frame that has this number or timecode; nothing when there is none. With `behind` also the one
    /// behind the last.
    static std::optional<qint64> frameAt(const QmxClipInfo &info, const QString &place, bool behind = false);
};
