// SPDX-License-Identifier: GPL-3.0-or-later
// The verbs of playing. Each waits for its effect on the medium or on the output; the status
// parameter alone is too early to go by.
#include "platform/control/transportanswers.h"
#include "platform/control/verbs_take.h"

#include "platform/qmx/core/qmxtimecode.h"

#include <optional>

namespace {
/// Nothing, or that a take runs, which no verb but stop shall end; with force it is ended here.
std::optional<Answer> takeRuns(const VerbCall &call)
{
    if (!takeRunsOrBegins(call.recorder)) return {};
    if (call.request.force) {
        const Answer ended = endOfTake(call.recorder, call.request.progress);
        return ended.isDone() ? std::nullopt : std::optional(ended);
    }
    return Answer::refused(Cause::Deck, "take_runs", "a take is being recorded",
                           "end it first with: xpctl stop");
}

/// Nothing, or why no picture can be shown.
std::optional<Answer> nothingToShow(const VerbCall &call)
{
    const Recorder &recorder = call.recorder;
    if (auto refused = takeRuns(call)) return refused;
    const auto nothing = [](const QString &why, const QString &advice) {
        return Answer::refused(Cause::Deck, "nothing_to_play", "there is nothing to play" + why, advice);
    };
    if (recorder.clip().isEmpty())
        return nothing({}, "record a take, or choose a clip with: xpctl clip NAME");
    if (!recorder.isInPlay() && recorder.text(eParam_ActiveMediaPath).isEmpty())
        return nothing(": no medium is active",
                       "put a medium in, or choose one with: xpctl set active_media_path FOLDER");
    if (!recorder.isInPlay() &&
        recorder.value<PlaybackSource>(eParam_PlaybackSource) == PlaybackSource::PlayList &&
        recorder.text(eParam_PlayList).isEmpty())
        return nothing(": the play list is empty",
                       "fill it with: xpctl list add CLIP, or leave it with: xpctl set playback_source "
                       "current_clip");
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

/// A clip that was gone to out of stop is held by the daemon, which drops that while it still changes its
/// mode (the end of a take may take a while): asked for again until the transport is in play.
std::function<void()> holdUnlessInPlay(Recorder &recorder)
{
    return [&recorder] {
        if (!recorder.isInPlay()) recorder.write(eParam_TransportSpeed, QStringLiteral("0"));
    };
}

/// A list that has been chosen is on the output, with its entries counted; at once when none is.
void awaitList(Recorder &recorder)
{
    if (recorder.value<PlaybackSource>(eParam_PlaybackSource) == PlaybackSource::CurrentClip ||
        !recorder.isInPlay())
        return;
    recorder.waitFor([&recorder] { return recorder.counter("list_entry_on_output") >= 0; },
                     Wait::pictureWithin);
}

/// Goes to a neighbour and waits until something of it shows: another entry, a picture of another clip,
/// another picture of the same. (The name of the clip is told before its picture is there.)
Answer goTo(const VerbCall &call, TransportCommand command, const QString &noEffect)
{
    Recorder &recorder = call.recorder;
    if (const auto refused = takeRuns(call)) return *refused;
    // The coming of a list is no effect of this command.
    if (call.request.wait) awaitList(recorder);
    const QString clip = recorder.clip();
    const qint64 pictures = recorder.counter("frames_shown");
    const bool wasPlaying = recorder.isPlaying();
    const bool wasStopped = !recorder.isInPlay();
    const qint64 entry = recorder.counter("list_entry_on_output");
    const qint64 frame = recorder.counter("frame_on_output");
    if (const QString reason = give(recorder, command); !reason.isEmpty()) {
        return storeError(reason);
    }
    if (!call.request.wait) {
        return Answer::done();
    }
    const auto there = [&] {
        const qint64 shown = recorder.counter("frame_on_output");
        const bool isNew = recorder.counter("frames_shown") > pictures;
        return (isNew && (wasStopped || (entry < 0 && recorder.clip() != clip))) ||
               recorder.counter("list_entry_on_output") != entry || shown < frame ||
               (!wasPlaying && shown != frame);
    };
    if (!recorder.waitFor(there, Wait::pictureWithin, holdUnlessInPlay(recorder), Wait::repeatEvery)) {
        return gaveUp(recorder, noEffect);
    }
    awaitTimecode(recorder);
    return Answer::done(recorder.clip(), transportObject(recorder));
}

/// A playback asked for where there is nothing more to play in its direction holds the picture it has.
bool isHeldAtTheEnd(const Recorder &recorder, qint64 frame)
{
    return !recorder.isAbandoned() && recorder.daemonIsRunning() &&
           recorder.status() == TransportStatus::Still && recorder.counter("frame_on_output") == frame;
}
} // namespace

Answer performPlay(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    const QString speed = call.has("speed") ? call.text("speed") : QStringLiteral("1");
    const double value = call.number("speed", 1);
    if (value == 0.0) return performStill(call);
    if (const auto refused = nothingToShow(call)) return *refused;
    const auto before = recorder.alarms();
    const qint64 begun = recorder.timeOfDay();
    const qint64 shown = recorder.counter("frames_shown"), frame = recorder.counter("frame_on_output");
    const auto play = [&] { recorder.write(eParam_TransportSpeed, speed); };
    if (const QString reason = recorder.write(eParam_TransportSpeed, speed); !reason.isEmpty()) {
        return storeError(reason);
    }
    if (!call.request.wait) {
        return Answer::done();
    }
    const auto shows = [&] { return recorder.isInPlay() && recorder.counter("frames_shown") > shown; };
    const auto runs = [&] { return shows() && recorder.isPlaying(); };
    // It may have been read in vain before, for the same reason.
    QList<Recorder::Alarm> unread;
    const auto runsOrFails = [&] {
        if (!runs() && unread.isEmpty()) unread = recorder.raisedSince(begun, eParam_AlarmMediaReadFailed);
        return runs() || !unread.isEmpty();
    };
    // A clip of a few frames may be at its end before we look: a held picture then counts as played.
    recorder.waitFor(runsOrFails, Wait::repeatFor, play, Wait::repeatEvery);
    bool started = runs() || shows();
    constexpr std::chrono::milliseconds nextEntryWithin(500); // of a list, behind one that cannot be read
    if (!started && !unread.isEmpty())
        started = recorder.waitFor(shows, nextEntryWithin);
    else if (!started && !isHeldAtTheEnd(recorder, frame))
        started = recorder.waitFor([&] { return runsOrFails() || shows(); }, Wait::effectWithin) && shows();
    if (!started) {
        const auto errors = unread.isEmpty() ? recorder.newErrors(before) : unread;
        if (errors.isEmpty() && isHeldAtTheEnd(recorder, frame)) {
            return Answer::givenUp(
                Cause::Deck, "at_the_end",
                QStringLiteral("playback has not begun: the material %1 at frame %2")
                    .arg(value > 0 ? "ends" : "begins")
                    .arg(frame),
                "go to another frame first, for example: xpctl cue FRAME, xpctl clip NAME");
        }
        return gaveUp(recorder, "playback has not begun", errors);
    }
    if (call.isOn("until_done")) {
        constexpr std::chrono::hours dayLong(24);
        recorder.waitFor([&] { return !recorder.isPlaying(); }, dayLong);
        if (!recorder.daemonIsRunning()) return gaveUp(recorder, "playback has not come to its end");
    }
    Answer answer = Answer::done(QStringLiteral("%1 %2").arg(recorder.statusLabel(), recorder.clip()),
                                 transportObject(recorder));
    answer.isEnded = Recorder::wasInterrupted();
    return answer;
}

Answer performStill(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    if (const auto refused = nothingToShow(call)) return *refused;
    // The status is told when the key is pressed; out of stop the input is on the output until the clip has
    // come.
    const bool wasInPlay = recorder.isInPlay();
    const qint64 shown = recorder.counter("frames_shown");
    if (const QString reason = recorder.write(eParam_TransportSpeed, QStringLiteral("0"));
        !reason.isEmpty()) {
        return storeError(reason);
    }
    if (!call.request.wait) {
        return Answer::done();
    }
    const auto holds = [&] {
        return recorder.status() == TransportStatus::Still &&
               (wasInPlay || recorder.counter("frames_shown") > shown);
    };
    const auto again = [&] { recorder.write(eParam_TransportSpeed, QStringLiteral("0")); };
    if (!recorder.waitFor(holds, Wait::repeatFor, again, Wait::repeatEvery)) {
        return gaveUp(recorder, "the picture is not held");
    }
    awaitTimecode(recorder);
    return Answer::done(QStringLiteral("still at frame %1").arg(recorder.counter("frame_on_output")),
                        transportObject(recorder));
}

Answer performStep(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    const int count = call.integer("frames");
    if (const auto refused = nothingToShow(call)) return *refused;
    if (!enterStill(recorder)) {
        return gaveUp(recorder, "there is no picture to step from");
    }
    const TransportCommand command = count < 0 ? TransportCommand::StepBack : TransportCommand::StepForward;
    for (int i = 0; i < qAbs(count); ++i) {
        if (recorder.isAbandoned()) return gaveUp(recorder, {});
        const qint64 from = recorder.counter("frame_on_output");
        if (const QString reason = give(recorder, command); !reason.isEmpty()) {
            return storeError(reason);
        }
        // Each step is seen before the next one is given, so that every one counts.
        if (call.request.wait &&
            !recorder.waitFor([&] { return recorder.counter("frame_on_output") != from; },
                              Wait::pictureWithin)) {
            return gaveUp(recorder,
                          QStringLiteral("no picture beyond frame %1 (the end of the material?)").arg(from));
        }
    }
    if (call.request.wait) awaitTimecode(recorder);
    return Answer::done(QStringLiteral("frame %1").arg(recorder.counter("frame_on_output")),
                        transportObject(recorder));
}

Answer performCue(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    const QString where = call.text("where");
    const VerbPlace place = call.place("where");
    if (const auto refused = nothingToShow(call)) return *refused;
    if (const auto refused = outsideMaterial(recorder, where)) return *refused;
    // Out of stop a timecode would find no frame to count from.
    if (!enterStill(recorder)) {
        return gaveUp(recorder, "there is no picture to cue from");
    }
    const auto cue = [&] {
        return place.frame ? recorder.write(eParam_CueToFrame, *place.frame)
                           : recorder.write(eParam_CueToTimecode, where);
    };
    if (const QString reason = cue(); !reason.isEmpty()) {
        return storeError(reason);
    }
    if (!call.request.wait) {
        return Answer::done();
    }
    const auto there = [&] {
        return place.frame ? recorder.counter("frame_on_output") == qint64(*place.frame)
                           : QmxTimecode(recorder.timecode()).timecodeMatches(place.timecode);
    };
    const auto still = [&] { return recorder.status() == TransportStatus::Still; };
    if (!recorder.waitFor([&] { return still() && there(); }, Wait::pictureWithin)) {
        return gaveUp(recorder,
                      QStringLiteral("%1 is not on the output; it may lie outside the material").arg(where));
    }
    awaitTimecode(recorder);
    return Answer::done(
        QStringLiteral("frame %1, %2").arg(recorder.counter("frame_on_output")).arg(recorder.timecode()),
        transportObject(recorder));
}

Answer performNext(const VerbCall &call)
{
    return goTo(call, TransportCommand::NextClip, "no other clip has come to the output");
}

Answer performPrevious(const VerbCall &call)
{
    return goTo(call, TransportCommand::PreviousClip, "nothing before this has come to the output");
}

Answer performClip(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    const QString name = call.text("name");
    if (const auto refused = takeRuns(call)) return *refused;
    if (!recorder.isClip(name)) {
        return Answer::refused(Cause::Deck, "no_clip", recorder.whyNoClip(name),
                               "`xpctl clips` lists those there are");
    }
    const bool isAnother = recorder.clip() != name;
    const auto before = recorder.alarms();
    const qint64 pictures = recorder.counter("frames_shown");
    if (const QString reason = recorder.write(eParam_GoToClipName, name); !reason.isEmpty()) {
        return storeError(reason);
    }
    if (!call.request.wait) {
        return Answer::done();
    }
    // A clip that has just come is not in the list that is played yet. The media daemon has it listed when no
    // command has come for two seconds, since that would end a playback; so it is not asked for before.
    constexpr std::chrono::milliseconds listedAfter(2600);
    constexpr std::chrono::milliseconds currentWithin = 2 * listedAfter;
    const auto isCurrent = [&] { return recorder.clip() == name; };
    const auto again = [&] { recorder.write(eParam_GoToClipName, name); };
    if (!recorder.waitFor(isCurrent, currentWithin, again, listedAfter)) {
        if (recorder.isAbandoned() || !recorder.daemonIsRunning() || recorder.daemonStandsStill()) {
            return gaveUp(recorder, QStringLiteral("%1 is not the current clip").arg(name));
        }
        return Answer::refused(Cause::Deck, "no_clip", recorder.whyNoClip(name),
                               "`xpctl clips` lists those there are");
    }
    if (isAnother && !recorder.waitFor([&] { return recorder.counter("frames_shown") > pictures; },
                                       Wait::pictureWithin, holdUnlessInPlay(recorder), Wait::repeatEvery)) {
        return gaveUp(recorder, QStringLiteral("no picture of %1 has come to the output").arg(name),
                      recorder.newErrors(before));
    }
    awaitTimecode(recorder);
    return Answer::done(name, transportObject(recorder));
}

Answer performShutDown(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    if (const QString reason = give(recorder, TransportCommand::ShutDown); !reason.isEmpty()) {
        return storeError(reason);
    }
    constexpr std::chrono::seconds endWithin(30);
    if (call.request.wait && !recorder.waitFor([&] { return !recorder.daemonIsRunning(); }, endWithin)) {
        return gaveUp(recorder, "the daemon has not ended");
    }
    return Answer::done();
}
