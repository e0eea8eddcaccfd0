// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/fleetsettings.h"

#include "companions/ctl/asked.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/store/redisbackend.h"
#include "platform/store/redisfleet.h"

#include <QJsonArray>

namespace {
constexpr auto variable = "XP_RECORDER";

/// What looks at the store alone; all else needs the machine itself.
bool isForSettings(const CommandRow &row)
{
    return row.run == ctlGet || row.run == ctlSet || row.run == ctlParams || row.run == ctlSettings ||
           row.run == ctlProfile;
}

/// The recorders that have settings on the server of this one; nothing, and a sentence.
std::optional<QStringList> known(QString &problem)
{
    const auto address = redisAddressOfStore();
    if (!address) {
        problem =
            QStringLiteral("this recorder keeps its settings on its own disk, not on a server with others");
        return {};
    }
    std::vector<RedisFleet::Member> members;
    const StoreResult result = RedisFleet(*address, RedisBackend::standardPasswordFile()).list(members);
    if (!result.isDone()) {
        problem = QString::fromStdString(result.text);
        return {};
    }
    QStringList names;
    for (const RedisFleet::Member &member : members)
        names.append(QString::fromStdString(member.name));
    return names;
}

QString refusal(const CommandRow &row)
{
    return QStringLiteral(
               "%1 is for the recorder of this machine; get, set, params, settings and profile are for "
               "others, too")
        .arg(QLatin1String(row.name));
}

QString unknown(const QString &name)
{
    return QStringLiteral("there is no recorder %1 on the server; `xpctl fleet list` shows them").arg(name);
}
} // namespace

QString FleetSettings::enter(const QString &recorder, const CommandRow &row)
{
    if (!isForSettings(row)) return refusal(row);
    QString problem;
    const auto names = known(problem);
    if (!names) return problem;
    // (A store is made by whoever opens it first: a slip of the pen is not to make one.)
    if (!names->contains(recorder)) return unknown(recorder);
    QmxEnvironment environment = QmxEnvironment::current();
    QmxPlaces places = *environment.places;
    places.recorder = recorder;
    environment.places = std::make_shared<const QmxPlaces>(places);
    QmxEnvironment::setCurrent(environment);
    return {};
}

ExitCode FleetSettings::run(const QString &recorders, const CommandRow &row, const QStringList &words,
                            const Report &report)
{
    if (!isForSettings(row)) return report.error(ExitCode::Usage, refusal(row));
    QString problem;
    const auto names = known(problem);
    if (!names) return report.error(ExitCode::NoStore, problem);
    const QStringList meant =
        recorders == QLatin1String("all") ? *names : recorders.split(',', Qt::SkipEmptyParts);
    for (const QString &name : meant)
        if (!names->contains(name)) return report.error(ExitCode::Usage, unknown(name), "nothing was done");
    Recorder::catchInterrupt(); // for those who are asked; their answers are waited for
    const QList<Asked::Answer> answers = Asked(variable, meant, words, report.isJson()).answers();
    QJsonArray list;
    QString text;
    int worst = 0;
    for (qsizetype i = 0; i < answers.size(); ++i) {
        const Asked::Answer &answer = answers[i];
        list.append(QJsonObject{{"recorder", meant[i]},
                                {"status", answer.status},
                                {answer.isDone() ? "result" : "refused", answer.result}});
        worst = std::max(worst, answer.status);
        for (const QString &line : answer.text.split('\n'))
            text += QStringLiteral("%1: %2\n").arg(meant[i], line);
    }
    report.result(text.trimmed(), {{"recorders", list}});
    return ExitCode(worst);
}
