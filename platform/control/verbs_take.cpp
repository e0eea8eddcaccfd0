// SPDX-License-Identifier: GPL-3.0-or-later
// record. A take that this program began and was to end is ended also when it is interrupted.
#include "platform/control/verbs_take.h"

#include "platform/control/ownership.h"
#include "platform/control/takeclips.h"
#include "platform/control/takelength.h"
#include "platform/control/transportanswers.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxtakemoment.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/store/values.h"

#include <QJsonArray>

#include <algorithm>
#include <cmath>

#include <sys/statfs.h>

namespace {
/// The beginning of a take: gives the command and waits until its clip is open or an alarm says why not.
class TakeStart
{
public:
    TakeStart(Recorder &recorder, TakeLength &length)
        : _recorder(recorder),
          _length(length),
          _before(recorder.alarms()),
          _takesBefore(recorder.counter("takes_opened")),
          _clipBefore(recorder.clip())
    {}

    bool wait()
    {
        const auto again = [this] {
            // (A take that somebody or an alarm has ended meanwhile is not begun once more.)
            if (_recorder.status() == TransportStatus::Stopped && !wasOpened() && newErrors().isEmpty())
                give(_recorder, TransportCommand::Record);
        };
        // The daemon waits for the first picture of its input however long: that none comes is known sooner.
        const qint64 begun = _recorder.environment().clock->now();
        const auto settledOrBlind = [&] {
            return isSettled() ||
                   (_recorder.environment().clock->since(begun) > pictureWithin && seesNoPicture());
        };
        _recorder.waitFor(settledOrBlind, Wait::repeatFor, again, Wait::repeatEvery);
        for (int i = 0; i < mostAnew && isDeaf() && beginAnew(); ++i)
            _recorder.waitFor(settledOrBlind, Wait::repeatFor, again, Wait::repeatEvery);
        if (!isSettled() && !Recorder::wasInterrupted()) {
            if (!isRecording(_recorder)) {
                _errors = _recorder.newErrors({}); // the reason may have been there before, word for word
                _errors.removeIf([](const auto &alarm) { return alarm.id != eParam_AlarmRecordInhibited; });
            }
            const bool hasEnded = wasOpened() && !isRecording(_recorder);
            if (_errors.isEmpty() && !hasEnded && !seesNoPicture())
                _recorder.waitFor(settledOrBlind, Wait::effectWithin);
        }
        // The command has been given and will be followed after we have gone: see it through, to end the
        // take.
        if (Recorder::wasInterrupted() && !isOpen()) {
            interrupted = Recorder::forgetInterrupt();
            const auto settled = [this] { return isSettled(); };
            if (!_recorder.waitFor(settled, Wait::repeatFor) && isRecording(_recorder))
                _recorder.waitFor(settled, Wait::effectWithin);
        }
        newErrors();
        if (!isOpen()) return false;
        // The name reaches the store behind the clip.
        constexpr std::chrono::seconds nameWithin(2);
        const auto isNamed = [this] {
            _length.aim();
            return _recorder.clip() != _clipBefore;
        };
        _recorder.waitFor(isNamed, nameWithin);
        return true;
    }
    /// Alarms that have come since.
    QList<Recorder::Alarm> newErrors()
    {
        if (_errors.isEmpty()) _errors = _recorder.newErrors(_before);
        return _errors;
    }
    /// Of a take that runs: "", or what is wrong with it although it was begun.
    QString warning()
    {
        QStringList texts;
        QList<Recorder::Alarm> told = newErrors();
        for (const Recorder::Alarm &alarm : _recorder.newAlarms(_before))
            if (alarm.level != "error" && saysOfTheTake(alarm.id)) told.append(alarm);
        for (const Recorder::Alarm &alarm : told)
            texts.append(QStringLiteral("; alarm %1: %2").arg(alarm.name, alarm.message));
        const QString source = timecodeOfInput();
        if (!source.isEmpty() && !QmxTimecode(_recorder.inputTimecode()).isValid())
            texts.append(
                QStringLiteral("; no timecode comes with the input (timecode_source is %1): the clip has "
                               "none")
                    .arg(source));
        return texts.join(QString());
    }
    bool wasOpened() const { return _recorder.counter("takes_opened") > _takesBefore; }
    bool interrupted = false; ///< before the clip was open

private:
    static constexpr std::chrono::milliseconds pictureWithin{1500};
    static constexpr int mostAnew = 2;
    /// A take whose format is right has a picture by then.
    static constexpr qint64 deafAfter = 400 * QmxClock::nsPerMillisecond;
    /// An alarm that ends a take has ended it by then.
    static constexpr qint64 alarmEndsWithin = 500 * QmxClock::nsPerMillisecond;

    /// The clip is open, or it is known why it is not. An alarm alone does not say so: there are those with
    /// which a take begins all the same.
    bool isSettled()
    {
        _length.aim();
        if (isOpen() || isDeaf()) return true;
        if (newErrors().isEmpty()) return false;
        const qint64 now = _recorder.environment().clock->now();
        if (_errorsSince == 0 || isRecording(_recorder)) _errorsSince = now;
        const bool isRefused = std::any_of(_errors.begin(), _errors.end(), [](const Recorder::Alarm &alarm) {
            return alarm.id == eParam_AlarmRecordInhibited;
        });
        return isRefused || wasOpened() || now - _errorsSince > alarmEndsWithin;
    }
    /// Another format has come since the transport was set up for this take, as it does right after an input
    /// was chosen: pictures of the format before are waited for, for ever.
    bool isDeaf()
    {
        const bool waits =
            !wasOpened() && isRecording(_recorder) && seesNoPicture() && _format != formatNow();
        const qint64 now = _recorder.environment().clock->now();
        if (!waits || _deafSince == 0) _deafSince = waits ? now : 0;
        return waits && now - _deafSince > deafAfter;
    }
    /// The same take in the format that has come.
    bool beginAnew()
    {
        const auto isStopped = [this] { return _recorder.status() == TransportStatus::Stopped; };
        if (!give(_recorder, TransportCommand::Stop).isEmpty() ||
            !_recorder.waitFor(isStopped, Wait::effectWithin))
            return false;
        _before = _recorder.alarms();
        _errors.clear();
        _format = formatNow();
        return give(_recorder, TransportCommand::Record).isEmpty();
    }
    qint64 formatNow() const { return _recorder.number(eParam_RecordFormat); }
    /// No error, but what is in the clip, or where, is not what was asked for.
    static bool saysOfTheTake(eParam_t alarm)
    {
        return alarm == eParam_AlarmMirrorLost || alarm == eParam_AlarmInputLostInRecord ||
               alarm == eParam_AlarmInputDamaged || alarm == eParam_AlarmAudioInputLost;
    }
    /// The source of the take's timecode, when that is what comes in; else empty.
    QString timecodeOfInput() const
    {
        const ParamDescriptor *descriptor = GetDescriptor(eParam_TimecodeSource);
        const QString source =
            QString::fromStdString(descriptor->label(int(_recorder.number(eParam_TimecodeSource))));
        return source == QLatin1String("embedded") || source == QLatin1String("ltc") ? source : QString();
    }
    bool isOpen() const { return wasOpened() && isRecording(_recorder); }
    bool seesNoPicture() const { return !wasOpened() && !_recorder.inputProblem().isEmpty(); }

    Recorder &_recorder;
    TakeLength &_length;
    QList<Recorder::Alarm> _before;
    const qint64 _takesBefore;
    const QString _clipBefore;
    QList<Recorder::Alarm> _errors;
    qint64 _errorsSince = 0; ///< with the transport out of record
    qint64 _format = formatNow();
    qint64 _deafSince = 0;
};

Answer noPicture(const Recorder &recorder, const QString &problem)
{
    return Answer::givenUp(
        Cause::Deck, "no_input",
        QStringLiteral("the take has not begun: no picture has come from %1%2")
            .arg(QString::fromStdString(
                     GetDescriptor(eParam_VideoInput)->label(int(recorder.number(eParam_VideoInput)))),
                 problem.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(problem)),
        "choose an input that has a signal with: xpctl set video_input NAME, or give it one; then record "
        "again");
}

/// An input that has just been chosen or connected, or a recorder that has just been started, locks within
/// this time. Empty: it has, else what is wrong with it.
QString awaitInput(const Recorder &recorder)
{
    constexpr std::chrono::milliseconds lockWithin(1800); // with the answer within two seconds
    QString problem;
    const auto hasPicture = [&] {
        problem = recorder.inputProblem();
        return problem.isEmpty();
    };
    if (!recorder.daemonIsRunning()) return {};
    recorder.waitFor(hasPicture, lockWithin);
    return problem;
}

/// The take has not begun, or not as it should.
Answer notBegun(Recorder &recorder, TakeStart &start)
{
    if (start.interrupted) {
        const bool mayGoOn = recorder.daemonIsRunning() && isRecording(recorder);
        const Answer ended = mayGoOn ? endOfTake(recorder) : Answer::done();
        return ended.isDone() ? Answer::givenUp(Cause::Interrupted, "interrupted", "interrupted") : ended;
    }
    // The daemon waits for the first picture of its input, however long, and would then begin a take that
    // nobody wants any more. (When somebody else has the transport now, nothing of it is ours to end.)
    if (!recorder.isAbandoned() && !start.wasOpened() && recorder.daemonIsRunning() &&
        isRecording(recorder)) {
        const QString problem = recorder.inputProblem();
        const QList<Recorder::Alarm> errors = start.newErrors();
        if (Answer ended = endOfTake(recorder); !ended.isDone()) return ended;
        return errors.isEmpty() ? noPicture(recorder, problem)
                                : gaveUp(recorder, "the take has not begun", errors);
    }
    return gaveUp(recorder, start.wasOpened() ? "the take ended as it began" : "the take has not begun",
                  start.newErrors());
}

/// Waits for as much recorded time as was asked for; false when the take ended before.
bool takeIsFull(Recorder &recorder, TakeStart &start, TakeLength &length,
                std::chrono::duration<double> wanted)
{
    const auto full = [&] {
        start.newErrors();
        return length.isFull() || !isRecording(recorder);
    };
    // In recorder time, which a fast clock makes shorter than ours; a stalled one never ends the wait.
    constexpr std::chrono::seconds slack(30);
    recorder.waitFor(full, std::chrono::duration_cast<QmxClock::Duration>(wanted) + slack);
    return isRecording(recorder) && recorder.daemonIsRunning();
}

/// Nothing is known of a medium that cannot be asked; the daemon will say.
double percentFree(const Recorder &recorder, const QString &path)
{
    struct statfs64 space = {};
    if (recorder.environment().files->statfs(path, &space) != 0 || space.f_blocks == 0) return 0;
    return std::round(double(space.f_bfree) / double(space.f_blocks) * 100);
}

/// The take has begun behind the frame that record_start asked for; empty: it has not.
QString lateness(qint64 frames)
{
    return frames > 0 ? QStringLiteral(", begun %1 behind record_start").arg(qmxCounted(frames, "frame"))
                      : QString();
}

Answer recording(const Recorder &recorder, const QString &warning = {})
{
    const QString path = recorder.text(eParam_ActiveMediaPath) + "/" + recorder.clip();
    const qint64 late = recorder.counter("start_late");
    return Answer::done(QStringLiteral("recording %1%2%3").arg(path, lateness(late), warning),
                        {{"clip", recorder.clip()}, {"path", path}, {"late_frames", late}});
}

Answer recorded(const Recorder &recorder, TakeLength &length, const QString &clip, const QString &warning)
{
    const auto clips = TakeClips::at(recorder, length.paths());
    const qint64 frames = TakeClips::frames(clips);
    const qint64 late = recorder.counter("start_late");
    return Answer::done(
        QStringLiteral("recorded %1 into %2%3%4")
            .arg(qmxCounted(frames, "frame"), TakeClips::text(clips), lateness(late), warning),
        {{"clip", clip},
         {"path", length.paths().value(0)},
         {"paths", QJsonArray::fromStringList(length.paths())},
         {"clips", TakeClips::toJson(clips)},
         {"frames", frames},
         {"late_frames", late}});
}
} // namespace

std::optional<Answer> whyNoTake(Recorder &recorder)
{
    const auto refused = [](const char *code, const QString &sentence, const QString &advice) {
        return Answer::refused(Cause::Deck, code, sentence, advice);
    };
    if (recorder.daemonStandsStill()) return standsStill();
    if (isRecording(recorder))
        return refused("already_recording", QStringLiteral("already recording %1").arg(recorder.clip()),
                       "end the take with: xpctl stop");
    const QString medium = recorder.text(eParam_ActiveMediaPath);
    if (medium.isEmpty())
        return refused("no_medium", "no medium is active", "`xpctl media` lists those there are");
    if (percentFree(recorder, medium) <= MediumLevel::full)
        return refused("medium_full", QStringLiteral("%1 is full, or not there").arg(medium),
                       "delete clips, or choose another medium: xpctl set active_media_path FOLDER");
    if (const QString problem = awaitInput(recorder); !problem.isEmpty())
        return refused("no_input", problem, "give the input a signal, or choose another one");
    if (recorder.number(eParam_RecordFormat) == storeNumber(RecordFormat::NotRecordable))
        return refused("unsupported_input", "the input has a format that cannot be recorded",
                       adviceOn(QmxIds::unsupportedInput));
    return {};
}

Answer readiness(Recorder &recorder, const Who &who)
{
    const VerbRow *record = findVerb(QStringLiteral("record"));
    Request request;
    request.verb = QString::fromLatin1(record->name);
    auto refusal = Ownership(recorder).refusal(*record, request, who);
    if (!refusal) refusal = whyNoTake(recorder);
    return refusal.value_or(Answer::done("ready", {{"ready", true}}));
}

namespace {
/// Tells the recorder with which frame the take shall begin, if one was given; or why it takes none.
std::optional<Answer> giveStart(const VerbCall &call)
{
    const QString start = call.text("start");
    if (start.isEmpty()) return {};
    constexpr qint64 nsPerMs = QmxClock::nsPerMillisecond;
    QString reason;
    if (!QmxTakeMoment::parse(start, call.recorder.timeOfDay() * nsPerMs, &reason))
        return Answer::refused(Cause::Argument, "wrong_argument",
                               QStringLiteral("'%1' is no first frame: %2").arg(start, reason),
                               "for example 10:00:00.250, 2030-01-31T09:00:00.040000Z or 10:00:00:00");
    const QString problem = call.recorder.write(eParam_RecordStart, start);
    return problem.isEmpty() ? std::nullopt : std::optional(storeError(problem));
}
} // namespace

Answer performRecord(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    const std::chrono::duration<double> wanted(call.number("for"));
    if (isRecording(recorder)) {
        if (call.request.repeatIsDone) return recording(recorder);
        return Answer::refused(Cause::Deck, "already_recording",
                               QStringLiteral("already recording %1").arg(recorder.clip()),
                               "end the take with: xpctl stop");
    }
    // (Nothing is given that would act when nobody waits for it any more.)
    if (const QString problem = call.request.wait ? awaitInput(recorder) : QString(); !problem.isEmpty())
        return recorder.isAbandoned() ? gaveUp(recorder, "the take has not begun")
                                      : noPicture(recorder, problem);
    TakeLength length(recorder, wanted);
    TakeStart start(recorder, length);
    if (const auto refusal = giveStart(call)) return *refusal;
    if (const QString reason = give(recorder, TransportCommand::Record); !reason.isEmpty())
        return storeError(reason);
    Ownership(recorder).takeBegun(call.who);
    if (!call.request.wait && wanted.count() <= 0) return Answer::done();
    if (!start.wait()) return notBegun(recorder, start);
    const QString clip = recorder.clip();
    if (wanted.count() <= 0 && !start.interrupted) return recording(recorder, start.warning());
    if (!start.interrupted && !takeIsFull(recorder, start, length, wanted)) {
        Recorder::forgetInterrupt();
        return gaveUp(recorder,
                      QStringLiteral("the take ended early; what was recorded is in %1")
                          .arg(length.paths().join(" and ")),
                      start.newErrors());
    }
    const bool interrupted = Recorder::forgetInterrupt() || start.interrupted; // the end is waited for
    if (Answer ended = endOfTake(recorder, call.request.progress); !ended.isDone()) return ended;
    Answer answer = recorded(recorder, length, clip, start.warning());
    answer.isEnded = interrupted;
    return answer;
}
