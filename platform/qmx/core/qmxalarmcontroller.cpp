// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxalarmcontroller.h"

#include <mutex>

namespace {

struct Living
{
    std::mutex mutex;
    QmxAlarmController *controller = nullptr;
    QHash<QmxId, QmxAlarm> waiting; // posted while there is no controller
};

Living &living()
{
    static Living *const instance = new Living; // any thread may post until the very end
    return *instance;
}

} // namespace

QmxAlarmController::QmxAlarmController(QObject *parent) : QObject(parent)
{
    Living &l = living();
    std::lock_guard lock(l.mutex);
    l.controller = this;
    for (const QmxAlarm &alarm : std::as_const(l.waiting))
        QMetaObject::invokeMethod(
            this, [this, alarm] { setAlarm(alarm); }, Qt::QueuedConnection);
    l.waiting.clear();
}

QmxAlarmController::~QmxAlarmController()
{
    Living &l = living();
    std::lock_guard lock(l.mutex);
    if (l.controller == this) l.controller = nullptr;
}

void QmxAlarmController::setAlarm(const QmxAlarm &alarm)
{
    const QmxAlarm before = _alarms.value(alarm.id());
    if (before == alarm || (!before.isActive() && !alarm.isActive())) return;
    _alarms.insert(alarm.id(), alarm);
    QMetaObject::invokeMethod(
        this, [this, alarm] { emit alarmTriggered(alarm); }, Qt::QueuedConnection);
}

void QmxAlarmController::post(const QmxAlarm &alarm)
{
    Living &l = living();
    std::lock_guard lock(l.mutex);
    QmxAlarmController *const controller = l.controller;
    if (controller)
        QMetaObject::invokeMethod(
            controller, [controller, alarm] { controller->setAlarm(alarm); }, Qt::QueuedConnection);
    else
        l.waiting.insert(alarm.id(), alarm);
}
