// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonObject>
#include <QString>

/// Who has said last that an alarm has been seen, and when; both empty: nobody since it was raised.
struct AlarmSeen
{
    QString by;
    QString at; ///< as the times of alarms are told

    /// `acknowledged`: the parameter alarms_acknowledged, parsed. `raised`: when the alarm came, in
    /// milliseconds since 1970; 0: not known. (One that has come again has not been seen.)
    static AlarmSeen of(const QJsonObject &acknowledged, const QString &alarm, qint64 raised);
};
