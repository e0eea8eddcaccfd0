// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"

/// The framework's identifier values that the transport uses, each under the role it has here.
namespace VtrIds {

// Keys of a frame's metadata.
inline constexpr QmxId FrameNumber{1};
inline constexpr QmxId FirstFrame{9};
inline constexpr QmxId LastFrame{10};
inline constexpr QmxId Timecode{12};
inline constexpr QmxId Hold{14};
inline constexpr QmxId CameraRecord{705};
inline constexpr QmxId RecordName{706};
inline constexpr QmxId EffectiveFrameRate{710};

// Properties of the video device.
inline constexpr QmxId ClipName{19};
inline constexpr QmxId Direction{22};
inline constexpr QmxId ReelName{23};
inline constexpr QmxId TimecodeJam{24};

// Values of the property Direction.
inline constexpr QmxId DirectionPlay{1600};
inline constexpr QmxId DirectionStandby{1601};
inline constexpr QmxId DirectionFastForward{1604};
inline constexpr QmxId DirectionFastReverse{1605};
inline constexpr QmxId DirectionRecord{1606};
inline constexpr QmxId DirectionStill{1607};

// Data types, sources, stream type.
inline constexpr QmxId EmbeddedAudio{52};
inline constexpr QmxId QuickTime{100};
inline constexpr QmxId ProRes422{202};
inline constexpr QmxId ProRes422Proxy{205};
inline constexpr QmxId ProRes4444{206};
inline constexpr QmxId Uncompressed10{231};
inline constexpr QmxId Pcm{408};
inline constexpr QmxId ReferenceSync{501};
inline constexpr QmxId DetectedInput{601};
inline constexpr QmxId InternalGenerator{695};
inline constexpr QmxId Bars{800};

// Sources of the timecode generator; every other one is the timecode of the input.
inline constexpr QmxId GeneratorTimecode{1500};
inline constexpr QmxId TimeOfDayTimecode{1501};

// Alarms.
inline constexpr QmxId FrameDroppedAlarm{1904};
inline constexpr QmxId StillMissingAlarm{1905};
inline constexpr QmxId InputLostAlarm{1907};
inline constexpr QmxId ReferenceMissingAlarm{1910};
inline constexpr QmxId ReferenceNotLockedAlarm{1913};

inline constexpr QmxId NoInput{2000};

} // namespace VtrIds
