// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/inputdetector.h"

void InputDetector::begin(const QmxVideoState &found)
{
    _state = _candidate = found;
    _ticks = 0;
    _unknown = false;
}

void InputDetector::sourceChanged()
{
    _unknown = true;
    _unknownSince.reset();
    _ticks = 0;
}

std::optional<QmxVideoState> InputDetector::accept(const QmxVideoState &state)
{
    _unknown = false;
    _state = state;
    return state;
}

std::optional<QmxVideoState> InputDetector::step(const QmxVideoState &seen, qint64 deadline)
{
    if (!_unknownSince) _unknownSince = deadline;
    if (!seen.isValid()) {
        _ticks = 0;
        // All states without a good signal are one to whoever is told.
        if (_unknown) {
            if (std::chrono::nanoseconds(deadline - *_unknownSince) < unknownTime) return {};
            return accept(seen);
        }
        if (!_state.isValid()) return {};
        return accept(seen);
    }
    if (_ticks == 0 || seen != _candidate) {
        _candidate = seen;
        _since = deadline;
        _ticks = 0;
    }
    ++_ticks;
    const std::chrono::nanoseconds since(deadline - _since);
    const bool steady = _ticks >= steadyTicks && since >= steadyTime;
    if (_unknown || !_state.isValid()) return steady ? accept(seen) : std::nullopt;
    if (seen == _state) return {};
    return accept(seen);
}

void InputReport::takeBegins()
{
    if (!_take) _take = _now;
}

std::optional<QmxVideoState> InputReport::takeEnds()
{
    if (!_take) return {};
    _take.reset();
    if (_now == _told || (!_now.isValid() && !_told.isValid())) return {};
    _told = _now;
    return _now;
}

bool InputReport::changed(const QmxVideoState &state, bool always)
{
    _now = state;
    if (_take && (!state.isValid() || state == *_take)) return false;
    if (!always && state == _told) return false;
    _told = state;
    return true;
}
