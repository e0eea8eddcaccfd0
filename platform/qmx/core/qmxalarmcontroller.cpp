// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxalarmcontroller.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"

QmxAlarmController::QmxAlarmController(QObject *parent)
    : QObject(parent), _deck(QmxEnvironment::current().deck)
{
    _deck->alarms.connectTo(this);
}

QmxAlarmController::~QmxAlarmController()
{
    _deck->alarms.disconnectFrom(this);
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
    QmxEnvironment::current().deck->alarms.post(alarm);
}

void QmxAlarmPost::connectTo(QmxAlarmController *controller)
{
    const std::lock_guard lock(_mutex);
    _controller = controller;
    for (const QmxAlarm &alarm : std::as_const(_waiting))
        hand(alarm);
    _waiting.clear();
}

void QmxAlarmPost::disconnectFrom(QmxAlarmController *controller)
{
    const std::lock_guard lock(_mutex);
    if (_controller == controller) _controller = nullptr;
}

void QmxAlarmPost::post(const QmxAlarm &alarm)
{
    const std::lock_guard lock(_mutex);
    if (_controller)
        hand(alarm);
    else
        _waiting.insert(alarm.id(), alarm);
}

/// With the lock held.
void QmxAlarmPost::hand(const QmxAlarm &alarm)
{
    QMetaObject::invokeMethod(
        _controller, [to = _controller, alarm] { to->setAlarm(alarm); }, Qt::QueuedConnection);
}
