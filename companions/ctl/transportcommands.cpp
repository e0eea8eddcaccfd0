// SPDX-License-Identifier: GPL-3.0-or-later
// The commands that move the transport. Each waits for its effect on the medium or on the output; the status
// parameter alone is too early to go by.
#include "companions/ctl/commands.h"

#include "platform/qmx/core/qmxtimecode.h"

#include <optional>

namespace {
/// Values of the transport command parameter.
enum class Command : unsigned {
    Record = 3,
    Stop = 4,
    StepForward = 7,
    StepBack = 8,
    NextClip = 9,
    PreviousClip = 10,
    ShutDown = 15,
};

/// A command given during a mode change is dropped by the daemon: it is repeated for this long.
constexpr int repeatFor = 3000;
constexpr int repeatEvery = 500;
/// An effect that has not come by then does not come.
constexpr int effectWithin = 10000;
/// A picture for a cue or a step, coded and decoded, with a busy disk.
constexpr int pictureWithin = 3000;

ExitCode storeError(const Report &report, const QString &reason)
{
    return report.error(ExitCode::NoStore, reason);
}

QString give(Recorder &recorder, Command command)
{
    return recorder.write(eParam_TransportCommand, unsigned(command));
}

struct AdviceRow
{
    const char *message;
    const char *advice;
};

/// What to do when the recorder refuses a take, by the reason it gives.
constexpr AdviceRow refusals[] = {
    {"No Input",
     "choose an input that has a signal with: xpctl set video_input NAME; the daemon's log says what "
     "is wrong with this one"},
    {"Invalid Input", "the signal is not steady; check its source, or choose another input"},
    {"Unsupported Input", "set the source to a format that can be recorded, or choose another input"},
    {"Media Full", "delete clips, or change the medium"},
    {"No Media", "put a medium in, or choose one with: xpctl set active_media_path FOLDER"},
};

QString adviceFor(const Recorder::Alarm &alarm)
{
    const QString list = QStringLiteral("alarm %1; `xpctl alarms` lists what is wrong").arg(alarm.name);
    for (const AdviceRow &row : refusals) {
        if (alarm.message == QLatin1String(row.message)) {
            return QLatin1String(row.advice) + QStringLiteral(" (%1)").arg(list);
        }
    }
    return list;
}

QJsonObject transportObject(const Recorder &recorder)
{
    return {{"status", recorder.statusLabel()},
            {"clip", recorder.clip()},
            {"frame", recorder.counter("frame_on_output")},
            {"timecode", recorder.timecode()}};
}

ExitCode gaveUp(const Recorder &recorder, const Report &report, const QString &what,
                const QList<Recorder::Alarm> &errors = {})
{
    if (Recorder::wasInterrupted()) {
        return report.error(ExitCode::Interrupted, "interrupted");
    }
    if (!errors.isEmpty()) {
        return report.error(ExitCode::Refused, what + ": " + errors.first().message,
                            adviceFor(errors.first()));
    }
    if (!recorder.daemonIsRunning()) {
        return report.error(ExitCode::NoDaemon, what + ": the daemon has ended",
                            "start it again with: systemctl start xpd (in a checkout: ./xp run)");
    }
    if (const QString problem = recorder.storeProblem(); !problem.isEmpty()) {
        return report.error(ExitCode::NoStore, what + ": " + problem);
    }
    return report.error(ExitCode::Refused, what,
                        QStringLiteral("the recorder is %1; `xpctl alarms` and the daemon's log may say why")
                            .arg(recorder.statusLabel()));
}

/// Nothing, or why no picture can be shown.
std::optional<ExitCode> nothingToShow(const Recorder &recorder, const Report &report)
{
    if (recorder.status() == unsigned(TransportStatus::Recording)) {
        return report.error(ExitCode::Refused, "a take is being recorded", "end it first with: xpctl stop");
    }
    if (recorder.clip().isEmpty()) {
        return report.error(ExitCode::Refused, "there is nothing to play",
                            "record a take, or choose a clip with: xpctl clip NAME");
    }
    return {};
}

/// Brings the transport into Play, holding a picture, from wherever it is.
bool enterStill(Recorder &recorder)
{
    if (recorder.isInPlay()) {
        return true;
    }
    const qint64 shown = recorder.counter("frames_shown");
    const auto still = [&recorder] { recorder.write(eParam_TransportSpeed, QStringLiteral("0")); };
    still();
    return recorder.waitFor([&] { return recorder.isInPlay() && recorder.counter("frames_shown") > shown; },
                            pictureWithin, still, repeatEvery);
}

ExitCode endOfTake(Recorder &recorder, const Report &report)
{
    const QString reason = give(recorder, Command::Stop);
    if (!reason.isEmpty()) {
        return storeError(report, reason);
    }
    constexpr unsigned released = 1;
    const auto ended = [&recorder] {
        return recorder.status() == unsigned(TransportStatus::Stopped) &&
               recorder.number(eParam_StorageState) != released;
    };
    if (!recorder.waitFor(ended, effectWithin)) {
        return gaveUp(recorder, report, "the take has not ended");
    }
    return ExitCode::Done;
}
} // namespace

ExitCode ctlRecord(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const auto before = recorder.alarms();
    const bool wasRecording = recorder.status() == unsigned(TransportStatus::Recording);
    const QString clipBefore = recorder.clip();
    const qint64 takesBefore = recorder.counter("takes_opened");
    if (wasRecording) {
        return report.error(ExitCode::Refused, QStringLiteral("already recording %1").arg(recorder.clip()),
                            "end the take with: xpctl stop");
    }
    if (const QString reason = give(recorder, Command::Record); !reason.isEmpty()) {
        return storeError(report, reason);
    }
    if (!arguments.wait && arguments.seconds <= 0) {
        return ExitCode::Done;
    }
    QList<Recorder::Alarm> errors;
    const auto open = [&] {
        errors = recorder.newErrors(before);
        return !errors.isEmpty() || (recorder.counter("takes_opened") > takesBefore &&
                                     recorder.status() == unsigned(TransportStatus::Recording));
    };
    const auto again = [&] {
        if (recorder.status() == unsigned(TransportStatus::Stopped)) {
            give(recorder, Command::Record);
        }
    };
    bool began = recorder.waitFor(open, repeatFor, again, repeatEvery);
    if (!began && recorder.status() == unsigned(TransportStatus::Stopped)) {
        errors = recorder.newErrors({}); // the reason may have been there before, word for word
        errors.removeIf([](const Recorder::Alarm &alarm) { return alarm.id != eParam_AlarmRecordInhibited; });
    }
    began = began || (errors.isEmpty() && recorder.waitFor(open, effectWithin));
    if (!began || !errors.isEmpty()) {
        return gaveUp(recorder, report, "the take has not begun", errors);
    }
    const QString clip = recorder.clip();
    const QString path = recorder.text(eParam_ActiveMediaPath) + "/" + clip;
    if (arguments.seconds <= 0) {
        report.result(QStringLiteral("recording %1").arg(path), {{"clip", clip}, {"path", path}});
        return ExitCode::Done;
    }
    const double rate = double(recorder.counter("clip_rate")) / 1000.0;
    const qint64 wanted = qint64(arguments.seconds * rate + 0.5);
    const auto full = [&] {
        errors = recorder.newErrors(before);
        return recorder.counter("current_clip_frames") >= wanted ||
               recorder.status() != unsigned(TransportStatus::Recording);
    };
    // In recorder time, which a fast clock makes shorter than ours; a stalled one never ends the wait.
    constexpr int slack = 30000;
    recorder.waitFor(full, int(arguments.seconds * 1000) + slack);
    const bool interrupted = Recorder::forgetInterrupt(); // the end is waited for all the same
    if (recorder.status() != unsigned(TransportStatus::Recording) || !recorder.daemonIsRunning()) {
        return gaveUp(recorder, report,
                      QStringLiteral("the take ended early; what was recorded is in %1").arg(path), errors);
    }
    const ExitCode ended = endOfTake(recorder, report);
    if (ended != ExitCode::Done) {
        return ended;
    }
    const qint64 frames = recorder.counter("recorded_up_to");
    report.result(QStringLiteral("recorded %1 frames into %2").arg(frames).arg(path),
                  {{"clip", clip}, {"path", path}, {"frames", frames}});
    return interrupted ? ExitCode::Interrupted : ExitCode::Done;
}

ExitCode ctlPlay(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const QString speed =
        arguments.word(0).empty() ? QStringLiteral("1") : QString::fromStdString(arguments.word(0));
    bool isNumber = false;
    const double value = speed.toDouble(&isNumber);
    constexpr double fastest = 100.0;
    if (!isNumber || !(value >= -fastest && value <= fastest)) { // no number is in no range
        return report.error(ExitCode::Usage, QStringLiteral("'%1' is no speed").arg(speed),
                            "a number from -100 to 100: 1 is normal, 0.5 is half, -2 is reverse");
    }
    if (const auto refused = nothingToShow(recorder, report)) return *refused;
    const auto before = recorder.alarms();
    const qint64 shown = recorder.counter("frames_shown");
    const auto play = [&] { recorder.write(eParam_TransportSpeed, speed); };
    if (const QString reason = recorder.write(eParam_TransportSpeed, speed); !reason.isEmpty()) {
        return storeError(report, reason);
    }
    if (!arguments.wait) {
        return ExitCode::Done;
    }
    const auto shows = [&] { return recorder.isInPlay() && recorder.counter("frames_shown") > shown; };
    const auto runs = [&] { return shows() && (value == 0.0 || recorder.isPlaying()); };
    // A clip of a few frames may be at its end before we look: a held picture then counts as played.
    const bool started = recorder.waitFor(runs, repeatFor, play, repeatEvery) || shows() ||
                         recorder.waitFor(shows, effectWithin);
    if (!started) {
        return gaveUp(recorder, report, "playback has not begun", recorder.newErrors(before));
    }
    if (arguments.untilDone && value != 0.0) {
        constexpr int dayLong = 24 * 3600 * 1000;
        recorder.waitFor([&] { return !recorder.isPlaying(); }, dayLong);
        if (!recorder.daemonIsRunning()) return gaveUp(recorder, report, "playback has not come to its end");
    }
    report.result(QStringLiteral("%1 %2").arg(recorder.statusLabel(), recorder.clip()),
                  transportObject(recorder));
    return Recorder::wasInterrupted() ? ExitCode::Interrupted : ExitCode::Done;
}

ExitCode ctlStill(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    if (const auto refused = nothingToShow(recorder, report)) return *refused;
    if (const QString reason = recorder.write(eParam_TransportSpeed, QStringLiteral("0"));
        !reason.isEmpty()) {
        return storeError(report, reason);
    }
    if (!arguments.wait) {
        return ExitCode::Done;
    }
    const auto holds = [&] { return recorder.status() == unsigned(TransportStatus::Still); };
    const auto again = [&] { recorder.write(eParam_TransportSpeed, QStringLiteral("0")); };
    if (!recorder.waitFor(holds, repeatFor, again, repeatEvery)) {
        return gaveUp(recorder, report, "the picture is not held");
    }
    report.result(QStringLiteral("still at frame %1").arg(recorder.counter("frame_on_output")),
                  transportObject(recorder));
    return ExitCode::Done;
}

ExitCode ctlStop(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    if (recorder.status() == unsigned(TransportStatus::Recording)) {
        const QString clip = recorder.clip();
        const ExitCode ended = endOfTake(recorder, report);
        if (ended == ExitCode::Done) {
            const qint64 frames = recorder.counter("recorded_up_to");
            report.result(QStringLiteral("recorded %1 frames into %2").arg(frames).arg(clip),
                          {{"clip", clip}, {"frames", frames}});
        }
        return ended;
    }
    // The stop key holds the picture first and stops at the second press.
    const auto stoppedOrStill = [&] {
        return recorder.status() == unsigned(TransportStatus::Stopped) ||
               recorder.status() == unsigned(TransportStatus::Still);
    };
    if (recorder.isPlaying()) {
        if (const QString reason = give(recorder, Command::Stop); !reason.isEmpty()) {
            return storeError(report, reason);
        }
        if (!recorder.waitFor(stoppedOrStill, pictureWithin)) {
            return gaveUp(recorder, report, "playback has not stopped");
        }
    }
    if (recorder.status() != unsigned(TransportStatus::Stopped)) {
        if (const QString reason = give(recorder, Command::Stop); !reason.isEmpty()) {
            return storeError(report, reason);
        }
    }
    if (!arguments.wait) {
        return ExitCode::Done;
    }
    if (!recorder.waitFor([&] { return recorder.status() == unsigned(TransportStatus::Stopped); },
                          effectWithin)) {
        return gaveUp(recorder, report, "the transport has not stopped");
    }
    report.result("stopped", transportObject(recorder));
    return ExitCode::Done;
}

ExitCode ctlStep(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    bool isNumber = false;
    const int count = QString::fromStdString(arguments.word(0)).toInt(&isNumber);
    constexpr int mostSteps = 10000;
    if (!isNumber || count < -mostSteps || count > mostSteps) {
        return report.error(
            ExitCode::Usage,
            QStringLiteral("'%1' is no number of frames").arg(QString::fromStdString(arguments.word(0))),
            QStringLiteral("a number from -%1 to %1; to go far: xpctl cue FRAME").arg(mostSteps));
    }
    if (const auto refused = nothingToShow(recorder, report)) return *refused;
    if (!enterStill(recorder)) {
        return gaveUp(recorder, report, "there is no picture to step from");
    }
    const Command command = count < 0 ? Command::StepBack : Command::StepForward;
    for (int i = 0; i < qAbs(count); ++i) {
        if (Recorder::wasInterrupted()) return gaveUp(recorder, report, {});
        const qint64 from = recorder.counter("frame_on_output");
        if (const QString reason = give(recorder, command); !reason.isEmpty()) {
            return storeError(report, reason);
        }
        // Each step is seen before the next one is given, so that every one counts.
        if (arguments.wait &&
            !recorder.waitFor([&] { return recorder.counter("frame_on_output") != from; }, pictureWithin)) {
            return gaveUp(recorder, report,
                          QStringLiteral("no picture beyond frame %1 (the end of the material?)").arg(from));
        }
    }
    report.result(QStringLiteral("frame %1").arg(recorder.counter("frame_on_output")),
                  transportObject(recorder));
    return ExitCode::Done;
}

ExitCode ctlCue(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const QString where = QString::fromStdString(arguments.word(0));
    bool isFrame = false;
    const unsigned frame = where.toUInt(&isFrame);
    const bool isTimecode = !isFrame && QmxTimecode(where).isValid();
    if (!isFrame && !isTimecode) {
        return report.error(ExitCode::Usage,
                            QStringLiteral("'%1' is neither a frame number nor a timecode").arg(where),
                            "for example: xpctl cue 100, xpctl cue 10:00:04:00");
    }
    if (const auto refused = nothingToShow(recorder, report)) return *refused;
    // Out of stop a timecode would find no frame to count from.
    if (!enterStill(recorder)) {
        return gaveUp(recorder, report, "there is no picture to cue from");
    }
    const auto cue = [&] {
        return isFrame ? recorder.write(eParam_CueToFrame, frame)
                       : recorder.write(eParam_CueToTimecode, where);
    };
    if (const QString reason = cue(); !reason.isEmpty()) {
        return storeError(report, reason);
    }
    if (!arguments.wait) {
        return ExitCode::Done;
    }
    const auto there = [&] {
        return isFrame ? recorder.counter("frame_on_output") == qint64(frame)
                       : QmxTimecode(recorder.timecode()).timecodeMatches(QmxTimecode(where));
    };
    const auto still = [&] { return recorder.status() == unsigned(TransportStatus::Still); };
    if (!recorder.waitFor([&] { return still() && there(); }, pictureWithin)) {
        return gaveUp(recorder, report,
                      QStringLiteral("%1 is not on the output; it may lie outside the material").arg(where));
    }
    report.result(
        QStringLiteral("frame %1, %2").arg(recorder.counter("frame_on_output")).arg(recorder.timecode()),
        transportObject(recorder));
    return ExitCode::Done;
}

ExitCode ctlNext(Recorder &recorder, const Report &report, const Arguments &)
{
    const QString reason = give(recorder, Command::NextClip);
    return reason.isEmpty() ? ExitCode::Done : storeError(report, reason);
}

ExitCode ctlPrevious(Recorder &recorder, const Report &report, const Arguments &)
{
    const QString reason = give(recorder, Command::PreviousClip);
    return reason.isEmpty() ? ExitCode::Done : storeError(report, reason);
}

ExitCode ctlClip(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const QString name = QString::fromStdString(arguments.word(0));
    if (const QString reason = recorder.write(eParam_GoToClipName, name); !reason.isEmpty()) {
        return storeError(report, reason);
    }
    if (!arguments.wait) {
        return ExitCode::Done;
    }
    if (!recorder.waitFor([&] { return recorder.clip() == name; }, pictureWithin)) {
        if (Recorder::wasInterrupted() || !recorder.daemonIsRunning()) {
            return gaveUp(recorder, report, QStringLiteral("%1 is not the current clip").arg(name));
        }
        return report.error(ExitCode::Refused, recorder.whyNoClip(name),
                            "`xpctl clips` lists those there are");
    }
    report.result(name, transportObject(recorder));
    return ExitCode::Done;
}

ExitCode ctlShutDown(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    if (const QString reason = give(recorder, Command::ShutDown); !reason.isEmpty()) {
        return storeError(report, reason);
    }
    constexpr int endWithin = 30000;
    if (arguments.wait && !recorder.waitFor([&] { return !recorder.daemonIsRunning(); }, endWithin)) {
        return gaveUp(recorder, report, "the daemon has not ended");
    }
    return ExitCode::Done;
}
