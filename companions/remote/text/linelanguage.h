// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/answer.h"
#include "platform/control/deckstate.h"
#include "platform/control/verbs.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

/// The words of the line protocol, without its connections: "verb: name: value name: value" and the replies.
/// Verbs are those of the recorder; a few more are the protocol's own.
namespace LineLanguage {

/// What a line asks for.
struct Asked
{
    QString verb; ///< empty: an empty line
    QMap<QString, QString> arguments;
    bool force = false;
    bool wait = true;
    std::optional<Answer> wrong; ///< it makes no sense
    bool isOwn = false;          ///< a word of ownWords(), not a verb
};
Asked parse(const QString &line);

/// A word that only this protocol has.
struct OwnWord
{
    const char *name;
    const char *arguments; ///< separated by blanks
    const char *help;
};
std::span<const OwnWord> ownWords();

/// A set of fields of the state that one can be told about.
struct Topic
{
    const char *name;
    int code;           ///< of the lines that are not asked for
    const char *fields; ///< separated by blanks
};
std::span<const Topic> topics();
/// The part of `object` that belongs to a topic.
QJsonObject ofTopic(const QJsonObject &object, const Topic &topic);

/// Replies, line ends included.
QByteArray reply(const Answer &answer);
/// To a verb; one that changes nothing tells what it was asked for.
QByteArray reply(const QString &verb, const Answer &answer);
QByteArray block(int code, const QString &title, const QStringList &lines);
QStringList lines(const QJsonObject &object); ///< "name: value" each
QStringList help();

} // namespace LineLanguage
