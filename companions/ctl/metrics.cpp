// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/metrics.h"

#include "companions/ctl/remotefigures.h"

#include <QFileInfo>
#include <QStorageInfo>

#include <algorithm>

namespace {
constexpr double one = 1;
constexpr double micro = 1e-6;
constexpr double milli = 1e-3;

// A counter that is not here is told under its own name.
constexpr CounterMetric rows[] = {
    {"recorded_up_to", "xp_take_frames_safe", false, one, "Frames of the take that survive a power cut"},
    {"current_clip_frames", "xp_take_frames", false, one, "Frames accepted for the take"},
    {"frame_on_output", "xp_output_frame", false, one, "Number of the frame on the output"},
    {"list_entry_on_output", "xp_output_list_entry", false, one, "Play list entry on the output, -1: none"},
    {"ticks", "xp_ticks_total", true, one, "Ticks of the video clock"},
    {"late_ticks", "xp_late_ticks_total", true, one, "Ticks that came late"},
    {"frames_in", "xp_frames_in_total", true, one, "Frames taken from the input"},
    {"frames_recorded", "xp_frames_recorded_total", true, one, "Frames written into clips"},
    {"frames_shown", "xp_frames_shown_total", true, one, "Frames shown in playback"},
    {"frames_dropped_capture", "xp_frames_dropped_capture_total", true, one, "Frames lost in recording"},
    {"frames_dropped_playback", "xp_frames_dropped_playback_total", true, one, "Frames missing in playback"},
    {"frames_repeated", "xp_frames_repeated_total", true, one, "Ticks that showed the frame before again"},
    {"source_repeats", "xp_source_repeats_total", true, one, "Frames repeated because a source was slow"},
    {"source_skips", "xp_source_skips_total", true, one, "Frames skipped because a source was fast"},
    {"capture_queue", "xp_capture_queue_frames", false, one, "Frames waiting between input and clip"},
    {"playback_queue", "xp_playback_queue_frames", false, one, "Frames waiting for the output"},
    {"writer_queue", "xp_writer_queue_frames", false, one, "Frames waiting for the disk"},
    {"writer_queue_bytes", "xp_writer_queue_bytes", false, one, "Bytes waiting for the disk"},
    {"cache_frames", "xp_cache_frames", false, one, "Frames in the stream's cache"},
    {"write_latency_p50", "xp_write_latency_p50_seconds", false, micro, "Half of the writes take less"},
    {"write_latency_p99", "xp_write_latency_p99_seconds", false, micro, "99 of 100 writes take less"},
    {"write_latency_max", "xp_write_latency_max_seconds", false, micro, "The longest write"},
    {"write_errors", "xp_write_errors_total", true, one, "Writes that failed"},
    {"read_errors", "xp_read_errors_total", true, one, "Reads that failed"},
    {"preview_dropped", "xp_preview_dropped_total", true, one, "Pictures that the preview missed"},
    {"output_dropped", "xp_output_dropped_total", true, one, "Pictures that an output missed"},
    {"event_loop_longest", "xp_event_loop_longest_seconds", false, micro,
     "Longest turn of the daemon's event loop"},
    {"pool_in_use", "xp_pool_bytes", false, one, "Picture memory in use"},
    {"pool_failures", "xp_pool_failures_total", true, one, "Pictures for which there was no memory"},
    {"log_dropped", "xp_log_dropped_total", true, one, "Log lines dropped"},
    {"takes_opened", "xp_takes_total", true, one, "Takes begun"},
    {"clip_rate", "xp_take_rate_hertz", false, milli, "Frames a second of the take"},
};

Metric told(const QmxCountersReader::Counter &counter)
{
    const auto *row =
        std::find_if(std::begin(rows), std::end(rows), [&counter](const CounterMetric &candidate) {
            return counter.name == QLatin1String(candidate.counter);
        });
    if (row == std::end(rows)) {
        return {"xp_" + counter.name, counter.unit, false, {}, {}, double(counter.value)};
    }
    return {row->metric, row->help, row->isCounter, {}, {}, double(counter.value) * row->scale};
}

void addMedia(QList<Metric> &metrics, const Recorder &recorder)
{
    QStringList paths{recorder.text(eParam_ActiveMediaPath), recorder.text(eParam_RolloverMediaPath)};
    paths.removeDuplicates();
    paths.removeIf([](const QString &path) { return path.isEmpty() || !QFileInfo::exists(path); });
    for (const QString &path : paths)
        metrics.append({"xp_medium_free_bytes", "Free space of a medium in use", false, "medium", path,
                        double(QStorageInfo(path).bytesAvailable())});
    for (const QString &path : paths)
        metrics.append({"xp_medium_size_bytes", "Size of a medium in use", false, "medium", path,
                        double(QStorageInfo(path).bytesTotal())});
}
} // namespace

std::span<const CounterMetric> counterMetrics()
{
    return rows;
}

QList<Metric> collectMetrics(const Recorder &recorder)
{
    const bool isUp = recorder.daemonIsRunning();
    QList<Metric> metrics{{"xp_up", "Whether the daemon runs", false, {}, {}, isUp ? 1.0 : 0.0}};
    if (isUp) {
        metrics.append({"xp_status", "What the transport does", false, "status", recorder.statusLabel(), 1});
        for (const auto &counter : recorder.counters())
            metrics.append(told(counter));
    }
    for (const Recorder::Alarm &alarm : recorder.alarms())
        metrics.append({"xp_alarm", "Alarms that are up: 1 information, 2 warning, 3 error", false, "alarm",
                        alarm.name,
                        alarm.level == "error"     ? 3.0
                        : alarm.level == "warning" ? 2.0
                                                   : 1.0});
    addMedia(metrics, recorder);
    addRemoteMetrics(metrics);
    return metrics;
}
