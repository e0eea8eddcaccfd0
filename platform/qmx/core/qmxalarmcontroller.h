// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"

#include <QHash>
#include <QObject>

/// The source of hardware alarms and the way out for the framework's own. Lives on the event loop; one
/// exists at a time (the latest constructed answers for post()).
class QmxAlarmController : public QObject
{
    Q_OBJECT

public:
    explicit QmxAlarmController(QObject *parent = nullptr);
    ~QmxAlarmController() override;

    /// Sets the state of an alarm; tells it (queued, never from inside the call) when it differs from the
    /// one before: a clear of what was never raised and an equal repeat tell nothing. Event loop only.
    void setAlarm(const QmxAlarm &alarm);
    /// The same from any thread, through the living controller. While there is none the latest state of
    /// each alarm is kept for the next.
    static void post(const QmxAlarm &alarm);

signals:
    void alarmTriggered(const QmxAlarm &alarm);

private:
    QHash<QmxId, QmxAlarm> _alarms;
};
