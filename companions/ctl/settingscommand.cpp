// SPDX-License-Identifier: GPL-3.0-or-later
// settings: all that was set, as a file that goes to another recorder or comes back.
#include "companions/ctl/settingvalues.h"

#include <QFile>
#include <QJsonDocument>
#include <QSaveFile>

namespace {
/// The settings of a file.
QString read(const QString &name, SettingValues &values)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("cannot read %1: %2").arg(name, file.errorString());
    QJsonParseError problem;
    const QJsonDocument json = QJsonDocument::fromJson(file.readAll(), &problem);
    const QJsonValue settings = json.object().value("settings");
    if (!settings.isArray())
        return QStringLiteral("%1 holds no settings%2")
            .arg(name, json.isNull() ? QStringLiteral(": ") + problem.errorString() : QString());
    return parseSettings(settings.toArray(), name, values);
}

ExitCode exportTo(Recorder &recorder, const Report &report, const QString &name)
{
    const QJsonObject object{{"settings", settingsNow(recorder)}};
    const QByteArray bytes = QJsonDocument(object).toJson();
    if (name.isEmpty()) {
        report.result(QString::fromUtf8(bytes), object);
        return ExitCode::Done;
    }
    // A file that is there is replaced only when all of the new one has been written.
    QSaveFile file(name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return report.error(ExitCode::Refused,
                            QStringLiteral("cannot write %1: %2").arg(name, file.errorString()));
    report.result({}, object);
    return ExitCode::Done;
}
} // namespace

ExitCode ctlSettings(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const std::string action = arguments.word(0);
    const QString name = QString::fromStdString(arguments.word(1));
    if (action == "export") return exportTo(recorder, report, name);
    if (action == "reset") {
        const SettingValues values = defaultSettings(name);
        if (values.empty())
            return report.error(ExitCode::Usage, QStringLiteral("'%1' is no setting").arg(name),
                                "`xpctl settings export` lists them all");
        return changeSettings(recorder, report, values, arguments.force);
    }
    if (action == "diff" && name.isEmpty()) return tellDifference(recorder, report, defaultSettings(name));
    if (name.isEmpty()) return report.error(ExitCode::Usage, "the name of the file is missing");
    SettingValues values;
    if (const QString problem = read(name, values); !problem.isEmpty())
        return report.error(ExitCode::Refused, problem, "nothing was changed");
    return action == "diff" ? tellDifference(recorder, report, values)
                            : changeSettings(recorder, report, values, arguments.force);
}
