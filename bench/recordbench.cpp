// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/figures.h"
#include "bench/recorderunderbench.h"

#include "platform/qmx/codec/qmxprores.h"
#include "platform/qmx/core/qmxids.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {
/// What ffmpeg takes for a frame of the same job: the same pictures, uncompressed, coded by its ProRes
/// encoder at the finest quantiser whose file is not larger than ours, with sound, into a QuickTime file.
std::optional<double> ffmpegCpuPerFrame(const QString &clip, int frames, double bytesPerFrame)
{
    const QString raw = QStringLiteral("/dev/shm/xp-bench.nut");
    const QString coded = QStringLiteral("/dev/shm/xp-bench.mov");
    const QString count = QString::number(frames);
    std::optional<double> cpu;
    if (cpuOfProgram("ffmpeg",
                     {"-y", "-v", "error", "-i", clip, "-map", "0:v:0", "-map", "0:a:0", "-frames:v", count,
                      "-c:v", "rawvideo", "-c:a", "pcm_s24le", "-shortest", raw})) {
        for (const int quantiser : {1, 2, 3, 4, 6, 8, 12, 16}) {
            cpu = cpuOfProgram("ffmpeg", {"-y", "-v", "error", "-i", raw, "-c:v", "prores_ks", "-profile:v",
                                          "2", "-q:v", QString::number(quantiser), "-threads", "2", "-c:a",
                                          "pcm_s24le", coded});
            if (!cpu || double(QFileInfo(coded).size()) / frames <= bytesPerFrame) break;
        }
    }
    QFile::remove(raw);
    QFile::remove(coded);
    if (!cpu) return {};
    return *cpu / frames;
}

/// Processor time of a frame, in milliseconds.
struct PerFrame
{
    double coders = 0, others = 0;
};
PerFrame perFrame(const RecorderUnderBench::Cpu &before, const RecorderUnderBench::Cpu &after, double frames)
{
    const double scale = 1000 / std::max(1.0, frames);
    return {(after.coders - before.coders) * scale, (after.others - before.others) * scale};
}

/// What standing by costs a tick: the source, the output, the preview.
PerFrame standbyCost(RecorderUnderBench &recorder)
{
    constexpr int ticks = 100;
    const RecorderUnderBench::Cpu before = recorder.daemonCpu();
    const qint64 begin = recorder.counter("ticks");
    recorder.waitFor("time to pass", [&] { return recorder.counter("ticks") >= begin + ticks; });
    return perFrame(before, recorder.daemonCpu(), double(recorder.counter("ticks") - begin));
}

/// A take in real time, of this many seconds.
struct MeasuredTake
{
    double total = 0; ///< frames
    double lost = 0;
    double bytes = 0; ///< a frame
    double memory = 0;
    PerFrame cpu;
};
std::optional<MeasuredTake> measureTake(RecorderUnderBench &recorder, int seconds)
{
    MeasuredTake take;
    if (!recorder.startTake()) return {};
    const RecorderUnderBench::Cpu before = recorder.daemonCpu();
    const qint64 begin = recorder.counter("current_clip_frames");
    const qint64 wanted = begin + qint64(seconds) * recorder.counter("clip_rate") / 1000;
    recorder.waitFor(
        "the take's length",
        [&] { return recorder.counter("current_clip_frames") >= wanted || recorder.status() != 2; },
        seconds + 30);
    take.cpu =
        perFrame(before, recorder.daemonCpu(), double(recorder.counter("current_clip_frames") - begin));
    take.memory = recorder.daemonMemory();
    recorder.endTake();
    take.total = double(recorder.counter("recorded_up_to"));
    take.bytes = double(QFileInfo(recorder.clipPath()).size()) / std::max(1.0, take.total);
    const auto strips = stripsOfClip(recorder.clipPath());
    take.lost = double(benchBreaks(strips)) + std::abs(double(strips.size()) - take.total);
    return take;
}
} // namespace

QList<Figure> benchRecord(int seconds)
{
    constexpr int width = 1920, height = 1080; // as the recorder stands
    RecorderUnderBench recorder;
    const PerFrame standby = standbyCost(recorder);
    const auto take = measureTake(recorder, seconds);
    if (!take) return {};
    const double longest = double(recorder.counter("event_loop_longest")) / 1000;

    Figure cost{
        "record_cpu_per_frame", take->cpu.coders + take->cpu.others, "ms", {}, "ms ffmpeg prores_ks -q", 1.0};
    constexpr int peerFrames = 50;
    if (const auto peer =
            ffmpegCpuPerFrame(recorder.clipPath(), std::min(peerFrames, int(take->total)), take->bytes))
        cost.peer = *peer * 1000;
    else
        cost.target.reset();
    return {{"record_length", take->total, "frames", {}, {}, {}},
            {"record_lost", take->lost, "frames", {}, {}, 0.0},
            cost,
            {"record_data_rate", take->bytes, "bytes/frame",
             double(qmxProResNominalSize(QmxIds::proRes422, QSize(width, height))), "nominal", 1.05},
            {"record_coder", take->cpu.coders - standby.coders, "ms/frame", {}, {}, {}},
            {"standby_cpu", standby.coders + standby.others, "ms/frame", {}, {}, {}},
            {"record_own_work", take->cpu.others - standby.others, "ms/frame", {}, {}, 1.0},
            {"record_memory", take->memory, "MB", {}, {}, mostMemory},
            {"event_loop_longest", longest, "ms", {}, {}, 5.0},
            {"write_latency_p99", double(recorder.counter("write_latency_p99")) / 1000, "ms", {}, {}, {}}};
}

/// One after the other, twice each, so that what else the machine does falls on both alike.
QList<Figure> benchMirror(int seconds)
{
    constexpr int rounds = 2;
    constexpr double mostMore = 1.1;
    RecorderUnderBench recorder;
    double alone = 0;
    double both = 0;
    double lost = 0;
    double behind = 0;
    for (int round = 0; round < rounds; ++round) {
        for (const bool mirrored : {false, true}) {
            recorder.writeText(eParam_MirrorMediaPath, mirrored ? "/media/B" : "");
            const auto take = measureTake(recorder, seconds);
            if (!take) return {};
            (mirrored ? both : alone) += take->cpu.coders + take->cpu.others;
            if (!mirrored) continue;
            lost += take->lost;
            const QString second = "/media/B/" + QFileInfo(recorder.clipPath()).fileName();
            const auto strips = stripsOfClip(second);
            behind += double(benchBreaks(strips)) + std::abs(double(strips.size()) - take->total);
        }
    }
    recorder.writeText(eParam_MirrorMediaPath, "");
    return {{"mirror_cpu_per_frame", both / rounds, "ms", alone / rounds, "the same on one medium", mostMore},
            {"mirror_lost", lost, "frames", {}, {}, 0.0},
            {"mirror_second_copy_lacks", behind, "frames", {}, {}, 0.0}};
}

namespace {
/// A take of one of the other inputs, whose format has `word` in its name.
QList<Figure> recordOf(const QString &name, unsigned input, const QString &word, int seconds)
{
    constexpr unsigned first = 0;
    RecorderUnderBench recorder;
    recorder.write(eParam_VideoInput, input);
    if (!recorder.waitFor("pictures of the other input",
                          [&] { return recorder.shown().format.contains(word); }))
        return {};
    const qint64 dropped = recorder.counter("frames_dropped_capture");
    const auto take = measureTake(recorder, seconds);
    recorder.write(eParam_VideoInput, first);
    if (!take) return {};
    const double droppedNow = double(recorder.counter("frames_dropped_capture") - dropped);
    return {{name + "_length", take->total, "frames", {}, {}, {}},
            {name + "_lost", take->lost, "frames", {}, {}, 0.0},
            {name + "_dropped", droppedNow, "frames", {}, {}, 0.0},
            {name + "_cpu", take->cpu.coders + take->cpu.others, "ms/frame", {}, {}, {}},
            {name + "_memory", take->memory, "MB", {}, {}, {}}};
}
} // namespace

QList<Figure> benchRecord50(int seconds)
{
    constexpr unsigned secondInput = 6;
    QList<Figure> figures = recordOf(QStringLiteral("record50"), secondInput, QStringLiteral("50"), seconds);
    if (!figures.isEmpty()) figures.last().target = mostMemory;
    return figures;
}

QList<Figure> benchRecordUhd(int seconds)
{
    constexpr unsigned thirdInput = 8;
    return recordOf(QStringLiteral("record_uhd"), thirdInput, QStringLiteral("3840"), seconds);
}

QList<Figure> benchRecordStart(int)
{
    // The first frame of the clip against the newest picture on the output when the command was written.
    constexpr int takes = 5;
    RecorderUnderBench recorder;
    double worst = 0;
    for (int i = 0; i < takes; ++i) {
        // Of a recorder that has just begun the first pictures are black.
        const qint64 tick = recorder.shown().tick;
        std::optional<quint32> before;
        const auto isNew = [&] {
            const RecorderUnderBench::Shown shown = recorder.shown();
            before = shown.tick != tick ? shown.strip : std::nullopt;
            return before.has_value();
        };
        if (!recorder.waitFor("a new picture with its number", isNew) || !recorder.startTake()) return {};
        recorder.waitFor("some frames", [&] { return recorder.counter("current_clip_frames") >= 5; });
        recorder.endTake();
        const auto strips = stripsOfClip(recorder.clipPath(), 1);
        if (strips.isEmpty() || !strips.first()) {
            std::fprintf(stderr, "xp-bench: %s has no picture with a number\n",
                         qPrintable(recorder.clipPath()));
            return {};
        }
        worst = std::max(worst, double(*strips.first()) - double(*before));
    }
    return {{"record_start_worst", worst, "frames", {}, {}, 2.0}};
}
