// SPDX-License-Identifier: GPL-3.0-or-later
// Everything that can be asked for over HTTP; openapi.json is made from these rows.
#include "companions/panel/panel.h"
#include "companions/panel/waveforms.h"

#include <QJsonDocument>

#include <algorithm>

namespace {
constexpr auto json = "application/json";
constexpr auto jpeg = "image/jpeg";

// clang-format off
constexpr RouteRow rows[] = {
    {"GET", "state", Role::View, "what the deck is doing", "", json, getState},
    {"GET", "verbs", Role::View, "everything that can be asked of the deck, with its forms in every front", "", json, getVerbs},
    {"POST", "transport/{verb}", Role::Operate, "do a verb and wait for its effect", "wait force", json, postVerb},
    {"GET", "ready", Role::Operate, "whether a take could begin now", "", json, getReady},
    {"GET", "params", Role::View, "all parameters with what is known about them", "word", json, getParameters},
    {"GET", "params/{name}", Role::View, "one parameter", "", json, getParameter},
    {"PUT", "params/{name}", Role::Engineer, "change a parameter: {\"value\": \"a label, number or text\"}", "force", json, putParameter},
    {"GET", "clips", Role::View, "the clips of the active medium", "offset limit sort order filter", json, getClips},
    {"GET", "clips/{name}", Role::View, "what is known about a clip", "", json, getClip},
    {"GET", "clips/{name}/file", Role::View, "the clip itself; Range and If-Range are known", "", "video/quicktime", getClipFile},
    {"GET", "clips/{name}/proxy", Role::View, "its proxy, an MP4 file of its name beside it; Range and If-Range are known", "", "video/mp4", getProxy},
    {"GET", "clips/{name}/thumbnail", Role::View, "a small picture of it", "", jpeg, getThumbnail},
    {"GET", "clips/{name}/frames/{frame}", Role::View, "a small picture of one frame", "", jpeg, getClipStill},
    {"GET", "clips/{name}/waveform", Role::View, "how loud it is, as peaks from 0 to 1 in columns", "columns from to", json, getWaveform},
    {"POST", "clips/{name}/{verb}", Role::Operate, "do a verb with this clip: clip, copy, verify, export, protect, unprotect, delete", "wait force medium to in out proxy burn", json, postClipVerb},
    {"GET", "media", Role::View, "the media with their room and how long one can still record", "", json, getMedia},
    {"GET", "list", Role::View, "the play list; its ETag is for If-Match", "", json, getList},
    {"PUT", "list", Role::Operate, "replace the play list: {\"list\": [\"NAME\", ...]}", "", json, putList},
    {"GET", "alarms", Role::View, "what is wrong now, since when, and what to do", "", json, getAlarms},
    {"GET", "alarms/history", Role::View, "what was raised and cleared before, oldest first", "", json, getAlarmHistory},
    {"GET", "vars", Role::View, "the state as flat pairs of name and text, for button panels", "", json, getVars},
    {"GET", "picture.jpg", Role::View, "the picture on the output", "", jpeg, getPicture},
    {"GET", "events", Role::View, "a snapshot, then every change: WebSocket, or server-sent events", "since boot", "text/event-stream", nullptr},
    {"GET", "pictures", Role::View, "every picture on the output, with its meters and timecode: WebSocket", "acknowledge", "application/octet-stream", nullptr},
    {"GET", "scopes", Role::View, "waveform, parade and vectorscope of the picture on the output; made while somebody asks", "", "application/octet-stream", getScopes},
    {"GET", "fleet", Role::View, "the channels of this machine and the other machines it knows, and how they are; what is behind channels/N/ and machines/NAME/ is passed on to their panels", "", json, getFleet},
    {"GET", "fleet/self", Role::View, "what this machine is called, its version, its channels", "", json, getFleetSelf},
    {"POST", "login", Role::Nobody, "begin a session: {\"name\": ..., \"password\": ...} gives {\"token\": ...}", "", json, postLogin},
    {"POST", "logout", Role::View, "end the session of the token that is sent", "", json, postLogout},
    {"GET", "me", Role::Nobody, "who the server takes the caller for, and what that one may", "", json, getMe},
    {"GET", "openapi.json", Role::Nobody, "this interface, for programs", "", json, getOpenApi},
    {"GET", "/metrics", Role::View, "figures for monitoring", "", "text/plain; version=0.0.4", getMetrics},
};
// clang-format on

QStringList partsOf(const RouteRow &row)
{
    const QString path = QString::fromLatin1(row.path);
    return path.startsWith('/') ? path.mid(1).split('/') : QStringList{"api", "v1"} + path.split('/');
}

std::optional<QStringList> match(const QStringList &pattern, const QStringList &parts)
{
    if (pattern.size() != parts.size()) return {};
    QStringList words;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        if (pattern[i].startsWith('{')) {
            if (parts[i].isEmpty()) return {};
            words << parts[i];
        } else if (pattern[i] != parts[i]) {
            return {};
        }
    }
    return words;
}
} // namespace

std::span<const RouteRow> routes()
{
    return rows;
}

Routed findRoute(const QByteArray &method, const QStringList &parts)
{
    QByteArray allowed;
    const QByteArray wanted = method == "HEAD" ? QByteArray("GET") : method;
    for (const RouteRow &row : rows) {
        const auto words = match(partsOf(row), parts);
        if (!words) continue;
        if (wanted == row.method) return {&row, *words, {}};
        allowed += (allowed.isEmpty() ? "" : ", ") + QByteArray(row.method);
    }
    if (allowed.isEmpty())
        return {nullptr, {}, problemReply(404, "not_found", "there is nothing at this address")};
    HttpReply reply = problemReply(
        405, "wrong_method", QStringLiteral("only %1 can be done here").arg(QString::fromLatin1(allowed)));
    reply.headers.emplaceBack("Allow", allowed);
    return {nullptr, {}, reply};
}

void onWorker(Panel &panel, const Respond &respond, std::function<HttpReply(Control &control)> work)
{
    const bool isPosted = panel.workers->post([respond, work = std::move(work)](Control &control) {
        if (const QString problem = control.recorder().storeProblem(); !problem.isEmpty())
            respond(problemReply(503, "no_store", problem));
        else
            respond(work(control));
    });
    if (!isPosted)
        respond(problemReply(429, "busy", "too many requests wait already", "try again in a moment"));
}

QJsonObject bodyObject(const HttpCall &call, std::optional<HttpReply> &problem)
{
    if (call.body.trimmed().isEmpty()) return {};
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(call.body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        problem = problemReply(400, "wrong_body", "the body is no JSON object",
                               error.error != QJsonParseError::NoError ? error.errorString() : QString());
    return document.object();
}

Who whoOf(const Caller &caller)
{
    return {caller.name, QStringLiteral("http"), caller.address, caller.id, caller.role};
}
