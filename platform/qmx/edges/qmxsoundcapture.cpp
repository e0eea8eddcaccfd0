// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxsoundcapture.h"

#include "platform/qmx/core/qmxaudio.h"

#include <cerrno>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace {
constexpr int pieceSamples = qmxAudioRate / 100;
constexpr qint64 retryPause = 2 * QmxClock::nsPerSecond;
constexpr int resamplerRoom = 64;
/// A device may be so much ahead of our clock; one that is a file is held to it.
constexpr qint64 mostAhead = 50 * QmxClock::nsPerMillisecond;

qint64 samplesToNs(qint64 samples)
{
    return samples * QmxClock::nsPerSecond / qmxAudioRate;
}
} // namespace

QmxSoundCapture::QmxSoundCapture(const QString &device, int channels, const QmxEnvironment &environment,
                                 Deliver deliver, Tell tell, std::function<int()> correction)
    : _device(device),
      _channels(channels),
      _clock(environment.clock),
      _deliver(std::move(deliver)),
      _tell(std::move(tell)),
      _correction(std::move(correction))
{
    const QmxError error = environment.threads->start(
        QStringLiteral("qmx-sound-in"), [this] { run(); }, _thread);
    if (error.isError()) _tell(error.toString());
}

QmxSoundCapture::~QmxSoundCapture()
{
    _stopping = true;
    _interrupt.interrupt();
    if (_thread.joinable()) _thread.join();
}

void QmxSoundCapture::run()
{
    while (!_stopping) {
        QmxError error;
        _card = QmxSoundCard::open(
            _device, QmxSoundCard::Direction::Capture, _channels, [this] { return _stopping.load(); },
            &error);
        if (_card) error = prepare();
        if (!error.isError()) {
            _tell(QString());
            error = play();
        }
        _card.reset();
        if (_stopping) break;
        _tell(error.toString());
        _clock->sleepUntil(_clock->now() + retryPause, &_interrupt);
    }
}

QmxError QmxSoundCapture::prepare()
{
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
    return result < 0 ? QmxLibav::error(QStringLiteral("convert its sound"), result) : QmxError();
}

QmxError QmxSoundCapture::play()
{
    std::vector<qint32> samples;
    const qint64 start = _clock->now();
    qint64 read = 0;
    while (!_stopping) {
        const QmxError error = _card->read(samples, pieceSamples);
        if (error.value() == EPIPE) continue; // what was lost shows in the time of the next piece
        if (error.isError()) return error;
        const int count = int(samples.size()) / _card->channels();
        read += count;
        const qint64 due = start + samplesToNs(read);
        qint64 end = _clock->now() - samplesToNs(_card->waiting());
        if (due > end + mostAhead) {
            _clock->sleepUntil(due - mostAhead, &_interrupt);
            end = due - mostAhead;
        }
        convert(samples, end - samplesToNs(count));
    }
    return QmxError();
}

void QmxSoundCapture::convert(const std::vector<qint32> &samples, qint64 time)
{
    const int channels = _card->channels(), count = int(samples.size()) / channels;
    const qint64 inside = swr_get_delay(_resampler.get(), qmxAudioRate);
    swr_set_compensation(_resampler.get(), _correction(), qmxAudioRate);
    _out.resize(size_t(count + resamplerRoom) * size_t(channels));
    auto *out = reinterpret_cast<uint8_t *>(_out.data());
    const auto *in = reinterpret_cast<const uint8_t *>(samples.data());
    const int made = swr_convert(_resampler.get(), &out, count + resamplerRoom, &in, count);
    if (made > 0) _deliver(_out.data(), made, channels, time - samplesToNs(inside));
}
