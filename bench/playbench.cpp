// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchclip.h"
#include "bench/figures.h"
#include "bench/recorderunderbench.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/codec/qmxvideocodec.h"

#include <algorithm>

namespace {
constexpr unsigned stopCommand = 4;
constexpr unsigned playCommand = 1;

/// Milliseconds of a bare positioned read and decode of one frame of the clip, without the recorder.
QList<double> bareReads(const RecorderUnderBench &recorder, const QString &path, const QList<int> &frames)
{
    QList<double> times;
    QmxClipReader reader;
    if (reader.open(path).isError()) return times;
    const QmxCodecRow *codec = qmxCodec(reader.info().image.dataType());
    if (codec == nullptr) return times;
    const auto decoder = codec->createDecoder(reader.info().image);
    for (const int frame : frames) {
        const qint64 begin = recorder.now();
        QmxFrame data;
        QmxPicture picture;
        if (reader.readFrame(frame, data).isError() ||
            decoder->decode(data.vids().first().buffers().first(), picture).isError()) {
            return {};
        }
        times.append(double(recorder.now() - begin) / QmxClock::nsPerMillisecond);
    }
    return times;
}
} // namespace

QList<Figure> benchCue(int)
{
    RecorderUnderBench recorder;
    if (!recorder.startTake()) return {};
    constexpr int length = 150;
    recorder.waitFor("some frames", [&] { return recorder.counter("current_clip_frames") >= length; });
    recorder.endTake();
    const int frames = int(recorder.counter("recorded_up_to"));
    const double tick = 1e6 / double(std::max<qint64>(1, recorder.counter("clip_rate")));
    if (!recorder.cue(0)) return {};

    QList<int> targets;
    for (int i = 0; i < 40; ++i)
        targets.append((i * 61 + 17) % (frames - 1)); // far apart, never the same twice running
    QList<double> times;
    for (const int target : targets) {
        const qint64 begin = recorder.now();
        recorder.write(eParam_CueToFrame, unsigned(target));
        if (!recorder.waitFor("a cue", [&] { return recorder.shown().frame == target; })) return {};
        times.append(double(recorder.now() - begin) / QmxClock::nsPerMillisecond);
    }
    recorder.write(eParam_TransportCommand, playCommand);
    const qint64 shown = recorder.counter("frames_shown");
    recorder.waitFor("play", [&] { return recorder.counter("frames_shown") >= shown + length / 3; });
    const double memory = recorder.daemonMemory();
    recorder.write(eParam_TransportCommand, stopCommand);
    const double bare = benchPercentile(bareReads(recorder, recorder.clipPath(), targets), 0.5);
    const double bound = 2 * tick + bare;
    return {{"cue_p50", benchPercentile(times, 0.5), "ms", bound, "ms two ticks, read, decode", 1.0},
            {"cue_p99", benchPercentile(times, 0.99), "ms", bound, "ms two ticks, read, decode", {}},
            {"bare_read_decode_p50", bare, "ms", {}, {}, {}},
            {"play_memory", memory, "MB", {}, {}, mostMemory}};
}
