// SPDX-License-Identifier: GPL-3.0-or-later
// settings: all that was set, as a file that goes to another recorder or comes back.
#include "companions/ctl/commands.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>

#include <map>

namespace {
/// What an operator sets and finds again after a restart; not what the recorder tells, nor where it stands.
bool isSetting(const ParamDescriptor &descriptor)
{
    return descriptor.keep() == ParamDescriptor::Keep::Persistent && !descriptor.isAlarm() &&
           !descriptor.isTold() && descriptor.id() != eParam_ActiveMediaPath &&
           descriptor.id() != eParam_CurrentClip;
}

StoreValue valueOf(Recorder &recorder, const ParamDescriptor &descriptor)
{
    StoreValue value = descriptor.defaultValue();
    recorder.config().getValue(descriptor.id(), value);
    return value;
}

QString shown(const ParamDescriptor &descriptor, const StoreValue &value)
{
    return QString::fromStdString(descriptor.print(value));
}

using Values = std::map<const ParamDescriptor *, StoreValue>;

/// The settings of a file. All of it makes sense, or nothing is taken: the text says what does not.
QString read(const QString &name, Values &values)
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
    for (const QJsonValue &item : settings.toArray()) {
        const QString parameter = item["name"].toString();
        const ParamDescriptor *descriptor = FindDescriptor(parameter.toStdString());
        StoreValue value;
        std::string reason;
        if (!descriptor || !isSetting(*descriptor))
            return QStringLiteral("%1: '%2' is no setting").arg(name, parameter);
        if (!descriptor->parse(item["value"].toString().toStdString(), value, reason))
            return QStringLiteral("%1: %2").arg(name, QString::fromStdString(reason));
        values.emplace(descriptor, value);
    }
    return {};
}

/// Writes what differs, in the order of the table. The names go to `changed`.
QString write(Recorder &recorder, const Values &values, QStringList &changed)
{
    for (const ParamDescriptor *descriptor : AllDescriptors()) {
        const auto wanted = values.find(descriptor);
        if (wanted == values.end() || valueOf(recorder, *descriptor) == wanted->second) continue;
        if (!recorder.config().setValue(descriptor->id(), wanted->second))
            return QString::fromStdString(recorder.config().lastError());
        changed.append(QString::fromStdString(descriptor->name()));
    }
    if (changed.contains("play_list")) return recorder.write(eParam_PlayListChanged, 1U);
    return {};
}

ExitCode exportTo(Recorder &recorder, const Report &report, const QString &name)
{
    QJsonArray settings;
    for (const ParamDescriptor *descriptor : AllDescriptors())
        if (isSetting(*descriptor))
            settings.append(QJsonObject{{"name", QString::fromStdString(descriptor->name())},
                                        {"value", shown(*descriptor, valueOf(recorder, *descriptor))}});
    const QJsonObject object{{"settings", settings}};
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

ExitCode difference(Recorder &recorder, const Report &report, const Values &values)
{
    QJsonArray list;
    QString text;
    for (const ParamDescriptor *descriptor : AllDescriptors()) {
        const auto other = values.find(descriptor);
        if (other == values.end()) continue;
        const StoreValue value = valueOf(recorder, *descriptor);
        if (value == other->second) continue;
        const QString name = QString::fromStdString(descriptor->name());
        const QString here = shown(*descriptor, value), there = shown(*descriptor, other->second);
        list.append(QJsonObject{{"name", name}, {"value", here}, {"other", there}});
        text += QStringLiteral("%1  %2  (not %3)\n").arg(name, -28).arg(here, there);
    }
    report.result(list.isEmpty() ? QStringLiteral("nothing differs") : text, {{"differences", list}});
    return ExitCode::Done;
}

ExitCode change(Recorder &recorder, const Report &report, const Values &values)
{
    QStringList changed;
    if (const QString problem = write(recorder, values, changed); !problem.isEmpty())
        return report.error(ExitCode::NoStore, problem,
                            changed.isEmpty() ? QString() : "set already: " + changed.join(", "));
    report.result(changed.isEmpty() ? QStringLiteral("nothing to change") : "set: " + changed.join(", "),
                  {{"changed", QJsonArray::fromStringList(changed)}});
    return ExitCode::Done;
}

Values defaults(const QString &name)
{
    Values values;
    for (const ParamDescriptor *descriptor : AllDescriptors())
        if (isSetting(*descriptor) && (name.isEmpty() || name == QString::fromStdString(descriptor->name())))
            values.emplace(descriptor, descriptor->defaultValue());
    return values;
}
} // namespace

ExitCode ctlSettings(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const std::string action = arguments.word(0);
    const QString name = QString::fromStdString(arguments.word(1));
    if (action == "export") return exportTo(recorder, report, name);
    if (action == "reset") {
        const Values values = defaults(name);
        if (values.empty())
            return report.error(ExitCode::Usage, QStringLiteral("'%1' is no setting").arg(name),
                                "`xpctl settings export` lists them all");
        return change(recorder, report, values);
    }
    if (action == "diff" && name.isEmpty()) return difference(recorder, report, defaults(name));
    if (action != "import" && action != "diff")
        return report.error(ExitCode::Usage, QStringLiteral("'%1' is none of export, import, diff, reset")
                                                 .arg(QString::fromStdString(action)));
    if (name.isEmpty()) return report.error(ExitCode::Usage, "the name of the file is missing");
    Values values;
    if (const QString problem = read(name, values); !problem.isEmpty())
        return report.error(ExitCode::Refused, problem, "nothing was changed");
    return action == "diff" ? difference(recorder, report, values) : change(recorder, report, values);
}
