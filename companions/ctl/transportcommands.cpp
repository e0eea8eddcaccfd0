// SPDX-License-Identifier: GPL-3.0-or-later
// The commands that move the transport. Each waits for its effect on the medium or on the output; the status
// parameter alone is too early to go by.
#include "companions/ctl/commands.h"
#include "companions/ctl/transportanswers.h"

#include "platform/qmx/core/qmxtimecode.h"

#include <optional>

namespace {
/// Nothing, or that a take runs, which no command but stop shall end.
std::optional<ExitCode> takeRuns(const Recorder &recorder, const Report &report)
{
    if (recorder.status() != unsigned(TransportStatus::Recording)) return {};
    return report.error(ExitCode::Refused, "a take is being recorded", "end it first with: xpctl stop");
}

/// Nothing, or why no picture can be shown.
std::optional<ExitCode> nothingToShow(const Recorder &recorder, const Report &report)
{
    if (const auto refused = takeRuns(recorder, report)) return refused;
    if (recorder.clip().isEmpty()) {
        return report.error(ExitCode::Refused, "there is nothing to play",
                            "record a take, or choose a clip with: xpctl clip NAME");
    }
    if (!recorder.isInPlay() && recorder.text(eParam_ActiveMediaPath).isEmpty()) {
        return report.error(ExitCode::Refused, "there is nothing to play: no medium is active",
                            "put a medium in, or choose one with: xpctl set active_media_path FOLDER");
    }
    constexpr unsigned playList = 2;
    if (!recorder.isInPlay() && recorder.number(eParam_PlaybackSource) == playList &&
        recorder.text(eParam_PlayList).isEmpty()) {
        return report.error(ExitCode::Refused, "there is nothing to play: the play list is empty",
                            "fill it with: xpctl list add CLIP, or leave it with: xpctl set playback_source "
                            "current_clip");
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
                            Wait::pictureWithin, still, Wait::repeatEvery);
}

/// A list that has been chosen is on the output, with its entries counted; at once when none is.
void awaitList(Recorder &recorder)
{
    constexpr unsigned currentClip = 0;
    if (recorder.number(eParam_PlaybackSource) == currentClip || !recorder.isInPlay()) return;
    recorder.waitFor([&recorder] { return recorder.counter("list_entry_on_output") >= 0; },
                     Wait::pictureWithin);
}

/// Goes to a neighbour and waits until something of it shows: another entry, a picture of another clip,
/// another picture of the same. (The name of the clip is told before its picture is there.)
ExitCode goTo(Recorder &recorder, const Report &report, const Arguments &arguments, Command command,
              const QString &noEffect)
{
    if (const auto refused = takeRuns(recorder, report)) return *refused;
    // The coming of a list is no effect of this command.
    if (arguments.wait) awaitList(recorder);
    const QString clip = recorder.clip();
    const qint64 pictures = recorder.counter("frames_shown");
    const bool wasPlaying = recorder.isPlaying();
    const bool wasStopped = !recorder.isInPlay();
    const qint64 entry = recorder.counter("list_entry_on_output");
    const qint64 frame = recorder.counter("frame_on_output");
    if (const QString reason = give(recorder, command); !reason.isEmpty()) {
        return storeError(report, reason);
    }
    if (!arguments.wait) {
        return ExitCode::Done;
    }
    const auto there = [&] {
        const qint64 shown = recorder.counter("frame_on_output");
        const bool isNew = recorder.counter("frames_shown") > pictures;
        return (isNew && (wasStopped || (entry < 0 && recorder.clip() != clip))) ||
               recorder.counter("list_entry_on_output") != entry || shown < frame ||
               (!wasPlaying && shown != frame);
    };
    if (!recorder.waitFor(there, Wait::pictureWithin)) {
        return gaveUp(recorder, report, noEffect);
    }
    awaitTimecode(recorder);
    report.result(recorder.clip(), transportObject(recorder));
    return ExitCode::Done;
}

/// A playback asked for where there is nothing more to play in its direction holds the picture it has.
bool isHeldAtTheEnd(const Recorder &recorder, double speed, qint64 frame)
{
    return speed != 0.0 && !Recorder::wasInterrupted() && recorder.daemonIsRunning() &&
           recorder.status() == unsigned(TransportStatus::Still) &&
           recorder.counter("frame_on_output") == frame;
}
} // namespace

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
    const qint64 shown = recorder.counter("frames_shown"), frame = recorder.counter("frame_on_output");
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
    const bool started =
        recorder.waitFor(runs, Wait::repeatFor, play, Wait::repeatEvery) || shows() ||
        (!isHeldAtTheEnd(recorder, value, frame) && recorder.waitFor(shows, Wait::effectWithin));
    if (!started) {
        const auto errors = recorder.newErrors(before);
        if (errors.isEmpty() && isHeldAtTheEnd(recorder, value, frame)) {
            return report.error(ExitCode::Refused,
                                QStringLiteral("playback has not begun: the material %1 at frame %2")
                                    .arg(value > 0 ? "ends" : "begins")
                                    .arg(frame),
                                "go to another frame first, for example: xpctl cue FRAME, xpctl clip NAME");
        }
        return gaveUp(recorder, report, "playback has not begun", errors);
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
    if (!recorder.waitFor(holds, Wait::repeatFor, again, Wait::repeatEvery)) {
        return gaveUp(recorder, report, "the picture is not held");
    }
    awaitTimecode(recorder);
    report.result(QStringLiteral("still at frame %1").arg(recorder.counter("frame_on_output")),
                  transportObject(recorder));
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
        if (arguments.wait && !recorder.waitFor([&] { return recorder.counter("frame_on_output") != from; },
                                                Wait::pictureWithin)) {
            return gaveUp(recorder, report,
                          QStringLiteral("no picture beyond frame %1 (the end of the material?)").arg(from));
        }
    }
    if (arguments.wait) awaitTimecode(recorder);
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
    if (!recorder.waitFor([&] { return still() && there(); }, Wait::pictureWithin)) {
        return gaveUp(recorder, report,
                      QStringLiteral("%1 is not on the output; it may lie outside the material").arg(where));
    }
    awaitTimecode(recorder);
    report.result(
        QStringLiteral("frame %1, %2").arg(recorder.counter("frame_on_output")).arg(recorder.timecode()),
        transportObject(recorder));
    return ExitCode::Done;
}

ExitCode ctlNext(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    return goTo(recorder, report, arguments, Command::NextClip, "no other clip has come to the output");
}

ExitCode ctlPrevious(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    return goTo(recorder, report, arguments, Command::PreviousClip,
                "nothing before this has come to the output");
}

ExitCode ctlClip(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const QString name = QString::fromStdString(arguments.word(0));
    if (const auto refused = takeRuns(recorder, report)) return *refused;
    if (!recorder.isClip(name)) {
        return report.error(ExitCode::Refused, recorder.whyNoClip(name),
                            "`xpctl clips` lists those there are");
    }
    const bool isAnother = recorder.clip() != name;
    const auto before = recorder.alarms();
    const qint64 pictures = recorder.counter("frames_shown");
    if (const QString reason = recorder.write(eParam_GoToClipName, name); !reason.isEmpty()) {
        return storeError(report, reason);
    }
    if (!arguments.wait) {
        return ExitCode::Done;
    }
    if (!recorder.waitFor([&] { return recorder.clip() == name; }, Wait::pictureWithin)) {
        if (Recorder::wasInterrupted() || !recorder.daemonIsRunning() || recorder.daemonStandsStill()) {
            return gaveUp(recorder, report, QStringLiteral("%1 is not the current clip").arg(name));
        }
        return report.error(ExitCode::Refused, recorder.whyNoClip(name),
                            "`xpctl clips` lists those there are");
    }
    if (isAnother &&
        !recorder.waitFor([&] { return recorder.counter("frames_shown") > pictures; }, Wait::pictureWithin)) {
        return gaveUp(recorder, report, QStringLiteral("no picture of %1 has come to the output").arg(name),
                      recorder.newErrors(before));
    }
    awaitTimecode(recorder);
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
