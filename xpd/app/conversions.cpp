// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/conversions.h"

#include "xpd/app/mainlog.h"

#include <span>

namespace {

struct Row
{
    int value;
    int id;
};

constexpr const char *kUnsupported = "Unsupported value: %d\n";
constexpr const char *kQuiet = nullptr;

/// `message` takes the value; kQuiet logs nothing.
QmxId lookUp(std::span<const Row> rows, int value, const char *message)
{
    for (const Row &row : rows) {
        if (row.value == value) return QmxId(row.id);
    }
    if (message) qmxLogOutput(2, kMainObject, __LINE__, message, value);
    return QmxId();
}

QmxId lookUp(std::span<const Row> rows, unsigned int value, const char *message)
{
    return lookUp(rows, static_cast<int>(value), message);
}

constexpr Row kEncodeTypes[] = {{0, 202}, {1, 203}, {2, 204}, {3, 205}, {7, 206}, {8, 230}, {9, 231}};
constexpr Row kVideoInputs[] = {{0, 601},  {6, 602},  {7, 604},  {8, 603},  {9, 631},
                                {10, 633}, {11, 632}, {12, 661}, {13, 663}, {14, 662}};
constexpr Row kVideoOutputs[] = {{0, 663}, {1, 662}, {2, 633}, {3, 632}, {4, 604}, {5, 603}};
constexpr Row kAudioInputs[] = {{0, 52}, {2, 690}};
constexpr Row kSyncSources[] = {{0, 501}, {2, 502}, {3, 503}};
constexpr Row kHdmiOutputs[] = {{0, 55}, {1, 56}};
constexpr Row kAudioLevels[] = {{0, 1400}, {1, 1401}, {2, 1402}, {3, 1403}};
constexpr Row kTimecodeSources[] = {{0, 1500}, {1, 1520}, {3, 1510}, {5, 1501}};
constexpr Row kOutputRoutes[] = {{0, 51}, {1, 53}};
constexpr Row kSuperOutputs[] = {{0, 0}, {1, 1300}, {5, 1301}, {6, 1302}};
constexpr Row kCameraInputs[] = {{1, 1000}, {2, 1001}, {3, 1002}, {4, 1003}, {5, 1004},
                                 {6, 1005}, {7, 1006}, {8, 1007}, {9, 1008}};
constexpr Row kVideoGenerators[] = {{1, 800}, {2, 801}, {3, 802}};
constexpr Row kAudioGenerators[] = {{1, 900}, {2, 901}};
constexpr Row kInputConversions[] = {{4, 1200}, {6, 1201}};
constexpr Row kOutputConversions[] = {{4, 1200}, {6, 1202}};

// Data type to code of the media's codec.
constexpr Row kDecodeTypes[] = {{203, 1}, {204, 4}, {205, 5}, {206, 6}};

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
    return lookUp(kDecodeTypes, dataType.value(), kQuiet).value();
}
