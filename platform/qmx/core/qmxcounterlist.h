// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

/// Every counter of the recorder: row, name in shared memory, unit there; name for monitoring systems,
/// whether it only grows while the recorder runs (Counter) or not (Gauge), factor to that name's base unit
/// (seconds, bytes, hertz); what it counts. A new counter is a new row, at the end.
// clang-format off
#define QMX_COUNTERS(X) \
    X(RecordedUpTo, "recorded_up_to", "frames", "xp_take_frames_safe", Gauge, 1, \
      "Frames of the take that survive a power cut") \
    X(CurrentClipFrames, "current_clip_frames", "frames", "xp_take_frames", Gauge, 1, \
      "Frames accepted for the take") \
    X(FrameOnOutput, "frame_on_output", "frame number", "xp_output_frame", Gauge, 1, \
      "Number of the frame on the output") \
    X(ListEntryOnOutput, "list_entry_on_output", "entry", "xp_output_list_entry", Gauge, 1, \
      "Play list entry on the output, -1: none") \
    X(Ticks, "ticks", "ticks", "xp_ticks_total", Counter, 1, \
      "Ticks of the video clock") \
    X(LateTicks, "late_ticks", "ticks", "xp_late_ticks_total", Counter, 1, \
      "Ticks that came late") \
    X(FramesIn, "frames_in", "frames", "xp_frames_in_total", Counter, 1, \
      "Frames taken from the input") \
    X(FramesRecorded, "frames_recorded", "frames", "xp_frames_recorded_total", Counter, 1, \
      "Frames written into clips") \
    X(FramesShown, "frames_shown", "frames", "xp_frames_shown_total", Counter, 1, \
      "Frames shown in playback") \
    X(FramesDroppedCapture, "frames_dropped_capture", "frames", "xp_frames_dropped_capture_total", Counter, 1, \
      "Frames lost in recording") \
    X(FramesDroppedPlayback, "frames_dropped_playback", "frames", "xp_frames_dropped_playback_total", Counter, 1, \
      "Frames missing in playback") \
    X(FramesRepeated, "frames_repeated", "frames", "xp_frames_repeated_total", Counter, 1, \
      "Ticks that showed the frame before again") \
    X(SourceRepeats, "source_repeats", "frames", "xp_source_repeats_total", Counter, 1, \
      "Frames repeated because a source was slow") \
    X(SourceSkips, "source_skips", "frames", "xp_source_skips_total", Counter, 1, \
      "Frames skipped because a source was fast") \
    X(CaptureQueue, "capture_queue", "frames", "xp_capture_queue_frames", Gauge, 1, \
      "Frames waiting between input and clip") \
    X(PlaybackQueue, "playback_queue", "frames", "xp_playback_queue_frames", Gauge, 1, \
      "Frames waiting for the output") \
    X(WriterQueue, "writer_queue", "frames", "xp_writer_queue_frames", Gauge, 1, \
      "Frames waiting for the disk") \
    X(WriterQueueBytes, "writer_queue_bytes", "bytes", "xp_writer_queue_bytes", Gauge, 1, \
      "Bytes waiting for the disk") \
    X(CacheFrames, "cache_frames", "frames", "xp_cache_frames", Gauge, 1, \
      "Frames in the stream's cache") \
    X(WriteLatencyP50, "write_latency_p50", "us", "xp_write_latency_p50_seconds", Gauge, 1e-6, \
      "Half of the writes take less") \
    X(WriteLatencyP99, "write_latency_p99", "us", "xp_write_latency_p99_seconds", Gauge, 1e-6, \
      "99 of 100 writes take less") \
    X(WriteLatencyMax, "write_latency_max", "us", "xp_write_latency_max_seconds", Gauge, 1e-6, \
      "The longest write") \
    X(WriteErrors, "write_errors", "errors", "xp_write_errors_total", Counter, 1, \
      "Writes that failed") \
    X(ReadErrors, "read_errors", "errors", "xp_read_errors_total", Counter, 1, \
      "Reads that failed") \
    X(PreviewDropped, "preview_dropped", "frames", "xp_preview_dropped_total", Counter, 1, \
      "Pictures that the preview missed") \
    X(OutputDropped, "output_dropped", "frames", "xp_output_dropped_total", Counter, 1, \
      "Pictures that an output missed") \
    X(EventLoopLongest, "event_loop_longest", "us", "xp_event_loop_longest_seconds", Gauge, 1e-6, \
      "Longest turn of the daemon's event loop") \
    X(PoolInUse, "pool_in_use", "bytes", "xp_pool_bytes", Gauge, 1, \
      "Picture memory in use") \
    X(PoolFailures, "pool_failures", "allocations", "xp_pool_failures_total", Counter, 1, \
      "Pictures for which there was no memory") \
    X(LogDropped, "log_dropped", "records", "xp_log_dropped_total", Counter, 1, \
      "Log lines dropped") \
    X(TakesOpened, "takes_opened", "takes", "xp_takes_total", Counter, 1, \
      "Takes begun") \
    X(ClipRate, "clip_rate", "mHz", "xp_take_rate_hertz", Gauge, 1e-3, \
      "Frames a second of the take") \
    X(InputTorn, "input_torn", "pictures", "xp_input_torn_total", Counter, 1, \
      "Pictures of the input that came torn") \
    X(InputMissing, "input_missing", "pictures", "xp_input_missing_total", Counter, 1, \
      "Pictures of the input that did not come") \
    X(MaterialFrames, "material_frames", "frames", "xp_material_frames", Gauge, 1, \
      "Length of the material that is played") \
    X(MaterialGrows, "material_grows", "flag", "xp_material_grows", Gauge, 1, \
      "1: somebody still records the clip that is played") \
    X(LiveDistance, "live_distance", "frames", "xp_live_distance_frames", Gauge, 1, \
      "From the output to the newest frame of the clip that grows, -1: none grows") \
    X(LiveWaits, "live_waits", "waits", "xp_live_waits_total", Counter, 1, \
      "Playback had to wait for a clip that grows") \
    X(TakeCopies, "take_copies", "media", "xp_take_media", Gauge, 1, \
      "Media that the take is written to, or was to its end") \
    X(SafeOnBoth, "safe_on_both", "frames", "xp_take_frames_safe_on_both", Gauge, 1, \
      "Frames of a take on two media that are safe on both") \
    X(PreRecordFrames, "pre_record_frames", "frames", "xp_pre_record_frames", Gauge, 1, \
      "Frames that a take would begin with now, captured before its command") \
    X(PreRecordBytes, "pre_record_bytes", "bytes", "xp_pre_record_bytes", Gauge, 1, \
      "Memory that these frames fill") \
    X(PreRecordLimit, "pre_record_limit", "bytes", "xp_pre_record_limit_bytes", Gauge, 1, \
      "Memory that they may fill") \
    X(PreRecordRestarts, "pre_record_restarts", "times", "xp_pre_record_restarts_total", Counter, 1, \
      "Times these frames were given up because coding did not keep up") \
    X(StartLate, "start_late", "frames", "xp_take_start_late_frames", Gauge, 1, \
      "Frames by which the take has begun behind the frame it was to begin with") \
    X(StartIn, "start_in", "frames", "xp_take_start_in_frames", Gauge, 1, \
      "Frames until the take begins that has been commanded and waits for its first frame, 0: none waits") \
    X(PicturesSoft, "pictures_soft", "pictures", "xp_pictures_soft_total", Counter, 1, \
      "Pictures of fast play decoded smaller than the outputs take them, for want of time")
// clang-format on
