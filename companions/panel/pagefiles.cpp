// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/pagefiles.h"

#include <QCryptographicHash>

#include <algorithm>
#include <map>

namespace {
struct TypeRow
{
    const char *end;
    const char *type;
};
constexpr TypeRow types[] = {
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".woff2", "font/woff2"},
    {".svg", "image/svg+xml"},
    {".json", "application/json"},
};

// Nothing from elsewhere, no script or style but the page's own files, in nobody's frame.
constexpr auto policy =
    "default-src 'none'; script-src 'self'; style-src 'self'; font-src 'self'; img-src 'self' data: "
    "blob:; media-src 'self' blob:; connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors "
    "'none'";

QByteArray typeOf(const QString &name)
{
    for (const TypeRow &row : types)
        if (name.endsWith(QLatin1String(row.end))) return row.type;
    return "application/octet-stream";
}

struct Known
{
    QByteArray body;
    QByteArray tag;
};

const std::map<QString, Known> &known()
{
    static const std::map<QString, Known> files = [] {
        std::map<QString, Known> made;
        for (const PageFile &file : pageFiles()) {
            const auto body =
                QByteArray::fromRawData(reinterpret_cast<const char *>(file.begin), file.end - file.begin);
            const QByteArray hash =
                QCryptographicHash::hash(body, QCryptographicHash::Sha256).toHex().left(16);
            made[QString::fromUtf8(file.name)] = {body, '"' + hash + '"'};
        }
        return made;
    }();
    return files;
}
} // namespace

HttpReply pageReply(const HttpCall &call)
{
    if (call.method != "GET" && call.method != "HEAD") {
        HttpReply reply = problemReply(405, "wrong_method", "only GET can be done here");
        reply.headers.emplaceBack("Allow", "GET");
        return reply;
    }
    QString name = call.path.mid(1);
    if (name.isEmpty()) name = QStringLiteral("index.html");
    const auto found = known().find(name);
    if (found == known().end()) return problemReply(404, "not_found", "there is nothing at this address");
    HttpReply reply;
    reply.type = typeOf(name);
    // Asked for each time and told to be the same: a new version of the panel is seen at once.
    reply.headers = {
        {"Cache-Control", "no-cache"}, {"ETag", found->second.tag}, {"Content-Security-Policy", policy}};
    if (call.header("if-none-match") == found->second.tag)
        reply.status = 304;
    else
        reply.body = found->second.body;
    return reply;
}
