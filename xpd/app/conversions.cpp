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

constexpr const char *kUnsupported = "Unsupported value: %d\n";
constexpr const char *kQuiet = nullptr;

/// `message` takes the value; kQuiet logs nothing.
QmxId lookUp(std::span<const Row> rows, int value, const char *message)
{
    for (const Row &row : rows) {
        if (row.value == value) return row.id;
    }
    if (message) qmxLogOutput(2, kMainObject, __LINE__, message, value);
    return QmxId();
}

QmxId lookUp(std::span<const Row> rows, unsigned int value, const char *message)
{
    return lookUp(rows, static_cast<int>(value), message);
}

constexpr Row kEncodeTypes[] = {{0, QmxIds::proRes422},     {1, QmxIds::proRes422Hq},
                                {2, QmxIds::proRes422Lt},   {3, QmxIds::proRes422Proxy},
                                {7, QmxIds::proRes4444},    {8, QmxIds::uncompressed8},
                                {9, QmxIds::uncompressed10}};
constexpr Row kVideoInputs[] = {{0, QmxIds::video422},           {6, QmxIds::video422Second},
                                {7, QmxIds::video422Full},       {8, QmxIds::video422Legal},
                                {9, QmxIds::videoRgb},           {10, QmxIds::videoRgbFull},
                                {11, QmxIds::videoRgbLegal},     {12, QmxIds::videoYCbCr444},
                                {13, QmxIds::videoYCbCr444Full}, {14, QmxIds::videoYCbCr444Legal}};
constexpr Row kVideoOutputs[] = {{0, QmxIds::videoYCbCr444Full}, {1, QmxIds::videoYCbCr444Legal},
                                 {2, QmxIds::videoRgbFull},      {3, QmxIds::videoRgbLegal},
                                 {4, QmxIds::video422Full},      {5, QmxIds::video422Legal}};
constexpr Row kAudioInputs[] = {{0, QmxIds::embeddedAudio}, {2, QmxIds::analogAudio}};
constexpr Row kSyncSources[] = {
    {0, QmxIds::syncReference}, {2, QmxIds::syncVideoInput}, {3, QmxIds::syncInternal}};
constexpr Row kHdmiOutputs[] = {{0, QmxIds::hdmi422}, {1, QmxIds::hdmi444}};
constexpr Row kAudioLevels[] = {{0, QmxIds::audioLevel24},
                                {1, QmxIds::audioLevel18},
                                {2, QmxIds::audioLevel15},
                                {3, QmxIds::audioLevel12}};
constexpr Row kTimecodeSources[] = {{0, QmxIds::timecodeGenerator},
                                    {1, QmxIds::timecodeEmbedded},
                                    {3, QmxIds::timecodeLtc},
                                    {5, QmxIds::timecodeTimeOfDay}};
constexpr Row kOutputRoutes[] = {{0, QmxIds::routeProgram}, {1, QmxIds::routeInput}};
constexpr Row kSuperOutputs[] = {{0, QmxIds::none},
                                 {1, QmxIds::superTimecode},
                                 {5, QmxIds::superTimecodeClip},
                                 {6, QmxIds::superTimecodeStatus}};
constexpr Row kCameraInputs[] = {{1, QmxIds::camera1}, {2, QmxIds::camera2}, {3, QmxIds::camera3},
                                 {4, QmxIds::camera4}, {5, QmxIds::camera5}, {6, QmxIds::camera6},
                                 {7, QmxIds::camera7}, {8, QmxIds::camera8}, {9, QmxIds::camera9}};
constexpr Row kVideoGenerators[] = {{1, QmxIds::bars}, {2, QmxIds::ramp}, {3, QmxIds::movingPattern}};
constexpr Row kAudioGenerators[] = {{1, QmxIds::tone1000}, {2, QmxIds::tone440}};
constexpr Row kInputConversions[] = {{4, QmxIds::conversionCross}, {6, QmxIds::conversionUp}};
constexpr Row kOutputConversions[] = {{4, QmxIds::conversionCross}, {6, QmxIds::conversionDown}};

// Code of the media's codec.
constexpr Row kDecodeTypes[] = {
    {1, QmxIds::proRes422Hq}, {4, QmxIds::proRes422Lt}, {5, QmxIds::proRes422Proxy}, {6, QmxIds::proRes4444}};

} // namespace

QmxId encodeTypeToID(unsigned int value)
{
    return lookUp(kEncodeTypes, value, "Unsupported encode type: %d\n");
}

QmxId videoInputToID(unsigned int value)
{
    return lookUp(kVideoInputs, value, "Unsupported video input: %d\n");
}

QmxId videoOutputToID(unsigned int value)
{
    return lookUp(kVideoOutputs, value, "Unsupported video output: %d\n");
}

QmxId audioInputToID(unsigned int value)
{
    return lookUp(kAudioInputs, value, "Unsupported audio input: %d\n");
}

QmxId syncSourceToID(unsigned int value)
{
    return lookUp(kSyncSources, value, "Unsupported sync source: %d\n");
}

QmxId hdmiOutToID(unsigned int value)
{
    return lookUp(kHdmiOutputs, value, "Unsupported hdmi out: %d\n");
}

QmxId audioLevelToID(int value)
{
    return lookUp(kAudioLevels, value, kUnsupported);
}

QmxId timecodeSourceToID(int value)
{
    return lookUp(kTimecodeSources, value, kUnsupported);
}

QmxId outputRouteToID(int value)
{
    return lookUp(kOutputRoutes, value, kUnsupported);
}

QmxId superOutToID(int value)
{
    return lookUp(kSuperOutputs, value, kUnsupported);
}

QmxId cameraInputToID(int value)
{
    return lookUp(kCameraInputs, value, kQuiet);
}

QmxId videoSignalGenToID(int value)
{
    return lookUp(kVideoGenerators, value, kQuiet);
}

QmxId audioSignalGenToID(int value)
{
    return lookUp(kAudioGenerators, value, kQuiet);
}

QmxId inputConversionToID(int value)
{
    return lookUp(kInputConversions, value, kQuiet);
}

QmxId outputConversionToID(int value)
{
    return lookUp(kOutputConversions, value, kQuiet);
}

int imageDataTypeToDecodeType(const QmxId &dataType)
{
    for (const Row &row : kDecodeTypes)
        if (row.id == dataType) return row.value;
    return 0;
}
