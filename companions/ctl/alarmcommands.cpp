// SPDX-License-Identifier: GPL-3.0-or-later
// alarms: what is wrong, since when, what to do about it, and what was wrong before.
#include "companions/ctl/commands.h"

#include "platform/control/alarmseen.h"
#include "platform/store/alarms.h"
#include "platform/store/eparamcontrol.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>

#include <map>

namespace {
constexpr int wholeHistory = 1000;

QDateTime when(const timeval &time)
{
    constexpr int microsecondsPerMillisecond = 1000;
    return QDateTime::fromMSecsSinceEpoch(qint64(time.tv_sec) * 1000 +
                                          time.tv_usec / microsecondsPerMillisecond);
}

/// When each alarm that is up was raised first since it was clear.
std::map<eParam_t, QDateTime> raisedSince(const std::vector<AlarmRecord> &history)
{
    std::map<eParam_t, QDateTime> since;
    for (const AlarmRecord &record : history) {
        if (!record.raised)
            since.erase(record.id);
        else
            since.emplace(record.id, when(record.time));
    }
    return since;
}

const char *levelName(int severity)
{
    static constexpr const char *names[] = {"information", "warning", "error"};
    return severity >= 0 && severity < int(std::size(names)) ? names[severity] : "error";
}

ExitCode showHistory(const std::vector<AlarmRecord> &history, const Report &report)
{
    QJsonArray list;
    QString text;
    for (const AlarmRecord &record : history) {
        const ParamDescriptor *descriptor = GetDescriptor(record.id);
        if (!descriptor) continue;
        const QString name = QString::fromStdString(descriptor->name());
        const QString message = QString::fromStdString(record.message);
        const QString level =
            record.raised ? QString::fromLatin1(levelName(record.severity)) : QStringLiteral("clear");
        const QString time = when(record.time).toString(Qt::ISODateWithMs);
        list.append(QJsonObject{{"time", time}, {"name", name}, {"level", level}, {"message", message}});
        text += QStringLiteral("%1  %2  %3  %4\n").arg(time).arg(level, -11).arg(name, -28).arg(message);
    }
    report.result(list.isEmpty() ? QStringLiteral("no alarms so far") : text, {{"history", list}});
    return ExitCode::Done;
}
} // namespace

ExitCode ctlAlarms(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const std::vector<AlarmRecord> history = recorder.config().alarmHistory(wholeHistory);
    if (arguments.history) return showHistory(history, report);
    const std::map<eParam_t, QDateTime> since = raisedSince(history);
    const QJsonObject acknowledged =
        QJsonDocument::fromJson(recorder.text(eParam_AlarmsAcknowledged).toUtf8()).object();
    QJsonArray list;
    QString text;
    for (const Recorder::Alarm &alarm : recorder.alarms()) {
        const auto raised = since.find(alarm.id);
        const QString time = raised == since.end() ? QString() : raised->second.toString(Qt::ISODate);
        const AlarmSeen seen = AlarmSeen::of(acknowledged, alarm.name,
                                             raised == since.end() ? 0 : raised->second.toMSecsSinceEpoch());
        const QString advice = QString::fromLatin1(alarmAdvice(alarm.id));
        list.append(QJsonObject{{"name", alarm.name},
                                {"level", alarm.level},
                                {"message", alarm.message},
                                {"since", time},
                                {"advice", advice},
                                {"acknowledged_by", seen.by},
                                {"acknowledged_at", seen.at}});
        const QString level =
            Report::painted(QStringLiteral("%1").arg(alarm.level, -11),
                            alarm.level == "error" ? Report::Colour::Bad : Report::Colour::Notice);
        text += QStringLiteral("%1  %2  %3\n").arg(level).arg(alarm.name, -28).arg(alarm.message);
        text += QStringLiteral("             since %1: %2\n")
                    .arg(time.isEmpty() ? QStringLiteral("an unknown time") : time, advice);
        if (!seen.at.isEmpty())
            text += QStringLiteral("             seen by %1 at %2\n").arg(seen.by, seen.at);
    }
    report.result(list.isEmpty() ? QStringLiteral("no alarms") : text, {{"alarms", list}});
    return ExitCode::Done;
}
