// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/eparamreplay.h"
#include "platform/store/paramrow.h"
#include "platform/store/values.h"

namespace {

using enum ParamDescriptor::Keep;

std::vector<ParamRow> commandRows()
{
    return {
        enumeration(eParam_TransportCommand, "transport_command", Command,
                    {{TransportCommand::Play, "play"},
                     {TransportCommand::Record, "record"},
                     {TransportCommand::Stop, "stop"},
                     {TransportCommand::FastForward, "fast_forward"},
                     {TransportCommand::Rewind, "rewind"},
                     {TransportCommand::StepForward, "step_forward"},
                     {TransportCommand::StepBack, "step_back"},
                     {TransportCommand::NextClip, "next_clip"},
                     {TransportCommand::PreviousClip, "previous_clip"},
                     {TransportCommand::ShutDown, "shut_down"}},
                    "Does what the key of this name on a tape machine does. Each fast_forward or rewind goes "
                    "one step up: 2, 4, 8, 16 times normal speed."),
        string(eParam_TransportSpeed, "transport_speed", Command,
               "Plays at this speed: a decimal number from -100 to 100, 1 is normal, 0 is a still picture.")
            .with({Attribute::speed}),
        string(eParam_CueToTimecode, "cue_to_timecode", Command,
               "Goes to the frame with this timecode (HH:MM:SS:FF), in still.")
            .with({Attribute::timecode}),
        number(eParam_CueToFrame, "cue_to_frame", Command,
               "Goes to this frame of what is played, counted from 0, in still.")
            .in("frames"),
        string(eParam_GoToClipName, "go_to_clip_name", Command,
               "Goes to the clip of this name in the list in use; N/A stops.")
            .with({Attribute::clipName}),
        string(
            eParam_StartAt, "start_at", Command,
            "Where the next opening of a clip begins: place, value, bounds, name. `xpctl live`, `replay` and "
            "`angle` write it."),
        string(eParam_MarksChanged, "marks_changed", Command,
               "Tells that marks of the clip of this name have been set or removed."),
        number(eParam_GoToClipIndex, "go_to_clip_index", Command,
               "Goes to the clip at this place in the list in use, counted from 0."),
        number(
            eParam_MediaUpdated, "media_updated", Command,
            "Tells the transport that clips came or went (any value); a running playback becomes a still."),
    };
}

std::vector<ParamRow> statusRows()
{
    std::vector<ParamRow> rows = {
        enumeration(eParam_TransportStatus, "transport_status", Volatile,
                    {{TransportStatus::Stopped, "stopped"},
                     {TransportStatus::Recording, "recording"},
                     {TransportStatus::Playing, "playing"},
                     {TransportStatus::ForwardFast, "forward_fast"},
                     {TransportStatus::Forward4, "forward_4x"},
                     {TransportStatus::Forward8, "forward_8x"},
                     {TransportStatus::Forward16, "forward_16x"},
                     {TransportStatus::Reverse, "reverse"},
                     {TransportStatus::ReverseFast, "reverse_fast"},
                     {TransportStatus::Reverse4, "reverse_4x"},
                     {TransportStatus::Reverse8, "reverse_8x"},
                     {TransportStatus::Reverse16, "reverse_16x"},
                     {TransportStatus::Still, "still"},
                     {TransportStatus::ShutDown, "shut_down"}},
                    "What the transport does now. Written by the transport.")
            .defaults(TransportStatus::ShutDown),
        boolean(eParam_TransportRunning, "transport_running", Volatile,
                "Whether the transport is there to take commands. Written by the transport."),
        string(eParam_RecordBaseName, "record_base_name", Volatile,
               "Name of the take recorded last, without its extension. Written by the transport."),
        enumeration(eParam_FirmwareState, "firmware_state", Volatile,
                    {{FirmwareState::None, "none"},
                     {FirmwareState::Loading, "loading"},
                     {FirmwareState::Loaded, "loaded"}},
                    "Whether the video device is loading its firmware. Written by the transport."),
        enumeration(eParam_InputFormat, "input_format", Volatile, inputFormats(),
                    "Format of the picture on the input. Written by the transport."),
        enumeration(
            eParam_MediaCodec, "media_codec", Volatile,
            {{0, "prores_422"},
             {1, "prores_422_hq"},
             {4, "prores_422_lt"},
             {5, "prores_422_proxy"},
             {6, "prores_4444"}},
            "Codec of the clip that is played or recorded; prores_422 also stands for all that has no "
            "name here. Written by the transport."),
        enumeration(eParam_MediaFormat, "media_format", Volatile, mediaFormats(),
                    "Format of the clip that is played or recorded. Written by the transport.")
            .defaults(1),
        enumeration(eParam_RecordFormat, "record_format", Volatile, recordFormats(),
                    "Format in which the input would be recorded now. Written by the transport."),
    };
    for (ParamRow &row : rows)
        row.with({Attribute::told});
    return rows;
}

} // namespace

std::vector<ParamRow> transportRows()
{
    std::vector<ParamRow> rows = commandRows();
    for (ParamRow &row : statusRows())
        rows.push_back(std::move(row));
    return rows;
}
