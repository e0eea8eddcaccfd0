// SPDX-License-Identifier: GPL-3.0-or-later
// Alarms that somebody has seen.
#include "platform/control/recorder.h"
#include "platform/control/transportanswers.h"
#include "platform/control/verbs.h"
#include "platform/store/eparamcontrol.h"

#include <QJsonDocument>

#include <algorithm>

Answer performAcknowledge(const VerbCall &call)
{
    const QString name = call.text("alarm");
    const auto alarms = call.recorder.alarms();
    const bool isUp = std::any_of(alarms.begin(), alarms.end(),
                                  [&name](const Recorder::Alarm &one) { return one.name == name; });
    if (!isUp)
        return Answer::refused(Cause::Deck, "no_alarm",
                               QStringLiteral("there is no alarm '%1' now").arg(name),
                               "look at those there are with: xpctl alarms");
    QJsonObject kept;
    const QJsonObject before =
        QJsonDocument::fromJson(call.recorder.text(eParam_AlarmsAcknowledged).toUtf8()).object();
    for (const Recorder::Alarm &alarm : alarms) // those that are gone are forgotten
        if (before.contains(alarm.name)) kept[alarm.name] = before[alarm.name];
    QJsonObject who = call.who.toJson();
    who["time"] = call.recorder.timeOfDay();
    kept[name] = who;
    const QString text = QString::fromUtf8(QJsonDocument(kept).toJson(QJsonDocument::Compact));
    if (const QString problem = call.recorder.write(eParam_AlarmsAcknowledged, text); !problem.isEmpty())
        return storeError(problem);
    return Answer::done(QStringLiteral("%1 has seen the alarm %2").arg(call.who.text(), name),
                        {{"alarm", name}, {"acknowledged_by", call.who.name}});
}
