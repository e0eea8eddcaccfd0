// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/timecodetrigger.h"

void TimecodeTrigger::setTimecode(const QmxTimecode &timecode)
{
    // One repetition is no standstill: both fields of an interlaced frame carry the same timecode.
    if (timecode.isValid() && !_repeatSeen && timecode.timecodeMatches(_lastTimecode)) {
        _repeatSeen = true;
        return;
    }
    _repeatSeen = false;
    processTimecode(timecode);
    _lastTimecode = timecode;
}

void TimecodeTrigger::setDelay(int delay)
{
    if (_delay != delay) _delay = delay;
}

void TimecodeTrigger::processTimecode(const QmxTimecode &timecode)
{
    if (!_lastTimecode.isValid()) return;

    const bool stands = !timecode.isValid() || timecode.timecodeMatches(_lastTimecode);
    const State observed = stands ? Stopped : Running;
    if (observed == _state) {
        // Only observations in a row confirm a change: this one starts the count anew.
        _candidate = observed;
        _count = 0;
        return;
    }

    _count = observed == _candidate ? _count + 1 : 0;
    _candidate = observed;
    if (_count <= _delay) return;

    _state = observed;
    _count = 0;
    if (observed == Stopped)
        emit timecodeHasStopped();
    else
        emit timecodeHasStarted();
}
