// SPDX-License-Identifier: GPL-3.0-or-later
// stop, of a take, of one that is on its way, of playback.
#include "platform/control/verbs_take.h"

#include "platform/control/takeclips.h"
#include "platform/control/transportanswers.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/store/eparamcontrol.h"
#include "platform/store/localcommands.h"
#include "platform/store/values.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace {
using Progress = std::function<void(int percent, const QString &text)>;

/// Waits until `ended`, however long frames go on becoming safe: a take that began in the past may have
/// gigabytes to write behind its end.
bool awaitFrames(const Recorder &recorder, const std::function<bool()> &ended, const Progress &progress)
{
    constexpr std::chrono::milliseconds tellEvery(500);
    constexpr int whole = 100; // percent
    const auto safe = [&recorder] { return recorder.counter("recorded_up_to"); };
    const auto tell = [&] {
        const qint64 frames = recorder.counter("current_clip_frames");
        if (!progress || frames <= 0) return;
        progress(int(std::clamp<qint64>(safe() * whole / frames, 0, whole)),
                 QStringLiteral("%1 of %2 frames are safe").arg(safe()).arg(frames));
    };
    for (qint64 before = -1; safe() > before;) {
        before = safe();
        if (recorder.waitFor(ended, Wait::effectWithin, tell, tellEvery)) return true;
        if (recorder.isAbandoned() || !recorder.daemonIsRunning()) return false;
    }
    return false;
}

/// The transport reads what waits in the card when its clip is open, and a stop throws away what it has not
/// read: a take that begins with the seconds before its command would lose them.
void awaitHandedOut(const Recorder &recorder)
{
    constexpr std::chrono::seconds within{2};
    constexpr qint64 beingCoded = 4; // those that the card has at any time
    const auto handed = [&recorder] { return recorder.counter("frames_recorded"); };
    const qint64 captured = handed() + recorder.counter("capture_queue") - beingCoded;
    recorder.waitFor([&] { return handed() >= captured || !isRecording(recorder); }, within);
}
} // namespace

Answer endOfTake(Recorder &recorder, const Progress &progress)
{
    const QString reason = give(recorder, TransportCommand::Stop);
    if (!reason.isEmpty()) return storeError(reason);
    const auto ended = [&recorder] {
        const auto storage = recorder.value<StorageState>(eParam_StorageState);
        return recorder.status() == TransportStatus::Stopped && storage != StorageState::InUse &&
               storage != StorageState::RolloverDone;
    };
    if (!awaitFrames(recorder, ended, progress)) return gaveUp(recorder, "the take has not ended");
    return Answer::done();
}

namespace {
/// From the order to the status that tells it, on a busy machine.
constexpr std::chrono::milliseconds beginsWithin(1500);

/// Who has asked for a take, when nothing that moves the transport was asked for since.
struct TakeOrder
{
    Who who;
    std::chrono::milliseconds age{};
};
std::optional<TakeOrder> lastTakeOrder(const Recorder &recorder)
{
    const QJsonObject last = QJsonDocument::fromJson(recorder.text(eParam_ControlVerb).toUtf8()).object();
    const QString verb = last["verb"].toString();
    if (verb != QLatin1String("record") && !verb.startsWith(QLatin1String("record "))) return {};
    TakeOrder order{Who::fromJson(last),
                    std::chrono::milliseconds(recorder.timeOfDay() - last["time"].toInteger())};
    order.who.id = last["operator"].toString();
    return order.age.count() < 0 ? std::nullopt : std::optional(order);
}

/// Stops a take that may be on its way: the daemon drops a stop that comes while it is changing its mode, and
/// the status tells of a take only behind that. Whoever asked for it does not ask again, now that somebody
/// else has come. True when it has begun.
bool stopTheTakeToCome(Recorder &recorder, std::chrono::milliseconds orderedBefore)
{
    constexpr std::chrono::milliseconds atLeast(300);
    const qint64 takes = recorder.counter("takes_opened");
    const auto hasBegun = [&] { return isRecording(recorder) || recorder.counter("takes_opened") > takes; };
    return give(recorder, TransportCommand::Stop).isEmpty() &&
           recorder.waitFor(hasBegun, std::max(atLeast, beginsWithin - orderedBefore));
}
} // namespace

std::optional<Who> takeOnItsWay(const Recorder &recorder)
{
    if (isRecording(recorder)) return {};
    const auto order = lastTakeOrder(recorder);
    return order && order->age <= beginsWithin ? std::optional(order->who) : std::nullopt;
}

bool takeRunsOrBegins(const Recorder &recorder)
{
    const auto isDecided = [&recorder] { return !takeOnItsWay(recorder); };
    if (!isDecided()) recorder.waitFor(isDecided, Wait::effectWithin);
    return isRecording(recorder);
}

namespace {
/// What the take that has just ended holds.
Answer stopped(const Recorder &recorder)
{
    if (recorder.counter("current_clip_frames") == 0)
        return Answer::done(
            QStringLiteral("stopped: the take had not begun, nothing was recorded"),
            {{"clip", QString()}, {"path", QString()}, {"clips", QJsonArray()}, {"frames", 0}});
    // (By now the name is that of its last clip, into whatever others it has gone on.)
    const QString clip = recorder.clip();
    const auto clips = TakeClips::endingWith(recorder, clip);
    const qint64 frames = TakeClips::frames(clips);
    return Answer::done(
        QStringLiteral("recorded %1 into %2")
            .arg(qmxCounted(frames, "frame"), clips.size() == 1 ? clip : TakeClips::text(clips)),
        {{"clip", clips.first().path.section('/', -1)},
         {"path", clips.first().path},
         {"clips", TakeClips::toJson(clips)},
         {"frames", frames}});
}
} // namespace

Answer performStop(const VerbCall &call)
{
    Recorder &recorder = call.recorder;
    const auto order = lastTakeOrder(recorder);
    const bool mayCome = order && order->age < Wait::repeatFor + Wait::effectWithin && !isRecording(recorder);
    const bool hasCome = mayCome && stopTheTakeToCome(recorder, order->age);
    if (hasCome || isRecording(recorder)) {
        if (!call.request.wait) {
            const QString reason = give(recorder, TransportCommand::Stop);
            return reason.isEmpty() ? Answer::done() : storeError(reason);
        }
        awaitHandedOut(recorder);
        Answer ended = endOfTake(recorder, call.request.progress);
        return ended.isDone() ? stopped(recorder) : ended;
    }
    // The stop key holds the picture first and stops at the second press.
    const auto stoppedOrStill = [&] {
        return recorder.status() == TransportStatus::Stopped || recorder.status() == TransportStatus::Still;
    };
    if (recorder.isPlaying()) {
        if (const QString reason = give(recorder, TransportCommand::Stop); !reason.isEmpty())
            return storeError(reason);
        if (!recorder.waitFor(stoppedOrStill, Wait::pictureWithin))
            return gaveUp(recorder, "playback has not stopped");
    }
    if (recorder.status() != TransportStatus::Stopped) {
        if (const QString reason = give(recorder, TransportCommand::Stop); !reason.isEmpty())
            return storeError(reason);
    }
    if (!call.request.wait) return Answer::done();
    if (!recorder.waitFor([&] { return recorder.status() == TransportStatus::Stopped; }, Wait::effectWithin))
        return gaveUp(recorder, "the transport has not stopped");
    return Answer::done("stopped", transportObject(recorder));
}

Answer performStopWithoutStore(Recorder &recorder)
{
    QString problem = recorder.storeProblem();
    if (problem.isEmpty()) problem = QStringLiteral("the configuration store takes nothing now");
    const auto recorded = [&recorder] { return recorder.counter("frames_recorded"); };
    constexpr std::chrono::milliseconds fewFrames(500); // a take at any rate gets some
    const qint64 before = recorded();
    const bool isTake = recorder.waitFor([&] { return recorded() != before; }, fewFrames);
    if (!isTake && !Recorder::wasInterrupted())
        return Answer::refused(Cause::Store, "no_store", "no take is being recorded, and " + problem);
    if (const QString reason = LocalCommands::sendStop(); !reason.isEmpty())
        return Answer::refused(
            Cause::Store, "no_store",
            QStringLiteral("the daemon takes no stop without the store (%1), and %2").arg(reason, problem));
    // Closed: no frame has come for a while, and all that came are safe.
    qint64 last = -1;
    qint64 lastAt = 0;
    const auto isClosed = [&] {
        const auto &clock = recorder.environment().clock;
        if (recorded() != last) {
            last = recorded();
            lastAt = clock->now();
        }
        return clock->since(lastAt) > fewFrames &&
               recorder.counter("recorded_up_to") >= recorder.counter("current_clip_frames");
    };
    if (!awaitFrames(recorder, isClosed, {}))
        return Answer::givenUp(Cause::Deck, "no_effect", "the take has not ended, and " + problem);
    const qint64 frames = recorder.counter("recorded_up_to");
    return Answer::done(QStringLiteral("recorded %1, stopped without the configuration store")
                            .arg(qmxCounted(frames, "frame")),
                        {{"clip", QString()}, {"frames", frames}});
}
