// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/text/linelanguage.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {
constexpr LineLanguage::OwnWord words[] = {
    {"help", "", "this list"},
    {"ping", "", "answers ok"},
    {"state", "", "everything that the deck tells of itself"},
    {"clips", "", "the clips of the active medium: number, name, frames"},
    {"goto", "timecode frame clip", "show a frame, or make a clip the current one"},
    {"notify", "transport timecode media alarms control", "true or false: tell changes as they come"},
    {"quit", "", "ends the connection"},
};

constexpr LineLanguage::Topic topicRows[] = {
    {"transport", 501,
     "running status speed clip path clip_frames list_entry clip_rate drop_frame playback_source "
     "media_format"},
    {"timecode", 502, "timecode input_timecode frame take_frames recorded_up_to"},
    {"media", 503, "media medium_seconds_left record_format record_codec input_format input_locked"},
    {"alarms", 504, "alarms alarm_list record_inhibited store_problem dropped_capture dropped_playback"},
    {"control", 505, "owner lock mode take"},
};

struct CauseRow
{
    Cause cause;
    int code;
};
constexpr CauseRow causes[] = {
    {Cause::Argument, 100}, {Cause::Deck, 110},  {Cause::Owner, 120}, {Cause::Role, 121},
    {Cause::Daemon, 130},   {Cause::Store, 131}, {Cause::Busy, 132},  {Cause::Interrupted, 142},
};
constexpr int ok = 200, told = 204, superseded = 140, givenUp = 141, unknown = 199;

QString oneLine(QString text)
{
    for (QChar &c : text)
        if (!c.isPrint()) c = QLatin1Char('?');
    return text;
}

QString valueText(const QJsonValue &value)
{
    if (value.isArray())
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    if (value.isObject())
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    return value.isNull() ? QStringLiteral("none") : value.toVariant().toString();
}

bool isName(const QString &word)
{
    return word.size() > 1 && word.endsWith(QLatin1Char(':')) &&
           std::all_of(word.begin(), word.end() - 1, [](QChar c) {
               return c == QLatin1Char('_') || (c >= QLatin1Char('a') && c <= QLatin1Char('z'));
           });
}

Answer wrong(const char *code, const QString &sentence, const QString &advice)
{
    return Answer::refused(Cause::Argument, code, sentence, advice);
}

/// The names and values behind the verb. A value runs to the next name, or is held together by quotes.
bool readArguments(const QString &text, QMap<QString, QString> &arguments)
{
    QString name;
    QStringList value;
    bool quoted = false;
    const auto keep = [&] {
        QString joined = value.join(QLatin1Char(' '));
        if (joined.size() > 1 && joined.startsWith(QLatin1Char('"')) && joined.endsWith(QLatin1Char('"')))
            joined = joined.mid(1, joined.size() - 2);
        if (!name.isEmpty()) arguments[name] = joined;
        value.clear();
    };
    for (const QString &word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (!quoted && isName(word)) {
            keep();
            name = word.chopped(1);
            continue;
        }
        if (name.isEmpty()) return false;
        if (value.isEmpty() && word.startsWith(QLatin1Char('"'))) quoted = true;
        value.append(word);
        if (quoted && word.endsWith(QLatin1Char('"')) && (value.size() > 1 || word.size() > 1))
            quoted = false;
    }
    keep();
    return !quoted;
}

/// "goto" is a verb of others' decks.
void translate(LineLanguage::Asked &asked)
{
    if (asked.verb != QLatin1String("goto") || asked.arguments.size() != 1) return;
    const QString name = asked.arguments.firstKey();
    const QString value = asked.arguments.first();
    asked.isOwn = false;
    asked.verb = name == QLatin1String("clip") ? QStringLiteral("clip") : QStringLiteral("cue");
    asked.arguments = {
        {name == QLatin1String("clip") ? QStringLiteral("name") : QStringLiteral("where"), value}};
}

bool takeFlag(QMap<QString, QString> &arguments, const char *name, bool otherwise)
{
    const QString value = arguments.take(QLatin1String(name));
    return value.isEmpty() ? otherwise : value == QLatin1String("true");
}
} // namespace

namespace LineLanguage {

std::span<const OwnWord> ownWords()
{
    return words;
}

std::span<const Topic> topics()
{
    return topicRows;
}

Asked parse(const QString &line)
{
    Asked asked;
    const QString text = line.simplified();
    asked.verb = text.section(QLatin1Char(' '), 0, 0);
    if (asked.verb.endsWith(QLatin1Char(':'))) asked.verb.chop(1);
    if (text.isEmpty()) return asked;
    const auto own = std::find_if(std::begin(words), std::end(words), [&asked](const OwnWord &one) {
        return asked.verb == QLatin1String(one.name);
    });
    asked.isOwn = own != std::end(words);
    if (!asked.isOwn && !findVerb(asked.verb)) {
        asked.wrong =
            wrong("unknown_verb", QStringLiteral("there is no verb '%1'").arg(oneLine(asked.verb.left(40))),
                  QStringLiteral("help lists them"));
        return asked;
    }
    if (!readArguments(text.section(QLatin1Char(' '), 1), asked.arguments)) {
        asked.wrong = wrong("wrong_argument", QStringLiteral("arguments are written as name: value"),
                            QStringLiteral("for example: play: speed: 0.5"));
        return asked;
    }
    if (asked.isOwn) {
        const QStringList known = QString::fromLatin1(own->arguments).split(QLatin1Char(' '));
        for (const QString &name : asked.arguments.keys())
            if (!known.contains(name))
                asked.wrong =
                    wrong("wrong_argument", QStringLiteral("%1 has no argument '%2'").arg(asked.verb, name),
                          QStringLiteral("help lists them"));
        if (asked.verb == QLatin1String("goto") && asked.arguments.size() != 1)
            asked.wrong = wrong("wrong_argument", QStringLiteral("goto takes one place"),
                                QStringLiteral("for example: goto: timecode: 10:00:04:00"));
        if (!asked.wrong) translate(asked);
    }
    if (asked.isOwn) return asked;
    asked.force = takeFlag(asked.arguments, "force", false);
    asked.wait = takeFlag(asked.arguments, "wait", true);
    return asked;
}

QJsonObject ofTopic(const QJsonObject &object, const Topic &topic)
{
    QJsonObject part;
    for (const QString &name : QString::fromLatin1(topic.fields).split(QLatin1Char(' ')))
        if (object.contains(name)) part[name] = object[name];
    return part;
}

QByteArray reply(const Answer &answer)
{
    if (answer.isDone()) return QByteArray::number(ok) + " ok\r\n";
    int code = unknown;
    for (const CauseRow &row : causes)
        if (row.cause == answer.cause) code = row.code;
    if (answer.kind == Answer::Kind::Superseded) code = superseded;
    if (answer.kind == Answer::Kind::GivenUp && answer.cause == Cause::Deck) code = givenUp;
    const QString advice = answer.adviceWithoutShell();
    const QString text = QStringLiteral("%1 %2: %3").arg(code).arg(answer.code, answer.sentence) +
                         (advice.isEmpty() ? QString() : QStringLiteral("; ") + advice);
    return oneLine(text).toUtf8() + "\r\n";
}

QByteArray reply(const QString &verb, const Answer &answer)
{
    const VerbRow *row = findVerb(verb);
    if (!answer.isDone() || !row || *row->writes) return reply(answer);
    return block(told, verb, answer.sentence.split(QLatin1Char('\n')));
}

QByteArray block(int code, const QString &title, const QStringList &lines)
{
    QByteArray bytes = QByteArray::number(code) + ' ' + title.toUtf8() + ":\r\n";
    for (const QString &line : lines)
        bytes += oneLine(line).toUtf8() + "\r\n";
    return bytes + "\r\n";
}

QStringList lines(const QJsonObject &object)
{
    QStringList result;
    for (auto field = object.begin(); field != object.end(); ++field)
        result.append(field.key() + QStringLiteral(": ") + valueText(field.value()));
    return result;
}

QStringList help()
{
    QStringList result;
    for (const VerbRow &row : verbs()) {
        QString line = QLatin1String(row.name);
        for (const VerbArgument &argument : row.arguments)
            line += QString::fromLatin1(argument.isRequired ? " %1: (%2)" : " [%1: (%2)]")
                        .arg(QLatin1String(argument.name), QString::fromUtf8(argument.help));
        result.append(line + QStringLiteral(" - ") + QString::fromUtf8(row.help));
    }
    for (const OwnWord &word : words)
        result.append(QStringLiteral("%1 %2- %3")
                          .arg(QLatin1String(word.name),
                               word.arguments[0] ? QStringLiteral("[%1] ").arg(QLatin1String(word.arguments))
                                                 : QString(),
                               QString::fromUtf8(word.help)));
    return result;
}

} // namespace LineLanguage
