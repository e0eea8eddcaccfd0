// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movsound.h"

#include <algorithm>
#include <cerrno>

namespace {

/// Adds to `bytes` the samples [first, first + count) of one sound track; what the file lacks stays silent.
QmxError readSound(MovInput &input, const QmxClipIndex::Sound &sound, qint64 first, qint64 count, qint32 *to,
                   int step)
{
    const int frameBytes = sound.frameBytes();
    auto chunk = std::upper_bound(
        sound.chunks.begin(), sound.chunks.end(), first,
        [](qint64 value, const QmxClipIndex::Chunk &item) { return value < item.firstSample; });
    if (chunk != sound.chunks.begin()) --chunk;
    QByteArray bytes;
    for (; chunk != sound.chunks.end() && chunk->firstSample < first + count; ++chunk) {
        const qint64 from = std::max(first, chunk->firstSample);
        const qint64 end = std::min(first + count, chunk->firstSample + chunk->samples);
        if (end <= from) continue;
        bytes.resize((end - from) * frameBytes);
        QmxError error = input.readSmall(bytes.data(), bytes.size(),
                                         chunk->offset + (from - chunk->firstSample) * frameBytes);
        if (error.isError()) return error;
        for (int channel = 0; channel < sound.channels; ++channel)
            MovPcm::fromFile(reinterpret_cast<const uchar *>(bytes.constData()), end - from, sound.form,
                             channel, sound.channels, to + (from - first) * step + channel, step);
    }
    return {};
}

} // namespace

QmxError movReadSound(MovInput &input, const QmxClipIndex &index, qint64 frame, QmxAudio &audio)
{
    const QmxVideoRate rate = index.info.image.frameRate();
    const int phase = index.soundPhase;
    const qint64 start = qmxAudioStart(frame + phase, rate) - qmxAudioStart(phase, rate);
    const int samples = qmxAudioSamples(frame + phase, rate);
    audio = QmxAudio::silence(index.info.audio, samples);
    if (!audio.isValid())
        return {ENOMEM, QStringLiteral("No memory is left to read clip %1").arg(input.path())};
    QmxBuffer buffer = audio.buffer();
    auto *to = reinterpret_cast<qint32 *>(buffer.data());
    for (const auto &sound : index.sounds) {
        QmxError error =
            readSound(input, sound, start + sound.shift, samples, to, index.info.audio.channels());
        if (error.isError()) return error;
        to += sound.channels;
    }
    return {};
}
