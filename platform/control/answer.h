// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonObject>
#include <QString>

#include <span>

/// What stands in the way of a verb, as coarsely as fronts tell it apart (exit status, HTTP status, error
/// class of a line protocol).
enum class Cause {
    None,        ///< nothing: it is done
    Argument,    ///< an argument makes no sense, or the verb does not exist
    Deck,        ///< the deck's state: a take runs, there is nothing to play, an alarm came instead
    Owner,       ///< somebody else is in control, has locked the transport, or it is switched to local
    Role,        ///< who asks has no right to that
    Daemon,      ///< the daemon is not there, has ended, or stands still
    Store,       ///< the store cannot be reached
    Busy,        ///< too many verbs wait already
    Interrupted, ///< the caller stopped waiting
};

/// What came of a verb. A value.
struct Answer
{
    enum class Kind {
        Done,       ///< the effect is there (or, without waiting, the command is given)
        Refused,    ///< nothing was done
        Superseded, ///< another verb took over while this one waited for its effect
        GivenUp,    ///< the effect did not come within its time; it may still come
    };

    Kind kind = Kind::Done;
    Cause cause = Cause::None;
    QString code;         ///< stable, lower_snake_case: "done", "take_runs"; a row of answerCodes()
    QString sentence;     ///< what was done, or what is wrong, for people
    QString advice;       ///< what to do about it; names commands as a shell has them, see adviceFor()
    QJsonObject effect;   ///< of what is done, or was found; field names of docs/xpctl.schema.json
    bool isEnded = false; ///< done, but the caller was interrupted while it waited for more

    bool isDone() const { return kind == Kind::Done; }
    /// "done", "refused", "superseded", "given_up"
    QString kindName() const;
    /// The advice for a front that has no shell: verbs by their bare names.
    QString adviceWithoutShell() const;
    /// kind, code, and sentence, advice or effect as far as there are any.
    QJsonObject toJson() const;

    static Answer done(const QString &sentence = {}, const QJsonObject &effect = {});
    static Answer refused(Cause cause, const char *code, const QString &sentence, const QString &advice = {});
    static Answer givenUp(Cause cause, const char *code, const QString &sentence, const QString &advice = {});
};

/// A code that answers can have; what fronts document.
struct AnswerCodeRow
{
    const char *code;
    Cause cause;
    const char *meaning;
};
std::span<const AnswerCodeRow> answerCodes();
