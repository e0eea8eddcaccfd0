// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/device/inputdetector.h"
#include "platform/qmx/device/timecodegenerator.h"
#include "platform/qmx/edges/qmxsource.h"

#include <optional>

/// What is known of the watched input, whatever the card is doing: its steady state, ancillary data,
/// timecode and reference. A machine without thread and clock; guarded by its owner.
class InputWatch
{
public:
    /// What one tick brought that has to be told.
    struct News
    {
        std::optional<QmxVideoState> state;
        std::optional<QmxMetadataHash> ancillary;
    };

    /// `reference`: of an input that does not say anything about it.
    explicit InputWatch(const QmxVideoRefState &reference)
        : _standardReference(reference), _reference(reference)
    {}

    /// Found when the card is opened: holds at once and counts as told.
    void begin(const QmxSourceFrame &found);
    /// Another input is watched from now on.
    void sourceChanged() { _detector.sourceChanged(); }
    /// One frame. `timecodeWaits`: of a take the first picture after a loss cannot be read yet, so that the
    /// timecode must not say yet that it runs.
    News step(const QmxSourceFrame &seen, const QmxTick &tick, bool ignoresAncillary, bool timecodeWaits);
    /// The first frame of a take has been read: what it shows is told by its frames alone.
    void takeBegins() { _report.takeBegins(); }
    /// The state to tell now, if any.
    std::optional<QmxVideoState> takeEnds() { return _report.takeEnds(); }

    const QmxVideoState &state() const { return _detector.state(); }
    /// The picture of this tick may be used.
    bool isGood(const QmxSourceFrame &seen) const { return _detector.isGood(seen.state); }
    const QmxMetadataHash &ancillary() const { return _ancillary; }
    const QmxTimecode &timecode() const { return _timecode; }
    /// Since which tick the timecode has been running; nothing while it stands still.
    std::optional<qint64> runningSince() const { return _running.runningSince(); }
    /// Of what the output follows: the reference input, the video input, or nothing that could be missing.
    QmxVideoRefState reference(const QmxId &source) const;

private:
    void stepTimecode(const QmxTimecode &timecode, qint64 tick);

    const QmxVideoRefState _standardReference;
    InputDetector _detector;
    InputReport _report;
    QmxMetadataHash _ancillary;
    QmxTimecode _timecode;
    int _heldTimecodes = 0; ///< frames since the input has none any more
    RunningTimecode _running;
    QmxVideoRefState _reference;
};
