// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarmlist.h"
#include "platform/qmx/core/qmxid.h"

/// Every identifier of the framework, in rising order: constant, number, name for the operator. The only
/// place where a number stands for one; a new identifier is a new row.
// clang-format off
#define QMX_IDS(X) \
    X(none, 0, "None") \
    /* Metadata of frames. */ \
    X(frameNumber, 1, "Frame number") \
    X(firstFrame, 9, "First frame") \
    X(lastFrame, 10, "Last frame") \
    X(timecode, 12, "Timecode") \
    X(hold, 14, "Hold") \
    X(listPosition, 18, "Play list position") \
    /* Properties of the device; direction takes one of the directions below. */ \
    X(clipName, 19, "Clip name") \
    X(direction, 22, "Direction") \
    X(reelName, 23, "Reel name") \
    X(timecodeJam, 24, "Timecode jam") \
    /* Outputs, audio inputs, HDMI modes. */ \
    X(routeProgram, 51, "Program") \
    X(embeddedAudio, 52, "Embedded audio") \
    X(routeInput, 53, "Input") \
    X(hdmi422, 55, "4:2:2") \
    X(hdmi444, 56, "4:4:4") \
    /* Streams. */ \
    X(quickTime, 100, "QuickTime movie") \
    /* Data types. */ \
    X(proRes422, 202, "ProRes 422") \
    X(proRes422Hq, 203, "ProRes 422 HQ") \
    X(proRes422Lt, 204, "ProRes 422 LT") \
    X(proRes422Proxy, 205, "ProRes 422 Proxy") \
    X(proRes4444, 206, "ProRes 4444") \
    X(uncompressed8, 230, "Uncompressed 4:2:2 8 bit") \
    X(uncompressed10, 231, "Uncompressed 4:2:2 10 bit") \
    X(uncompressedRgb, 250, "Uncompressed RGB 4:4:4 10 bit") \
    X(pcm, 408, "PCM") \
    /* Sync sources. */ \
    X(syncReference, 501, "Reference input") \
    X(syncVideoInput, 502, "Video input") \
    X(syncInternal, 503, "Internal") \
    /* Video inputs and output types. */ \
    X(video422, 601, "4:2:2") \
    X(video422Second, 602, "4:2:2 second input") \
    X(video422Legal, 603, "4:2:2 legal range") \
    X(video422Full, 604, "4:2:2 full range") \
    X(videoRgb, 631, "RGB 4:4:4") \
    X(videoRgbLegal, 632, "RGB 4:4:4 legal range") \
    X(videoRgbFull, 633, "RGB 4:4:4 full range") \
    X(videoYCbCr444, 661, "YCbCr 4:4:4") \
    X(videoYCbCr444Legal, 662, "YCbCr 4:4:4 legal range") \
    X(videoYCbCr444Full, 663, "YCbCr 4:4:4 full range") \
    X(analogAudio, 690, "Analog audio") \
    X(internalGenerator, 695, "Internal generator") \
    /* Ancillary data: metadata of frames that comes with the signal. */ \
    X(cameraRecord, 705, "Camera record flag") \
    X(recordName, 706, "Clip file name") \
    X(effectiveFrameRate, 710, "Effective frame rate") \
    /* Pictures of the input that were torn or missing at this frame; only where there are some. */ \
    X(inputDamage, 720, "Input damage") \
    /* On the first frame of a take that was to begin with an earlier one: a QJsonObject, see MovTake. */ \
    X(lateStart, 721, "Late start") \
    /* Of a frame that several writers are given: a MovSharedProof. */ \
    X(pictureProof, 722, "Picture proof") \
    /* The frame that had to be waited for at the end of a clip that grows: the gap before it is no drop. */ \
    X(afterWait, 730, "After a wait") \
    /* Signal generators. */ \
    X(bars, 800, "Bars") \
    X(ramp, 801, "Ramp") \
    X(movingPattern, 802, "Moving pattern") \
    X(tone1000, 900, "Tone 1 kHz") \
    X(tone440, 901, "Tone 440 Hz") \
    /* Cameras. */ \
    X(camera1, 1000, "Camera data 1") \
    X(camera2, 1001, "Camera data 2") \
    X(camera3, 1002, "Camera data 3") \
    X(camera4, 1003, "Camera data 4") \
    X(camera5, 1004, "Camera data 5") \
    X(camera6, 1005, "Camera data 6") \
    X(camera7, 1006, "Camera data 7") \
    X(camera8, 1007, "Camera data 8") \
    X(camera9, 1008, "Camera data 9") \
    /* Look-up tables, conversions, superimposed text. */ \
    X(lookUpTable, 1100, "Look-up table") \
    X(conversionCross, 1200, "Cross conversion") \
    X(conversionUp, 1201, "Up conversion") \
    X(conversionDown, 1202, "Down conversion") \
    X(superTimecode, 1300, "Timecode") \
    X(superTimecodeClip, 1301, "Timecode and clip name") \
    X(superTimecodeStatus, 1302, "Timecode and status") \
    /* Analog audio levels. */ \
    X(audioLevel24, 1400, "+24 dBu") \
    X(audioLevel18, 1401, "+18 dBu") \
    X(audioLevel15, 1402, "+15 dBu") \
    X(audioLevel12, 1403, "+12 dBu") \
    /* Timecode sources; every other one than the first two is the timecode of the input. */ \
    X(timecodeGenerator, 1500, "Generator") \
    X(timecodeTimeOfDay, 1501, "Time of day") \
    X(timecodeLtc, 1510, "LTC input") \
    X(timecodeEmbedded, 1520, "Embedded in video") \
    /* Directions. */ \
    X(directionPlay, 1600, "Play") \
    X(directionStandby, 1601, "Standby") \
    X(directionFastForward, 1604, "Fast forward") \
    X(directionFastReverse, 1605, "Fast reverse") \
    X(directionRecord, 1606, "Record") \
    X(directionStill, 1607, "Still")

/// Those behind the numbers of the alarms (qmxalarmlist.h), of the same form.
#define QMX_IDS_AFTER_ALARMS(X) \
    /* Reasons not to record. */ \
    X(noInput, 2000, "No Input") \
    X(invalidInput, 2001, "Invalid Input") \
    X(unsupportedInput, 2002, "Unsupported Input") \
    X(mediaFull, 2003, "Media Full") \
    X(noMedia, 2004, "No Media")
// clang-format on

/// The identifiers, each as a constant. Any thread.
namespace QmxIds {
#define QMX_ID_CONSTANT(constant, number, name) inline constexpr QmxId constant{number};
#define QMX_ALARM_CONSTANT(name, number, ...) inline constexpr QmxId alarm##name{number};
#define QMX_NO_CONSTANT(...)
QMX_IDS(QMX_ID_CONSTANT)
QMX_ALARMS(QMX_ALARM_CONSTANT, QMX_NO_CONSTANT)
QMX_IDS_AFTER_ALARMS(QMX_ID_CONSTANT)
#undef QMX_ID_CONSTANT
#undef QMX_ALARM_CONSTANT
#undef QMX_NO_CONSTANT

/// The inputs are numbered from here to the internal generator; the first is a 4:2:2 signal.
inline constexpr QmxId firstInput = video422;

/// One of the ProRes kinds that code 4:2:2: they may follow each other in a clip.
constexpr bool isProRes422(QmxId dataType)
{
    return dataType >= proRes422 && dataType <= proRes422Proxy;
}
} // namespace QmxIds
