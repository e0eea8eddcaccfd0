// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"

/// The identifiers that the video device knows the meaning of.
namespace DeviceKeys {
// Metadata of frames.
constexpr QmxId frameNumber{1};
constexpr QmxId timecode{12};
constexpr QmxId hold{14};
constexpr QmxId listPosition{18};
constexpr QmxId cameraRecord{705};

// Properties of the device.
constexpr QmxId clipName{19};
constexpr QmxId direction{22};
constexpr QmxId reelName{23};
constexpr QmxId timecodeJam{24};

/// Value of the direction in which captured frames are recorded.
constexpr QmxId directionRecord{1606};

/// Colour space of the internal generator that means R, G, B.
constexpr int rgbDataType = 250;

// Sources.
constexpr QmxId firstInput{601};
constexpr QmxId internalGenerator{695};
constexpr QmxId syncReference{501};
constexpr QmxId syncVideoInput{502};
constexpr QmxId timecodeGenerator{1500};
constexpr QmxId timecodeTimeOfDay{1501};

// Conversions.
constexpr QmxId conversionCross{1200};
constexpr QmxId conversionUp{1201};
constexpr QmxId conversionDown{1202};

// Outputs.
constexpr QmxId routeInput{53};
constexpr QmxId superTimecode{1300};
constexpr QmxId superTimecodeClip{1301};
constexpr QmxId superTimecodeStatus{1302};

// Alarms.
constexpr QmxId alarmOutputFailed{1908};
constexpr QmxId alarmAudioInputLost{1909};
constexpr QmxId alarmClockLate{1912};
} // namespace DeviceKeys
