// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxaudiodesc.h"
#include "platform/qmx/core/qmxbuffer.h"

/// The sound of one frame: interleaved 32-bit signed integers in host order, 24 significant bits in the
/// upper bits. A value; copies share the samples.
class QmxAudio
{
public:
    QmxAudio() = default;
    explicit QmxAudio(const QmxAudioDesc &desc) : _desc(desc) {}
    /// `samples` counts per channel. Valid when the buffer holds that many of all channels.
    QmxAudio(const QmxAudioDesc &desc, const QmxBuffer &buffer, int samples);
    /// Silence in pool memory; not valid when the pool is exhausted.
    static QmxAudio silence(const QmxAudioDesc &desc, int samples);

    QmxAudioDesc desc() const { return _desc; }
    bool isValid() const { return _valid; }
    QmxBuffer buffer() const { return _buffer; }
    /// Samples of one channel.
    int samples() const { return _samples; }
    /// The samples, interleaved; null when not valid.
    const qint32 *data() const;

    /// Equal: description, count and the same samples (not: equal ones).
    friend bool operator==(const QmxAudio &, const QmxAudio &) = default;

private:
    QmxAudioDesc _desc;
    QmxBuffer _buffer;
    int _samples = 0;
    bool _valid = false;
};

/// Samples a second of all sound in the system.
constexpr int qmxAudioRate = 48000;
/// Number of the first audio sample of a frame, frame 0 starting with sample 0: the exact product rounded
/// to the nearest whole sample. 0 when the rate is not valid.
qint64 qmxAudioStart(qint64 frameNumber, const QmxVideoRate &rate);
/// Samples of a frame: 1602, 1601, 1602, 1601, 1602 at 30000/1001.
int qmxAudioSamples(qint64 frameNumber, const QmxVideoRate &rate);

Q_DECLARE_METATYPE(QmxAudio)
