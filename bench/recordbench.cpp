// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/figures.h"
#include "bench/recorderunderbench.h"

#include <QFile>

#include <algorithm>
#include <cstdio>

namespace {
/// Frames of the take whose strip is not one more than that of the frame before.
int breaks(const QList<std::optional<quint32>> &strips)
{
    int count = 0;
    for (qsizetype i = 0; i < strips.size(); ++i) {
        if (!strips[i] || (i > 0 && strips[i - 1] && *strips[i] != *strips[i - 1] + 1)) ++count;
    }
    return count;
}

/// CPU of ffmpeg for a frame of the same job: the same pictures, uncompressed, coded by its ProRes encoder at
/// the quantiser nearest in size, with sound, into a QuickTime file.
std::optional<double> ffmpegCpuPerFrame(const QString &clip, int frames)
{
    const QString raw = QStringLiteral("/dev/shm/xp-bench.nut");
    const QString coded = QStringLiteral("/dev/shm/xp-bench.mov");
    const QString count = QString::number(frames);
    if (!cpuOfProgram("ffmpeg",
                      {"-y", "-v", "error", "-i", clip, "-map", "0:v:0", "-map", "0:a:0", "-frames:v", count,
                       "-c:v", "rawvideo", "-c:a", "pcm_s24le", "-shortest", raw})) {
        return {};
    }
    const auto cpu =
        cpuOfProgram("ffmpeg", {"-y", "-v", "error", "-i", raw, "-c:v", "prores_ks", "-profile:v", "2",
                                "-q:v", "4", "-threads", "2", "-c:a", "pcm_s24le", coded});
    QFile::remove(raw);
    QFile::remove(coded);
    if (!cpu) return {};
    return *cpu / frames;
}
} // namespace

QList<Figure> benchRecord(int seconds)
{
    RecorderUnderBench recorder;
    if (!recorder.startTake()) return {};
    const double cpuBefore = recorder.daemonCpu();
    const qint64 framesBefore = recorder.counter("current_clip_frames");
    const qint64 wanted = framesBefore + qint64(seconds) * recorder.counter("clip_rate") / 1000;
    recorder.waitFor(
        "the take's length",
        [&] { return recorder.counter("current_clip_frames") >= wanted || recorder.status() != 2; },
        seconds + 30);
    const double cpu = recorder.daemonCpu() - cpuBefore;
    const double frames = double(recorder.counter("current_clip_frames") - framesBefore);
    recorder.endTake();
    const qint64 total = recorder.counter("recorded_up_to");
    const double longest = double(recorder.counter("event_loop_longest")) / 1000;
    const auto strips = stripsOfClip(recorder.clipPath());

    QList<Figure> figures;
    figures.append({"record_length", double(total), "frames", {}, {}, {}});
    figures.append(
        {"record_lost", double(breaks(strips) + std::abs(strips.size() - total)), "frames", {}, {}, 0.0});
    Figure cost{
        "record_cpu_per_frame", cpu / std::max(1.0, frames) * 1000, "ms", {}, "ms ffmpeg prores_ks", {}};
    constexpr int peerFrames = 50;
    if (const auto peer = ffmpegCpuPerFrame(recorder.clipPath(), std::min(peerFrames, int(total)))) {
        cost.peer = *peer * 1000;
    }
    figures.append(cost);
    figures.append({"event_loop_longest", longest, "ms", {}, {}, 5.0});
    figures.append(
        {"write_latency_p99", double(recorder.counter("write_latency_p99")) / 1000, "ms", {}, {}, {}});
    return figures;
}

QList<Figure> benchRecordStart(int)
{
    // The first frame of the clip against the newest picture on the output when the command was written.
    constexpr int takes = 5;
    RecorderUnderBench recorder;
    double worst = 0;
    for (int i = 0; i < takes; ++i) {
        const qint64 tick = recorder.shown().tick;
        recorder.waitFor("a new picture", [&] { return recorder.shown().tick != tick; });
        const auto before = recorder.shown().strip;
        if (!before || !recorder.startTake()) return {};
        recorder.waitFor("some frames", [&] { return recorder.counter("current_clip_frames") >= 5; });
        recorder.endTake();
        const auto strips = stripsOfClip(recorder.clipPath(), 1);
        if (strips.isEmpty() || !strips.first()) return {};
        worst = std::max(worst, double(*strips.first()) - double(*before));
    }
    return {{"record_start_worst", worst, "frames", {}, {}, 2.0}};
}
