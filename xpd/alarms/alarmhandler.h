// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"
#include "platform/store/config.h"

#include <QObject>
#include <QString>

#include <map>

class ConfigInterface;
class QmxId;
class VtrState;

/// Turns alarms of the transport and of the application into alarm parameters of the store.
///
/// Repeats are swallowed. The attributes of an alarm's parameter decide whether it is shown at
/// once or only when an event comes (the operator presses play, a recording begins), and which
/// event clears it. Alarms that arrive before `setConfigInterface` are logged and lost.
///
/// Event loop only.
class AlarmHandler : public QObject
{
    Q_OBJECT

public:
    explicit AlarmHandler(QObject *parent);

public slots:
    /// Says where alarms go. `config` must outlive this object.
    void setConfigInterface(ConfigInterface *config);
    /// Clears every alarm whose parameter carries `clear_attribute`, active or not, then raises
    /// those still active that carry `raise_attribute`. So an alarm with both is cleared.
    void onEvent(const QString &clear_attribute, const QString &raise_attribute);
    void onPlayPressed();
    void onStopPressed();
    void onRecordPressed();
    void onPlayback();
    void onRecord();
    void onStandbyOff();
    /// Entering Play or Record is an event; other changes are not.
    void stateChanged(const VtrState &oldState, const VtrState &newState);
    void handleAlarm(const QmxAlarm &alarm);

private:
    static QString alarmToString(const QmxAlarm &alarm);
    bool findAlarm(const QmxId &id, eParam_t &param, QmxAlarm &alarm) const;
    bool isDelayed(eParam_t param) const;
    void raise(eParam_t param, const QmxAlarm &alarm);

    Config *_config = nullptr;
    /// The last alarm accepted for each parameter, in the order of the parameters.
    std::map<eParam_t, QmxAlarm> _alarms;
};
