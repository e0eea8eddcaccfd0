// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrsettings.h"

using S = VtrState;

// clang-format off
namespace VtrSettings {

const IdSetting
    encodeFormat       {&S::encodeFormat, &S::setEncodeFormat, "Set Encode Format: %1", "Encode format is invalid\n"},
    videoInputSource   {&S::videoInputSource, &S::setVideoInputSource, "Set Video Input Source: %1", "Video input source is invalid\n"},
    audioInputSource   {&S::audioInputSource, &S::setAudioInputSource, "Set Audio Input Source: %1", "Audio input source is invalid\n"},
    audioInputLevel    {&S::audioInputLevel, &S::setAudioInputLevel, "Set Audio Input Level: %1", "Audio input level is invalid\n"},
    syncSource         {&S::syncSource, &S::setSyncSource, "Set Sync Source: %1", "Sync source is invalid\n"},
    videoSignalGenMode {&S::videoSignalGenMode, &S::setVideoSignalGenMode, "Set VSG Mode: %1", nullptr},
    audioSignalGenMode {&S::audioSignalGenMode, &S::setAudioSignalGenMode, "Set ASG Mode: %1", nullptr},
    cameraInput        {&S::cameraInput, &S::setCameraInput, "Set Camera Input: %1", nullptr},
    videoInConvert     {&S::videoInConvert, &S::setVideoInConvert, "Set Video In Convert: %1", nullptr},
    videoOutConvert    {&S::videoOutConvert, &S::setVideoOutConvert, "Set Video Out Convert: %1", nullptr},
    videoOutputType    {&S::videoOutputType, &S::setVideoOutputType, "Set Video Output Type: %1", nullptr},
    videoOutputRoute   {&S::videoOutputRoute, &S::setVideoOutputRoute, "Set Video Output Route: %1", nullptr},
    superOut           {&S::superOut, &S::setSuperOut, "Set Super Out: %1", nullptr},
    hdmiOutputMode     {&S::hdmiOutputMode, &S::setHdmiOutputMode, "Set HDMI Output Mode: %1", nullptr};

const FlagSetting
    forcePSFOutput       {&S::forcePSFOutput, &S::setForcePSFOutput, "Set Force PSF Output: %s\n", true},
    forcePSFEncode       {&S::forcePSFEncode, &S::setForcePSFEncode, "Set Force PSF Encode: %s\n", true},
    intervalRecordEnable {&S::intervalRecordEnable, &S::setIntervalRecordEnable, "Set Interval Record: %s\n", false},
    vfrEnable            {&S::vfrEnable, &S::setVFREnabled, "Set VFR: %s\n", true},
    stopOnFrameDrop      {&S::stopOnFrameDrop, &S::setStopOnFrameDrop, "Set Stop On Frame Drop: %s\n", false},
    stopOnLossOfVideo    {&S::stopOnLossOfVideo, &S::setStopOnLossOfVideo, "Set Stop On Loss Of Video: %s\n", false},
    videoOutputSDILevelA {&S::videoOutputSDILevelA, &S::setVideoOutputSDILevelA, "Set Video Output SDI Level: %s\n", true, "Level A", "Level B"},
    videoInputIgnoreANC  {&S::videoInputIgnoreANC, &S::setVideoInputIgnoreANC, "Set Video Input Ignore ANC: %s\n", true};

const NumberSetting
    recordInterval     {&S::recordInterval, &S::setRecordInterval, "Set Record Interval: %1"},
    recordIntervalTime {&S::recordIntervalTime, &S::setRecordIntervalTime, "Set Record Interval Time: %1"};

} // namespace VtrSettings
// clang-format on
