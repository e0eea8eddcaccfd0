// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxvideostate.h"

#include <chrono>
#include <optional>

/// Makes a steady state out of what a source sees from tick to tick. A loss counts at once (the source
/// itself bridges short gaps); a signal counts as back after half a second and at least twelve ticks of one
/// and the same good signal; a change from one good format to another counts at once. Knows nothing of
/// set-ups, so that none can cause a change.
class InputDetector
{
public:
    static constexpr std::chrono::nanoseconds steadyTime = std::chrono::milliseconds(500);
    static constexpr int steadyTicks = 12;
    /// A new source without signal counts as known to have none after this time.
    static constexpr std::chrono::nanoseconds unknownTime = std::chrono::seconds(1);

    /// The state found when the device is opened, good or not, holds at once.
    void begin(const QmxVideoState &found);
    /// Another source is watched: the old state stands until the new one's is known.
    void sourceChanged();
    /// One tick; the new state when it changed now. A change of source always gives one, even an equal one.
    std::optional<QmxVideoState> step(const QmxVideoState &seen, qint64 deadline);

    /// The steady state. While a new source is not known yet, that of the old one.
    const QmxVideoState &state() const { return _state; }
    /// A new source is watched and its state is not known yet.
    bool isUnknown() const { return _unknown; }
    /// The picture of this tick may be used: the steady state is good and is what the source sees.
    bool isGood(const QmxVideoState &seen) const { return !_unknown && _state.isValid() && seen.isValid(); }

private:
    std::optional<QmxVideoState> accept(const QmxVideoState &state);

    QmxVideoState _state;
    QmxVideoState _candidate;
    qint64 _since = 0; ///< deadline of the candidate's first tick
    int _ticks = 0;    ///< ticks of the candidate so far
    bool _unknown = false;
    std::optional<qint64> _unknownSince;
};

/// Decides which states of the input are told. During a take a loss and every return to the take's format
/// are told by the frames alone; what differs at its end is told then.
class InputReport
{
public:
    /// The state found first; it is told in any case.
    void begin(const QmxVideoState &told) { _told = _now = told; }
    /// The first frame of a take has been read.
    void takeBegins();
    /// The take is over; the state to tell now, if any.
    std::optional<QmxVideoState> takeEnds();
    /// A steady state; whether it is to be told now. `always`: even one equal to the last.
    bool changed(const QmxVideoState &state, bool always);

private:
    QmxVideoState _told;
    QmxVideoState _now;
    std::optional<QmxVideoState> _take; ///< the state when the take began
};
