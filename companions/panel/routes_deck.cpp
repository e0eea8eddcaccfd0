// SPDX-License-Identifier: GPL-3.0-or-later
// The deck: its state, its verbs, its pictures, what is wrong.
#include "companions/panel/figures.h"
#include "companions/panel/panel.h"
#include "platform/control/mediadaemonlock.h"
#include "platform/control/metrics.h"
#include "platform/control/verbs_take.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtEndian>

namespace {
int statusOf(const Answer &answer)
{
    switch (answer.cause) {
    case Cause::None:
        return 200;
    case Cause::Argument:
        return answer.code == QLatin1String("no_such_verb") ? 404 : 400;
    case Cause::Deck:
        return 409;
    case Cause::Owner:
        return 423;
    case Cause::Role:
        return 403;
    case Cause::Busy:
        return 429;
    case Cause::Daemon:
    case Cause::Store:
    case Cause::Interrupted:
        break;
    }
    return 503;
}

QString asText(const QJsonValue &value)
{
    if (value.isString()) return value.toString();
    if (value.isBool()) return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    if (value.isDouble()) return QString::number(value.toDouble(), 'g', 15);
    return {};
}

/// "0", "false", "no": not; everything else, also nothing: yes.
bool isYes(const QString &text)
{
    return text != QLatin1String("0") && text != QLatin1String("false") && text != QLatin1String("no");
}
} // namespace

HttpReply replyOf(const Panel &panel, const Answer &answer, const VerbRow *row, bool waited)
{
    if (!answer.isDone()) {
        HttpReply reply =
            problemReply(statusOf(answer), answer.code, answer.sentence, answer.adviceWithoutShell());
        QJsonObject object = QJsonDocument::fromJson(reply.body).object();
        object["answer"] = answer.kindName();
        if (!answer.effect.isEmpty()) object["effect"] = answer.effect;
        reply.body = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
        return reply;
    }
    QJsonObject object = answer.toJson();
    // What the verb has seen itself of the deck may be on its way to the watch still.
    QJsonObject state = panel.watch.refreshed()->toJson();
    const bool isOfTheDeck = row && row->has(VerbRow::MovesTransport);
    for (auto seen = answer.effect.begin(); seen != answer.effect.end(); ++seen)
        if (isOfTheDeck && state.contains(seen.key())) state[seen.key()] = *seen;
    object["state"] = state;
    return jsonReply(object, waited ? 200 : 202);
}

void getState(Panel &panel, const HttpCall &, Respond respond)
{
    const auto state = panel.watch.refreshed();
    if (!state->storeProblem.isEmpty()) return respond(problemReply(503, "no_store", state->storeProblem));
    respond(jsonReply(state->toJson()));
}

void postVerb(Panel &panel, const HttpCall &call, Respond respond)
{
    std::optional<HttpReply> problem;
    const QJsonObject body = bodyObject(call, problem);
    if (problem) return respond(*problem);
    Request request;
    request.verb = call.words.first();
    QMap<QString, QString> given = call.query;
    for (auto field = body.begin(); field != body.end(); ++field) {
        if (field->isArray() || field->isObject() || field->isNull())
            return respond(
                problemReply(400, "wrong_argument", QStringLiteral("%1 is no plain value").arg(field.key())));
        given[field.key()] = asText(*field);
    }
    if (given.contains("wait")) request.wait = isYes(given.take("wait"));
    if (given.contains("force")) request.force = isYes(given.take("force"));
    const VerbRow *row = findVerb(request.verb);
    for (const VerbArgument &argument : row ? row->arguments : std::vector<VerbArgument>()) {
        if (argument.isForShellOnly && given.contains(QLatin1String(argument.name)))
            return respond(
                problemReply(400, "wrong_argument",
                             QStringLiteral("%1 is only for a shell, which lives as long as it takes")
                                 .arg(QLatin1String(argument.name))));
    }
    request.arguments = given;
    const bool waited = request.wait;
    panel.workers->submit(std::move(request), whoOf(call.caller),
                          [&panel, respond, row, waited](const Answer &answer) {
                              respond(replyOf(panel, answer, row, waited));
                          });
}

void getVerbs(Panel &, const HttpCall &, Respond respond)
{
    QJsonArray list;
    for (const VerbRow &row : verbs())
        list.append(verbObject(row));
    respond(jsonReply({{"verbs", list}}));
}

void getReady(Panel &panel, const HttpCall &call, Respond respond)
{
    onWorker(panel, respond, [&panel, who = whoOf(call.caller)](Control &control) {
        const Answer answer = readiness(control.recorder(), who);
        return answer.isDone() ? jsonReply(answer.effect) : replyOf(panel, answer, nullptr, true);
    });
}

void getVars(Panel &panel, const HttpCall &, Respond respond)
{
    const QJsonObject state = panel.watch.refreshed()->toJson();
    QJsonObject flat;
    for (auto field = state.begin(); field != state.end(); ++field) {
        if (field->isObject())
            flat[field.key()] = field->toObject()["name"].toString();
        else if (!field->isArray())
            flat[field.key()] = asText(*field);
    }
    respond(jsonReply(flat));
}

void getMedia(Panel &panel, const HttpCall &, Respond respond)
{
    const auto state = panel.watch.state();
    if (mediaDaemonPid() == 0) {
        const Answer answer = noMediaDaemon(": nobody looks after the media");
        return respond(problemReply(503, answer.code, answer.sentence, answer.advice));
    }
    respond(jsonReply({{"media", state->media}, {"seconds_left", state->secondsLeft}}));
}

void getAlarms(Panel &panel, const HttpCall &, Respond respond)
{
    respond(jsonReply({{"alarms", panel.watch.state()->alarmList}}));
}

void getAlarmHistory(Panel &panel, const HttpCall &, Respond respond)
{
    onWorker(panel, respond, [](Control &control) {
        constexpr int wholeHistory = 1000;
        QJsonArray list;
        for (const AlarmRecord &record : control.recorder().config().alarmHistory(wholeHistory)) {
            const ParamDescriptor *descriptor = GetDescriptor(record.id);
            if (!descriptor) continue;
            static constexpr const char *levels[] = {"information", "warning", "error"};
            constexpr int msPerSecond = 1000;
            const int level = std::clamp(record.severity, 0, 2);
            list.append(
                QJsonObject{{"time", QDateTime::fromMSecsSinceEpoch(qint64(record.time.tv_sec) * msPerSecond +
                                                                    record.time.tv_usec / msPerSecond)
                                         .toString(Qt::ISODateWithMs)},
                            {"name", QString::fromStdString(descriptor->name())},
                            {"level", record.raised ? levels[level] : "clear"},
                            {"message", QString::fromStdString(record.message)}});
        }
        return jsonReply({{"history", list}});
    });
}

void getPicture(Panel &panel, const HttpCall &, Respond respond)
{
    onWorker(panel, respond, [&panel](Control &) {
        const auto message = panel.pictures.file();
        if (!message) return problemReply(503, "no_picture", "there is no picture on the output");
        HttpReply reply;
        reply.type = "image/jpeg";
        reply.body = message->mid(PictureHub::headerSize);
        const char *header = message->constData();
        const auto number = [header](int at) {
            return QByteArray::number(qFromLittleEndian<qint64>(header + at));
        };
        const auto shape = [header](int at) {
            return QByteArray::number(qFromLittleEndian<quint16>(header + at));
        };
        QByteArray meters;
        for (int i = 0; i < QmxPreviewPicture::channels; ++i)
            meters += (i ? "," : "") +
                      QByteArray::number(double(qFromLittleEndian<float>(header + 32 + 4 * i)), 'g', 4);
        const quint32 flags = qFromLittleEndian<quint32>(header + 4);
        constexpr qint64 nsPerMs = 1'000'000;
        reply.headers = {
            {"X-Tick", number(8)},
            {"X-Frame", number(16)},
            {"X-Timecode", QByteArray(header + 64)},
            {"X-Capture", (flags & 1) ? "1" : "0"},
            {"X-Meters", meters},
            {"X-Aspect", shape(PictureHub::aspectAt) + ':' + shape(PictureHub::aspectAt + 2)},
            {"X-Captured", QByteArray::number(qFromLittleEndian<qint64>(header + 24) / nsPerMs)}};
        return reply;
    });
}

void getMetrics(Panel &panel, const HttpCall &, Respond respond)
{
    onWorker(panel, respond, [](Control &control) {
        HttpReply reply;
        reply.type = "text/plain; version=0.0.4; charset=utf-8";
        reply.body = metricsText(collectMetrics(control.recorder()));
        return reply;
    });
}
