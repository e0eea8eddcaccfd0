// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxaudio.h"

#include <cstring>

QmxAudio::QmxAudio(const QmxAudioDesc &desc, const QmxBuffer &buffer, int samples)
    : _desc(desc), _buffer(buffer), _samples(qMax(samples, 0))
{
    const qsizetype needed = qsizetype(_samples) * desc.channels() * qsizetype(sizeof(qint32));
    _valid = desc.isValid() && buffer.isValid() && buffer.size() >= needed;
}

QmxAudio QmxAudio::silence(const QmxAudioDesc &desc, int samples)
{
    const qsizetype bytes = qsizetype(qMax(samples, 0)) * desc.channels() * qsizetype(sizeof(qint32));
    QmxBuffer buffer = QmxBuffer::allocate(bytes);
    if (buffer.isValid()) std::memset(buffer.data(), 0, size_t(bytes));
    return QmxAudio(desc, buffer, samples);
}

const qint32 *QmxAudio::data() const
{
    return _valid ? reinterpret_cast<const qint32 *>(_buffer.constData()) : nullptr;
}

qint64 qmxAudioStart(qint64 frameNumber, const QmxVideoRate &rate)
{
    if (!rate.isValid()) return 0;
    // Whole runs of `num` frames take a whole number of samples; only the rest needs rounding. A rate out of
    // a foreign file may have terms of 31 bits, whose product with the rest passes 64.
    __extension__ using Wide = __int128;
    const qint64 num = rate.num();
    qint64 runs = frameNumber / num;
    qint64 rest = frameNumber % num;
    if (rest < 0) {
        rest += num;
        --runs;
    }
    const qint64 samplesPerRun = qint64(qmxAudioRate) * rate.den();
    return runs * samplesPerRun + qint64((Wide(2) * rest * samplesPerRun + num) / (2 * num));
}

int qmxAudioSamples(qint64 frameNumber, const QmxVideoRate &rate)
{
    return int(qmxAudioStart(frameNumber + 1, rate) - qmxAudioStart(frameNumber, rate));
}
