// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "xpd/transport/vtrstatedata.h"

#include <QMetaType>
#include <QSharedDataPointer>

/// The complete commanded state of the transport: mode, speed, formats, routing and options.
///
/// An implicitly shared value: copies share one payload until one of them is changed. Registered as a
/// meta-type by registerMetaTypes(), so that it can travel in signals and variants.
class VtrState
{
public:
    VtrState();

    VtrMode mode() const { return _d->mode; }
    void setMode(const VtrMode &mode) { _d->mode = mode; }

    /// Signed speed, 1.0 is normal forward play; still is 0.0 in mode Play.
    double speed() const { return _d->speed; }
    void setSpeed(double speed) { _d->setSpeed(speed); }
    VtrSpeedFlags speedFlags() const { return _d->speedFlags; }

    bool isLooping() const { return _d->looping; }
    void setLooping(bool on) { _d->looping = on; }

    int audioChans() const { return _d->audioChans; }
    void setAudioChans(int channels) { _d->audioChans = channels; }

    int recordInterval() const { return _d->recordInterval; }
    void setRecordInterval(int frames) { _d->recordInterval = frames; }
    int recordIntervalTime() const { return _d->recordIntervalTime; }
    void setRecordIntervalTime(int period) { _d->recordIntervalTime = period; }
    bool intervalRecordEnable() const { return _d->intervalRecordEnable; }
    void setIntervalRecordEnable(bool on) { _d->intervalRecordEnable = on; }

    QmxId encodeFormat() const { return _d->encodeFormat; }
    void setEncodeFormat(const QmxId &id) { _d->encodeFormat = id; }
    QmxId videoOutputType() const { return _d->videoOutputType; }
    void setVideoOutputType(const QmxId &id) { _d->videoOutputType = id; }
    QmxId videoInputSource() const { return _d->videoInputSource; }
    void setVideoInputSource(const QmxId &id) { _d->videoInputSource = id; }
    QmxId audioInputSource() const { return _d->audioInputSource; }
    void setAudioInputSource(const QmxId &id) { _d->audioInputSource = id; }
    QmxId audioInputLevel() const { return _d->audioInputLevel; }
    void setAudioInputLevel(const QmxId &id) { _d->audioInputLevel = id; }
    QmxId syncSource() const { return _d->syncSource; }
    void setSyncSource(const QmxId &id) { _d->syncSource = id; }
    QmxId cameraInput() const { return _d->cameraInput; }
    void setCameraInput(const QmxId &id) { _d->cameraInput = id; }

    QmxId videoSignalGenMode() const { return _d->videoSignalGenMode; }
    void setVideoSignalGenMode(const QmxId &id) { _d->videoSignalGenMode = id; }
    QmxId audioSignalGenMode() const { return _d->audioSignalGenMode; }
    void setAudioSignalGenMode(const QmxId &id) { _d->audioSignalGenMode = id; }
    QmxImageDesc videoSignalGenFormat() const { return _d->videoSignalGenFormat; }
    void setVideoSignalGenFormat(const QmxImageDesc &desc) { _d->videoSignalGenFormat = desc; }

    QmxImageLut inputLut() const { return _d->inputLut; }
    void setInputLut(const QmxImageLut &lut) { _d->inputLut = lut; }
    QmxImageLut outputLut() const { return _d->outputLut; }
    void setOutputLut(const QmxImageLut &lut) { _d->outputLut = lut; }

    QmxId videoInConvert() const { return _d->videoInConvert; }
    void setVideoInConvert(const QmxId &id) { _d->videoInConvert = id; }
    QmxId videoOutConvert() const { return _d->videoOutConvert; }
    void setVideoOutConvert(const QmxId &id) { _d->videoOutConvert = id; }
    QmxId superOut() const { return _d->superOut; }
    void setSuperOut(const QmxId &id) { _d->superOut = id; }
    QmxId videoOutputRoute() const { return _d->videoOutputRoute; }
    void setVideoOutputRoute(const QmxId &id) { _d->videoOutputRoute = id; }

    bool forcePSFOutput() const { return _d->forcePSFOutput; }
    void setForcePSFOutput(bool on) { _d->forcePSFOutput = on; }
    bool forcePSFEncode() const { return _d->forcePSFEncode; }
    void setForcePSFEncode(bool on) { _d->forcePSFEncode = on; }
    bool vfrEnable() const { return _d->vfrEnable; }
    void setVFREnabled(bool on) { _d->vfrEnable = on; }

    /// Governs playback only: a record ends at every dropped frame.
    bool stopOnFrameDrop() const { return _d->stopOnFrameDrop; }
    void setStopOnFrameDrop(bool on) { _d->stopOnFrameDrop = on; }
    bool stopOnLossOfVideo() const { return _d->stopOnLossOfVideo; }
    void setStopOnLossOfVideo(bool on) { _d->stopOnLossOfVideo = on; }

    bool videoOutputSDILevelA() const { return _d->videoOutputSDILevelA; }
    void setVideoOutputSDILevelA(bool on) { _d->videoOutputSDILevelA = on; }
    bool videoInputIgnoreANC() const { return _d->videoInputIgnoreANC; }
    void setVideoInputIgnoreANC(bool on) { _d->videoInputIgnoreANC = on; }
    QmxId hdmiOutputMode() const { return _d->hdmiOutputMode; }
    void setHdmiOutputMode(const QmxId &id) { _d->hdmiOutputMode = id; }

    bool operator!=(const VtrState &other) const;

    QString toString() const { return _d->toString(); }

private:
    QSharedDataPointer<VtrStateData> _d;
};

Q_DECLARE_METATYPE(VtrState)

/// Registers VtrState under its name with Qt's meta-types. Once a process, before any VtrObject exists.
void registerMetaTypes();
