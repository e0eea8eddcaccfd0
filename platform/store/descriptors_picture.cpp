// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/paramrow.h"

std::vector<ParamRow> pictureRows()
{
    using enum ParamDescriptor::Keep;
    return {
        enumeration(eParam_RecordFrameMode, "record_frame_mode", Persistent,
                    {{0, "normal"}, {1, "psf"}, {2, "variable_rate"}},
                    "How frames are recorded: as they come, always as segmented frames, or at the camera's "
                    "own rate."),
        enumeration(eParam_OutputFrameMode, "output_frame_mode", Persistent, {{0, "psf"}, {1, "as_source"}},
                    "Whether progressive pictures leave as segmented frames.")
            .defaults(1),
        enumeration(eParam_InputConversion, "input_conversion", Persistent,
                    {{0, "none"}, {4, "cross"}, {6, "up"}}, "Conversion of the picture before recording."),
        enumeration(eParam_OutputConversion, "output_conversion", Persistent,
                    {{0, "none"}, {4, "cross"}, {6, "down"}}, "Conversion of the picture on the output."),
        enumeration(eParam_VideoOutputType, "video_output_type", Persistent,
                    {{0, "ycbcr_444_full"},
                     {1, "ycbcr_444_legal"},
                     {2, "rgb_444_full"},
                     {3, "rgb_444_legal"},
                     {4, "ycbcr_422_full"},
                     {5, "ycbcr_422_legal"}},
                    "Colour coding and range of the output.")
            .defaults(5),
        enumeration(eParam_VideoOutputRoute, "video_output_route", Persistent, {{0, "program"}, {1, "input"}},
                    "What the output shows: the transport, or the input."),
        enumeration(eParam_Superimpose, "superimpose", Persistent,
                    {{0, "off"}, {1, "timecode"}, {5, "timecode_and_clip"}, {6, "timecode_and_status"}},
                    "What is written over the picture on the output."),
        boolean(eParam_SdiLevelA, "sdi_level_a", Persistent, "Level A (on) or level B (off) on the output."),
        enumeration(eParam_HdmiOutputMode, "hdmi_output_mode", Persistent,
                    {{0, "sampling_422"}, {1, "sampling_444"}}, "Colour sampling of the monitor output."),
        enumeration(
            eParam_TornPictures, "torn_pictures", Persistent, {{0, "replace"}, {1, "keep"}},
            "What becomes of pictures of a live input that come torn: the last whole one stands in, or "
            "they are taken as they came."),
        // The order of legal and full range differs between the rows: these are the panel's numbers.
        enumeration(eParam_VideoInput, "video_input", Persistent,
                    {{0, "input_1"},
                     {6, "input_2"},
                     {7, "ycbcr_422_full"},
                     {8, "ycbcr_422_legal"},
                     {9, "rgb_444"},
                     {10, "rgb_444_full"},
                     {11, "rgb_444_legal"},
                     {12, "ycbcr_444"},
                     {13, "ycbcr_444_full"},
                     {14, "ycbcr_444_legal"}},
                    "Input that is recorded, by the name of its line in the profile; the colour coding comes "
                    "with the "
                    "signal, whatever the name."),
        enumeration(eParam_LutPosition, "lut_position", Persistent, {{0, "off"}, {1, "input"}, {2, "output"}},
                    "Where the look-up table is applied: not at all, to what is recorded, or to the output."),
        data(eParam_LutFile, "lut_file", Persistent,
             "Path of the look-up table file, .cube of one or three dimensions or plain text; empty: none.")
            .with({Attribute::dataFile}),
        enumeration(eParam_SignalGeneratorFormat, "signal_generator_format", Persistent, generatorFormats(),
                    "Format of the built-in signal generator.")
            .defaults(11),
        enumeration(eParam_VideoSignalGenerator, "video_signal_generator", Persistent,
                    {{0, "off"}, {1, "bars"}, {2, "ramp"}, {3, "moving"}},
                    "Picture of the built-in signal generator, which then takes the place of the input."),
        enumeration(eParam_AudioSignalGenerator, "audio_signal_generator", Persistent,
                    {{0, "off"}, {1, "1khz"}, {2, "440hz"}}, "Sound of the built-in signal generator."),
    };
}
