// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/parametermarkdown.h"

#include "platform/store/alarms.h"
#include "platform/store/paramdescriptor.h"

#include <QStringList>

#include <limits>

namespace {

constexpr size_t longList = 24; // labels; longer lists stand below the table

QString text(const std::string &value)
{
    return QString::fromStdString(value);
}

QString code(const std::string &value)
{
    return "`" + text(value) + "`";
}

QString labels(const ParamDescriptor &row)
{
    QStringList all;
    for (const auto &[number, label] : row.values())
        all << QStringLiteral("%1 %2").arg(number).arg(code(label));
    return all.join(", ");
}

QString values(const ParamDescriptor &row)
{
    switch (row.type()) {
    case ParamDescriptor::Bool:
    case ParamDescriptor::Enumerated:
        return row.values().size() > longList ? QStringLiteral("see below") : labels(row);
    case ParamDescriptor::Unsigned:
        if (row.maximum() == std::numeric_limits<unsigned>::max())
            return QStringLiteral("number from %1").arg(row.minimum());
        return QStringLiteral("number from %1 to %2").arg(row.minimum()).arg(row.maximum());
    case ParamDescriptor::String:
        return QStringLiteral("text");
    default:
        return row.isAlarm() ? QStringLiteral("alarm") : QStringLiteral("file");
    }
}

QString standard(const ParamDescriptor &row)
{
    // A command has no value between its writes.
    if (row.keep() == ParamDescriptor::Keep::Command || row.isAlarm()) return {};
    const std::string value = row.print(row.defaultValue());
    return value.empty() ? QStringLiteral("empty") : code(value);
}

QString keep(const ParamDescriptor &row)
{
    switch (row.keep()) {
    case ParamDescriptor::Keep::Persistent:
        return QStringLiteral("always");
    case ParamDescriptor::Keep::Volatile:
        return QStringLiteral("until restart");
    case ParamDescriptor::Keep::Command:
        break;
    }
    return QStringLiteral("command");
}

QString attributes(const ParamDescriptor &row)
{
    QStringList all;
    for (const std::string &attribute : row.attributes())
        if (attribute != "alarm") all << code(attribute);
    return all.join(", ");
}

QString line(const QStringList &cells)
{
    return "| " + cells.join(" | ") + " |\n";
}

} // namespace

QString parametersAsMarkdown()
{
    CreateDescriptors();
    QString table = line({"Id", "Name", "Values", "Default", "Unit", "Kept", "Attributes", "Meaning"}) +
                    "|---|---|---|---|---|---|---|---|\n";
    QString lists;
    for (const ParamDescriptor *row : AllDescriptors()) {
        table += line(
            {QStringLiteral("0x%1").arg(QString::number(quint32(row->id()), 16).toUpper(), 8, QChar('0')),
             code(row->name()), values(*row), standard(*row), text(row->unit()), keep(*row), attributes(*row),
             text(row->help())});
        if (row->values().size() > longList)
            lists += "\n## Values of " + code(row->name()) + "\n\n" + labels(*row) + "\n";
    }
    return "# Parameters\n\n"
           "Made by `xpctl params --markdown` from the table that the recorder itself uses; do not edit.\n\n"
           "Kept: *always*: over a power cut; *until restart*: of the machine; *command*: every write is an "
           "event and leaves no value.\n\n" +
           table + lists;
}

QString alarmsAsMarkdown()
{
    QString page = "| Alarm | Number | Level | Meaning | Cleared and held back | Why | What to do |\n"
                   "|---|---|---|---|---|---|---|\n";
    for (const AlarmRow &row : alarmTable()) {
        QStringList policy;
        for (const char *attribute : attributesOf(row.policy))
            policy << QString::fromLatin1(attribute).replace('_', ' ');
        const QString number = row.id.isValid() ? QString::number(row.id.value()) : QString();
        const QStringList cells{"`" + QString::fromLatin1(row.name) + "`",
                                number,
                                row.levels,
                                row.meaning,
                                policy.join(", "),
                                row.reason,
                                row.advice};
        page += "| " + cells.join(" | ") + " |\n";
    }
    return page;
}
