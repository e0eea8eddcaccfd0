// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxsoundsink.h"

#include "platform/qmx/core/qmxloglevel.h"

#include <algorithm>
#include <cerrno>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace {
constexpr int queueBound = 8;
constexpr qint64 retryPause = 2 * QmxClock::nsPerSecond;
constexpr int resamplerRoom = 64; ///< samples that it may give beyond what it got
} // namespace

QmxSoundSink::QmxSoundSink(const QString &device, int channels, const QmxEnvironment &environment)
    : _device(device),
      _channels(channels),
      _status(QStringLiteral("waiting for the first frame")),
      _thread(QStringLiteral("qmx-sound"), queueBound, environment)
{}

QmxSoundSink::~QmxSoundSink()
{
    _stopping = true;
    _thread.stop();
}

void QmxSoundSink::show(const QmxOutputFrame &frame)
{
    QmxOutputFrame sound = frame;
    sound.picture = QmxPicture(); // its memory is wanted elsewhere
    if (!_thread.post([this, sound] { write(sound); })) ++_dropped;
}

void QmxSoundSink::write(const QmxOutputFrame &frame)
{
    if (_stopping) return;
    if (!_card && (frame.tick.deadline < _retryAt || !open(frame))) {
        ++_dropped;
        return;
    }
    const int expected = qmxAudioSamples(frame.tick.index, frame.tick.rate);
    QmxSoundPacing::Step step;
    if (_hasClock) step = _pacing.step(_card->waiting(), expected, frame.tick.rate);
    QmxError error = stretched(samplesOf(frame, step), step.stretch);
    if (error.value() == EPIPE) {
        ++_gaps;
        _pacing.restart();
        step = _pacing.step(0, expected, frame.tick.rate);
        error = stretched(samplesOf(frame, step), 0);
    }
    if (error.isError()) {
        ++_dropped;
        _card.reset();
        _retryAt = frame.tick.deadline + retryPause;
        if (!_stopping) setStatus(error.toString(), false);
        return;
    }
    _hasClock = _card->waiting() > 0;
}

bool QmxSoundSink::open(const QmxOutputFrame &frame)
{
    QmxError error;
    _card = QmxSoundCard::open(
        _device, QmxSoundCard::Direction::Play, _channels, [this] { return _stopping.load(); }, &error);
    if (_card) {
        AVChannelLayout layout;
        av_channel_layout_default(&layout, _card->channels());
        SwrContext *made = nullptr;
        swr_alloc_set_opts2(&made, &layout, AV_SAMPLE_FMT_S32, qmxAudioRate, &layout, AV_SAMPLE_FMT_S32,
                            qmxAudioRate, 0, nullptr);
        _resampler.reset(made);
        av_channel_layout_uninit(&layout);
        // Without it nothing could be stretched at equal rates.
        if (made) av_opt_set_int(made, "flags", SWR_FLAG_RESAMPLE, 0);
        const int result = made ? swr_init(made) : AVERROR(ENOMEM);
        if (result < 0) error = QmxLibav::error(QStringLiteral("convert its sound"), result);
    }
    if (error.isError()) {
        _card.reset();
        _retryAt = frame.tick.deadline + retryPause;
        setStatus(error.toString(), false);
        return false;
    }
    _pacing = QmxSoundPacing(_card->period());
    _hasClock = true;
    setStatus(QStringLiteral("%1 channels").arg(_card->channels()), true);
    return true;
}

std::vector<qint32> QmxSoundSink::samplesOf(const QmxOutputFrame &frame,
                                            const QmxSoundPacing::Step &step) const
{
    const int expected = qmxAudioSamples(frame.tick.index, frame.tick.rate), channels = _card->channels();
    std::vector<qint32> samples(size_t(step.silence + expected - step.dropped) * size_t(channels));
    if (!frame.audio.isValid()) return samples;
    const int from = frame.audio.desc().channels(), used = std::min(from, channels);
    const int count = std::min(frame.audio.samples(), expected);
    for (int i = step.dropped; i < count; ++i)
        std::copy_n(frame.audio.data() + i * from, used,
                    samples.begin() + (step.silence + i - step.dropped) * channels);
    return samples;
}

QmxError QmxSoundSink::stretched(const std::vector<qint32> &samples, int stretch)
{
    const int channels = _card->channels(), count = int(samples.size()) / channels;
    if (count == 0) return QmxError();
    swr_set_compensation(_resampler.get(), stretch, count);
    _out.resize(size_t(count + resamplerRoom) * size_t(channels));
    auto *out = reinterpret_cast<uint8_t *>(_out.data());
    const auto *in = reinterpret_cast<const uint8_t *>(samples.data());
    const int made = swr_convert(_resampler.get(), &out, count + resamplerRoom, &in, count);
    if (made < 0) return QmxLibav::error(QStringLiteral("convert its sound"), made);
    return _card->write(_out.data(), made);
}

void QmxSoundSink::setStatus(const QString &status, bool good)
{
    const std::lock_guard lock(_mutex);
    _good = good;
    if (status == _status) return;
    _status = status;
    qmxLogOutput(good ? QmxLogLevel::Info : QmxLogLevel::Warning, "qmxsoundsink", __LINE__,
                 "Sound output %s: %s\n", qUtf8Printable(_device), qUtf8Printable(status));
}

QString QmxSoundSink::problem() const
{
    const std::lock_guard lock(_mutex);
    return _good ? QString() : QStringLiteral("Sound output %1: %2").arg(_device, _status);
}

QString QmxSoundSink::statusText() const
{
    const std::lock_guard lock(_mutex);
    return QStringLiteral("Sound output %1: %2, %3 frames dropped, %4 gaps")
        .arg(_device, _status)
        .arg(_dropped.load())
        .arg(_gaps.load());
}
