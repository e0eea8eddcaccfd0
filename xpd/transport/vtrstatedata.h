// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmximagedesc.h"
#include "platform/qmx/core/qmximagelut.h"
#include "xpd/transport/vtrmode.h"
#include "xpd/transport/vtrspeedflags.h"

#include <QSharedData>
#include <QString>

#include <tuple>

/// The payload that copies of a VtrState share.
class VtrStateData : public QSharedData
{
public:
    VtrMode mode;
    int audioChans = 2;         ///< channels recorded: 2 or 8
    int recordInterval = 1;     ///< frames to take in a period
    int recordIntervalTime = 0; ///< the period: 0 second, 1 minute, 2 hour
    bool intervalRecordEnable = false;
    bool looping = false;
    double speed = 0.0; ///< 1.0 is normal forward play
    VtrSpeedFlags speedFlags = VtrSpeedFlags::fromSpeed(0.0);
    QmxId encodeFormat;
    QmxId videoOutputType;
    QmxId videoInputSource;
    QmxId audioInputSource;
    QmxId audioInputLevel;
    QmxId syncSource;
    QmxId cameraInput;
    QmxId videoSignalGenMode;
    QmxId audioSignalGenMode;
    QmxId videoInConvert;
    QmxId videoOutConvert;
    QmxId superOut;
    QmxId videoOutputRoute;
    bool forcePSFOutput = false;
    bool forcePSFEncode = false;
    bool vfrEnable = false;
    QmxImageDesc videoSignalGenFormat;
    QmxImageLut inputLut;
    QmxImageLut outputLut;
    bool stopOnFrameDrop = false;
    bool stopOnLossOfVideo = true;
    bool videoOutputSDILevelA = false;
    bool videoInputIgnoreANC = false;
    QmxId hdmiOutputMode;

    /// Stores the speed together with its classification.
    void setSpeed(double newSpeed);

    /// Everything but speedFlags, which follow from the speed, and stopOnLossOfVideo: changing that one alone
    /// is no change of state that anybody has to be told about.
    auto told() const
    {
        return std::tie(mode, audioChans, recordInterval, recordIntervalTime, intervalRecordEnable, looping,
                        speed, encodeFormat, videoOutputType, videoInputSource, audioInputSource,
                        audioInputLevel, syncSource, cameraInput, videoSignalGenMode, audioSignalGenMode,
                        videoInConvert, videoOutConvert, superOut, videoOutputRoute, forcePSFOutput,
                        forcePSFEncode, vfrEnable, videoSignalGenFormat, inputLut, outputLut, stopOnFrameDrop,
                        videoOutputSDILevelA, videoInputIgnoreANC, hdmiOutputMode);
    }
    /// Compares what is told.
    bool operator==(const VtrStateData &other) const { return told() == other.told(); }
    bool operator!=(const VtrStateData &other) const { return !(*this == other); }

    /// Speed and mode, each followed by a blank.
    QString toString() const;
};
