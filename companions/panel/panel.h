// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/access.h"
#include "companions/panel/eventhub.h"
#include "companions/panel/fleet.h"
#include "companions/panel/picturehub.h"
#include "platform/control/controlworkers.h"
#include "platform/control/deckwatch.h"

/// What the routes work with. Made by main(), outlives the server.
struct Panel
{
    Panel(const PanelOptions &given, std::function<void(std::function<void()>)> post,
          const QString &accountsPath)
        : options(given),
          onServer(post),
          watch(QStringLiteral("xppanel-watch")),
          accounts(accountsPath),
          access(options, accounts),
          fleet(options),
          events(watch, post),
          pictures(post),
          workers(std::make_unique<ControlWorkers>(QStringLiteral("panel"), QStringLiteral("xppanel")))
    {
        access.setFleet(
            [this](const HttpCall &call, QByteArray &proof) { return fleet.verify(call, proof); });
    }

    const PanelOptions options;
    const std::function<void(std::function<void()>)> onServer; ///< runs a function on the server's thread
    DeckWatch watch;
    Accounts accounts;
    Access access;
    Fleet fleet;
    EventHub events;
    PictureHub pictures;
    std::unique_ptr<ControlWorkers> workers; ///< ended before the server is closed: it answers connections
};

/// One thing that can be asked for: a row of the table in routes.cpp.
struct RouteRow
{
    const char *method;
    const char *path; ///< below /api/v1 unless it begins with a slash; {names} stand for one part each
    Role role;
    const char *summary;
    const char *query; ///< names of its query parameters, separated by blanks
    const char *type;  ///< of the answer
    /// On the server's thread; must not wait. Null: the connection does it itself (events, pictures).
    void (*handle)(Panel &panel, const HttpCall &call, Respond respond);
};

std::span<const RouteRow> routes();

/// The row for a request with the words of its path filled in; or the answer, when there is none (404, 405).
struct Routed
{
    const RouteRow *row = nullptr;
    QStringList words;
    std::optional<HttpReply> refusal;
};
Routed findRoute(const QByteArray &method, const QStringList &parts);

/// Runs `work` on a worker and answers with what it gives; 429 when all are busy.
void onWorker(Panel &panel, const Respond &respond, std::function<HttpReply(Control &control)> work);
/// The answer to a verb, as HTTP has it; `row`: of that verb, null when there is none of that name.
HttpReply replyOf(const Panel &panel, const Answer &answer, const VerbRow *row, bool waited);
Who whoOf(const Caller &caller);
/// A number from 0 to `most` in the query; `otherwise` when it is not there, nothing when it makes no sense.
std::optional<qsizetype> numberIn(const HttpCall &call, const char *name, qsizetype otherwise,
                                  qsizetype most);
/// The name of the file that is a clip's proxy when it lies beside it.
QString proxyNameOf(const QString &name);
/// A JSON object in the body, nothing for an empty body; `problem` when it is something else.
QJsonObject bodyObject(const HttpCall &call, std::optional<HttpReply> &problem);

// The deck (routes_deck.cpp)
void getState(Panel &, const HttpCall &, Respond);
void getVerbs(Panel &, const HttpCall &, Respond);
void postVerb(Panel &, const HttpCall &, Respond);
void getReady(Panel &, const HttpCall &, Respond);
void getVars(Panel &, const HttpCall &, Respond);
void getMedia(Panel &, const HttpCall &, Respond);
void getAlarms(Panel &, const HttpCall &, Respond);
void getAlarmHistory(Panel &, const HttpCall &, Respond);
void getPicture(Panel &, const HttpCall &, Respond);
void getMetrics(Panel &, const HttpCall &, Respond);
// Measured pictures (routes_scopes.cpp)
void getScopes(Panel &, const HttpCall &, Respond);
// Settings and the play list (routes_settings.cpp)
void getParameters(Panel &, const HttpCall &, Respond);
void getParameter(Panel &, const HttpCall &, Respond);
void putParameter(Panel &, const HttpCall &, Respond);
void getList(Panel &, const HttpCall &, Respond);
void putList(Panel &, const HttpCall &, Respond);
// Clips (routes_cliplist.cpp, routes_clips.cpp)
void getClips(Panel &, const HttpCall &, Respond);
void getClip(Panel &, const HttpCall &, Respond);
void getClipFile(Panel &, const HttpCall &, Respond);
void getProxy(Panel &, const HttpCall &, Respond);
void getThumbnail(Panel &, const HttpCall &, Respond);
void getClipStill(Panel &, const HttpCall &, Respond);
void postClipVerb(Panel &, const HttpCall &, Respond);
// Other panels (routes_fleet.cpp)
void getFleet(Panel &, const HttpCall &, Respond);
void getFleetSelf(Panel &, const HttpCall &, Respond);
// Accounts and what describes the rest (routes_access.cpp, openapi.cpp)
void postLogin(Panel &, const HttpCall &, Respond);
void postLogout(Panel &, const HttpCall &, Respond);
void getMe(Panel &, const HttpCall &, Respond);
void getOpenApi(Panel &, const HttpCall &, Respond);
