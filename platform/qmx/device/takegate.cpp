// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/takegate.h"

bool TakeGate::look(const QmxTakeWindow::Window &set, qint64 now, bool isRecording)
{
    if (set.serial != _serial) {
        _serial = set.serial;
        // Of a take that runs only the end may be set: nothing may cut frames out of it.
        const bool counts =
            isRecording ? _window.isSet() && set.in == _window.in : set.in > now - latestStart;
        if (counts) _window = set;
        if (!isRecording && !set.isSet()) _window = {};
    }
    if (!isRecording && _window.isSet() && now > _window.in + latestStart) _window = {};
    if (!isRecording || _window.out == 0 || now <= _window.out + latestEnd) return false;
    _window = {};
    return true;
}

std::optional<qint64> TakeGate::in() const
{
    return _window.isSet() ? std::optional(_window.in) : std::nullopt;
}
