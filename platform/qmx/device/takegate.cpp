// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/takegate.h"

bool TakeGate::look(const QmxTakeWindow::Window &set, qint64 now, bool isRecording, bool mayMove)
{
    if (set != _seen) {
        _seen = set;
        // Of a take that runs only the end may be set: nothing may cut frames out of it.
        const bool waits = mayMove && _window.isSet() && now <= _window.in && now <= set.in;
        const bool isItsEnd =
            _window.isSet() ? set.in == _window.in : _first > 0 && set.in == _first && set.out > now;
        const bool counts = isRecording ? waits || isItsEnd : set.in > now - _latest;
        _hasEndAlone = isRecording && counts && (_hasEndAlone || !_window.isSet());
        if (counts)
            _window = set;
        else if (!isRecording)
            _window = {};
    }
    if (!isRecording && _window.isSet() && now > _window.in + _latest) _window = {};
    const qint64 latest = mayMove || _hasEndAlone ? latestEndByClock : latestEnd;
    if (!isRecording || _window.out == 0 || now <= _window.out + latest) return false;
    _window = {};
    return true;
}

std::optional<qint64> TakeGate::in() const
{
    return _window.isSet() ? std::optional(_window.in) : std::nullopt;
}
