// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"

#include <QHash>
#include <QObject>

#include <memory>

struct QmxDeck;

/// The source of hardware alarms and the way out for those of its recorder's streams (QmxDeck::alarms). Lives
/// on the event loop; one a recorder (of several the latest constructed answers).
class QmxAlarmController : public QObject
{
    Q_OBJECT

public:
    explicit QmxAlarmController(QObject *parent = nullptr);
    ~QmxAlarmController() override;

    /// Sets the state of an alarm; tells it (queued, never from inside the call) when it differs from the
    /// one before: a clear of what was never raised and an equal repeat tell nothing. Event loop only.
    void setAlarm(const QmxAlarm &alarm);
    /// The same from any thread, of what concerns the whole program: to the recorder of its environment.
    static void post(const QmxAlarm &alarm);

signals:
    void alarmTriggered(const QmxAlarm &alarm);

private:
    const std::shared_ptr<QmxDeck> _deck;
    QHash<QmxId, QmxAlarm> _alarms;
};
