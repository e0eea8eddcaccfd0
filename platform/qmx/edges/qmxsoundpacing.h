// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxvideorate.h"

/// Holds a sound card at a constant distance behind the recorder's clock: the card's clock is another one,
/// and by it alone sound would run away from the picture by seconds a day, or the card would run dry.
///
/// The sound of a tick is given to the card when half a frame of what came before still waits there, so that
/// it is heard while its picture is seen. Small differences are taken up by stretching the sound inaudibly,
/// those of more than half a frame (a stall) at once. A value.
class QmxSoundPacing
{
public:
    struct Step
    {
        int silence = 0; ///< samples of silence before this tick's sound
        int dropped = 0; ///< samples left out at the beginning of this tick's sound
        int stretch = 0; ///< samples by which the sound of this tick is made longer
    };
    /// `period`: samples that the card takes at once.
    explicit QmxSoundPacing(int period = 0) : _period(period) {}
    /// Samples that wait in the card when a tick comes.
    int distance(const QmxVideoRate &rate) const;
    /// Before the sound of a tick (`samples` long) is written, `waiting` of what came before being in the
    /// card.
    Step step(qint64 waiting, int samples, const QmxVideoRate &rate);
    /// After the card has run dry or was opened: the next step fills it to the distance.
    void restart() { _isRunning = false; }
    /// Differences that were taken up at once, but for the first filling.
    int jumps() const { return _jumps; }

private:
    int _period;
    bool _isRunning = false;
    double _error = 0; ///< samples too many, smoothed
    int _jumps = 0;
};
