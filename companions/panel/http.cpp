// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/panel/http.h"

#include <QJsonDocument>
#include <QStringDecoder>

namespace {

const char *titleOf(int status)
{
    switch (status) {
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 409:
        return "Conflict";
    case 412:
        return "Precondition Failed";
    case 413:
        return "Content Too Large";
    case 416:
        return "Range Not Satisfiable";
    case 421:
        return "Misdirected Request";
    case 423:
        return "Locked";
    case 429:
        return "Too Many Requests";
    case 431:
        return "Request Header Fields Too Large";
    case 503:
        return "Service Unavailable";
    default:
        return "Error";
    }
}

int hexDigit(char c)
{
    constexpr int ten = 10;
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + ten;
    if (c >= 'A' && c <= 'F') return c - 'A' + ten;
    return -1;
}

/// Without escapes, as text; nothing when it is none.
std::optional<QString> decoded(QByteArrayView text, bool plusIsBlank)
{
    QByteArray bytes;
    bytes.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '%') {
            constexpr int bitsOfADigit = 4;
            const int high = i + 2 < text.size() ? hexDigit(text[i + 1]) : -1;
            const int low = i + 2 < text.size() ? hexDigit(text[i + 2]) : -1;
            if (high < 0 || low < 0) return {};
            c = char((high << bitsOfADigit) | low);
            i += 2;
        } else if (c == '+' && plusIsBlank) {
            c = ' ';
        }
        if (c == '\0') return {};
        bytes.append(c);
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString result = decoder.decode(bytes);
    if (decoder.hasError()) return {};
    return result;
}
} // namespace

HttpReply jsonReply(const QJsonObject &object, int status)
{
    HttpReply reply;
    reply.status = status;
    reply.body = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    return reply;
}

HttpReply problemReply(int status, const QString &code, const QString &sentence, const QString &hint)
{
    QJsonObject object{{"type", "about:blank"},
                       {"title", titleOf(status)},
                       {"status", status},
                       {"code", code},
                       {"detail", sentence}};
    if (!hint.isEmpty()) object["hint"] = hint;
    HttpReply reply = jsonReply(object, status);
    reply.type = "application/problem+json";
    if (status == 401) reply.headers.emplaceBack("WWW-Authenticate", "Bearer");
    if (status == 429 || status == 503) reply.headers.emplaceBack("Retry-After", "1");
    return reply;
}

std::optional<Target> parseTarget(QByteArrayView target)
{
    Target result;
    if (target.isEmpty() || target[0] != '/') return {};
    const qsizetype mark = target.indexOf('?');
    const QByteArrayView path = mark < 0 ? target : target.first(mark);
    for (qsizetype at = 1; at <= path.size();) {
        qsizetype end = path.indexOf('/', at);
        if (end < 0) end = path.size();
        const auto part = decoded(path.sliced(at, end - at), false);
        if (!part || *part == QLatin1String(".") || *part == QLatin1String("..") || part->contains('/'))
            return {};
        result.parts << *part;
        at = end + 1;
    }
    if (mark < 0) return result;
    const QByteArrayView query = target.sliced(mark + 1);
    for (qsizetype at = 0; at < query.size();) {
        qsizetype end = query.indexOf('&', at);
        if (end < 0) end = query.size();
        const QByteArrayView pair = query.sliced(at, end - at);
        const qsizetype equals = pair.indexOf('=');
        const auto name = decoded(equals < 0 ? pair : pair.first(equals), true);
        const auto value = equals < 0 ? std::optional(QString()) : decoded(pair.sliced(equals + 1), true);
        if (!name || !value) return {};
        if (!name->isEmpty()) result.query[*name] = *value;
        at = end + 1;
    }
    return result;
}

QByteArray hostHeader(const QString &address, quint16 port)
{
    const QString host = address.contains(':') ? '[' + address + ']' : address;
    return (host + ':' + QString::number(port)).toLatin1();
}
