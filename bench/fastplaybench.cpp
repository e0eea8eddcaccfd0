// SPDX-License-Identifier: GPL-3.0-or-later
// Play faster than its rate: as fast as decoders go, and ultra-high definition at double speed.
#include "bench/cardplayer.h"
#include "bench/figures.h"
#include "bench/recorderunderbench.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/codec/qmxprores.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <thread>

namespace {
constexpr int frames = 240;

/// Milliseconds a frame of libavcodec's decoder alone, were every processor busy with nothing else.
std::optional<double> boundByLibav(const QString &path)
{
    QmxClipReader reader;
    if (reader.open(path).isError()) return {};
    const auto decoder = qmxCreateLibavProResDecoder(reader.info().image);
    QList<QmxFrame> held(frames);
    for (int i = 0; i < frames; ++i)
        if (reader.readFrame(i, held[i]).isError()) return {};
    QElapsedTimer timer;
    timer.start();
    for (const QmxFrame &frame : std::as_const(held))
        if (!decodeFrame(*decoder, frame)) return {};
    return benchMs(timer) / frames / std::max(1U, std::thread::hardware_concurrency());
}

/// High definition through the card, in turn by both decoders and beside the bound.
QList<Figure> playHd()
{
    constexpr int rounds = 3;
    constexpr double most = 1 / 1.5;
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.mov"));
    if (!makeBenchClip(path, frames)) return {};
    BenchPlayer player(path);
    QList<double> own, libav, bound;
    for (int round = 0; round < rounds; ++round) {
        const auto byUs = playThroughCard(player, frames, false);
        const auto byLibav = playThroughCard(player, frames, true);
        const auto alone = boundByLibav(path);
        if (!byUs || !byLibav || !alone) return {};
        own.append(*byUs);
        libav.append(*byLibav);
        bound.append(*alone);
    }
    const double ours = benchPercentile(own, 0.5);
    const char *unit = "ms/frame";
    return {{"fast_play_hd", ours, unit, benchPercentile(bound, 0.5), "ms libavcodec on all", most},
            {"fast_play_hd_libavcodec", ours, unit, benchPercentile(libav, 0.5), "ms the card with it", {}}};
}

/// Ultra-high definition through the card to an output that wants every sample, beside the time that a
/// picture has at 50 a second: a shuttle shows one a tick, however fast it is. And the pictures that are held
/// where it has two thirds of the time that whole ones would take, beside those that fast play would hold did
/// it not decode smaller ones.
QList<Figure> playUhdWhole()
{
    constexpr int rounds = 3, uhdFrames = 120;
    constexpr double tick = 20, shortBy = 1.5;
    constexpr QSize size(3840, 2160);
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.mov"));
    if (!makeBenchClip(path, uhdFrames, size)) return {};
    BenchPlayer player(path);
    QList<double> times, held, heldWhole;
    for (int round = 0; round < rounds; ++round) {
        const auto took = playThroughCard(player, uhdFrames, false, size);
        if (!took) return {};
        times.append(*took);
        const double ticksASecond = 1000 / *took * shortBy;
        const auto smaller = heldByCard(player, uhdFrames, ticksASecond, true, size);
        const auto whole = heldByCard(player, uhdFrames, ticksASecond, false, size);
        if (!smaller || !whole) return {};
        held.append(100 * *smaller);
        heldWhole.append(100 * *whole);
    }
    const auto middle = [](const QList<double> &values) { return benchPercentile(values, 0.5); };
    return {{"fast_play_uhd_whole", middle(times), "ms/frame", tick, "ms a tick at 50", 1.0},
            {"fast_play_uhd_short_held", middle(held), "% of ticks", middle(heldWhole), "% in whole pictures",
             0.25}};
}

/// Ticks that showed the picture before again, from the beginning of a clip of ultra-high definition to its
/// end or back, at double speed.
std::optional<double> heldAtDoubleSpeed(RecorderUnderBench &recorder, int last, bool reverse)
{
    constexpr int margin = 20;
    const int from = reverse ? last : 0, begin = reverse ? last - margin : margin;
    const auto passed = [&](int frame) {
        const qint64 now = recorder.shown().frame;
        return reverse ? now <= frame : now >= frame;
    };
    if (!recorder.cue(from)) return {};
    recorder.writeText(eParam_TransportSpeed, reverse ? "-2" : "2");
    if (!recorder.waitFor("play at double speed", [&] { return passed(begin); })) return {};
    const qint64 before = recorder.counter("frames_repeated"), tick = recorder.counter("ticks");
    recorder.waitFor("the end", [&] { return passed(reverse ? margin : last - margin); });
    const double held = double(recorder.counter("frames_repeated") - before);
    const double ticks = double(recorder.counter("ticks") - tick);
    // A picture that never changes is no play at double speed either.
    const double expected = (last - 2.0 * margin) / 2;
    return held + std::max(0.0, ticks - expected - 2);
}

QList<Figure> playUhd(int seconds)
{
    constexpr unsigned thirdInput = 8, first = 0, stop = 4;
    RecorderUnderBench recorder;
    recorder.write(eParam_VideoInput, thirdInput);
    QList<Figure> figures;
    if (!recorder.waitFor("the larger input", [&] { return recorder.shown().format.contains("3840"); }) ||
        !recorder.startTake())
        return {};
    const qint64 wanted = 25 * std::min(seconds, 20);
    recorder.waitFor(
        "the take's length", [&] { return recorder.counter("current_clip_frames") >= wanted; }, seconds + 30);
    recorder.endTake();
    const int last = int(recorder.counter("recorded_up_to")) - 1;
    for (const bool reverse : {false, true}) {
        const auto held = heldAtDoubleSpeed(recorder, last, reverse);
        if (!held) break;
        figures.append(
            {reverse ? "fast_play_uhd_reverse_held" : "fast_play_uhd_held", *held, "pictures", {}, {}, 0.0});
    }
    recorder.write(eParam_TransportCommand, stop);
    recorder.write(eParam_VideoInput, first);
    return figures;
}
} // namespace

QList<Figure> benchFastPlay(int seconds)
{
    int count = 0;
    std::optional<QCoreApplication> application;
    if (!QCoreApplication::instance()) application.emplace(count, nullptr);
    return playHd() + playUhdWhole() + playUhd(seconds);
}
