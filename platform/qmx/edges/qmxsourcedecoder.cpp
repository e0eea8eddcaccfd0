// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxsourcedecoder.h"

#include "platform/qmx/edges/qmxsourceformat.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/dict.h>
#include <libavutil/timecode.h>
}

namespace {
constexpr qint64 nsPerSecond = 1'000'000'000;
constexpr AVRational nanoseconds = {1, 1'000'000'000};
constexpr int audioRate = 48000;
constexpr int significantBits = ~0xff; ///< 24 of 32
constexpr int oddIntervalsAllowed = 12;
constexpr double oddInterval = 0.1; ///< share of a frame by which a distance may be off
constexpr int groupReordering = 4;  ///< frames
constexpr double highestInterlacedRate = 31;
constexpr int tornSeconds = 2;
constexpr int mostOnTheWay = 4;
constexpr int longestGapSeconds = 5;

struct Options
{
    AVDictionary *dictionary = nullptr;
    ~Options() { av_dict_free(&dictionary); }
    void set(const char *key, const char *value) { av_dict_set(&dictionary, key, value, 0); }
};

int interrupted(void *opaque)
{
    return (*static_cast<std::function<bool()> *>(opaque))() ? 1 : 0;
}

constexpr QLatin1String captureScheme("v4l2:");

struct AdviceRow
{
    int result;
    const char *advice;
};

constexpr AdviceRow adviceRows[] = {
    {AVERROR(EIO), "check the address and the network"},
    {AVERROR(ECONNREFUSED), "start the sender"},
    {AVERROR(ETIMEDOUT), "start the sender, or check the address and the network"},
    {AVERROR(ENOENT), "check the path"},
    {AVERROR(EACCES), "check the rights"},
    {AVERROR(EBUSY), "another program uses it"},
    {AVERROR_INVALIDDATA, "what comes in is no signal; check what the sender sends"},
    {AVERROR_PROTOCOL_NOT_FOUND, "check how the address begins"},
};

/// Why an input cannot be opened, and what to do.
QmxError openError(int result)
{
    QmxError error = QmxLibav::error(QStringLiteral("open it"), result);
    for (const AdviceRow &row : adviceRows)
        if (row.result == result)
            return QmxError(error.value(),
                            error.toString() + QStringLiteral("; ") + QLatin1String(row.advice));
    return error;
}

bool isInterlaced(AVFieldOrder order)
{
    return order == AV_FIELD_TT || order == AV_FIELD_BB || order == AV_FIELD_TB || order == AV_FIELD_BT;
}
} // namespace

QmxSourceDecoder::QmxSourceDecoder(const QString &url, Latency latency, std::function<bool()> interrupt)
    : _url(url), _latency(latency), _interrupt(std::move(interrupt))
{
    QmxLibav::quietLog();
}

QmxSourceDecoder::~QmxSourceDecoder() = default;

QmxError QmxSourceDecoder::open()
{
    static const int networkReady = avformat_network_init();
    if (networkReady < 0 || !_packet || !_frame) return QmxError(ENOMEM);
    AVFormatContext *context = avformat_alloc_context();
    if (!context) return QmxError(ENOMEM);
    context->interrupt_callback = {interrupted, &_interrupt};
    if (SenderBounds::areFor(_url) && !_bounds.apply(context, _url)) {
        avformat_free_context(context);
        return QmxError(ENOMEM);
    }
    Options options;
    if (_latency == Latency::Low) {
        context->max_analyze_duration = AV_TIME_BASE; // a second tells the format
        context->flags |= AVFMT_FLAG_NOBUFFER;
        // A burst of packets must not end the connection, as it would by default.
        if (_url.startsWith(QLatin1String("udp:"))) {
            options.set("overrun_nonfatal", "1");
            options.set("buffer_size", "4194304");
        }
        options.set("rw_timeout", "2000000"); // microseconds
    }
    QString address = _url;
    const AVInputFormat *format = nullptr;
    if (_url.startsWith(captureScheme)) {
        address = _url.mid(captureScheme.size());
        format = QmxLibav::loadDevices() ? av_find_input_format("video4linux2") : nullptr;
        if (!format) {
            avformat_free_context(context);
            return QmxError(ENOSYS, QStringLiteral("Cannot open it: libavdevice is not installed"));
        }
    }
    // Frees the context when it fails.
    int result = avformat_open_input(&context, address.toUtf8().constData(), format, &options.dictionary);
    // A format that may not come is called an invalid argument.
    if (result == AVERROR(EINVAL) && _bounds.isConnected()) result = AVERROR_INVALIDDATA;
    if (result < 0) return openError(result);
    _input.reset(context);
    result = avformat_find_stream_info(context, nullptr);
    if (result < 0) return QmxLibav::error(QStringLiteral("find out its format"), result);
    return openStreams();
}

QmxError QmxSourceDecoder::openStreams()
{
    _videoStream = av_find_best_stream(_input.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (_videoStream < 0) return QmxError(EBADMSG, QStringLiteral("It has no picture"));
    _audioStream = av_find_best_stream(_input.get(), AVMEDIA_TYPE_AUDIO, -1, _videoStream, nullptr, 0);
    QmxError error = openDecoder(_videoStream, _video);
    if (error.isError()) return error;
    // Sound that cannot be decoded is no reason to show nothing.
    if (_audioStream >= 0 && openDecoder(_audioStream, _sound).isError()) _audioStream = -1;
    for (unsigned i = 0; i < _input->nb_streams; ++i)
        if (int(i) != _videoStream && int(i) != _audioStream) _input->streams[i]->discard = AVDISCARD_ALL;
    findStartTimecode();
    return QmxError();
}

QmxError QmxSourceDecoder::openDecoder(int stream, QmxLibav::CodecContext &decoder) const
{
    const AVCodecParameters *parameters = _input->streams[stream]->codecpar;
    const AVCodec *codec = avcodec_find_decoder(parameters->codec_id);
    if (!codec)
        return QmxError(ENOSYS, QStringLiteral("Its coding (%1) is not known here")
                                    .arg(QLatin1String(avcodec_get_name(parameters->codec_id))));
    decoder.reset(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), parameters) < 0) return QmxError(ENOMEM);
    decoder->pkt_timebase = _input->streams[stream]->time_base;
    decoder->thread_count = 2;
    decoder->thread_type = _latency == Latency::Low ? FF_THREAD_SLICE : FF_THREAD_SLICE | FF_THREAD_FRAME;
    const int result = avcodec_open2(decoder.get(), codec, nullptr);
    return result < 0 ? QmxLibav::error(QStringLiteral("decode it"), result) : QmxError();
}

QmxSourceDecoder::Step QmxSourceDecoder::step()
{
    Step result = receiveVideo();
    if (result == Step::Nothing) result = receiveAudio();
    if (result == Step::Nothing) result = readPacket();
    return result;
}

QmxSourceDecoder::Step QmxSourceDecoder::readPacket()
{
    if (_draining) return Step::End;
    const int result = av_read_frame(_input.get(), _packet.get());
    if (result == AVERROR_EOF) {
        _draining = true;
        avcodec_send_packet(_video.get(), nullptr);
        if (_sound) avcodec_send_packet(_sound.get(), nullptr);
        return Step::Nothing;
    }
    if (result < 0) {
        _error = QmxLibav::error(QStringLiteral("read it"), result);
        return Step::Failed;
    }
    if (_packet->stream_index == _videoStream) {
        const bool refused = avcodec_send_packet(_video.get(), _packet.get()) == AVERROR_INVALIDDATA;
        if (refused || (_packet->flags & AV_PKT_FLAG_CORRUPT) != 0) noteDamage(_packet.get());
    } else if (_packet->stream_index == _audioStream)
        avcodec_send_packet(_sound.get(), _packet.get());
    av_packet_unref(_packet.get());
    return Step::Nothing;
}

QmxSourceDecoder::Step QmxSourceDecoder::receiveVideo()
{
    const int result = avcodec_receive_frame(_video.get(), _frame.get());
    if (result == AVERROR_INVALIDDATA) noteDamage(nullptr);
    if (result < 0) return Step::Nothing;
    const qint64 frameTime = _desc.isValid() ? qint64(double(nsPerSecond) / _desc.frameRate().toDouble()) : 0;
    const qint64 time = timeOf(_frame.get(), _videoStream, _videoTime + frameTime);
    if (formatChanged(_frame.get(), time)) return Step::Changed;
    const QSize size(_frame->width, _frame->height);
    if (!_desc.isValid()) {
        const AVFieldOrder order = _input->streams[_videoStream]->codecpar->field_order;
        const bool interlaced = isInterlaced(order) || QmxLibav::isInterlaced(_frame.get());
        _desc = QmxSourceFormat::desc(size, frameRate(interlaced),
                                      interlaced ? QmxImageDesc::Interlaced : QmxImageDesc::Progressive);
    }
    _missing = gapBefore(_frame.get(), time);
    _isTorn = judge(_frame.get());
    _videoTime = time;
    findTimecode(_frame.get());
    _picture = _converter.convert(_frame.get(), QmxPicture::Format::Yuv422P10, size);
    av_frame_unref(_frame.get());
    if (_picture.isValid()) return Step::Video;
    _error = QmxError(ENOMEM, QStringLiteral("No memory for its picture, or a pixel format not known here"));
    return Step::Failed;
}

/// A packet came damaged or was refused: the picture that it belongs to is torn, and those that build on it.
void QmxSourceDecoder::noteDamage(const AVPacket *packet)
{
    _onTheWay = mostOnTheWay;
    const int64_t at = packet ? packet->pts : AV_NOPTS_VALUE;
    if (at == AV_NOPTS_VALUE) {
        _damage = true;
        return;
    }
    _firstDamaged = _firstDamaged == AV_NOPTS_VALUE ? at : std::min(_firstDamaged, at);
    // A parser hands a picture on when the next one begins: the one behind may be meant.
    _lastDamaged = std::max(_lastDamaged, at + std::max<int64_t>(packet->duration, 0));
}

bool QmxSourceDecoder::judge(const AVFrame *frame)
{
    const int64_t at = frame->best_effort_timestamp;
    const bool flawed = frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0;
    const bool builds = frame->pict_type != AV_PICTURE_TYPE_I && frame->pict_type != AV_PICTURE_TYPE_NONE;
    if (_firstDamaged != AV_NOPTS_VALUE && at >= _firstDamaged) _damage = true;
    _damage = _damage || flawed;
    const bool whole =
        !flawed && !builds && _onTheWay == 0 && (_lastDamaged == AV_NOPTS_VALUE || at > _lastDamaged);
    _onTheWay = std::max(0, _onTheWay - 1);
    // Some streams have no pictures that stand alone: they become whole little by little.
    const int mostTorn = _desc.frameRate().timecodeRate() * tornSeconds;
    if (whole || ++_tornRun > mostTorn) {
        _damage = false;
        _tornRun = 0;
        _firstDamaged = _lastDamaged = AV_NOPTS_VALUE;
    }
    if (!_damage) _tornRun = 0;
    // What comes before the first of them when one joins a stream is no damage.
    const bool counts = _hasBegun;
    _hasBegun = _hasBegun || whole;
    return counts && _damage;
}

/// By the presentation times, which stand in the stream.
int QmxSourceDecoder::gapBefore(const AVFrame *frame, qint64 time) const
{
    if (!_hasBegun || _latency == Latency::Ahead || frame->best_effort_timestamp == AV_NOPTS_VALUE) return 0;
    const double frames = double(time - _videoTime) * _desc.frameRate().toDouble() / double(nsPerSecond);
    // More than that is a sender that has begun anew.
    const double longest = _desc.frameRate().toDouble() * longestGapSeconds;
    return frames > 0 && frames < longest ? std::max(0, int(std::lround(frames)) - 1) : 0;
}

bool QmxSourceDecoder::formatChanged(const AVFrame *frame, qint64 time)
{
    if (!_desc.isValid() || _latency == Latency::Ahead) return false;
    if (frame->width != _desc.width() || frame->height != _desc.height()) return true;
    // Another rate at the same size shows only in the distances.
    const double frames = double(time - _videoTime) * _desc.frameRate().toDouble() / double(nsPerSecond);
    const bool odd = std::abs(frames - 1) > oddInterval;
    _oddIntervals = odd ? _oddIntervals + 1 : 0;
    return _oddIntervals > oddIntervalsAllowed;
}

QmxVideoRate QmxSourceDecoder::frameRate(bool interlaced) const
{
    AVStream *stream = _input->streams[_videoStream];
    const AVRational guess = av_guess_frame_rate(_input.get(), stream, nullptr);
    QmxVideoRate rate = QmxSourceFormat::rateFromMeasurement(guess.num, guess.den);
    if (!rate.isValid()) rate = QmxVideoRate(25);
    // Some streams state the rate of their fields.
    if (interlaced && rate.toDouble() > highestInterlacedRate)
        rate = QmxSourceFormat::rateFromMeasurement(rate.num(), qint64(rate.den()) * 2);
    return rate;
}

qint64 QmxSourceDecoder::timeOf(const AVFrame *frame, int stream, qint64 expected) const
{
    if (frame->best_effort_timestamp == AV_NOPTS_VALUE) return expected;
    return av_rescale_q(frame->best_effort_timestamp, _input->streams[stream]->time_base, nanoseconds);
}

void QmxSourceDecoder::findStartTimecode()
{
    const AVDictionaryEntry *entry =
        av_dict_get(_input->streams[_videoStream]->metadata, "timecode", nullptr, 0);
    if (!entry) entry = av_dict_get(_input->metadata, "timecode", nullptr, 0);
    for (unsigned i = 0; !entry && i < _input->nb_streams; ++i)
        entry = av_dict_get(_input->streams[i]->metadata, "timecode", nullptr, 0);
    // One before the first picture: each picture counts one on.
    if (entry) _timecode = QmxTimecode(QString::fromLatin1(entry->value));
}

void QmxSourceDecoder::findTimecode(const AVFrame *frame)
{
    const int fps = _desc.frameRate().timecodeRate();
    char text[AV_TIMECODE_STR_SIZE] = "";
    bool isExact = false;
    if (const AVFrameSideData *data = av_frame_get_side_data(frame, AV_FRAME_DATA_S12M_TIMECODE);
        data && data->size >= 2 * sizeof(uint32_t)) {
        isExact = true;
        const AVRational rate = {_desc.frameRate().num(), _desc.frameRate().den()};
        av_timecode_make_smpte_tc_string2(text, rate, reinterpret_cast<const uint32_t *>(data->data)[1], 0,
                                          0);
    } else if (const AVFrameSideData *gop = av_frame_get_side_data(frame, AV_FRAME_DATA_GOP_TIMECODE);
               gop && gop->size >= sizeof(int64_t)) {
        av_timecode_make_mpeg_tc_string(text, uint32_t(*reinterpret_cast<const int64_t *>(gop->data)));
    }
    // A container's start timecode has no rate yet: it is the first picture's. Every other picture counts on.
    if (_timecode.fps() > 0) _timecode = _timecode.advanced(1);
    _timecode.setFPS(fps);
    if (!text[0]) return;
    QmxTimecode told{QString::fromLatin1(text)};
    told.setFPS(fps);
    // A group's timecode stands at its first coded picture, which may be shown some frames later: a small
    // difference is no jump.
    const int difference = std::abs(told.toFrameNumber() - _timecode.toFrameNumber());
    if (isExact || !_timecode.isValid() || difference > groupReordering) _timecode = told;
}

QmxSourceDecoder::Step QmxSourceDecoder::receiveAudio()
{
    if (!_sound || avcodec_receive_frame(_sound.get(), _frame.get()) < 0) return Step::Nothing;
    openResampler(_frame.get());
    _audioTime = timeOf(_frame.get(), _audioStream, _nextAudioTime);
    const qint64 waiting = _resampler ? swr_get_delay(_resampler.get(), audioRate) : 0;
    const int room =
        int(waiting + qint64(_frame->nb_samples) * audioRate / std::max(_frame->sample_rate, 1)) + 64;
    _audio.resize(size_t(room) * size_t(std::max(_audioChannels, 1)));
    auto *out = reinterpret_cast<uint8_t *>(_audio.data());
    const auto **in = const_cast<const uint8_t **>(_frame->extended_data);
    const int made = _resampler ? swr_convert(_resampler.get(), &out, room, in, _frame->nb_samples) : 0;
    _audio.resize(size_t(std::max(made, 0)) * size_t(_audioChannels));
    for (qint32 &sample : _audio)
        sample &= significantBits;
    _audioTime -= waiting * nsPerSecond / audioRate;
    _nextAudioTime = _audioTime + qint64(std::max(made, 0)) * nsPerSecond / audioRate;
    av_frame_unref(_frame.get());
    return made > 0 ? Step::Audio : Step::Nothing;
}

void QmxSourceDecoder::openResampler(const AVFrame *frame)
{
    const int channels = frame->ch_layout.nb_channels;
    if (_resampler && channels == _resampledLayout && frame->sample_rate == _resampledRate &&
        frame->format == _resampledFormat)
        return;
    _resampledLayout = channels;
    _resampledRate = frame->sample_rate;
    _resampledFormat = frame->format;
    // The same layout on both sides: every channel stays what it is, nothing is mixed.
    AVChannelLayout layout;
    av_channel_layout_default(&layout, channels);
    SwrContext *made = nullptr;
    const int result = swr_alloc_set_opts2(&made, &layout, AV_SAMPLE_FMT_S32, audioRate, &layout,
                                           AVSampleFormat(frame->format), frame->sample_rate, 0, nullptr);
    _resampler.reset(made);
    if (result < 0 || swr_init(_resampler.get()) < 0) _resampler.reset();
    _audioChannels = channels;
    av_channel_layout_uninit(&layout);
}

void QmxSourceDecoder::compensateAudio(int samples)
{
    if (_resampler) swr_set_compensation(_resampler.get(), samples, audioRate);
}
