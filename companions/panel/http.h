// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/role.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>
#include <utility>

/// Who sends a request. A value.
struct Caller
{
    QString name;
    Role role = Role::Nobody;
    QString address; ///< of the peer
    QString id;      ///< the same for as long as it is the same operator
};

/// A request, checked and taken apart. A value.
struct HttpCall
{
    QByteArray method;
    QString path;                         ///< decoded, as the address has it
    QStringList words;                    ///< what the route's {names} stand for
    QMap<QString, QString> query;         ///< decoded
    QMap<QByteArray, QByteArray> headers; ///< names in lower case
    QByteArray target;                    ///< as it came
    QByteArray body;
    Caller caller;
    QByteArray certificate; ///< fingerprint of the one that this connection has; empty: plain
    QByteArray proof;       ///< for the answer to another machine of the fleet: that this one has the key

    QByteArray header(const char *name) const { return headers.value(name); }
};

/// A part of a file, read piece by piece while it is sent.
struct FilePart
{
    std::shared_ptr<const int> fd; ///< closed with the last copy
    qint64 from = 0;
    qint64 length = 0;
};

/// The answer to a request. A value.
struct HttpReply
{
    int status = 200;
    QByteArray type = "application/json";
    QByteArray body;
    QList<std::pair<QByteArray, QByteArray>> headers;
    std::optional<FilePart> file; ///< in place of the body
};

HttpReply jsonReply(const QJsonObject &object, int status = 200);
/// An error as application/problem+json.
HttpReply problemReply(int status, const QString &code, const QString &sentence, const QString &hint = {});

/// Called once, on any thread.
using Respond = std::function<void(HttpReply reply)>;

/// The header Host of a request to that end; a number needs no server to know its name.
QByteArray hostHeader(const QString &address, quint16 port);

/// A target of a request taken apart: nothing when it makes no sense (broken escapes, no UTF-8, a NUL, "." or
/// ".." as a part of the path, in whatever encoding).
struct Target
{
    QStringList parts; ///< of the path, decoded
    QMap<QString, QString> query;
};
std::optional<Target> parseTarget(QByteArrayView target);
