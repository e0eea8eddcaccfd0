// SPDX-License-Identifier: GPL-3.0-or-later
// Parameters as their descriptors describe them, and the play list.
#include "companions/panel/panel.h"
#include "platform/control/playlist.h"
#include "platform/control/valuechecks.h"
#include "platform/store/paramareas.h"

#include <QJsonArray>

#include <limits>

namespace {
QString typeName(const ParamDescriptor &row)
{
    switch (row.type()) {
    case ParamDescriptor::Unsigned:
        return QStringLiteral("number");
    case ParamDescriptor::Bool:
        return QStringLiteral("bool");
    case ParamDescriptor::Enumerated:
        return QStringLiteral("choice");
    case ParamDescriptor::String:
        return QStringLiteral("text");
    default:
        return QStringLiteral("data");
    }
}

QString keepName(ParamDescriptor::Keep keep)
{
    static constexpr const char *names[] = {"always", "until_restart", "command"};
    return QString::fromLatin1(names[int(keep)]);
}

/// As `xpctl get` describes it, and what a form needs to know.
QJsonObject describe(Recorder &recorder, const ParamDescriptor &row)
{
    StoreValue value = row.defaultValue();
    recorder.config().getValue(row.id(), value);
    QJsonArray choices;
    for (const auto &[number, label] : row.values())
        choices.append(QString::fromStdString(label));
    QJsonArray attributes;
    for (const std::string &attribute : row.attributes())
        attributes.append(QString::fromStdString(attribute));
    QJsonObject object{{"id", QStringLiteral("0x%1").arg(quint32(row.id()), 8, 16, QChar('0'))},
                       {"name", QString::fromStdString(row.name())},
                       {"type", typeName(row)},
                       {"value", QString::fromStdString(row.print(value))},
                       {"default", QString::fromStdString(row.print(row.defaultValue()))},
                       {"unit", QString::fromStdString(row.unit())},
                       {"help", QString::fromStdString(row.help())},
                       {"group", QString::fromStdString(parameterArea(row.id()))},
                       {"attributes", attributes},
                       {"keep", keepName(row.keep())},
                       {"told", row.isTold()}};
    if (!choices.isEmpty()) object["choices"] = choices;
    if (row.type() == ParamDescriptor::Unsigned) {
        object["minimum"] = qint64(row.minimum());
        object["maximum"] = qint64(row.maximum());
    }
    return object;
}

const ParamDescriptor *named(const HttpCall &call, HttpReply &reply)
{
    const ParamDescriptor *row = FindDescriptor(call.words.first().toStdString());
    if (row && !row->isAlarm()) return row;
    reply = problemReply(404, "no_parameter",
                         QStringLiteral("there is no parameter '%1'").arg(call.words.first()));
    return nullptr;
}

/// Commands of the transport have their verbs, which know who may; nothing goes round them.
std::optional<HttpReply> refusalOf(Control &control, const ParamDescriptor &row, const Who &who, bool force)
{
    if (row.isTold())
        return problemReply(409, "told",
                            QStringLiteral("%1 is what the recorder tells; it cannot be set")
                                .arg(QString::fromStdString(row.name())));
    if (row.keep() == ParamDescriptor::Keep::Command)
        return problemReply(409, "command",
                            QStringLiteral("%1 is a command; ask for the verb that gives it")
                                .arg(QString::fromStdString(row.name())),
                            "GET /api/v1/verbs lists them");
    if (row.id() != eParam_ActiveMediaPath) return {};
    const auto refused = control.mediumRefusal(who, force);
    return refused ? std::optional(problemReply(refused->cause == Cause::Owner ? 423 : 409, refused->code,
                                                refused->sentence, refused->adviceWithoutShell()))
                   : std::nullopt;
}

QJsonObject listObject(const Control &, const PlayList &list)
{
    QJsonArray entries;
    for (const PlayList::Entry &entry : list.entries())
        entries.append(
            QJsonObject{{"place", entry.place}, {"name", entry.name}, {"present", entry.isPresent}});
    return {{"list", entries}, {"revision", list.revision()}};
}

HttpReply listReply(const Control &control, const PlayList &list)
{
    HttpReply reply = jsonReply(listObject(control, list));
    reply.headers.emplaceBack("ETag", '"' + list.revision().toLatin1() + '"');
    return reply;
}
} // namespace

void getParameters(Panel &panel, const HttpCall &call, Respond respond)
{
    onWorker(panel, respond, [word = call.query.value("word")](Control &control) {
        QJsonArray list;
        for (const ParamDescriptor *row : AllDescriptors())
            if (!row->isAlarm() && QString::fromStdString(row->name()).contains(word))
                list.append(describe(control.recorder(), *row));
        return jsonReply({{"parameters", list}});
    });
}

void getParameter(Panel &panel, const HttpCall &call, Respond respond)
{
    HttpReply refusal;
    const ParamDescriptor *row = named(call, refusal);
    if (!row) return respond(refusal);
    onWorker(panel, respond,
             [row](Control &control) { return jsonReply(describe(control.recorder(), *row)); });
}

void putParameter(Panel &panel, const HttpCall &call, Respond respond)
{
    HttpReply refusal;
    const ParamDescriptor *row = named(call, refusal);
    if (!row) return respond(refusal);
    std::optional<HttpReply> problem;
    const QJsonValue given = bodyObject(call, problem)["value"];
    if (problem) return respond(*problem);
    const QString text = given.isString()   ? given.toString()
                         : given.isBool()   ? QString::fromLatin1(given.toBool() ? "on" : "off")
                         : given.isDouble() ? QString::number(given.toDouble(), 'g', 15)
                                            : QString();
    if (given.isUndefined() || given.isNull() || given.isArray() || given.isObject())
        return respond(problemReply(
            400, "wrong_body", "the body has to be {\"value\": ...} with a text, a number, true or false"));
    const bool force = call.query.value("force", "0") != QLatin1String("0");
    onWorker(panel, respond, [row, text, force, who = whoOf(call.caller)](Control &control) {
        if (auto refused = refusalOf(control, *row, who, force)) return *refused;
        StoreValue value;
        std::string reason;
        if (!row->parse(text.toStdString(), value, reason))
            return problemReply(400, "wrong_value", QString::fromStdString(reason));
        Recorder &recorder = control.recorder();
        const Answer answer = setParameter(recorder, *row, value, force);
        if (!answer.isDone()) {
            const bool isWrong = answer.cause == Cause::Argument;
            const int status = isWrong ? 400 : answer.cause == Cause::Store ? 503 : 409;
            return problemReply(status, isWrong ? QStringLiteral("wrong_value") : answer.code,
                                answer.sentence, answer.adviceWithoutShell());
        }
        return jsonReply(describe(recorder, *row));
    });
}

void getList(Panel &panel, const HttpCall &, Respond respond)
{
    onWorker(panel, respond,
             [](Control &control) { return listReply(control, PlayList::read(control.recorder())); });
}

void putList(Panel &panel, const HttpCall &call, Respond respond)
{
    std::optional<HttpReply> problem;
    const QJsonValue given = bodyObject(call, problem)["list"];
    if (problem) return respond(*problem);
    if (!given.isArray())
        return respond(problemReply(400, "wrong_body", "the body has to be {\"list\": [\"NAME\", ...]}"));
    QStringList names;
    for (const QJsonValue &entry : given.toArray()) {
        const QString name = entry.isObject() ? entry["name"].toString() : entry.toString();
        if (name.isEmpty() || name.contains('/') || name.contains('\n'))
            return respond(
                problemReply(400, "wrong_value", "an entry of the list is no file name of a clip"));
        names << name;
    }
    const QByteArray wanted = call.header("if-match");
    onWorker(panel, respond, [names, wanted](Control &control) {
        const QString revision =
            wanted == "*" ? QString() : QString::fromLatin1(wanted).remove('"').remove("W/");
        const Answer answer = PlayList::write(control.recorder(), names, revision);
        if (answer.isDone()) return listReply(control, PlayList::read(control.recorder()));
        const int status = answer.code == QLatin1String("list_changed") ? 412
                           : answer.cause == Cause::Store               ? 503
                           : answer.cause == Cause::Argument            ? 400
                                                                        : 409;
        return problemReply(status, answer.code, answer.sentence, answer.adviceWithoutShell());
    });
}
