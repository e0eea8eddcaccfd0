// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "xpd/transport/vtrstate.h"

/// One setting of the transport each: where its value lives in the state, what is logged when it changes,
/// and whether the device has to be reset for it. A setting that does nothing else is one row here.

struct IdSetting
{
    QmxId (VtrState::*get)() const;
    void (VtrState::*set)(const QmxId &);
    const char *text; ///< "%1" is the identifier's name
    const char
        *invalidText; ///< logged instead of storing an identifier that is not valid; null: all are stored
};

struct FlagSetting
{
    bool (VtrState::*get)() const;
    void (VtrState::*set)(bool);
    const char *text; ///< "%s" is the word for the value
    bool resets;
    const char *onWord = "Enabled";
    const char *offWord = "Disabled";
};

struct NumberSetting
{
    int (VtrState::*get)() const;
    void (VtrState::*set)(int);
    const char *text; ///< "%1" is the number
};

namespace VtrSettings {

extern const IdSetting encodeFormat, videoInputSource, audioInputSource, audioInputLevel, syncSource,
    videoSignalGenMode, audioSignalGenMode, cameraInput, videoInConvert, videoOutConvert, videoOutputType,
    videoOutputRoute, superOut, hdmiOutputMode;

extern const FlagSetting forcePSFOutput, forcePSFEncode, intervalRecordEnable, vfrEnable, stopOnFrameDrop,
    stopOnLossOfVideo, videoOutputSDILevelA, videoInputIgnoreANC;

extern const NumberSetting recordInterval, recordIntervalTime;

} // namespace VtrSettings
