// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/answer.h"

namespace {
constexpr AnswerCodeRow rows[] = {
    {"done", Cause::None, "the effect is there"},
    {"no_such_verb", Cause::Argument, "there is no verb of this name"},
    {"wrong_argument", Cause::Argument,
     "an argument is missing, unknown, of a wrong form or outside its range"},
    {"take_runs", Cause::Deck, "a take is being recorded and only a stop, or force, ends it"},
    {"not_your_take", Cause::Deck, "somebody else began the take that runs; force ends it"},
    {"already_recording", Cause::Deck, "a take is being recorded already"},
    {"nothing_to_play", Cause::Deck, "there is no clip, no medium or an empty play list"},
    {"no_clip", Cause::Deck, "there is no clip of this name, or it cannot be played"},
    {"plays_a_list", Cause::Deck, "the deck plays a list of clips, this goes with single clips only"},
    {"nothing_grows", Cause::Deck, "no other deck records a clip on the active medium"},
    {"no_marks", Cause::Deck, "the clip has no marked part"},
    {"marks_not_kept", Cause::Deck, "the marks could not be written to the medium"},
    {"at_the_end", Cause::Deck, "there is nothing more to play in this direction"},
    {"alarm", Cause::Deck, "an alarm came instead of the effect; the sentence has its text"},
    {"no_input", Cause::Deck, "no picture has come from the input"},
    {"no_effect", Cause::Deck, "the effect did not come within its time"},
    {"order_refused", Cause::Deck, "the media daemon has refused, or could not do it"},
    {"clip_damaged", Cause::Deck, "a clip is not what was recorded; the effect says where"},
    {"no_alarm", Cause::Deck, "there is no alarm of this name now"},
    {"no_answer", Cause::Deck, "the media daemon does not answer"},
    {"list_changed", Cause::Deck, "somebody else has changed the play list meanwhile"},
    {"superseded", Cause::Deck, "another verb took over"},
    {"other_in_control", Cause::Owner, "somebody else is in control"},
    {"locked", Cause::Owner, "somebody has locked the transport for a time"},
    {"switched_to_local", Cause::Owner, "only who sits at the machine may move the transport"},
    {"not_allowed", Cause::Role, "who asks may do less than that"},
    {"no_daemon", Cause::Daemon, "the daemon is not running"},
    {"daemon_ended", Cause::Daemon, "the daemon has ended before the effect came"},
    {"stands_still", Cause::Daemon, "the daemon is there, but its video clock stands still"},
    {"no_store", Cause::Store, "the configuration store cannot be reached"},
    {"busy", Cause::Busy, "too many verbs wait for their effect already"},
    {"outside", Cause::Deck, "the material has no such frame or timecode"},
    {"interrupted", Cause::Interrupted, "the caller stopped waiting"},
};
} // namespace

std::span<const AnswerCodeRow> answerCodes()
{
    return rows;
}

QString Answer::kindName() const
{
    static constexpr const char *names[] = {"done", "refused", "superseded", "given_up"};
    return QString::fromLatin1(names[int(kind)]);
}

QString Answer::adviceWithoutShell() const
{
    QString text = advice;
    return text.replace(QLatin1String("xpctl "), QString());
}

QJsonObject Answer::toJson() const
{
    QJsonObject object{{"answer", kindName()}, {"code", code}};
    if (!sentence.isEmpty()) object["sentence"] = sentence;
    if (!advice.isEmpty()) object["advice"] = adviceWithoutShell();
    if (!effect.isEmpty()) object["effect"] = effect;
    return object;
}

Answer Answer::done(const QString &sentence, const QJsonObject &effect)
{
    return {Kind::Done, Cause::None, QStringLiteral("done"), sentence, {}, effect, false};
}

Answer Answer::refused(Cause cause, const char *code, const QString &sentence, const QString &advice)
{
    return {Kind::Refused, cause, QString::fromLatin1(code), sentence, advice, {}, false};
}

Answer Answer::givenUp(Cause cause, const char *code, const QString &sentence, const QString &advice)
{
    return {Kind::GivenUp, cause, QString::fromLatin1(code), sentence, advice, {}, false};
}
