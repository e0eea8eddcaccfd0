// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/conversions.h"

#include "platform/qmx/core/qmxids.h"
#include "xpd/app/mainlog.h"

#include <span>

namespace {

struct Row
{
    int value;
    QmxId id;
};

constexpr const char *unsupported = "Unsupported value: %d\n";
constexpr const char *quiet = nullptr;

/// `message` takes the value; quiet logs nothing.
QmxId lookUp(std::span<const Row> rows, int value, const char *message)
{
    for (const Row &row : rows) {
        if (row.value == value) return row.id;
    }
    if (message) qmxLogOutput(QmxLogLevel::Warning, mainObjectSource, __LINE__, message, value);
    return QmxId();
}

QmxId lookUp(std::span<const Row> rows, unsigned int value, const char *message)
{
    return lookUp(rows, static_cast<int>(value), message);
}

constexpr Row encodeTypes[] = {{0, QmxIds::proRes422},     {1, QmxIds::proRes422Hq},
                               {2, QmxIds::proRes422Lt},   {3, QmxIds::proRes422Proxy},
                               {7, QmxIds::proRes4444},    {8, QmxIds::uncompressed8},
                               {9, QmxIds::uncompressed10}};
constexpr Row videoInputs[] = {{0, QmxIds::video422},           {6, QmxIds::video422Second},
                               {7, QmxIds::video422Full},       {8, QmxIds::video422Legal},
                               {9, QmxIds::videoRgb},           {10, QmxIds::videoRgbFull},
                               {11, QmxIds::videoRgbLegal},     {12, QmxIds::videoYCbCr444},
                               {13, QmxIds::videoYCbCr444Full}, {14, QmxIds::videoYCbCr444Legal}};
constexpr Row videoOutputs[] = {{0, QmxIds::videoYCbCr444Full}, {1, QmxIds::videoYCbCr444Legal},
                                {2, QmxIds::videoRgbFull},      {3, QmxIds::videoRgbLegal},
                                {4, QmxIds::video422Full},      {5, QmxIds::video422Legal}};
constexpr Row audioInputs[] = {{0, QmxIds::embeddedAudio}, {2, QmxIds::analogAudio}};
constexpr Row syncSources[] = {
    {0, QmxIds::syncReference}, {2, QmxIds::syncVideoInput}, {3, QmxIds::syncInternal}};
constexpr Row hdmiOutputs[] = {{0, QmxIds::hdmi422}, {1, QmxIds::hdmi444}};
constexpr Row audioLevels[] = {{0, QmxIds::audioLevel24},
                               {1, QmxIds::audioLevel18},
                               {2, QmxIds::audioLevel15},
                               {3, QmxIds::audioLevel12}};
constexpr Row timecodeSources[] = {{0, QmxIds::timecodeGenerator},
                                   {1, QmxIds::timecodeEmbedded},
                                   {3, QmxIds::timecodeLtc},
                                   {5, QmxIds::timecodeTimeOfDay}};
constexpr Row outputRoutes[] = {{0, QmxIds::routeProgram}, {1, QmxIds::routeInput}};
constexpr Row superOutputs[] = {{0, QmxIds::none},
                                {1, QmxIds::superTimecode},
                                {5, QmxIds::superTimecodeClip},
                                {6, QmxIds::superTimecodeStatus}};
constexpr Row cameraInputs[] = {{1, QmxIds::camera1}, {2, QmxIds::camera2}, {3, QmxIds::camera3},
                                {4, QmxIds::camera4}, {5, QmxIds::camera5}, {6, QmxIds::camera6},
                                {7, QmxIds::camera7}, {8, QmxIds::camera8}, {9, QmxIds::camera9}};
constexpr Row videoGenerators[] = {{1, QmxIds::bars}, {2, QmxIds::ramp}, {3, QmxIds::movingPattern}};
constexpr Row audioGenerators[] = {{1, QmxIds::tone1000}, {2, QmxIds::tone440}};
constexpr Row inputConversions[] = {{4, QmxIds::conversionCross}, {6, QmxIds::conversionUp}};
constexpr Row outputConversions[] = {{4, QmxIds::conversionCross}, {6, QmxIds::conversionDown}};

// Code of the media's codec.
constexpr Row decodeTypes[] = {
    {1, QmxIds::proRes422Hq}, {4, QmxIds::proRes422Lt}, {5, QmxIds::proRes422Proxy}, {6, QmxIds::proRes4444}};

} // namespace

QmxId encodeTypeToID(unsigned int value)
{
    return lookUp(encodeTypes, value, "Unsupported encode type: %d\n");
}

QmxId videoInputToID(unsigned int value)
{
    return lookUp(videoInputs, value, "Unsupported video input: %d\n");
}

QmxId videoOutputToID(unsigned int value)
{
    return lookUp(videoOutputs, value, "Unsupported video output: %d\n");
}

QmxId audioInputToID(unsigned int value)
{
    return lookUp(audioInputs, value, "Unsupported audio input: %d\n");
}

QmxId syncSourceToID(unsigned int value)
{
    return lookUp(syncSources, value, "Unsupported sync source: %d\n");
}

QmxId hdmiOutToID(unsigned int value)
{
    return lookUp(hdmiOutputs, value, "Unsupported hdmi out: %d\n");
}

QmxId audioLevelToID(int value)
{
    return lookUp(audioLevels, value, unsupported);
}

QmxId timecodeSourceToID(int value)
{
    return lookUp(timecodeSources, value, unsupported);
}

QmxId outputRouteToID(int value)
{
    return lookUp(outputRoutes, value, unsupported);
}

QmxId superOutToID(int value)
{
    return lookUp(superOutputs, value, unsupported);
}

QmxId cameraInputToID(int value)
{
    return lookUp(cameraInputs, value, quiet);
}

QmxId videoSignalGenToID(int value)
{
    return lookUp(videoGenerators, value, quiet);
}

QmxId audioSignalGenToID(int value)
{
    return lookUp(audioGenerators, value, quiet);
}

QmxId inputConversionToID(int value)
{
    return lookUp(inputConversions, value, quiet);
}

QmxId outputConversionToID(int value)
{
    return lookUp(outputConversions, value, quiet);
}

int imageDataTypeToDecodeType(const QmxId &dataType)
{
    for (const Row &row : decodeTypes)
        if (row.id == dataType) return row.value;
    return 0;
}
