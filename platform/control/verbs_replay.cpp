// SPDX-License-Identifier: GPL-3.0-or-later
// Playing what is still being recorded, the marked part of a clip, the same moment in another one.
#include "platform/control/marksof.h"
#include "platform/control/transportanswers.h"
#include "platform/control/verbs_take.h"

#include "platform/product/clipfinder.h"
#include "platform/qmx/core/qmxstartorder.h"
#include "platform/store/eparamreplay.h"

#include <cmath>
#include <optional>

namespace {
/// A flush of the recorder, and what the transport needs to open a clip and to begin.
constexpr std::chrono::milliseconds frameWithin(2000);
/// The lists of the daemon may lack a clip that has just begun: it is asked to look again.
constexpr std::chrono::milliseconds listEvery(700);

/// Nothing, or why nothing can be played at a place of its own now.
std::optional<Answer> whyNot(const VerbCall &call)
{
    const Recorder &recorder = call.recorder;
    if (takeRunsOrBegins(recorder))
        return Answer::refused(Cause::Deck, "take_runs", "a take is being recorded on this deck",
                               "play it on another deck on the same medium, or end it with: xpctl stop");
    if (recorder.value<PlaybackSource>(eParam_PlaybackSource) != PlaybackSource::CurrentClip)
        return Answer::refused(Cause::Deck, "plays_a_list", "the deck plays a list of clips",
                               "leave it with: xpctl set playback_source current_clip");
    if (recorder.text(eParam_ActiveMediaPath).isEmpty())
        return Answer::refused(Cause::Deck, "nothing_to_play",
                               "there is nothing to play: no medium is active",
                               "put a medium in, or choose one with: xpctl set active_media_path FOLDER");
    return {};
}

/// Opens a clip where the order says. Whatever was on the output stays there until the first picture of it.
Answer openAt(const VerbCall &call, const QmxStartOrder &order)
{
    Recorder &recorder = call.recorder;
    const auto before = recorder.alarms();
    const qint64 pictures = recorder.counter("frames_shown");
    const auto give = [&] {
        const QString reason = recorder.write(eParam_StartAt, order.toText());
        return reason.isEmpty() ? recorder.write(eParam_GoToClipName, order.clip) : reason;
    };
    if (const QString reason = give(); !reason.isEmpty()) return storeError(reason);
    if (!call.request.wait) return Answer::done();
    const auto shows = [&] {
        const bool isNew = recorder.counter("frames_shown") > pictures;
        // The picture that is there already is shown again without being counted.
        const bool isThere =
            order.place == QmxStartOrder::Place::Frame && recorder.counter("frame_on_output") == order.frame;
        return recorder.isInPlay() && recorder.clip() == order.clip && (isNew || isThere);
    };
    const auto again = [&] {
        if (recorder.clip() == order.clip && recorder.isInPlay()) return;
        recorder.write(eParam_MediaUpdated, 1U);
        give();
    };
    if (!recorder.waitFor(shows, Wait::pictureWithin, again, listEvery))
        return gaveUp(recorder, QStringLiteral("no picture of %1 has come to the output").arg(order.clip),
                      recorder.newErrors(before));
    return Answer::done();
}

/// Plays what has been opened, unless it does already.
Answer playAt(const VerbCall &call, double speed)
{
    Recorder &recorder = call.recorder;
    const qint64 frame = recorder.counter("frame_on_output");
    const auto give = [&] { return recorder.write(eParam_TransportSpeed, QString::number(speed)); };
    if (const QString reason = give(); !reason.isEmpty()) return storeError(reason);
    if (!call.request.wait) return Answer::done();
    const auto runs = [&] { return recorder.counter("frame_on_output") != frame; };
    if (!recorder.waitFor(
            runs, Wait::pictureWithin, [&] { give(); }, Wait::repeatEvery))
        return gaveUp(recorder, "playback has not begun");
    return Answer::done();
}

/// The clip that is being recorded on the active medium; the one on the output, if it is one.
QString growingClip(Recorder &recorder)
{
    ClipFinder finder(&recorder.config());
    QString newest;
    const auto current = QmxClipPart::fromText(recorder.clip());
    for (const Clip &clip : finder.findClips(true, false, true)) {
        if (clip.isClosed() || !QmxClipReader::isBeingRecorded(QString::fromStdString(clip.getPath())))
            continue;
        newest = QString::fromStdString(clip.getName());
        if (current && newest == current->clip) break;
    }
    return newest;
}
} // namespace

Answer performLive(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    if (const auto refused = whyNot(call)) return *refused;
    QmxStartOrder order;
    order.place = QmxStartOrder::Place::Live;
    order.seconds = std::abs(call.number("seconds"));
    order.clip = growingClip(recorder);
    if (order.clip.isEmpty())
        return Answer::refused(Cause::Deck, "nothing_grows",
                               QStringLiteral("no other deck records a clip on %1 now")
                                   .arg(recorder.text(eParam_ActiveMediaPath)),
                               "begin a take there; a clip has its first frames after half a second");
    // Held first: where it goes on from there is told at the moment at which it goes on.
    if (recorder.isPlaying()) {
        Answer held = performStill(call);
        if (!held.isDone()) return held;
    }
    Answer answer = openAt(call, order);
    if (answer.isDone()) answer = playAt(call, 1);
    if (!answer.isDone() || !call.request.wait) return answer;
    recorder.waitFor([&] { return recorder.counter("live_distance") >= 0; }, frameWithin);
    const double rate = Material::of(recorder, recorder.clip()).rate();
    const double behind = rate > 0 ? double(recorder.counter("live_distance")) / rate : 0;
    QJsonObject effect = transportObject(recorder);
    effect["live_distance"] = recorder.counter("live_distance");
    return Answer::done(
        QStringLiteral("%1, %2 s behind the newest frame").arg(order.clip).arg(behind, 0, 'f', 1), effect);
}

Answer performReplay(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    if (const auto refused = whyNot(call)) return *refused;
    const double speed = call.number("speed", 1);
    const Material material = Material::of(recorder, recorder.clip());
    if (!material.isThere()) return material.refusal();
    QString told;
    const ClipMarks marks = ClipMarksFile::read(material.path, told, recorder.environment());
    if (!marks.in && !marks.out)
        return Answer::refused(Cause::Deck, "no_marks",
                               told.isEmpty() ? QStringLiteral("%1 has no marked part").arg(material.clip)
                                              : told,
                               "mark one with: xpctl mark in, xpctl mark out");
    QmxStartOrder order;
    order.clip = material.clip;
    order.first = marks.in.value_or(0);
    order.end = std::min(marks.out.value_or(material.info.frames), material.info.frames);
    if (order.end <= order.first)
        return Answer::refused(Cause::Deck, "outside",
                               QStringLiteral("the marked part of %1 has no frames: %2 to %3")
                                   .arg(material.clip)
                                   .arg(order.first)
                                   .arg(order.end),
                               "set the marks anew with: xpctl mark in FRAME, xpctl mark out FRAME");
    order.frame = speed < 0 ? order.end - 1 : order.first;
    if (recorder.isPlaying()) {
        Answer held = performStill(call);
        if (!held.isDone()) return held;
    }
    Answer answer = openAt(call, order);
    if (answer.isDone() && speed != 0 && order.end - order.first > 1) answer = playAt(call, speed);
    if (!answer.isDone() || !call.request.wait) return answer;
    return Answer::done(
        QStringLiteral("%1, frames %2 to %3").arg(order.clip).arg(order.first).arg(order.end - 1),
        transportObject(recorder));
}

Answer performAngle(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    if (const auto refused = whyNot(call)) return *refused;
    if (!recorder.isInPlay())
        return Answer::refused(Cause::Deck, "nothing_to_play", "no picture is on the output to go from",
                               "begin with: xpctl still");
    Material material = Material::of(recorder, call.text("clip"));
    if (!material.isThere()) return material.refusal();
    if (material.clip == recorder.clip()) return Answer::done(material.clip, transportObject(recorder));
    const QString timecode = recorder.timecode();
    // Of two clips that grow one may be a flush behind the other.
    const auto holds = [&] {
        material = Material::of(recorder, material.clip);
        return QmxClipPart::frameAt(material.info, timecode).has_value();
    };
    if (!recorder.waitFor(holds, material.info.closed ? std::chrono::milliseconds(0) : frameWithin))
        return Answer::refused(Cause::Deck, "outside",
                               QStringLiteral("%1 has no frame at %2").arg(material.clip, timecode),
                               material.describe());
    QmxStartOrder order;
    order.clip = material.clip;
    order.place = QmxStartOrder::Place::Output;
    Answer answer = openAt(call, order);
    if (!answer.isDone() || !call.request.wait) return answer;
    awaitTimecode(recorder);
    return Answer::done(QStringLiteral("%1 at %2").arg(order.clip, recorder.timecode()),
                        transportObject(recorder));
}
