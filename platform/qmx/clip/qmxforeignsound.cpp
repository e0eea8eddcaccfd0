// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxforeignsound.h"

#include <algorithm>
#include <cerrno>
#include <cmath>

namespace {
constexpr int maxChannels = 16;
/// Decoders need a run-up before their sound is right.
constexpr qint64 runUp = qmxAudioRate / 4;
constexpr qint64 maxForward = 2 * qmxAudioRate;
constexpr qint32 significant = qint32(0xffffff00);
} // namespace

QmxError QmxForeignSound::open(const QString &path, double startTime)
{
    _path = path;
    QmxError error = _file.open(path, AVMEDIA_TYPE_AUDIO);
    if (error.isError()) return error;
    AVCodecContext *decoder = _file.decoder();
    _channels = decoder->ch_layout.nb_channels;
    if (_channels < 1 || _channels > maxChannels || decoder->sample_rate < 1)
        return {ENOTSUP, QStringLiteral("The sound of clip %1 has %2 channels").arg(path).arg(_channels)};
    SwrContext *resampler = nullptr;
    const int result =
        swr_alloc_set_opts2(&resampler, &decoder->ch_layout, AV_SAMPLE_FMT_S32, qmxAudioRate,
                            &decoder->ch_layout, decoder->sample_fmt, decoder->sample_rate, 0, nullptr);
    _resampler.reset(resampler);
    if (result < 0 || swr_init(_resampler.get()) < 0)
        return {ENOTSUP, QStringLiteral("The sound of clip %1 cannot be converted").arg(path)};
    _startTime = startTime;
    return {};
}

void QmxForeignSound::seekTo(qint64 sample)
{
    const double seconds = _startTime + double(std::max<qint64>(0, sample - runUp)) / qmxAudioRate;
    _file.seek(qint64(std::floor(seconds / av_q2d(_file.stream()->time_base))));
    swr_init(_resampler.get()); // forgets what it holds
    _buffer.clear();
    _positionKnown = _atEnd = false;
}

bool QmxForeignSound::decodeMore()
{
    const AVFrame *frame = _file.next();
    const qint64 before = qint64(_buffer.size()) / _channels;
    const int room = swr_get_out_samples(_resampler.get(), frame ? frame->nb_samples : 0);
    if (room < 0) return false;
    if (!_positionKnown) {
        if (!frame) return false;
        const qint64 timestamp = frame->best_effort_timestamp;
        const double seconds =
            timestamp == AV_NOPTS_VALUE ? _startTime : double(timestamp) * av_q2d(_file.stream()->time_base);
        _position = qint64(std::llround(std::clamp((seconds - _startTime) * qmxAudioRate, -1e12, 1e12)));
        _positionKnown = true;
    }
    _buffer.resize(size_t((before + room) * _channels));
    auto *to = reinterpret_cast<uint8_t *>(_buffer.data() + before * _channels);
    // A frame whose form changes within the file is refused by the resampler and left out.
    const auto **from = frame ? const_cast<const uint8_t **>(frame->extended_data) : nullptr;
    const bool fits =
        !frame || (frame->ch_layout.nb_channels == _channels && frame->format == _file.decoder()->sample_fmt);
    const int made = fits ? swr_convert(_resampler.get(), &to, room, from, frame ? frame->nb_samples : 0) : 0;
    _buffer.resize(size_t((before + std::max(made, 0)) * _channels));
    return frame != nullptr;
}

QmxError QmxForeignSound::read(qint64 first, int count, qint32 *to)
{
    const auto noted = _file.decoding();
    const auto end = [this] { return _position + qint64(_buffer.size()) / _channels; };
    if (!_positionKnown || first < _position || first > end() + maxForward) seekTo(first);
    while (!_atEnd && (!_positionKnown || end() < first + count)) {
        _atEnd = !decodeMore();
        if (!_positionKnown || end() <= first) continue;
        // What lies before is not needed any more, but for a step back of one frame.
        const qint64 drop = std::min(first - runUp, end()) - _position;
        if (drop <= maxForward) continue;
        _buffer.erase(_buffer.begin(), _buffer.begin() + drop * _channels);
        _position += drop;
    }
    if (const int reason = _file.takeError(); reason != 0) {
        _positionKnown = false; // another try begins anew
        return {reason, QStringLiteral("Cannot read clip %1: %2").arg(_path, QmxError(reason).toString())};
    }
    std::fill(to, to + qint64(count) * _channels, 0);
    const qint64 from = std::max(first, _position);
    const qint64 until = std::min(first + count, end());
    if (!_positionKnown || until <= from) return {};
    const qint32 *source = _buffer.data() + (from - _position) * _channels;
    for (qint64 i = 0; i < (until - from) * _channels; ++i)
        to[(from - first) * _channels + i] = source[i] & significant;
    return {};
}
