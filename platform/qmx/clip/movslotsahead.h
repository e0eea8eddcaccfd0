// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movfragment.h"
#include "platform/qmx/clip/movinput.h"

#include <unordered_map>

/// The slots of a growing clip, read from many places at once so that the medium has many requests to work
/// on. One thread, which blocks on the medium.
class MovSlotsAhead
{
public:
    /// Follows the slots from each of `marks` to the next one. What cannot be read or is no slot is left out.
    void read(MovInput &input, const MovFormat &format, const std::vector<qint64> &marks);
    /// Gives the fragment whose slot stands there, once; nothing when it has not been read.
    std::optional<MovFragment> take(qint64 slot);

private:
    struct Runner
    {
        qint64 next = 0;
        qint64 end = 0; ///< where another one began
    };
    bool step(MovInput &input, const MovFormat &format, Runner &runner);

    std::unordered_map<qint64, MovFragment> _fragments;
};
