// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxid.h"

#include <algorithm>
#include <iterator>

namespace {

struct Row
{
    int value;
    const char *name;
};

// In rising order: looked up by halves.
constexpr Row rows[] = {
    {0, "None"},
    // Metadata of frames.
    {1, "Frame number"},
    {9, "First frame"},
    {10, "Last frame"},
    {12, "Timecode"},
    {14, "Hold"},
    {18, "Play list position"},
    // Properties of the device.
    {19, "Clip name"},
    {22, "Direction"},
    {23, "Reel name"},
    {24, "Timecode jam"},
    // Outputs, audio inputs, HDMI modes.
    {51, "Program"},
    {52, "Embedded audio"},
    {53, "Input"},
    {55, "4:2:2"},
    {56, "4:4:4"},
    // Streams.
    {100, "QuickTime movie"},
    // Data types.
    {202, "ProRes 422"},
    {203, "ProRes 422 HQ"},
    {204, "ProRes 422 LT"},
    {205, "ProRes 422 Proxy"},
    {206, "ProRes 4444"},
    {230, "Uncompressed 4:2:2 8 bit"},
    {231, "Uncompressed 4:2:2 10 bit"},
    {250, "Uncompressed RGB 4:4:4 10 bit"},
    {408, "PCM"},
    // Sync sources.
    {501, "Reference input"},
    {502, "Video input"},
    {503, "Internal"},
    // Video inputs and output types.
    {601, "4:2:2"},
    {602, "4:2:2 second input"},
    {603, "4:2:2 legal range"},
    {604, "4:2:2 full range"},
    {631, "RGB 4:4:4"},
    {632, "RGB 4:4:4 legal range"},
    {633, "RGB 4:4:4 full range"},
    {661, "YCbCr 4:4:4"},
    {662, "YCbCr 4:4:4 legal range"},
    {663, "YCbCr 4:4:4 full range"},
    {690, "Analog audio"},
    {695, "Internal generator"},
    // Ancillary data.
    {705, "Camera record flag"},
    {706, "Clip file name"},
    {710, "Effective frame rate"},
    // Signal generators.
    {800, "Bars"},
    {801, "Ramp"},
    {802, "Moving pattern"},
    {900, "Tone 1 kHz"},
    {901, "Tone 440 Hz"},
    // Cameras.
    {1000, "Camera data 1"},
    {1001, "Camera data 2"},
    {1002, "Camera data 3"},
    {1003, "Camera data 4"},
    {1004, "Camera data 5"},
    {1005, "Camera data 6"},
    {1006, "Camera data 7"},
    {1007, "Camera data 8"},
    {1008, "Camera data 9"},
    // Look-up tables, conversions, superimposed text.
    {1100, "Look-up table"},
    {1200, "Cross conversion"},
    {1201, "Up conversion"},
    {1202, "Down conversion"},
    {1300, "Timecode"},
    {1301, "Timecode and clip name"},
    {1302, "Timecode and status"},
    // Analog audio levels.
    {1400, "+24 dBu"},
    {1401, "+18 dBu"},
    {1402, "+15 dBu"},
    {1403, "+12 dBu"},
    // Timecode sources.
    {1500, "Generator"},
    {1501, "Time of day"},
    {1510, "LTC input"},
    {1520, "Embedded in video"},
    // Directions.
    {1600, "Play"},
    {1601, "Standby"},
    {1604, "Fast forward"},
    {1605, "Fast reverse"},
    {1606, "Record"},
    {1607, "Still"},
    // Alarms.
    {1901, "media_write_failed"},
    {1902, "clip_name_exists"},
    {1903, "media_read_failed"},
    {1904, "frame_dropped"},
    {1905, "loss_of_video_still_missing"},
    {1906, "media_slow"},
    {1907, "input_lost_in_record"},
    {1908, "output_failed"},
    {1909, "audio_input_lost"},
    {1910, "reference_missing"},
    {1911, "channels_need_embedded_audio"},
    {1912, "clock_late"},
    {1913, "reference_not_locked"},
    {1914, "variable_rate"},
    {1915, "memory_exhausted"},
    {1916, "log_output_failed"},
    {1917, "spare_1"},
    {1918, "spare_2"},
    {1919, "spare_3"},
    {1920, "lut_error"},
    {1921, "record_inhibited"},
    // Reasons not to record.
    {2000, "No Input"},
    {2001, "Invalid Input"},
    {2002, "Unsupported Input"},
    {2003, "Media Full"},
    {2004, "No Media"},
};

constexpr bool rising()
{
    for (size_t i = 1; i < std::size(rows); ++i)
        if (rows[i - 1].value >= rows[i].value) return false;
    return true;
}
static_assert(rising());

} // namespace

QString QmxId::name() const
{
    const Row *row = std::lower_bound(std::begin(rows), std::end(rows), _value,
                                      [](const Row &r, int value) { return r.value < value; });
    if (row == std::end(rows) || row->value != _value) return QString::number(_value);
    return QString::fromLatin1(row->name);
}
