// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxrecordtable.h"
#include "platform/qmx/core/qmxtimecode.h"

#include <QList>

#include <optional>

/// Gives every captured frame its timecode: counts one a frame from the last jam, or follows the timecode
/// of the input, as the set-up says. Two takes in a row neither repeat nor skip a timecode, because a jam
/// with a value that the recorder itself has left behind continues after the last frame written.
class TimecodeGenerator
{
public:
    /// From the set-up: the source (1500, 1501 or none: the generator; any other: the input) and the rate.
    void setSource(const QmxId &source, int fps);
    bool followsInput() const { return _followsInput; }

    /// The timecode that the next frame carries, by a jam with `value`. Continues after memory.last when
    /// `value` is that timecode; or that of the last frame written that was not the first of its stream; or
    /// the value of the jam before, if a frame has been written since or that one continued too. Digits are
    /// compared. Does not change what step() gives: see setNext().
    QmxTimecode jam(const QmxTimecode &value, const QmxRecordTable::Memory &memory);
    /// What the next step() gives.
    void setNext(const QmxTimecode &timecode) { _next = timecode; }

    /// The timecode of the frame captured now. Following the input: the input's; without a picture it
    /// counts on from the last one.
    QmxTimecode step(const QmxTimecode &input, bool hasPicture);
    /// A frame passes that nobody captures: a clock goes on, a count does not.
    void passOver();
    /// The timecode of the frame captured last; not valid before the first.
    QmxTimecode value() const { return _value; }

private:
    QmxTimecode _next;
    QmxTimecode _value;
    int _fps = 0;
    bool _followsInput = false;
    bool _followsClock = false;
    QmxTimecode _jam;
    bool _jamContinued = false;
    quint64 _writtenAtJam = 0;
};

/// Notices since which frame the timecode of the input has been running: one observation a frame.
class RunningTimecode
{
public:
    /// Frame `number` has this timecode.
    void step(qint64 number, const QmxTimecode &timecode);
    /// Number of the first frame of the present run of the timecode; nothing while it stands still.
    std::optional<qint64> runningSince() const;

private:
    QmxTimecode _last;
    qint64 _since = 0;
    int _repeats = 0;
    bool _running = false;
};
