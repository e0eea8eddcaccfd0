// SPDX-License-Identifier: GPL-3.0-or-later
// Takes that begin before their command: what keeping the time before costs, beside a take, and whether all
// of it is there.
#include "bench/figures.h"
#include "bench/recorderunderbench.h"

#include <algorithm>

namespace {
/// Processor time of the daemon for a tick, in milliseconds, over some seconds.
double costOfTick(RecorderUnderBench &recorder, int seconds)
{
    const double before = recorder.daemonCpu().all();
    const qint64 first = recorder.counter("ticks");
    const qint64 end = recorder.now() + seconds * QmxClock::nsPerSecond;
    recorder.waitFor(
        "time to pass", [&] { return recorder.now() >= end; }, seconds + 10);
    const double ticks = double(std::max<qint64>(1, recorder.counter("ticks") - first));
    return (recorder.daemonCpu().all() - before) * 1000 / ticks;
}
} // namespace

QList<Figure> benchPreRecord(int seconds)
{
    constexpr unsigned earlier = 10; // seconds
    constexpr int turns = 2;
    const int length = std::max(2, seconds / (2 * turns));
    RecorderUnderBench recorder;
    double kept = 0;
    double taken = 0;
    double lost = 0;
    double begun = 0;
    for (int i = 0; i < turns; ++i) {
        recorder.write(eParam_PreRecord, earlier);
        kept += costOfTick(recorder, length) / turns;
        recorder.waitFor("the memory to be full",
                         [&] { return recorder.counter("pre_record_frames") >= earlier * 25; });
        if (!recorder.startTake()) return {};
        recorder.waitFor("the frames before the command",
                         [&] { return recorder.counter("current_clip_frames") >= earlier * 25; });
        // What comes late comes at once; a take by itself is measured after it.
        recorder.waitFor("the disk", [&] { return recorder.counter("writer_queue") < 5; });
        begun = std::max(begun, double(recorder.counter("event_loop_longest")) / 1000);
        recorder.write(eParam_PreRecord, 0U);
        taken += costOfTick(recorder, length) / turns;
        recorder.endTake();
        const auto strips = stripsOfClip(recorder.clipPath());
        lost += benchBreaks(strips) + std::max(0.0, double(earlier) * 25 - double(strips.size()));
    }
    constexpr double longestTurn = 20; // ms
    return {{"prerecord_cpu", kept, "ms/frame", taken, "ms/frame of a take", 1.1},
            {"prerecord_frames_lost", lost, "frames", {}, {}, 0},
            {"prerecord_longest_turn", begun, "ms", {}, {}, longestTurn}};
}
