// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/panel.h"
#include "tests/fuzz/fuzz.h"

#include <QJsonDocument>

#include <algorithm>

/// A request to the panel: its address, its body, the arguments of a verb. No part of an address leads out of
/// a folder, and what makes no sense is refused with a sentence.

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(folder, "state", "/api/v1/state");
    writeSeed(folder, "cue", "/api/v1/transport/cue?where=10%3A00%3A04%3A00&wait=0\n{\"where\": 100}");
    writeSeed(folder, "file", "/api/v1/clips/a%20b.mov/file");
    writeSeed(folder, "climb", "/api/v1/clips/%2e%2e%2fx/file?%c0%ae");
    writeSeed(folder, "list", "/api/v1/list\n{\"list\": [\"take_001.mov\", {\"name\": \"x\"}]}");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char *>(data), qsizetype(size));
    const qsizetype end = text.indexOf('\n');
    HttpCall call;
    call.method = "POST";
    call.body = end < 0 ? QByteArray() : text.mid(end + 1);
    const auto target = parseTarget(end < 0 ? text : text.left(end));
    if (!target) return 0;
    for (const QString &part : target->parts)
        Fuzz::mustHold(!part.contains('/') && !part.contains(QChar(u'\0')) && part != ".." && part != ".",
                       "no part leads out of its folder");
    const Routed routed = findRoute(call.method, target->parts);
    Fuzz::mustHold(routed.row || routed.refusal, "an address has its row or its refusal");
    std::optional<HttpReply> problem;
    const QJsonObject body = bodyObject(call, problem);
    Fuzz::mustHold(!problem || problem->status == 400, "a wrong body is refused");
    const VerbRow *verb = routed.words.isEmpty() ? nullptr : findVerb(routed.words.first());
    if (!verb) return 0;
    Request request;
    request.verb = routed.words.first();
    request.arguments = target->query;
    for (auto field = body.begin(); field != body.end(); ++field)
        request.arguments[field.key()] = field->toVariant().toString();
    const auto wrong = wrongArguments(*verb, request);
    Fuzz::mustHold(!wrong || !wrong->sentence.isEmpty(), "a refusal has its reason");
    return 0;
}
