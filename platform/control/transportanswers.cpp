// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/transportanswers.h"

#include "platform/qmx/clip/qmxclippart.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxtimecode.h"

namespace {
struct AdviceRow
{
    QmxId reason;
    const char *advice;
};

/// What to do when the recorder refuses a take, by the reason it gives.
constexpr AdviceRow refusals[] = {
    {QmxIds::noInput, "choose an input that has a signal with: xpctl set video_input NAME"},
    {QmxIds::invalidInput, "the signal is not steady; check its source, or choose another input"},
    {QmxIds::unsupportedInput, "set the source to a format that can be recorded, or choose another input"},
    {QmxIds::mediaFull, "delete clips, or change the medium"},
    {QmxIds::noMedia, "put a medium in, or choose one with: xpctl set active_media_path FOLDER"},
};

QString adviceFor(const Recorder::Alarm &alarm)
{
    const QString list = QStringLiteral("alarm %1; `xpctl alarms` lists what is wrong").arg(alarm.name);
    const QString advice = adviceOn(alarm.reason);
    return advice.isEmpty() ? list : QStringLiteral("%1 (%2)").arg(advice, list);
}
} // namespace

QString adviceOn(const QmxId &reason)
{
    for (const AdviceRow &row : refusals)
        if (reason == row.reason) return QLatin1String(row.advice);
    return {};
}

Answer storeError(const QString &reason)
{
    return Answer::refused(Cause::Store, "no_store", reason);
}

Answer standsStill(const QString &what)
{
    return Answer::givenUp(Cause::Daemon, "stands_still",
                           what + (what.isEmpty() ? "" : ": ") + "the daemon stands still",
                           "what it was told it may still do when it goes on; start it anew with: systemctl "
                           "restart xpd");
}

Answer noDaemon()
{
    return Answer::refused(Cause::Daemon, "no_daemon", "the daemon is not running, so nothing can be done",
                           "start it with: systemctl start xpd (in a checkout: ./xp run)");
}

QString give(Recorder &recorder, TransportCommand command)
{
    return recorder.write(eParam_TransportCommand, storeNumber(command));
}

void awaitTimecode(const Recorder &recorder)
{
    constexpr std::chrono::milliseconds tickWithin(200);
    const qint64 tick = recorder.counter("ticks");
    recorder.waitFor([&] { return recorder.counter("ticks") > tick; }, tickWithin);
}

QJsonObject transportObject(const Recorder &recorder)
{
    return {{"status", recorder.statusLabel()},
            {"clip", recorder.clip()},
            {"frame", recorder.counter("frame_on_output")},
            {"timecode", recorder.timecode()}};
}

bool isRecording(const Recorder &recorder)
{
    return recorder.status() == TransportStatus::Recording;
}

Answer gaveUp(const Recorder &recorder, const QString &what, const QList<Recorder::Alarm> &errors)
{
    if (recorder.isAbandoned()) return Answer::givenUp(Cause::Interrupted, "interrupted", "interrupted");
    if (!errors.isEmpty()) {
        const Recorder::Alarm &alarm = errors.first();
        // The card knows more of its input than that there is none.
        const QString input = alarm.reason == QmxIds::noInput ? recorder.inputProblem() : QString();
        return Answer::givenUp(Cause::Deck, "alarm",
                               what + ": " + alarm.message + (input.isEmpty() ? "" : " (" + input + ")"),
                               adviceFor(alarm));
    }
    if (!recorder.daemonIsRunning()) {
        return Answer::givenUp(Cause::Daemon, "daemon_ended", what + ": the daemon has ended",
                               "start it again with: systemctl start xpd (in a checkout: ./xp run)");
    }
    if (const QString problem = recorder.storeProblem(); !problem.isEmpty())
        return Answer::givenUp(Cause::Store, "no_store", what + ": " + problem);
    if (recorder.daemonStandsStill()) return standsStill(what);
    return Answer::givenUp(
        Cause::Deck, "no_effect", what,
        QStringLiteral("the recorder is %1; `xpctl alarms` and the daemon's log may say why")
            .arg(recorder.statusLabel()));
}

std::optional<Answer> outsideMaterial(const Recorder &recorder, const QString &where)
{
    constexpr unsigned currentClip = 0;
    if (recorder.number(eParam_PlaybackSource) != currentClip) return {};
    const QString name = recorder.clip();
    const auto part = QmxClipPart::fromText(name);
    QmxClipInfo info;
    QmxClipPart::Range range;
    if (!part ||
        QmxClipReader::probe(recorder.text(eParam_ActiveMediaPath) + "/" + part->clip, info,
                             recorder.environment())
            .isError() ||
        part->resolve(info, range).isError() || range.frames() < 1)
        return {};
    const auto refused = [](const QString &sentence, const QString &advice) {
        return Answer::refused(Cause::Deck, "outside", sentence, advice);
    };
    const qint64 last = range.frames() - 1;
    const QString frames = QStringLiteral("its frames are 0 to %1").arg(last);
    bool isFrame = false;
    const unsigned frame = where.toUInt(&isFrame);
    if (isFrame && qint64(frame) <= last) return {};
    if (isFrame) return refused(QStringLiteral("%1 has no frame %2").arg(name).arg(frame), frames);
    if (!info.timecodeAt(0).isValid()) return refused(QStringLiteral("%1 has no timecode").arg(name), frames);
    const auto found = QmxClipPart::frameAt(info, where);
    if (found && *found >= range.first && *found < range.end) return {};
    return refused(
        QStringLiteral("%1 has no frame at %2").arg(name, where),
        QStringLiteral("its timecodes are %1 to %2, %3")
            .arg(info.timecodeAt(range.first).toString(), info.timecodeAt(range.end - 1).toString(), frames));
}
