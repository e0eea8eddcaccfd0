// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/deviceevents.h"

#include <algorithm>

void DeviceEvents::setVbiBound(int count)
{
    std::lock_guard lock(_mutex);
    _vbiBound = std::max(count, 1);
}

void DeviceEvents::push(const DeviceEvent &event)
{
    bool wasEmpty = false;
    {
        std::lock_guard lock(_mutex);
        wasEmpty = _events.empty();
        if (event.type == DeviceEvent::CaptureDropped) {
            const auto same = [&](const DeviceEvent &other) {
                return other.type == event.type && other.serial == event.serial;
            };
            if (std::any_of(_events.begin(), _events.end(), same)) return;
        }
        if (event.type == DeviceEvent::Vbi && ++_vbis > _vbiBound) {
            const auto oldest = std::find_if(_events.begin(), _events.end(), [](const DeviceEvent &other) {
                return other.type == DeviceEvent::Vbi;
            });
            _events.erase(oldest);
            --_vbis;
        }
        _events.push_back(event);
    }
    if (wasEmpty) _wake();
}

bool DeviceEvents::pop(DeviceEvent &event)
{
    std::lock_guard lock(_mutex);
    if (_events.empty()) return false;
    event = std::move(_events.front());
    _events.pop_front();
    if (event.type == DeviceEvent::Vbi) --_vbis;
    return true;
}
