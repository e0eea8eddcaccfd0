// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/eparamtimecode.h"
#include "platform/store/paramrow.h"
#include "platform/store/values.h"

std::vector<ParamRow> soundAndTimecodeRows()
{
    using enum ParamDescriptor::Keep;
    return {
        enumeration(eParam_AudioInput, "audio_input", Persistent,
                    {{AudioInput::Embedded, "embedded"}, {AudioInput::Analog, "analog"}},
                    "Where recorded sound comes from."),
        enumeration(eParam_AudioChannels, "audio_channels", Persistent,
                    {{AudioChannels::Two, "two"}, {AudioChannels::Eight, "eight"}},
                    "How many channels are recorded; eight need embedded sound."),
        boolean(eParam_IgnoreInputAncillary, "ignore_input_ancillary", Persistent,
                "On: what the input carries beside picture and sound is not looked at."),
        enumeration(eParam_AudioInputLevel, "audio_input_level", Persistent,
                    {{0, "plus_24_dbu"}, {1, "plus_18_dbu"}, {2, "plus_15_dbu"}, {3, "plus_12_dbu"}},
                    "Analog level that is full scale."),
        enumeration(eParam_SyncSource, "sync_source", Persistent,
                    {{0, "reference"}, {2, "video_input"}, {3, "internal"}},
                    "What the output follows in time."),
        enumeration(eParam_TimecodeSource, "timecode_source", Persistent,
                    {{0, "generator"}, {1, "embedded"}, {3, "ltc"}, {5, "time_of_day"}},
                    "Where the timecode of a recording comes from."),
        // The transport loads this row nowhere: without being told once, the generator would never learn the
        // drop-frame setting.
        number(
            eParam_TimecodePresetHour, "timecode_preset_hour", Persistent,
            "Sets the timecode generator at once: to this hour, 0 minutes, or to a timecode (HH:MM:SS:FF).")
            .range(0, 23)
            .in("h")
            .with({Attribute::everyWrite, Attribute::toldOnce, Attribute::timecodePreset}),
        string(eParam_TimecodeUserBits, "timecode_user_bits", Persistent,
               "User bits of the timecode generator, eight hexadecimal digits such as 20261126; each clip "
               "keeps those with which it began. Empty: none.")
            .with({Attribute::userBits}),
        enumeration(eParam_TimecodeDropFrame, "timecode_drop_frame", Persistent,
                    {{0, "non_drop"}, {1, "drop"}}, "How timecode is counted at 29.97 and 59.94 frames."),
        // 0 means on.
        enumeration(eParam_RecordOnRunningTimecode, "record_on_running_timecode", Persistent,
                    {{0, "on"}, {1, "off"}},
                    "On: a recording starts and stops with the timecode of the input.")
            .defaults(1),
    };
}
