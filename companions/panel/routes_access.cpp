// SPDX-License-Identifier: GPL-3.0-or-later
// Sessions of accounts.
#include "companions/panel/panel.h"

void postLogin(Panel &panel, const HttpCall &call, Respond respond)
{
    std::optional<HttpReply> problem;
    const QJsonObject body = bodyObject(call, problem);
    if (problem) return respond(*problem);
    const QString name = body["name"].toString();
    const QString password = body["password"].toString();
    const QString address = call.caller.address;
    if (name.isEmpty() || password.isEmpty())
        return respond(
            problemReply(400, "wrong_body", "the body has to be {\"name\": ..., \"password\": ...}"));
    if (!panel.access.mayTry(address))
        return respond(problemReply(429, "too_often", "too many wrong passwords came from this address",
                                    "wait a minute"));
    // Counted before it is known, so that many at once count as many.
    panel.access.failed(address);
    const bool isPosted = panel.workers->post([&panel, name, password, address, respond](Control &) {
        const auto role = panel.accounts.check(name, password);
        panel.onServer([&panel, role, name, address, respond] {
            if (!role)
                return respond(problemReply(401, "wrong_password",
                                            "there is no such account, or the password is wrong"));
            panel.access.succeeded(address);
            respond(jsonReply(
                {{"token", panel.access.begin(name, *role)}, {"name", name}, {"role", roleName(*role)}}));
        });
    });
    if (!isPosted)
        respond(problemReply(429, "busy", "too many requests wait already", "try again in a moment"));
}

void postLogout(Panel &panel, const HttpCall &call, Respond respond)
{
    panel.access.end(QString::fromLatin1(call.header("authorization").mid(7).trimmed()));
    respond(jsonReply({{"answer", "done"}}));
}

void getMe(Panel &, const HttpCall &call, Respond respond)
{
    respond(jsonReply({{"name", call.caller.name},
                       {"role", roleName(call.caller.role)},
                       {"id", whoOf(call.caller).identity()}}));
}
