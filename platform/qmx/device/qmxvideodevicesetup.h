// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudiodesc.h"
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmximagedesc.h"
#include "platform/qmx/core/qmximagelut.h"

#include <QSharedData>

#include <tuple>

/// How the video device is to run: format, direction, sources, conversions, outputs. A value, implicitly
/// shared; equal by every field (two that share are equal without a look at the fields, since a player
/// compares one with the running set-up for every frame).
class QmxVideoDeviceSetup
{
public:
    enum Mode { OutputMode = 1, CaptureMode = 2 };

    QmxVideoDeviceSetup();
    QmxVideoDeviceSetup(const QmxVideoDeviceSetup &other);
    ~QmxVideoDeviceSetup();
    QmxVideoDeviceSetup &operator=(const QmxVideoDeviceSetup &other);

    /// Images a frame.
    void setImageCount(int count) { d->imageCount = count; }
    int imageCount() const { return d->imageCount; }
    void setImageDesc(const QmxImageDesc &desc) { d->imageDesc = desc; }
    QmxImageDesc imageDesc() const { return d->imageDesc; }
    /// Empty: frames without sound.
    void setAudioDesc(const QmxAudioDesc &desc) { d->audioDesc = desc; }
    QmxAudioDesc audioDesc() const { return d->audioDesc; }
    /// 1 output (playback), 2 capture.
    void setMode(int mode) { d->mode = mode; }
    int mode() const { return d->mode; }
    /// 601 to 604, 631 to 633, 661 to 663; 695: the internal generator.
    void setVideoInputSource(const QmxId &source) { d->videoInputSource = source; }
    QmxId videoInputSource() const { return d->videoInputSource; }
    /// 501 reference input, 502 video input, 503 internal.
    void setInputRefSource(const QmxId &source) { d->inputRefSource = source; }
    QmxId inputRefSource() const { return d->inputRefSource; }
    /// 52 embedded, 690 analog; 695: the internal generator.
    void setAudioInputSource(const QmxId &source) { d->audioInputSource = source; }
    QmxId audioInputSource() const { return d->audioInputSource; }
    void setAudioInputLevel(const QmxId &level) { d->audioInputLevel = level; }
    QmxId audioInputLevel() const { return d->audioInputLevel; }
    void setInputLut(const QmxImageLut &lut) { d->inputLut = lut; }
    QmxImageLut inputLut() const { return d->inputLut; }
    void setOutputLut(const QmxImageLut &lut) { d->outputLut = lut; }
    QmxImageLut outputLut() const { return d->outputLut; }
    void setVideoInConvert(const QmxId &conversion) { d->videoInConvert = conversion; }
    QmxId videoInConvert() const { return d->videoInConvert; }
    void setVideoOutConvert(const QmxId &conversion) { d->videoOutConvert = conversion; }
    QmxId videoOutConvert() const { return d->videoOutConvert; }
    /// 1300 timecode, 1301 with clip name, 1302 with status; not valid: none.
    void setSuperOut(const QmxId &superOut) { d->superOut = superOut; }
    QmxId superOut() const { return d->superOut; }
    void setVideoOutputType(const QmxId &type) { d->videoOutputType = type; }
    QmxId videoOutputType() const { return d->videoOutputType; }
    /// 51 program, 53 input.
    void setVideoOutRoute(const QmxId &route) { d->videoOutRoute = route; }
    QmxId videoOutRoute() const { return d->videoOutRoute; }
    void setForcePSFOutput(bool on) { d->forcePSFOutput = on; }
    bool forcePSFOutput() const { return d->forcePSFOutput; }
    void setForcePSFEncode(bool on) { d->forcePSFEncode = on; }
    bool forcePSFEncode() const { return d->forcePSFEncode; }
    void setForceVFRRecord(bool on) { d->forceVFRRecord = on; }
    bool forceVFRRecord() const { return d->forceVFRRecord; }
    /// 800 bars, 801 ramp, 802 moving; used while the video input source is 695.
    void setVideoSignalGenMode(const QmxId &mode) { d->videoSignalGenMode = mode; }
    QmxId videoSignalGenMode() const { return d->videoSignalGenMode; }
    /// 900 1 kHz, 901 440 Hz; used while the audio input source is 695.
    void setAudioSignalGenMode(const QmxId &mode) { d->audioSignalGenMode = mode; }
    QmxId audioSignalGenMode() const { return d->audioSignalGenMode; }
    void setVideoSignalGenColorSpace(const QmxId &colorSpace) { d->videoSignalGenColorSpace = colorSpace; }
    QmxId videoSignalGenColorSpace() const { return d->videoSignalGenColorSpace; }
    /// 1500 generator, 1501 time of day (a generator as well); others: the timecode of the input.
    void setTimecodeInputSource(const QmxId &source) { d->timecodeInputSource = source; }
    QmxId timecodeInputSource() const { return d->timecodeInputSource; }
    void setBlackingEnabled(bool on) { d->blackingEnabled = on; }
    bool blackingEnabled() const { return d->blackingEnabled; }
    /// 1000 to 1008.
    void setCameraInput(const QmxId &input) { d->cameraInput = input; }
    QmxId cameraInput() const { return d->cameraInput; }
    /// Bound of the queue of captured or waiting frames.
    void setMaxBuffers(int count) { d->maxBuffers = count; }
    int maxBuffers() const { return d->maxBuffers; }
    void setVideoOutputSDILevelA(bool on) { d->videoOutputSDILevelA = on; }
    bool videoOutputSDILevelA() const { return d->videoOutputSDILevelA; }
    void setVideoInputIgnoreANC(bool on) { d->videoInputIgnoreANC = on; }
    bool videoInputIgnoreANC() const { return d->videoInputIgnoreANC; }
    void setHdmiOutputMode(const QmxId &mode) { d->hdmiOutputMode = mode; }
    QmxId hdmiOutputMode() const { return d->hdmiOutputMode; }

    bool isInCapture() const { return mode() == CaptureMode; }
    /// Format of captured frames: that of the pictures, interlaced ones as segmented frames when asked for.
    QmxImageDesc captureDesc() const;
    /// Frames captured under either set-up look the same: format, coding, sources, input conversion and
    /// timecode source agree. What may differ concerns the outputs only.
    bool capturesLike(const QmxVideoDeviceSetup &other) const;

    friend bool operator==(const QmxVideoDeviceSetup &a, const QmxVideoDeviceSetup &b);

private:
    struct Data : QSharedData
    {
        int imageCount = 1;
        QmxImageDesc imageDesc;
        QmxAudioDesc audioDesc;
        int mode = OutputMode;
        QmxId videoInputSource;
        QmxId inputRefSource;
        QmxId audioInputSource;
        QmxId audioInputLevel;
        QmxImageLut inputLut;
        QmxImageLut outputLut;
        QmxId videoInConvert;
        QmxId videoOutConvert;
        QmxId superOut;
        QmxId videoOutputType;
        QmxId videoOutRoute;
        bool forcePSFOutput = false;
        bool forcePSFEncode = false;
        bool forceVFRRecord = false;
        QmxId videoSignalGenMode;
        QmxId audioSignalGenMode;
        QmxId videoSignalGenColorSpace;
        QmxId timecodeInputSource;
        bool blackingEnabled = false;
        QmxId cameraInput;
        int maxBuffers = 40;
        bool videoOutputSDILevelA = false;
        bool videoInputIgnoreANC = false;
        QmxId hdmiOutputMode;

        /// The fields that a captured frame depends on.
        auto capture() const
        {
            return std::tie(imageCount, imageDesc, audioDesc, mode, videoInputSource, audioInputSource,
                            audioInputLevel, inputLut, videoInConvert, forcePSFEncode, forceVFRRecord,
                            videoSignalGenMode, audioSignalGenMode, videoSignalGenColorSpace,
                            timecodeInputSource, videoInputIgnoreANC);
        }
        auto output() const
        {
            return std::tie(inputRefSource, outputLut, videoOutConvert, superOut, videoOutputType,
                            videoOutRoute, forcePSFOutput, blackingEnabled, cameraInput, maxBuffers,
                            videoOutputSDILevelA, hdmiOutputMode);
        }
    };
    QSharedDataPointer<Data> d;
};

Q_DECLARE_METATYPE(QmxVideoDeviceSetup)
