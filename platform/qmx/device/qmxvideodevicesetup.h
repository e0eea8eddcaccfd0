// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudiodesc.h"
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmximagedesc.h"
#include "platform/qmx/core/qmximagelut.h"

#include <QSharedDataPointer>

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
    void setImageCount(int count);
    int imageCount() const;
    void setImageDesc(const QmxImageDesc &desc);
    QmxImageDesc imageDesc() const;
    /// Empty: frames without sound.
    void setAudioDesc(const QmxAudioDesc &desc);
    QmxAudioDesc audioDesc() const;
    /// 1 output (playback), 2 capture.
    void setMode(int mode);
    int mode() const;
    /// 601 to 604, 631 to 633, 661 to 663; 695: the internal generator.
    void setVideoInputSource(const QmxId &source);
    QmxId videoInputSource() const;
    /// 501 reference input, 502 video input, 503 internal.
    void setInputRefSource(const QmxId &source);
    QmxId inputRefSource() const;
    /// 52 embedded, 690 analog; 695: the internal generator.
    void setAudioInputSource(const QmxId &source);
    QmxId audioInputSource() const;
    void setAudioInputLevel(const QmxId &level);
    QmxId audioInputLevel() const;
    void setInputLut(const QmxImageLut &lut);
    QmxImageLut inputLut() const;
    void setOutputLut(const QmxImageLut &lut);
    QmxImageLut outputLut() const;
    void setVideoInConvert(const QmxId &conversion);
    QmxId videoInConvert() const;
    void setVideoOutConvert(const QmxId &conversion);
    QmxId videoOutConvert() const;
    /// 1300 timecode, 1301 with clip name, 1302 with status; not valid: none.
    void setSuperOut(const QmxId &superOut);
    QmxId superOut() const;
    void setVideoOutputType(const QmxId &type);
    QmxId videoOutputType() const;
    /// 51 program, 53 input.
    void setVideoOutRoute(const QmxId &route);
    QmxId videoOutRoute() const;
    void setForcePSFOutput(bool on);
    bool forcePSFOutput() const;
    void setForcePSFEncode(bool on);
    bool forcePSFEncode() const;
    void setForceVFRRecord(bool on);
    bool forceVFRRecord() const;
    /// 800 bars, 801 ramp, 802 moving; used while the video input source is 695.
    void setVideoSignalGenMode(const QmxId &mode);
    QmxId videoSignalGenMode() const;
    /// 900 1 kHz, 901 440 Hz; used while the audio input source is 695.
    void setAudioSignalGenMode(const QmxId &mode);
    QmxId audioSignalGenMode() const;
    void setVideoSignalGenColorSpace(const QmxId &colorSpace);
    QmxId videoSignalGenColorSpace() const;
    /// 1500 generator, 1501 time of day (a generator as well); others: the timecode of the input.
    void setTimecodeInputSource(const QmxId &source);
    QmxId timecodeInputSource() const;
    void setBlackingEnabled(bool on);
    bool blackingEnabled() const;
    /// 1000 to 1008.
    void setCameraInput(const QmxId &input);
    QmxId cameraInput() const;
    /// Bound of the queue of captured or waiting frames.
    void setMaxBuffers(int count);
    int maxBuffers() const;
    void setVideoOutputSDILevelA(bool on);
    bool videoOutputSDILevelA() const;
    void setVideoInputIgnoreANC(bool on);
    bool videoInputIgnoreANC() const;
    void setHdmiOutputMode(const QmxId &mode);
    QmxId hdmiOutputMode() const;

    bool isInCapture() const { return mode() == CaptureMode; }
    /// Format of captured frames: that of the pictures, interlaced ones as segmented frames when asked for.
    QmxImageDesc captureDesc() const;
    /// Frames captured under either set-up look the same: format, coding, sources, input conversion and
    /// timecode source agree. What may differ concerns the outputs only.
    bool capturesLike(const QmxVideoDeviceSetup &other) const;

    friend bool operator==(const QmxVideoDeviceSetup &a, const QmxVideoDeviceSetup &b);

private:
    struct Data;
    QSharedDataPointer<Data> d;
};

Q_DECLARE_METATYPE(QmxVideoDeviceSetup)
