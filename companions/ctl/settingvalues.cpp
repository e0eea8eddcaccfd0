// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/settingvalues.h"

#include "platform/control/valuechecks.h"

namespace {
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

/// A list is shown in the one line that each setting has.
QString inLine(QString value)
{
    return value.replace('\n', QStringLiteral(", "));
}

/// What differs from now, in the order of the table.
std::vector<const ParamDescriptor *> differing(Recorder &recorder, const SettingValues &values)
{
    std::vector<const ParamDescriptor *> differ;
    for (const ParamDescriptor *descriptor : AllDescriptors()) {
        const auto wanted = values.find(descriptor);
        if (wanted != values.end() && valueOf(recorder, *descriptor) != wanted->second)
            differ.push_back(descriptor);
    }
    return differ;
}
} // namespace

bool isSetting(const ParamDescriptor &descriptor)
{
    return descriptor.keep() == ParamDescriptor::Keep::Persistent && !descriptor.isAlarm() &&
           !descriptor.isTold() && descriptor.id() != eParam_ActiveMediaPath &&
           descriptor.id() != eParam_CurrentClip;
}

QJsonArray settingsNow(Recorder &recorder, bool changed)
{
    QJsonArray settings;
    for (const ParamDescriptor *descriptor : AllDescriptors())
        if (isSetting(*descriptor) &&
            !(changed && valueOf(recorder, *descriptor) == descriptor->defaultValue()))
            settings.append(QJsonObject{{"name", QString::fromStdString(descriptor->name())},
                                        {"value", shown(*descriptor, valueOf(recorder, *descriptor))}});
    return settings;
}

SettingValues defaultSettings(const QString &name)
{
    SettingValues values;
    for (const ParamDescriptor *descriptor : AllDescriptors())
        if (isSetting(*descriptor) && (name.isEmpty() || name == QString::fromStdString(descriptor->name())))
            values.emplace(descriptor, descriptor->defaultValue());
    return values;
}

QString parseSettings(const QJsonArray &list, const QString &name, SettingValues &values)
{
    for (const QJsonValue item : list) {
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

ExitCode tellDifference(Recorder &recorder, const Report &report, const SettingValues &values)
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
        text += QStringLiteral("%1  %2  (not %3)\n").arg(name, -28).arg(inLine(here), inLine(there));
    }
    report.result(list.isEmpty() ? QStringLiteral("nothing differs") : text, {{"differences", list}});
    return ExitCode::Done;
}

ExitCode changeSettings(Recorder &recorder, const Report &report, const SettingValues &values, bool force)
{
    const auto differ = differing(recorder, values);
    // All of them, or none: half of a set of settings is a recorder that nobody has set.
    for (const ParamDescriptor *descriptor : differ)
        if (const auto useless =
                force ? std::nullopt : uselessValue(recorder, *descriptor, values.at(descriptor)))
            return report.error(
                ExitCode::Refused,
                QStringLiteral("%1: %2").arg(QString::fromStdString(descriptor->name()), useless->sentence),
                "nothing was changed; --force sets it all the same");
    QStringList changed;
    for (const ParamDescriptor *descriptor : differ) {
        const Answer answer = setParameter(recorder, *descriptor, values.at(descriptor), true);
        if (!answer.isDone())
            return report.error(ExitCode::NoStore, answer.sentence,
                                changed.isEmpty() ? QString() : "set already: " + changed.join(", "));
        changed.append(QString::fromStdString(descriptor->name()));
    }
    report.result(changed.isEmpty() ? QStringLiteral("nothing to change") : "set: " + changed.join(", "),
                  {{"changed", QJsonArray::fromStringList(changed)}});
    return ExitCode::Done;
}
