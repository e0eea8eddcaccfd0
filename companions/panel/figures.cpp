// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/figures.h"

#include <QJsonArray>

namespace {
QString typeOf(VerbArgument::Type type)
{
    switch (type) {
    case VerbArgument::Type::Integer:
        return QStringLiteral("integer");
    case VerbArgument::Type::Number:
        return QStringLiteral("number");
    case VerbArgument::Type::Place:
        return QStringLiteral("place");
    case VerbArgument::Type::Clip:
        return QStringLiteral("clip");
    case VerbArgument::Type::Medium:
        return QStringLiteral("medium");
    case VerbArgument::Type::Text:
        break;
    }
    return QStringLiteral("text");
}

QString groupOf(const VerbRow &row)
{
    if (row.has(VerbRow::MovesTransport)) return QStringLiteral("transport");
    return QString::fromLatin1(row.writes).startsWith("control_") ? QStringLiteral("control")
                                                                  : QStringLiteral("clips");
}

/// How one asks for it, front by front, with the arguments' names in capitals.
QJsonObject formsOf(const VerbRow &row)
{
    const QString name = QString::fromLatin1(row.name);
    QString shell = "xpctl " + QString(name).replace('_', '-');
    QString line = name + ":";
    QString osc = "/xp/" + name;
    QStringList query;
    for (const VerbArgument &argument : row.arguments) {
        if (argument.isForShellOnly) continue;
        const QString value = QString::fromLatin1(argument.name).toUpper();
        const bool isSwitch = argument.isOption && argument.type == VerbArgument::Type::Integer;
        const QString option = "--" + QString::fromLatin1(argument.name);
        const QString word = isSwitch ? option : argument.isOption ? option + ' ' + value : value;
        shell += argument.isRequired ? " " + word : " [" + word + "]";
        line += QStringLiteral(" %1: %2").arg(QLatin1String(argument.name), value);
        osc += " " + value;
        query << QStringLiteral("%1=%2").arg(QLatin1String(argument.name), value);
    }
    if (row.shellForm) shell = QString::fromLatin1(row.shellForm);
    const QString http =
        "POST /api/v1/transport/" + name + (query.isEmpty() ? QString() : "?" + query.join('&'));
    return {{"http", http},
            {"shell", shell},
            {"line", line.endsWith(':') && row.arguments.empty() ? name : line},
            {"osc", osc}};
}
} // namespace

QJsonObject verbObject(const VerbRow &row)
{
    QJsonArray arguments;
    for (const VerbArgument &argument : row.arguments) {
        if (argument.isForShellOnly) continue;
        QJsonObject object{{"name", argument.name},
                           {"type", typeOf(argument.type)},
                           {"required", argument.isRequired},
                           {"help", QString::fromUtf8(argument.help).remove("`").remove("xpctl ")}};
        if (*argument.unit) object["unit"] = argument.unit;
        if (argument.type == VerbArgument::Type::Integer || argument.type == VerbArgument::Type::Number) {
            object["minimum"] = argument.minimum;
            object["maximum"] = argument.maximum;
        }
        arguments.append(object);
    }
    return {{"name", row.name},
            {"group", groupOf(row)},
            {"help", row.help},
            {"arguments", arguments},
            {"role", roleName(row.role())},
            {"moves_transport", row.has(VerbRow::MovesTransport)},
            {"writes", QJsonArray::fromStringList(QString::fromLatin1(row.writes).split(' '))},
            {"effect", row.effect},
            {"effect_within_ms", qint64(row.effectWithin.count())},
            {"refusals", QJsonArray::fromStringList(QString::fromLatin1(row.refusals).split(' '))},
            {"forms", formsOf(row)}};
}
