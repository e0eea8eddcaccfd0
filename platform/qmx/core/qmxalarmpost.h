// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"

#include <QHash>

#include <mutex>

class QmxAlarmController;

/// The way of a recorder's alarms from any thread to the controller that tells them. While there is none the
/// latest state of each alarm is kept for the next.
class QmxAlarmPost
{
public:
    void post(const QmxAlarm &alarm);

private:
    friend class QmxAlarmController;
    void connectTo(QmxAlarmController *controller);
    void disconnectFrom(QmxAlarmController *controller);
    void hand(const QmxAlarm &alarm);

    std::mutex _mutex;
    QmxAlarmController *_controller = nullptr;
    QHash<QmxId, QmxAlarm> _waiting;
};
