// SPDX-License-Identifier: GPL-3.0-or-later
// record and stop. A take that this program began and was to end is ended also when it is interrupted.
#include "companions/ctl/commands.h"
#include "companions/ctl/transportanswers.h"

namespace {
bool isRecording(const Recorder &recorder)
{
    return recorder.status() == unsigned(TransportStatus::Recording);
}

ExitCode endOfTake(Recorder &recorder, const Report &report)
{
    const QString reason = give(recorder, Command::Stop);
    if (!reason.isEmpty()) {
        return storeError(report, reason);
    }
    constexpr unsigned inUse = 1;
    constexpr unsigned rolloverDone = 3; // in use as well, on the next medium
    const auto ended = [&recorder] {
        const unsigned storage = recorder.number(eParam_StorageState);
        return recorder.status() == unsigned(TransportStatus::Stopped) && storage != inUse &&
               storage != rolloverDone;
    };
    if (!recorder.waitFor(ended, Wait::effectWithin)) {
        return gaveUp(recorder, report, "the take has not ended");
    }
    return ExitCode::Done;
}

/// The beginning of a take: gives the command and waits until its clip is open or an alarm says why not.
class TakeStart
{
public:
    explicit TakeStart(Recorder &recorder)
        : _recorder(recorder),
          _before(recorder.alarms()),
          _takesBefore(recorder.counter("takes_opened")),
          _clipBefore(recorder.clip())
    {}

    bool wait()
    {
        const auto settled = [this] { return isOpen() || !newErrors().isEmpty(); };
        const auto again = [this] {
            // (A take that somebody has ended meanwhile is not begun once more.)
            if (_recorder.status() == unsigned(TransportStatus::Stopped) && !wasOpened())
                give(_recorder, Command::Record);
        };
        if (!_recorder.waitFor(settled, Wait::repeatFor, again, Wait::repeatEvery) &&
            !Recorder::wasInterrupted()) {
            if (!isRecording(_recorder)) {
                _errors = _recorder.newErrors({}); // the reason may have been there before, word for word
                _errors.removeIf([](const auto &alarm) { return alarm.id != eParam_AlarmRecordInhibited; });
            }
            const bool hasEnded = wasOpened() && !isRecording(_recorder);
            if (_errors.isEmpty() && !hasEnded) _recorder.waitFor(settled, Wait::effectWithin);
        }
        // The command has been given and will be followed after we have gone: see it through, to end the
        // take.
        if (Recorder::wasInterrupted() && !isOpen()) {
            interrupted = Recorder::forgetInterrupt();
            if (!_recorder.waitFor(settled, Wait::repeatFor) && isRecording(_recorder))
                _recorder.waitFor(settled, Wait::effectWithin);
        }
        if (!isOpen() || !_errors.isEmpty()) return false;
        // The name reaches the store behind the clip.
        constexpr int nameWithin = 2000; // ms
        _recorder.waitFor([this] { return _recorder.clip() != _clipBefore; }, nameWithin);
        return true;
    }
    /// Alarms that have come since.
    QList<Recorder::Alarm> newErrors()
    {
        if (_errors.isEmpty()) _errors = _recorder.newErrors(_before);
        return _errors;
    }
    bool wasOpened() const { return _recorder.counter("takes_opened") > _takesBefore; }
    bool interrupted = false; ///< before the clip was open

private:
    bool isOpen() const { return wasOpened() && isRecording(_recorder); }

    Recorder &_recorder;
    const QList<Recorder::Alarm> _before;
    const qint64 _takesBefore;
    const QString _clipBefore;
    QList<Recorder::Alarm> _errors;
};

/// The daemon waits for the first picture of its input, however long, and would then begin a take that nobody
/// wants any more.
ExitCode giveUpWaiting(Recorder &recorder, const Report &report)
{
    if (const ExitCode ended = endOfTake(recorder, report); ended != ExitCode::Done) return ended;
    return report.error(
        ExitCode::Refused,
        QStringLiteral("the take has not begun: no picture has come from %1")
            .arg(QString::fromStdString(
                GetDescriptor(eParam_VideoInput)->label(int(recorder.number(eParam_VideoInput))))),
        "choose an input that has a signal with: xpctl set video_input NAME, or give it one; then record "
        "again");
}

/// Waits for as much recorded time as was asked for; false when the take ended before.
bool takeIsFull(Recorder &recorder, TakeStart &start, double seconds)
{
    const double rate = double(recorder.counter("clip_rate")) / 1000.0;
    const qint64 wanted = qRound64(seconds * rate);
    const auto full = [&] {
        start.newErrors();
        return recorder.counter("current_clip_frames") >= wanted || !isRecording(recorder);
    };
    // In recorder time, which a fast clock makes shorter than ours; a stalled one never ends the wait.
    constexpr int slack = 30000;
    recorder.waitFor(full, int(seconds * 1000) + slack);
    return isRecording(recorder) && recorder.daemonIsRunning();
}
} // namespace

ExitCode ctlRecord(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    if (isRecording(recorder)) {
        return report.error(ExitCode::Refused, QStringLiteral("already recording %1").arg(recorder.clip()),
                            "end the take with: xpctl stop");
    }
    TakeStart start(recorder);
    if (const QString reason = give(recorder, Command::Record); !reason.isEmpty()) {
        return storeError(report, reason);
    }
    if (!arguments.wait && arguments.seconds <= 0) {
        return ExitCode::Done;
    }
    if (!start.wait()) {
        if (start.interrupted) {
            const bool mayGoOn = recorder.daemonIsRunning() && isRecording(recorder);
            const ExitCode ended = mayGoOn ? endOfTake(recorder, report) : ExitCode::Done;
            return ended == ExitCode::Done ? report.error(ExitCode::Interrupted, "interrupted") : ended;
        }
        if (start.newErrors().isEmpty() && recorder.daemonIsRunning() && isRecording(recorder))
            return giveUpWaiting(recorder, report);
        return gaveUp(recorder, report,
                      start.wasOpened() ? "the take ended as it began" : "the take has not begun",
                      start.newErrors());
    }
    const QString clip = recorder.clip();
    const QString path = recorder.text(eParam_ActiveMediaPath) + "/" + clip;
    if (arguments.seconds <= 0 && !start.interrupted) {
        report.result(QStringLiteral("recording %1").arg(path), {{"clip", clip}, {"path", path}});
        return ExitCode::Done;
    }
    if (!start.interrupted && !takeIsFull(recorder, start, arguments.seconds)) {
        Recorder::forgetInterrupt();
        return gaveUp(recorder, report,
                      QStringLiteral("the take ended early; what was recorded is in %1").arg(path),
                      start.newErrors());
    }
    const bool interrupted = Recorder::forgetInterrupt() || start.interrupted; // the end is waited for
    if (const ExitCode ended = endOfTake(recorder, report); ended != ExitCode::Done) {
        return ended;
    }
    const qint64 frames = recorder.counter("recorded_up_to");
    report.result(QStringLiteral("recorded %1 frames into %2").arg(frames).arg(path),
                  {{"clip", clip}, {"path", path}, {"frames", frames}});
    return interrupted ? ExitCode::Interrupted : ExitCode::Done;
}

ExitCode ctlStop(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    if (recorder.status() == unsigned(TransportStatus::Recording)) {
        if (!arguments.wait) {
            const QString reason = give(recorder, Command::Stop);
            return reason.isEmpty() ? ExitCode::Done : storeError(report, reason);
        }
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
        if (!recorder.waitFor(stoppedOrStill, Wait::pictureWithin)) {
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
                          Wait::effectWithin)) {
        return gaveUp(recorder, report, "the transport has not stopped");
    }
    report.result("stopped", transportObject(recorder));
    return ExitCode::Done;
}
