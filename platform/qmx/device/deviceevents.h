// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"
#include "platform/qmx/core/qmxmetadatahash.h"
#include "platform/qmx/core/qmxprioritymutex.h"
#include "platform/qmx/core/qmxvbiinfo.h"
#include "platform/qmx/core/qmxvideostate.h"

#include <deque>
#include <functional>
#include <mutex>

/// Something that the device tells its owner; becomes a signal on the event loop.
struct DeviceEvent
{
    enum Type {
        Vbi,
        SetupDone,
        HardwareStarted,
        CaptureDropped,  ///< serial: number of the take
        PlaybackDropped, ///< serial: number of the run
        KeyFrame,        ///< serial: number of the run
        FlushDone,
        InputChanged,
        AncillaryChanged,
        VariableRate,
        Alarm,
    };

    Type type = Vbi;
    quint64 serial = 0;
    bool on = false;
    QmxVbiInfo vbi = {};
    QmxMetadataHash metadata = {};
    QmxVideoState state = {};
    QmxAlarm alarm = {};
};

/// The way of events from the device's threads to the event loop, in order. Bounded: when the loop stands
/// still the oldest vertical intervals go (counted), and of losses in a row one waits; everything else is
/// rare. Any thread.
class DeviceEvents
{
public:
    /// `wake` is called on the pushing thread when the queue was empty.
    explicit DeviceEvents(std::function<void()> wake) : _wake(std::move(wake)) {}

    /// How many vertical intervals wait at most.
    void setVbiBound(int count);
    void push(const DeviceEvent &event);
    /// False when empty.
    bool pop(DeviceEvent &event);

private:
    std::function<void()> _wake;
    mutable QmxPriorityMutex _mutex;
    std::deque<DeviceEvent> _events;
    int _vbiBound = 250;
    int _vbis = 0;
};
