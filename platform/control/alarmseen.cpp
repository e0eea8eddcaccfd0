// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/alarmseen.h"

#include <QDateTime>

AlarmSeen AlarmSeen::of(const QJsonObject &acknowledged, const QString &alarm, qint64 raised)
{
    const QJsonObject who = acknowledged.value(alarm).toObject();
    const qint64 time = who.value("time").toInteger();
    if (who.isEmpty() || time < raised) return {};
    return {who.value("name").toString(), QDateTime::fromMSecsSinceEpoch(time).toString(Qt::ISODate)};
}
