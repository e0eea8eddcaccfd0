// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudiodesc.h"
#include "platform/qmx/core/qmximagedesc.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/core/qmxvideorate.h"

#include <QList>
#include <QString>

/// What is known about a clip as a whole. A value.
///
/// To the writer it says what the clip shall be; a reader fills in all of it. Nothing in the descriptions
/// changes from frame to frame.
struct QmxClipInfo
{
    /// From `firstFrame` on (up to the next run) the timecode counts up by one a frame from `start`.
    struct TimecodeRun
    {
        qint64 firstFrame = 0;
        QmxTimecode start;
    };

    QmxImageDesc image;        ///< coded form of every frame
    QmxAudioDesc audio;        ///< empty (no channels): the clip has no sound
    QmxTimecode startTimecode; ///< of frame 0; not valid: the clip has no timecode
    QString reelName;          ///< may be empty
    QmxVideoRate
        effectiveRate; ///< the rate at which the clip plays when it is not that of `image`; else empty

    qint64 created = 0; ///< seconds since 1970; to the writer 0 says: now

    // Filled by the reader only.
    qint64 frames = 0;               ///< whole frames that can be read
    bool closed = false;             ///< the file is complete and does not grow
    bool foreign = false;            ///< not written by QmxClipWriter
    QList<TimecodeRun> timecodeRuns; ///< ascending; empty when there is no timecode
    /// What the pictures are coded as in a file that is decoded from another form than that of `image`; else
    /// empty.
    QString foreignCodec;
    /// First and last of each run of frames that were counted and are not in the file; ascending.
    QList<std::pair<qint64, qint64>> lostFrames;

    /// What the pictures are coded as in the file, for people.
    QString codecName() const { return foreignCodec.isEmpty() ? image.dataType().name() : foreignCodec; }
    /// Timecode of a frame; not valid when the clip has none or the frame lies outside.
    QmxTimecode timecodeAt(qint64 frame) const;
};
