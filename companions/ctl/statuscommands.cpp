// SPDX-License-Identifier: GPL-3.0-or-later
// status, watch, clips: what is, for people and for scripts.
#include "companions/ctl/commands.h"
#include "companions/ctl/figuresage.h"
#include "companions/ctl/metrics.h"
#include "companions/ctl/verbcommand.h"

#include "platform/control/deckparts.h"
#include "platform/control/deckwatch.h"
#include "platform/product/clipfinder.h"
#include "platform/product/clipplaces.h"
#include "platform/product/clipscan.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxcounted.h"

#include <QDir>
#include <QJsonArray>
#include <QStorageInfo>

#include <cmath>
#include <memory>
#include <optional>

namespace {
/// Names come from other systems too: a line each, whatever is in them.
QString inOneLine(QString name)
{
    for (QChar &c : name) {
        if (!c.isPrint()) c = '?';
    }
    return name;
}

/// "1:02:03", "2:03" or "0:07"
QString durationText(double seconds)
{
    constexpr int minute = 60;
    constexpr int hour = 3600;
    const int whole = int(seconds);
    if (whole < hour)
        return QStringLiteral("%1:%2").arg(whole / minute).arg(whole % minute, 2, 10, QChar('0'));
    return QStringLiteral("%1:%2:%3")
        .arg(whole / hour)
        .arg(whole % hour / minute, 2, 10, QChar('0'))
        .arg(whole % minute, 2, 10, QChar('0'));
}

/// Peaks of the sound on the output, in decibels below full scale.
QJsonArray peaksOf(const std::optional<QmxPreviewPicture> &card)
{
    QJsonArray peaks;
    constexpr double silence = -99;
    for (size_t i = 0; card && i < card->peaks.size(); ++i) {
        const double peak = card->peaks[i];
        peaks.append(peak > 0 ? std::round(std::max(silence, 20 * std::log10(peak)) * 10) / 10 : silence);
    }
    return peaks;
}

QString meters(const QJsonArray &peaks)
{
    constexpr qsizetype shown = 2;
    QStringList texts;
    for (qsizetype i = 0; i < std::min(shown, peaks.size()); ++i)
        texts << QString::number(peaks[i].toDouble(), 'f', 0);
    return texts.join('/');
}

/// Of a fast or slow playback how fast; of the end of the material how far away.
QString playText(const DeckState &deck)
{
    QString text;
    if (deck.speed != 0 && deck.speed != 1) text += QStringLiteral("  x%1").arg(deck.speed);
    text += deck.length > 0 ? QStringLiteral("  frame %1 of %2").arg(deck.frame).arg(deck.length)
                            : QStringLiteral("  frame %1").arg(deck.frame);
    if (deck.grows && deck.rate > 0)
        return text + QStringLiteral(", %1 s behind the newest")
                          .arg(double(deck.liveDistance) / deck.rate, 0, 'f', 1);
    const qint64 left = deck.speed < 0 ? deck.frame : deck.length - 1 - deck.frame;
    if (deck.speed != 0 && deck.length > 0 && deck.rate > 0 && left >= 0)
        text +=
            QStringLiteral(", %1 left").arg(durationText(double(left) / deck.rate / std::abs(deck.speed)));
    return text;
}

/// The take, the playback or nothing: what moves.
QString movementText(const DeckState &deck)
{
    if (!deck.storeProblem.isEmpty())
        return deck.clipFrames > 0 ? QStringLiteral(", newest take %1, %2 safe")
                                         .arg(qmxCounted(deck.clipFrames, "frame"))
                                         .arg(deck.recordedUpTo)
                                   : QString();
    if (deck.isInPlay()) return playText(deck);
    if (!deck.isRecording()) return {};
    if (deck.startIn == DeckState::waitsForPicture) return QStringLiteral("  waits for a picture");
    if (deck.startIn > 0) {
        const QString when = deck.rate > 0 ? durationText(double(deck.startIn) / deck.rate)
                                           : qmxCounted(deck.startIn, "frame");
        return QStringLiteral("  begins in %1").arg(when);
    }
    QString text =
        QStringLiteral("  %1, %2 safe").arg(qmxCounted(deck.clipFrames, "frame")).arg(deck.recordedUpTo);
    if (deck.takeCopies > 1 || deck.safeOnBoth > 0)
        text += QStringLiteral(", %1 on both media").arg(deck.safeOnBoth);
    if (deck.rate > 0) text += QStringLiteral("  %1").arg(durationText(double(deck.clipFrames) / deck.rate));
    if (deck.secondsLeft > 0) text += QStringLiteral("  %1 left").arg(durationText(double(deck.secondsLeft)));
    return text;
}

/// What `watch` and the first line of `status` say.
QString lineOf(const DeckState &deck, const std::optional<QmxPreviewPicture> &card)
{
    if (!deck.running) return QStringLiteral("the daemon is not running");
    const QString status = QStringLiteral("%1").arg(deck.status, -10);
    QString text =
        QStringLiteral("%1  %2  %3")
            .arg(deck.isRecording()                   ? Report::painted(status, Report::Colour::Bad)
                 : deck.isInPlay() && deck.speed != 0 ? Report::painted(status, Report::Colour::Good)
                                                      : status)
            .arg(deck.timecode, !deck.storeProblem.isEmpty() ? QStringLiteral("the store is away")
                                : deck.startIn != 0          ? QStringLiteral("the next take")
                                : deck.clip.isEmpty()        ? QStringLiteral("no clip")
                                                             : inOneLine(deck.clip));
    text += movementText(deck);
    if (const qint64 dropped = deck.droppedCapture + deck.droppedPlayback; dropped > 0)
        text += Report::painted(QStringLiteral("  dropped %1").arg(dropped), Report::Colour::Bad);
    if (card && card->isCapture && !card->hasPicture)
        text += Report::painted(QStringLiteral("  no input"), Report::Colour::Notice);
    if (deck.alarms > 0)
        text += Report::painted("  " + qmxCounted(deck.alarms, "alarm"), Report::Colour::Notice);
    return text;
}

/// Behind that, in one line, what `status` has lines for: formats, what is played, and how, peaks.
QString tailOf(const DeckState &deck, const std::optional<QmxPreviewPicture> &card, bool loops)
{
    if (!deck.running || !deck.storeProblem.isEmpty()) return {};
    QString text = QStringLiteral("  in %1  rec %2 %3  plays %4%5")
                       .arg(deck.inputFormat, deck.recordFormat, deck.recordCodec, deck.playbackSource,
                            loops ? QStringLiteral(", round and round") : QString());
    if (card) text += QStringLiteral("  %1 dB").arg(meters(peaksOf(card)));
    return text;
}

/// Where the take is written to, or the next one will be.
QString placesText(const DeckState &deck)
{
    if (deck.path.isEmpty()) return QStringLiteral("no medium");
    if (deck.mirrorPath.isEmpty()) return deck.path;
    const bool hasLostOne = deck.isRecording() && deck.clipFrames > 0 && deck.takeCopies == 1;
    return hasLostOne ? QStringLiteral("one medium only: mirror_lost says which")
                      : QStringLiteral("%1 and %2").arg(deck.path, deck.mirrorPath);
}

/// Everything that a deck shows on its front, a line each.
QString pageOf(const DeckState &deck, const std::optional<QmxPreviewPicture> &card, const QString &input,
               bool loops, const std::optional<FiguresAge> &age)
{
    QString text = lineOf(deck, card) + "\n";
    if (!deck.running) return deck.clipFrames > 0 ? text + lastTakeText(deck, age) : text;
    const auto line = [&text](const char *name, const QString &what) {
        if (!what.isEmpty()) text += QStringLiteral("  %1 %2\n").arg(QLatin1String(name), -9).arg(what);
    };
    const bool knows = deck.storeProblem.isEmpty();
    if (card) line("input", knows ? QStringLiteral("%1: %2").arg(input, card->input) : card->input);
    if (knows) {
        if (!deck.canRecordInput())
            line("records", "nothing: the input has a format that cannot be recorded");
        else
            line("records",
                 QStringLiteral("%1, %2, on %3%4")
                     .arg(deck.recordFormat, deck.recordCodec, placesText(deck),
                          deck.secondsLeft > 0
                              ? QStringLiteral(", %1 left").arg(durationText(double(deck.secondsLeft)))
                              : QString()));
        const QString length = deck.length > 0 ? ", " + qmxCounted(deck.length, "frame") : QString();
        line("plays", deck.playbackSource + (deck.clip.isEmpty() ? QString() : length) +
                          (loops ? QStringLiteral(", round and round") : QString()));
    }
    if (card) line("output", card->format + ", sound " + meters(peaksOf(card)) + " dB");
    for (const QJsonValue alarm : deck.alarmList)
        line("alarm", alarm["name"].toString() + ": " + inOneLine(alarm["message"].toString()));
    if (!knows) line("store", deck.storeProblem + "; what stands above is from shared memory" + ageText(age));
    return text;
}

QJsonObject objectOf(const DeckState &deck, const std::optional<QmxPreviewPicture> &card, bool loops)
{
    const bool blind = card && card->isCapture && !card->hasPicture;
    return {{"running", deck.running},
            {"status", deck.status},
            {"speed", deck.speed},
            {"timecode", deck.timecode},
            {"input_timecode", deck.inputTimecode},
            {"clip", deck.clip},
            {"clip_frames", deck.length},
            {"clip_rate", deck.rate},
            {"path", deck.path},
            {"tick", deck.tick},
            {"frame", deck.frame},
            {"list_entry", deck.listEntry},
            {"grows", deck.grows},
            {"live_distance", deck.liveDistance},
            {"playback_source", deck.playbackSource},
            {"loop_playback", loops},
            {"take_frames", deck.clipFrames},
            {"recorded_up_to", deck.recordedUpTo},
            {"take_copies", deck.takeCopies},
            {"take_start", deck.takeStart},
            {"start_in", deck.startIn},
            {"safe_on_both", deck.safeOnBoth},
            {"mirror_path", deck.mirrorPath},
            {"medium_seconds_left", deck.secondsLeft},
            {"input", card ? card->input : QString()},
            {"input_present", deck.running && card && !blind},
            {"input_format", deck.inputFormat},
            {"record_format", deck.recordFormat},
            {"record_codec", deck.recordCodec},
            {"output_format", card ? card->format : QString()},
            {"output_peaks", peaksOf(card)},
            {"dropped_capture", deck.droppedCapture},
            {"dropped_playback", deck.droppedPlayback},
            {"late_ticks", deck.lateTicks},
            {"alarms", deck.alarms},
            {"store_problem", deck.storeProblem}};
}

/// What `status` and `watch` look at. Without the store, which would have to be waited for again and again,
/// it is shared memory alone.
class Deck
{
public:
    Deck(const Recorder &recorder, const char *client, bool follows) : _recorder(recorder)
    {
        if (!recorder.storeProblem().isEmpty()) return;
        _watch.emplace(QString::fromLatin1(client));
        if (follows) _following = _watch->follow();
        // The length of its clip is asked of the disk.
        constexpr std::chrono::milliseconds lengthWithin(500);
        recorder.waitFor(
            [this] {
                const DeckWatch::State state = _watch->state();
                return state->length > 0 || state->clip.isEmpty() || state->path.isEmpty() ||
                       state->isRecording() || !state->running || !state->storeProblem.isEmpty();
            },
            lengthWithin);
    }

    DeckState look()
    {
        DeckState state = fromWhatIsThere();
        if (state.running) return state;
        // What a daemon that has died had made safe is still known.
        state.clipFrames = _recorder.counter("current_clip_frames");
        state.recordedUpTo = _recorder.counter("recorded_up_to");
        state.takeCopies = _recorder.counter("take_copies");
        state.safeOnBoth = _recorder.counter("safe_on_both");
        return state;
    }

    bool loops(const DeckState &deck) const
    {
        return deck.storeProblem.isEmpty() && _recorder.number(eParam_LoopPlayback) != 0;
    }

    QString input(const DeckState &deck) const
    {
        if (!deck.storeProblem.isEmpty()) return {};
        const auto number = int(_recorder.number(eParam_VideoInput));
        return QString::fromStdString(GetDescriptor(eParam_VideoInput)->label(number));
    }

private:
    DeckState fromWhatIsThere()
    {
        if (_watch) return _following ? *_watch->state() : *_watch->refreshed();
        DeckState state;
        const int pid = _recorder.daemonPid();
        state.running = pid != 0;
        state.status = state.running ? QStringLiteral("running") : QStringLiteral("not_running");
        state.storeProblem = _recorder.storeProblem();
        _memory.attach(pid);
        if (state.running) _memory.fill(state);
        return state;
    }

    const Recorder &_recorder;
    std::optional<DeckWatch> _watch;
    std::shared_ptr<void> _following;
    DeckMemory _memory;
};
} // namespace

ExitCode ctlStatus(Recorder &recorder, const Report &report, const Arguments &)
{
    Deck deck(recorder, "xpctl-status", false);
    const DeckState state = deck.look();
    const auto card = recorder.card();
    const bool loops = deck.loops(state);
    const auto age = figuresAge(recorder, card);
    QJsonObject object = objectOf(state, card, loops);
    object["figures_age"] = ageNumber(age);
    report.result(pageOf(state, card, deck.input(state), loops, age), object);
    if (recorder.daemonStandsStill()) return tellStandsStill(report);
    if (!state.running) return ExitCode::NoDaemon;
    return state.storeProblem.isEmpty() ? ExitCode::Done : ExitCode::NoStore;
}

ExitCode ctlWatch(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    if (arguments.stats) return watchStats(recorder, report, arguments.once);
    Deck deck(recorder, "xpctl-watch", true);
    constexpr std::chrono::seconds standsStillAfter(1);
    qint64 tick = -1;
    qint64 tickBefore = -1;
    bool isTold = false;
    QString lastText;
    QJsonObject lastObject;
    const auto show = [&] {
        // A line a frame: the device's tick is the pace; without a daemon only changes count.
        const DeckState state = deck.look();
        if (state.tick == tick && state.running) return false;
        const auto card = recorder.card();
        const bool loops = deck.loops(state);
        const QString text = lineOf(state, card) + tailOf(state, card, loops);
        const QJsonObject object = objectOf(state, card, loops);
        tick = state.tick; // the one that the line shows
        if (text != lastText || (report.isJson() && object != lastObject)) {
            QJsonObject told = object; // (its age alone is nothing new)
            told["figures_age"] = ageNumber(figuresAge(recorder, card));
            report.line(text, told);
        }
        lastText = text;
        lastObject = object;
        return arguments.once;
    };
    while (!recorder.waitFor(show, standsStillAfter) && !Recorder::wasInterrupted()) {
        const bool standsStill = tick > 0 && tick == tickBefore && recorder.daemonIsRunning();
        if (standsStill && !isTold) {
            lastText = "the daemon stands still";
            lastObject["status"] = "stands_still";
            report.line(lastText, lastObject);
        }
        isTold = standsStill;
        tickBefore = tick;
    }
    report.endLine();
    return ExitCode::Done;
}

namespace {
/// Files of the medium that are called like clips and are none that can be played.
QJsonArray brokenClips(const Recorder &recorder, const QString &folder)
{
    QJsonArray broken;
    const auto all = QDir::Files | QDir::Dirs | QDir::System | QDir::NoDotAndDotDot;
    for (const QString &name : QDir(recorder.here(folder)).entryList(all, QDir::Name)) {
        if (!isClipName(name.toLocal8Bit().toStdString())) continue;
        const QString why = recorder.whyUnplayable(folder + '/' + name);
        if (!why.isEmpty()) broken.append(QJsonObject{{"name", name}, {"reason", why}});
    }
    return broken;
}
} // namespace

namespace {
/// While nobody says which medium is active: what lies on all of them.
ExitCode clipsOfAllMedia(const Recorder &recorder, const Report &report, const QString &problem)
{
    QJsonArray list;
    QString text;
    for (const QStorageInfo &medium : QStorageInfo::mountedVolumes()) {
        const QString folder = medium.rootPath();
        if (!folder.startsWith(recorder.environment().places->media + '/')) continue;
        for (const QString &name : QDir(folder).entryList(QDir::Files, QDir::Time | QDir::Reversed)) {
            QmxClipInfo info;
            if (!isClipName(name.toLocal8Bit().toStdString()) ||
                QmxClipReader::probe(folder + '/' + name, info, recorder.environment()).isError())
                continue;
            const QJsonArray places{QJsonObject{{"path", folder}, {"frames", info.frames}}};
            list.append(QJsonObject{
                {"index", list.size()}, {"name", name}, {"frames", info.frames}, {"places", places}});
            text += QStringLiteral("%1  %2\n")
                        .arg(inOneLine(folder + '/' + name), -38)
                        .arg(qmxCounted(info.frames, "frame"));
        }
    }
    report.result(text, {{"path", QString()}, {"clips", list}});
    return report.error(ExitCode::NoStore, problem, "what stands above was found on all media below /media");
}
} // namespace

ExitCode ctlClips(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    if (const QString problem = recorder.storeProblem(); !problem.isEmpty())
        return clipsOfAllMedia(recorder, report, problem);
    ClipFinder finder(&recorder.config());
    QJsonArray list;
    QString text;
    int index = 0;
    const QString path = recorder.text(eParam_ActiveMediaPath);
    const std::list<Clip> clips = finder.findClips(true, false, true);
    const QString mirror = recorder.text(eParam_MirrorMediaPath);
    const auto copies = askSecondPlaces(path.toLocal8Bit().toStdString(), mirror.toLocal8Bit().toStdString(),
                                        clips, recorder.environment());
    for (const Clip &clip : clips) {
        const QString name = QString::fromStdString(clip.getName());
        const bool grows =
            !clip.isClosed() && QmxClipReader::isBeingRecorded(QString::fromStdString(clip.getPath()));
        QJsonArray places{QJsonObject{{"path", path}, {"frames", clip.frames()}}};
        QString also;
        if (const auto copy = copies.find(clip.getName()); copy != copies.end()) {
            places.append(QJsonObject{{"path", mirror}, {"frames", copy->second}});
            also = copy->second == clip.frames()
                       ? QStringLiteral("  also on %1").arg(mirror)
                       : QStringLiteral("  %1 on %2").arg(qmxCounted(copy->second, "frame"), mirror);
        }
        list.append(QJsonObject{{"index", index},
                                {"name", name},
                                {"frames", clip.frames()},
                                {"grows", grows},
                                {"places", places}});
        text += QStringLiteral("%1  %2  %3%4\n")
                    .arg(index, 4)
                    .arg(inOneLine(name), -32)
                    .arg(qmxCounted(clip.frames(), "frame"))
                    .arg(also + (grows ? QStringLiteral(", grows: it is being recorded") : QString()));
        ++index;
    }
    if (list.isEmpty()) {
        text = path.isEmpty() ? QStringLiteral("no medium is active")
                              : QStringLiteral("no clips on %1").arg(path);
    }
    QJsonObject object{{"path", path}, {"clips", list}};
    if (arguments.all && !path.isEmpty()) {
        const QJsonArray broken = brokenClips(recorder, path);
        for (const QJsonValue file : broken)
            text += QStringLiteral("%1%2  %3\n")
                        .arg(text.endsWith('\n') || text.isEmpty() ? "" : "\n")
                        .arg("   -  " + inOneLine(file["name"].toString()), -38)
                        .arg(file["reason"].toString());
        object["broken"] = broken;
    }
    report.result(text, object);
    return ExitCode::Done;
}
