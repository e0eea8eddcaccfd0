// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"

#include <array>
#include <cstdint>

/// Edit points and everything else that an editor presets on a deck and asks for again. A value.
class NinepinEditPoints
{
public:
    enum Which { In, Out, AudioIn, AudioOut, Count };

    const QmxTimecode &at(Which which) const { return _marks[which]; }
    bool isSet(Which which) const { return _marks[which].isValid(); }
    void set(Which which, const QmxTimecode &timecode) { _marks[which] = timecode; }
    /// By so many frames; false when it is not set.
    bool trim(Which which, int frames);
    /// Forgets it until it is recalled.
    void reset(Which which);
    void recall(Which which);
    /// Frames from IN to OUT; 0 when one is missing or they are the wrong way round.
    int duration() const;
    /// A picture of this timecode lies inside.
    bool holds(const QmxTimecode &timecode) const;

private:
    std::array<QmxTimecode, Count> _marks;
    std::array<QmxTimecode, Count> _last; ///< what a reset has forgotten
};
