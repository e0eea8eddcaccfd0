// SPDX-License-Identifier: GPL-3.0-or-later
// get, set, params: the store as its descriptors describe it.
#include "companions/ctl/commands.h"
#include "companions/ctl/nearestname.h"
#include "companions/ctl/verbcommand.h"

#include "platform/control/valuechecks.h"
#include "platform/store/paramrow.h"

#include <QDir>
#include <QJsonArray>

namespace {
const ParamDescriptor *find(const Report &report, const std::string &name)
{
    const ParamDescriptor *descriptor = FindDescriptor(name);
    if (descriptor == nullptr) {
        std::vector<std::string> names;
        for (const ParamDescriptor *one : AllDescriptors())
            names.push_back(one->name());
        const QString near = nearestName(name, names);
        report.error(ExitCode::Usage,
                     QStringLiteral("there is no parameter '%1'").arg(QString::fromStdString(name)) +
                         (near.isEmpty() ? QString() : QStringLiteral("; did you mean %1?").arg(near)),
                     "`xpctl params` lists them all, `xpctl params WORD` those that hold a word");
    }
    return descriptor;
}

QString shown(Recorder &recorder, const ParamDescriptor &descriptor)
{
    StoreValue value = descriptor.defaultValue();
    recorder.config().getValue(descriptor.id(), value);
    return QString::fromStdString(descriptor.print(value));
}

QJsonObject describe(Recorder &recorder, const ParamDescriptor &descriptor)
{
    QJsonArray choices;
    for (const auto &[number, label] : descriptor.values()) {
        choices.append(QString::fromStdString(label));
    }
    QJsonObject object{{"id", QStringLiteral("0x%1").arg(quint32(descriptor.id()), 8, 16, QChar('0'))},
                       {"name", QString::fromStdString(descriptor.name())},
                       {"value", shown(recorder, descriptor)},
                       {"unit", QString::fromStdString(descriptor.unit())},
                       {"help", QString::fromStdString(descriptor.help())}};
    if (!choices.isEmpty()) {
        object["choices"] = choices;
    }
    return object;
}

QString choicesText(const ParamDescriptor &descriptor)
{
    // A format list would fill the screen; people ask for one parameter when they want its choices.
    constexpr size_t most = 12;
    const auto values = descriptor.values();
    QStringList labels;
    for (size_t i = 0; i < values.size() && i < most; ++i) {
        labels << QString::fromStdString(values[i].second);
    }
    if (values.size() > most) {
        labels << QStringLiteral("... (%1)").arg(values.size());
    }
    return labels.join(' ');
}
} // namespace

ExitCode ctlGet(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const ParamDescriptor *descriptor = find(report, arguments.word(0));
    if (descriptor == nullptr) {
        return ExitCode::Usage;
    }
    report.result(shown(recorder, *descriptor), describe(recorder, *descriptor));
    return ExitCode::Done;
}

ExitCode ctlSet(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const ParamDescriptor *descriptor = find(report, arguments.word(0));
    if (descriptor == nullptr) {
        return ExitCode::Usage;
    }
    if (descriptor->isTold())
        return report.error(ExitCode::Usage,
                            QStringLiteral("%1 is what the recorder tells; it cannot be set")
                                .arg(QString::fromStdString(descriptor->name())),
                            "`xpctl --help` lists the commands that make it change");
    StoreValue value;
    std::string reason;
    std::string text = arguments.word(1);
    // A file by its name here, as the shell completes it.
    if (descriptor->hasAttribute(Attribute::dataFile) && !text.empty())
        text = QDir::current().absoluteFilePath(QString::fromStdString(text)).toStdString();
    if (!descriptor->parse(text, value, reason)) {
        return report.error(ExitCode::Usage, QString::fromStdString(reason));
    }
    const Answer answer = setParameter(recorder, *descriptor, value, arguments.force);
    if (!answer.isDone()) return tell(report, answer);
    report.result({}, describe(recorder, *descriptor));
    return ExitCode::Done;
}

ExitCode ctlParams(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    QJsonArray list;
    QString text;
    for (const ParamDescriptor *descriptor : AllDescriptors()) {
        const QString name = QString::fromStdString(descriptor->name());
        if (descriptor->isAlarm() || !name.contains(QString::fromStdString(arguments.word(0)))) {
            continue;
        }
        list.append(describe(recorder, *descriptor));
        text += QStringLiteral("%1  %2\n    %3\n")
                    .arg(name, -28)
                    .arg(shown(recorder, *descriptor), QString::fromStdString(descriptor->help()));
        if (const QString choices = choicesText(*descriptor); !choices.isEmpty()) {
            text += "    " + choices + "\n";
        }
    }
    if (list.isEmpty()) {
        return report.error(
            ExitCode::Usage,
            QStringLiteral("no parameter's name holds '%1'").arg(QString::fromStdString(arguments.word(0))));
    }
    report.result(text, {{"parameters", list}});
    return ExitCode::Done;
}
