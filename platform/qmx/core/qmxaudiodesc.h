// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxvideorate.h"

/// The format of sound. A value; equal by all fields; the empty one means "no audio".
class QmxAudioDesc
{
public:
    void setDataType(const QmxId &type) { _dataType = type; }
    void setChannels(int channels) { _channels = channels; }
    /// Samples a second of one channel, as a fraction.
    void setSampleRate(int num, int den) { _sampleRateNum = num, _sampleRateDen = den; }
    /// Rate of the pictures that the sound goes with.
    void setFrameRate(const QmxVideoRate &rate) { _frameRate = rate; }

    QmxId dataType() const { return _dataType; }
    int channels() const { return _channels; }
    int sampleRateNum() const { return _sampleRateNum; }
    int sampleRateDen() const { return _sampleRateDen; }
    QmxVideoRate frameRate() const { return _frameRate; }
    bool isValid() const { return _channels > 0; }
    /// "PCM 8 channels 48000 Hz"; "none" for an empty one.
    QString toString() const;

    friend bool operator==(const QmxAudioDesc &, const QmxAudioDesc &) = default;

private:
    QmxId _dataType;
    int _channels = 0;
    int _sampleRateNum = 0;
    int _sampleRateDen = 1;
    QmxVideoRate _frameRate;
};

Q_DECLARE_METATYPE(QmxAudioDesc)
