// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/paramrow.h"
#include "platform/store/values.h"

std::vector<ParamRow> recordAndPlaybackRows()
{
    using enum ParamDescriptor::Keep;
    return {
        enumeration(eParam_RecordCodec, "record_codec", Persistent,
                    {{0, "prores_422"},
                     {1, "prores_422_hq"},
                     {2, "prores_422_lt"},
                     {3, "prores_422_proxy"},
                     {7, "prores_4444"},
                     {8, "uncompressed_8"},
                     {9, "uncompressed_10"}},
                    "Codec of new clips."),
        boolean(eParam_IntervalRecord, "interval_record", Persistent,
                "On: only interval_record_frames frames a period are recorded."),
        number(eParam_IntervalRecordFrames, "interval_record_frames", Persistent,
               "Frames recorded in every period of an interval recording.")
            .defaults(1)
            .range(1, 0xFFFFFFFFU)
            .in("frames"),
        enumeration(eParam_IntervalRecordPeriod, "interval_record_period", Persistent,
                    {{0, "second"}, {1, "minute"}, {2, "hour"}}, "Period of an interval recording."),
        boolean(eParam_RolloverEnabled, "rollover_enabled", Persistent,
                "On: a recording goes on on the rollover medium when the active one is full."),
        enumeration(eParam_CameraInput, "camera_input", Persistent,
                    {{0, "none"},
                     {1, "camera_1"},
                     {2, "camera_2"},
                     {3, "camera_3"},
                     {4, "camera_4"},
                     {5, "camera_5"},
                     {6, "camera_6"},
                     {7, "camera_7"},
                     {8, "camera_8"},
                     {9, "camera_9"}},
                    "Camera whose record flag starts and stops recordings; record and stop commands are then "
                    "ignored."),
        number(eParam_CameraDataMode, "camera_data_mode", Persistent,
               "How the camera's data are read. Kept for cameras that need it."),
        boolean(eParam_ContinueOnLossOfVideo, "continue_on_loss_of_video", Persistent,
                "On: a recording goes on with a still picture while the input is gone. Off: it stops."),
        enumeration(eParam_PlaybackSource, "playback_source", Persistent,
                    {{PlaybackSource::CurrentClip, "current_clip"},
                     {PlaybackSource::AllClips, "all_clips"},
                     {PlaybackSource::PlayList, "play_list"}},
                    "What play plays."),
        boolean(eParam_LoopPlayback, "loop_playback", Persistent,
                "On: playback goes on at the other end when it has reached one."),
        boolean(eParam_StopOnDroppedFrame, "stop_on_dropped_frame", Persistent,
                "On: playback stops when a frame came too late."),
        number(
            eParam_PreRecord, "pre_record", Persistent,
            "A recording begins so much before its command: with what the recorder keeps in memory "
            "while it is stopped. Pictures are then coded all the time; `xpctl doctor` tells what it costs.")
            .range(0, 60)
            .in("s"),
        string(
            eParam_RecordStart, "record_start", Volatile,
            "The next recording begins with exactly this frame, if its command comes within ten seconds "
            "before it, or a little later: a timecode (10:00:00:00), or a time of day (10:00:00.250). Empty: "
            "with the command. Used once.")
            .with({Attribute::moment, Attribute::everyWrite}),
        string(eParam_RecordEnd, "record_end", Volatile,
               "The recording that begins at record_start has its last frame right before this one; it is to "
               "be stopped within a second after that. Empty: with the command.")
            .with({Attribute::moment, Attribute::everyWrite}),
        string(eParam_RecordSchedule, "record_schedule", Persistent,
               "Takes to come, one a line; `xpctl schedule` shows them, the media daemon keeps them.")
            .with({Attribute::multiLine, Attribute::told}),
        number(eParam_PlayListChanged, "play_list_changed", Command,
               "Tells the transport that the play list has changed (any value)."),
    };
}
