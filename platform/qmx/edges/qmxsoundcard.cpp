// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxsoundcard.h"

#include "platform/qmx/core/qmxaudio.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <QRegularExpression>

#include <alsa/asoundlib.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {
constexpr int waitMilliseconds = 100;
constexpr snd_pcm_uframes_t bufferSamples = qmxAudioRate / 5;
constexpr snd_pcm_uframes_t periodSamples = qmxAudioRate / 200;
constexpr int lowerBits = 16;

struct AdviceRow
{
    int error;
    const char *advice;
};

constexpr AdviceRow adviceRows[] = {
    {ENOENT, "there is no sound device of this name; `aplay -L` and `arecord -L` list those there are"},
    {ENODEV, "the sound device is gone; put it in again"},
    {EBUSY, "another program uses the sound device"},
    {EACCES, "the account of the recorder must be in the group audio"},
    {EPERM, "the account of the recorder must be in the group audio"},
    {EINVAL, "the sound device has no 48 kHz with 16 or 32 bits; write plughw: in place of hw:"},
};

QmxError soundError(const char *what, int result)
{
    const int number = -result;
    QString sentence = QStringLiteral("Cannot %1: %2")
                           .arg(QLatin1String(what), QString::fromLocal8Bit(snd_strerror(result)));
    for (const AdviceRow &row : adviceRows)
        if (row.error == number) sentence += QStringLiteral("; ") + QLatin1String(row.advice);
    return QmxError(number, sentence);
}

/// What the library would print goes to the log; its errors come back as values as well.
void logLine(const char *, int, const char *, int, const char *format, ...)
{
    std::array<char, 512> text;
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    if (length > 0) qmxLogOutput(QmxLogLevel::Debug, "alsa", 0, "%s\n", text.data());
}

void takeMessages()
{
    static std::once_flag once;
    std::call_once(once, [] { snd_lib_error_set_handler(logLine); });
}

class AlsaCard : public QmxSoundCard
{
public:
    AlsaCard(Direction direction, std::function<bool()> interrupted)
        : _direction(direction), _interrupted(std::move(interrupted))
    {}
    QmxError open(const QString &name, int channels);
    int channels() const override { return int(_channels); }
    int period() const override { return int(_period); }
    qint64 waiting() override;
    QmxError write(const qint32 *samples, int count) override;
    QmxError read(std::vector<qint32> &samples, int count) override;

private:
    struct Close
    {
        void operator()(snd_pcm_t *p) const { snd_pcm_close(p); }
    };
    QmxError setUp(int channels);
    /// After an error: nothing when the call is to be made again, else what to report.
    QmxError recover(snd_pcm_sframes_t result);

    const Direction _direction;
    const std::function<bool()> _interrupted;
    std::unique_ptr<snd_pcm_t, Close> _pcm;
    snd_pcm_format_t _format = SND_PCM_FORMAT_S32;
    unsigned _channels = 0;
    snd_pcm_uframes_t _period = periodSamples;
    snd_pcm_uframes_t _buffer = bufferSamples;
    std::vector<qint16> _short;
};

QmxError AlsaCard::open(const QString &name, int channels)
{
    takeMessages();
    snd_pcm_t *made = nullptr;
    const int result = snd_pcm_open(
        &made, name.toUtf8().constData(),
        _direction == Direction::Play ? SND_PCM_STREAM_PLAYBACK : SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK);
    if (result < 0) return soundError("open it", result);
    _pcm.reset(made);
    return setUp(channels);
}

QmxError AlsaCard::setUp(int channels)
{
    snd_pcm_t *const pcm = _pcm.get();
    snd_pcm_hw_params_t *hardware = nullptr;
    snd_pcm_hw_params_alloca(&hardware);
    int result = snd_pcm_hw_params_any(pcm, hardware);
    if (result >= 0) result = snd_pcm_hw_params_set_access(pcm, hardware, SND_PCM_ACCESS_RW_INTERLEAVED);
    if (result >= 0 && snd_pcm_hw_params_set_format(pcm, hardware, _format) < 0) {
        _format = SND_PCM_FORMAT_S16;
        result = snd_pcm_hw_params_set_format(pcm, hardware, _format);
    }
    _channels = unsigned(channels);
    if (result >= 0) result = snd_pcm_hw_params_set_channels_near(pcm, hardware, &_channels);
    if (result >= 0) result = snd_pcm_hw_params_set_rate(pcm, hardware, qmxAudioRate, 0);
    if (result >= 0) result = snd_pcm_hw_params_set_period_size_near(pcm, hardware, &_period, nullptr);
    if (result >= 0) result = snd_pcm_hw_params_set_buffer_size_near(pcm, hardware, &_buffer);
    if (result >= 0) result = snd_pcm_hw_params(pcm, hardware);
    if (result >= 0 && _direction == Direction::Capture) result = snd_pcm_start(pcm);
    return result < 0 ? soundError("set it up", result) : QmxError();
}

qint64 AlsaCard::waiting()
{
    if (_direction == Direction::Capture) {
        snd_pcm_sframes_t delay = 0;
        return snd_pcm_delay(_pcm.get(), &delay) < 0 ? 0 : std::max<qint64>(delay, 0);
    }
    const snd_pcm_sframes_t room = snd_pcm_avail(_pcm.get());
    return room < 0 ? 0 : std::max<qint64>(qint64(_buffer) - room, 0);
}

QmxError AlsaCard::recover(snd_pcm_sframes_t result)
{
    if (_interrupted()) return QmxError(EINTR, QStringLiteral("Ended"));
    if (result == -EAGAIN) {
        snd_pcm_wait(_pcm.get(), waitMilliseconds);
        return QmxError();
    }
    if (result == -EPIPE || result == -ESTRPIPE) {
        const int prepared = snd_pcm_recover(_pcm.get(), int(result), 1);
        if (prepared < 0) return soundError("go on with it", prepared);
        if (_direction == Direction::Capture) snd_pcm_start(_pcm.get());
        return QmxError(EPIPE, QStringLiteral("It had to wait for the recorder"));
    }
    return soundError("use it", int(result));
}

QmxError AlsaCard::write(const qint32 *samples, int count)
{
    const bool isShort = _format == SND_PCM_FORMAT_S16;
    if (isShort) {
        _short.resize(size_t(count) * _channels);
        for (size_t i = 0; i < _short.size(); ++i)
            _short[i] = qint16(samples[i] >> lowerBits);
    }
    for (int done = 0; done < count;) {
        const size_t at = size_t(done) * _channels;
        const void *from = isShort ? static_cast<const void *>(_short.data() + at) : samples + at;
        const snd_pcm_sframes_t result = snd_pcm_writei(_pcm.get(), from, snd_pcm_uframes_t(count - done));
        if (result > 0)
            done += int(result);
        else if (QmxError error = recover(result == 0 ? -EAGAIN : result); error.isError())
            return error;
    }
    return QmxError();
}

QmxError AlsaCard::read(std::vector<qint32> &samples, int count)
{
    const bool isShort = _format == SND_PCM_FORMAT_S16;
    samples.resize(size_t(count) * _channels);
    _short.resize(isShort ? samples.size() : 0);
    void *to = isShort ? static_cast<void *>(_short.data()) : samples.data();
    while (true) {
        const snd_pcm_sframes_t result = snd_pcm_readi(_pcm.get(), to, snd_pcm_uframes_t(count));
        if (result > 0) {
            samples.resize(size_t(result) * _channels);
            for (size_t i = 0; isShort && i < samples.size(); ++i)
                samples[i] = qint32(_short[i]) << lowerBits;
            return QmxError();
        }
        if (QmxError error = recover(result == 0 ? -EAGAIN : result); error.isError()) return error;
    }
}
} // namespace

QmxSoundCard::~QmxSoundCard() = default;

QString QmxSoundCard::missing(const QString &name)
{
    takeMessages();
    snd_config_t *all = nullptr;
    if (snd_config_update_ref(&all) < 0) return {};
    snd_config_t *found = nullptr;
    int result = snd_config_search_definition(all, "pcm", name.toUtf8().constData(), &found);
    if (result >= 0) snd_config_delete(found);
    snd_config_unref(all);
    // "hw:1,0" is defined for every number: there the card itself has to be asked for.
    static const QRegularExpression ofCard(QStringLiteral("^(?:plug)?hw:(?:CARD=)?([^,=]+)(?:,|$)"));
    if (const auto match = ofCard.match(name); result >= 0 && match.hasMatch())
        result = snd_card_get_index(match.captured(1).toUtf8().constData());
    // Anything else may be different for the recorder's own account.
    const bool isMissing = result == -ENOENT || result == -ENODEV;
    return isMissing ? soundError("open it", result).toString() : QString();
}

std::unique_ptr<QmxSoundCard> QmxSoundCard::open(const QString &name, Direction direction, int channels,
                                                 std::function<bool()> interrupted, QmxError *error)
{
    auto card = std::make_unique<AlsaCard>(direction, std::move(interrupted));
    *error = card->open(name, channels);
    if (error->isError()) return nullptr;
    return card;
}
