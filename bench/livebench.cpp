// SPDX-License-Identifier: GPL-3.0-or-later
// A clip that somebody else records on the same medium, played while it grows.
#include "bench/benchclip.h"
#include "bench/figures.h"
#include "bench/recorderunderbench.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/core/qmxstartorder.h"
#include "platform/store/eparamreplay.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <atomic>
#include <deque>
#include <functional>
#include <numeric>
#include <thread>

namespace {

constexpr int rate = 25;
constexpr int takeSeconds = 8;

/// Another recorder, as far as the medium knows it: a take of the frames of a closed clip, over and over, at
/// their rate and with the recorder's flushes.
class OtherRecorder
{
public:
    OtherRecorder(const QString &source, const QString &path)
        : _source(source), _path(path), _thread([this] { run(); })
    {}
    ~OtherRecorder()
    {
        _ends = true;
        _thread.join();
    }
    qint64 frames() const { return _frames; }
    qint64 safe() const { return _safe; }

private:
    void run()
    {
        constexpr qint64 tick = QmxClock::nsPerSecond / rate;
        constexpr int ticksOfFlush = 10;
        const QmxEnvironment environment = QmxEnvironment::current();
        QmxClipReader reader;
        QmxClipWriter writer;
        if (reader.open(_source).isError() || writer.create(_path, reader.info()).isError()) return;
        const qint64 length = reader.info().frames;
        const qint64 begin = environment.clock->now();
        for (qint64 i = 0; !_ends; ++i) {
            QmxFrame frame;
            if (reader.readFrame(i % length, frame).isError() || writer.writeFrame(frame).isError()) return;
            ++_frames;
            if (i % ticksOfFlush == ticksOfFlush - 1 && !writer.flush().isError()) _safe = i + 1;
            environment.clock->sleepUntil(begin + (i + 1) * tick);
        }
        writer.close();
    }

    const QString _source;
    const QString _path;
    std::atomic<bool> _ends = false;
    std::atomic<qint64> _frames = 0;
    std::atomic<qint64> _safe = 0;
    std::thread _thread;
};

/// Another deck that plays a clip which grows, as far as the medium knows it: looks for new frames as often
/// as a deck does, and reads each once.
class OtherPlayer
{
public:
    explicit OtherPlayer(const QString &path) : _path(path), _thread([this] { run(); }) {}
    ~OtherPlayer()
    {
        _ends = true;
        _thread.join();
    }
    qint64 frames() const { return _frames; }

private:
    void run()
    {
        constexpr qint64 look = 40 * QmxClock::nsPerMillisecond;
        const QmxEnvironment environment = QmxEnvironment::current();
        QmxClipReader reader;
        while (reader.open(_path).isError() && !_ends)
            environment.clock->sleepUntil(environment.clock->now() + look);
        while (!_ends) {
            environment.clock->sleepUntil(environment.clock->now() + look);
            if (reader.refresh().isError()) return;
            for (QmxFrame frame; _frames < reader.info().frames && !_ends; ++_frames)
                if (reader.readFrame(_frames, frame).isError()) return;
        }
    }

    const QString _path;
    std::atomic<bool> _ends = false;
    std::atomic<qint64> _frames = 0;
    std::thread _thread;
};

bool openClip(RecorderUnderBench &recorder, const QmxStartOrder &order, const char *what,
              const std::function<bool()> &isOpen)
{
    const auto ask = [&] {
        recorder.writeText(eParam_StartAt, order.toText());
        recorder.writeText(eParam_GoToClipName, order.clip);
    };
    return recorder.askFor(what, ask, isOpen);
}

/// Milliseconds of cues among the first `frames` of what is on the output.
QList<double> cues(RecorderUnderBench &recorder, int frames)
{
    QList<double> times;
    constexpr int count = 30;
    for (int i = 0; i < count; ++i) {
        const int target = (i * 61 + 17) % (frames - 1);
        const qint64 begin = recorder.now();
        recorder.write(eParam_CueToFrame, unsigned(target));
        if (!recorder.waitFor("a cue", [&] { return recorder.shown().frame == target; })) return {};
        times.append(double(recorder.now() - begin) / QmxClock::nsPerMillisecond);
    }
    return times;
}

/// To open what has been recorded for an hour, beside the same clip when it is closed.
QList<Figure> openAnHour()
{
    constexpr int frames = 3600 * rate, ticksOfFlush = 10, rounds = 15;
    const QTemporaryDir dir;
    const QString paths[] = {dir.filePath(QStringLiteral("growing.mov")),
                             dir.filePath(QStringLiteral("closed.mov"))};
    BenchHollowClip clips[2];
    for (int i = 0; i < 2; ++i)
        if (!clips[i].write(paths[i], frames, ticksOfFlush)) return {};
    if (!clips[1].close()) return {};
    QList<double> times[2];
    for (int i = 0; i < 2 * rounds; ++i) {
        QmxClipReader reader;
        QElapsedTimer timer;
        timer.start();
        if (reader.open(paths[i % 2]).isError() || reader.info().frames != frames) return {};
        times[i % 2].append(benchMs(timer));
    }
    return {{"live_open_hour", benchPercentile(times[0], 0.5), "ms", benchPercentile(times[1], 0.5),
             "ms a closed clip", 1.2}};
}

} // namespace

QList<Figure> benchLive(int seconds)
{
    const QList<Figure> opening = openAnHour();
    RecorderUnderBench recorder;
    if (!recorder.startTake()) return {};
    constexpr int frames = takeSeconds * rate;
    recorder.waitFor("a take", [&] { return recorder.counter("recorded_up_to") >= frames; });
    recorder.endTake();
    const QString closed = recorder.clipPath();
    const QString growing = QFileInfo(closed).path() + "/growing.mov";
    QFile::remove(growing);

    QmxStartOrder order;
    order.clip = QFileInfo(closed).fileName();
    const auto shows = [&] { return recorder.shown().frame >= 0; };
    if (!openClip(recorder, order, "the closed clip", shows)) return {};
    const QList<double> closedCues = cues(recorder, frames);

    QList<double> distances;
    QList<double> growingCues;
    qint64 dropped = 0, waits = 0;
    {
        OtherRecorder other(closed, growing);
        recorder.waitFor("frames of it", [&] { return other.safe() >= frames; });
        recorder.write(eParam_MediaUpdated, 1);
        order.clip = "growing.mov";
        const auto grows = [&] { return recorder.counter("material_grows") == 1; };
        if (!openClip(recorder, order, "the growing clip", grows)) return {};
        growingCues = cues(recorder, frames);

        order.place = QmxStartOrder::Place::Live;
        const auto isNear = [&] { return other.frames() - recorder.counter("frame_on_output") < 2 * rate; };
        if (!openClip(recorder, order, "its newest frame", isNear)) return {};
        recorder.writeText(eParam_TransportSpeed, "1");
        const qint64 from = recorder.counter("frame_on_output");
        recorder.waitFor("playback", [&] { return recorder.counter("frame_on_output") >= from + rate; });
        dropped = recorder.counter("frames_dropped_playback");
        waits = recorder.counter("live_waits");
        const qint64 end = recorder.now() + seconds * QmxClock::nsPerSecond;
        qint64 tick = 0;
        recorder.waitFor(
            "the time to pass",
            [&] {
                if (const qint64 now = recorder.counter("ticks"); now != tick) {
                    tick = now;
                    distances.append(double(other.frames() - 1 - recorder.counter("frame_on_output")) * 1000 /
                                     rate);
                }
                return recorder.now() > end;
            },
            seconds + 10);
        dropped = recorder.counter("frames_dropped_playback") - dropped;
        waits = recorder.counter("live_waits") - waits;
        recorder.writeText(eParam_TransportSpeed, "0");
    }
    const double closedMiddle = benchPercentile(closedCues, 0.5);
    constexpr double furthest = 1000; // ms
    return opening +
           QList<Figure>{{"live_cue_p50", benchPercentile(growingCues, 0.5), "ms", closedMiddle,
                          "ms a closed clip", 1.2},
                         {"live_cue_p99",
                          benchPercentile(growingCues, 0.99),
                          "ms",
                          benchPercentile(closedCues, 0.99),
                          "ms a closed clip",
                          {}},
                         {"live_distance_p50", benchPercentile(distances, 0.5), "ms", {}, {}, furthest},
                         {"live_distance_p99", benchPercentile(distances, 0.99), "ms", {}, {}, furthest},
                         {"live_dropped", double(dropped), "frames", {}, {}, 0.0},
                         {"live_waits", double(waits), "waits", {}, {}, 0.0}};
}

QList<Figure> benchLiveReaders(int seconds)
{
    // Takes with and without, in turns, so that what else the machine does falls on both; so long that the
    // latency that one write in a hundred exceeds is that of several, and that one who reads nothing is seen.
    constexpr int turns = 5, players = 4, shortest = 10;
    const qint64 frames = std::max(shortest, seconds / (2 * turns)) * rate;
    RecorderUnderBench recorder;
    const qint64 lost = recorder.counter("frames_dropped_capture");
    qint64 fewest = frames;
    QList<double> latencies[2];
    for (int i = 0; i < 2 * turns; ++i) {
        if (!recorder.startTake()) return {};
        std::deque<OtherPlayer> reading;
        for (int player = 0; i % 2 && player < players; ++player)
            reading.emplace_back(recorder.clipPath());
        recorder.waitFor(
            "the take's length", [&] { return recorder.counter("recorded_up_to") >= frames; }, seconds + 20);
        for (const OtherPlayer &player : reading)
            fewest = std::min(fewest, player.frames());
        latencies[i % 2].append(double(recorder.counter("write_latency_p99")) / 1000);
        recorder.endTake();
    }
    // A recorder tells its latencies in steps of an eighth, which is most of what is asked for here: several
    // of them are finer together.
    const auto middle = [&latencies](int with) {
        QList<double> all = latencies[with];
        std::sort(all.begin(), all.end());
        return std::accumulate(all.begin() + 1, all.end() - 1, 0.0) / double(all.size() - 2);
    };
    return {{"live_readers_write_p99", middle(1), "ms", middle(0), "ms without readers", 1.2},
            {"live_readers_lost",
             double(recorder.counter("frames_dropped_capture") - lost),
             "frames",
             {},
             {},
             0.0},
            {"live_readers_behind", double(frames - fewest), "frames", {}, {}, double(rate)}};
}
