// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/edges/qmxmuxsink.h"
#include "platform/qmx/edges/qmxsourceaudio.h"

#include <QLibrary>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace {
/// The window library shows what nobody sees when it finds no desktop, and calls that success.
QmxError missingDesktop()
{
    // libavdevice has no word for it, but has loaded the library that has.
    QLibrary library(QStringLiteral("SDL2-2.0"), 0);
    const auto driver = reinterpret_cast<const char *(*)()>(library.resolve("SDL_GetCurrentVideoDriver"));
    const char *name = driver ? driver() : nullptr;
    if (!name || std::strcmp(name, "offscreen") != 0) return QmxError();
    return QmxError(ENODEV,
                    QStringLiteral("There is no desktop to show it on; set DISPLAY or WAYLAND_DISPLAY for "
                                   "the recorder, whose account must be allowed there, and start it again"));
}

constexpr int trackChannels = 2; ///< of each track of sound: what every receiver can play

/// The codecs to choose from when none is named, best first.
constexpr std::array videoChoice = {"h264", "mpeg2"};
constexpr std::array audioChoice = {"aac", "mp2"};

int interrupted(void *opaque)
{
    return static_cast<const std::atomic<bool> *>(opaque)->load() ? 1 : 0;
}

class Muxer : public QmxMuxer
{
public:
    ~Muxer() override;
    QmxError start(const QmxOutputOptions &options, const std::function<QmxImageDesc()> &format,
                   const std::atomic<bool> &interrupt);
    QmxError write(const QmxOutputFrame &frame) override;

private:
    struct CloseOutput
    {
        void operator()(AVFormatContext *p) const
        {
            if (p->pb && !(p->oformat->flags & AVFMT_NOFILE)) avio_closep(&p->pb);
            avformat_free_context(p);
        }
    };
    struct Track
    {
        QmxLibav::CodecContext coder;
        AVStream *stream = nullptr;
    };
    QmxError connect(const QByteArray &name);
    QmxError addVideo(const QmxOutputOptions &options, const QmxImageDesc &desc);
    QmxError addAudio(const QmxOutputOptions &options);
    QmxError addTrack(const QmxOutputOptions &options, const QmxOutputCodecRow &row, const AVCodec *codec);
    const QmxOutputCodecRow *choose(const QmxOutputCodecRow *asked, std::span<const char *const> names) const;
    QmxError openTrack(const AVCodec *codec, Track &track);
    QmxError writePicture(const QmxPicture &picture, qint64 time);
    QmxError writeSound(const QmxOutputFrame &frame);
    QmxError writePair(const QmxAudio &piece, int number);
    QmxError send(Track &track, const AVFrame *frame);

    QmxLibav::Packet _packet{av_packet_alloc()};
    QmxPictureConverter _converter;
    QmxLibav::Resampler _resampler;
    QmxSourceAudio _sound;
    std::unique_ptr<AVFormatContext, CloseOutput> _output;
    Track _video;
    std::vector<Track> _audio; ///< a pair of channels each
    QSize _size;
    bool _interlaced = false;
    bool _started = false;
    qint64 _firstTick = -1;
    qint64 _samples = 0;
};

Muxer::~Muxer()
{
    if (!_started) return;
    send(_video, nullptr);
    for (Track &pair : _audio)
        send(pair, nullptr);
    av_write_trailer(_output.get());
}

QmxError Muxer::start(const QmxOutputOptions &options, const std::function<QmxImageDesc()> &format,
                      const std::atomic<bool> &interrupt)
{
    const QString &url = options.address;
    QmxLibav::quietLog();
    static const int networkReady = avformat_network_init();
    const char *kind = url.contains(QStringLiteral("://")) ? "mpegts" : nullptr;
    QByteArray name = url.toUtf8();
    if (url.startsWith(windowScheme)) {
        if (!QmxLibav::loadDevices())
            return QmxError(ENOSYS, QStringLiteral("Cannot open it: libavdevice is not installed"));
        kind = "sdl";
        name = url.mid(windowScheme.size()).toUtf8();
        if (name.isEmpty()) name = "Output";
    }
    AVFormatContext *made = nullptr;
    const int guessed = networkReady < 0
                            ? networkReady
                            : avformat_alloc_output_context2(&made, nullptr, kind, name.constData());
    if (guessed < 0)
        return QmxError(
            EINVAL,
            QStringLiteral("Its name has no ending that stands for a kind of file (\".ts\", \".mov\" ...)"));
    _output.reset(made);
    _output->interrupt_callback = {interrupted, const_cast<std::atomic<bool> *>(&interrupt)};
    QmxError error;
    if (options.isListener) error = connect(name); // which format is wanted is known when the caller is there
    if (!error.isError()) error = addVideo(options, format());
    if (!error.isError()) error = addAudio(options);
    if (!error.isError() && !options.isListener) error = connect(name);
    if (error.isError()) return error;
    const int result = avformat_write_header(_output.get(), nullptr);
    if (result < 0) return QmxLibav::error(QStringLiteral("open it"), result);
    _started = true;
    return url.startsWith(windowScheme) ? missingDesktop() : QmxError();
}

QmxError Muxer::connect(const QByteArray &name)
{
    if (_output->oformat->flags & AVFMT_NOFILE) return QmxError();
    const int result =
        avio_open2(&_output->pb, name.constData(), AVIO_FLAG_WRITE, &_output->interrupt_callback, nullptr);
    return result < 0 ? QmxLibav::error(QStringLiteral("open it"), result) : QmxError();
}

/// What was asked for, else the first one that the container takes and that this machine can code; null:
/// none.
const QmxOutputCodecRow *Muxer::choose(const QmxOutputCodecRow *asked,
                                       std::span<const char *const> names) const
{
    if (asked) return asked;
    // The table of the transport stream names no codecs; it takes all of ours.
    const bool isOpen = std::strcmp(_output->oformat->name, "mpegts") == 0;
    for (const char *name : names)
        for (const QmxOutputCodecRow &row : qmxOutputCodecs())
            if (std::strcmp(row.name, name) == 0 && qmxFindEncoder(row) &&
                (isOpen ||
                 avformat_query_codec(_output->oformat, AVCodecID(row.codecId), FF_COMPLIANCE_NORMAL) == 1))
                return &row;
    return nullptr;
}

QmxError Muxer::addVideo(const QmxOutputOptions &options, const QmxImageDesc &desc)
{
    _size = QSize(desc.width(), desc.height() / 2 * 2);
    _interlaced = desc.isInterlaced();
    const bool isPlain = _output->oformat->video_codec == AV_CODEC_ID_RAWVIDEO;
    const QmxOutputCodecRow *row = choose(options.video, videoChoice);
    const AVCodec *codec = isPlain ? avcodec_find_encoder(AV_CODEC_ID_RAWVIDEO)
                           : row   ? qmxFindEncoder(*row)
                                   : nullptr;
    if (!codec) return QmxError(ENOSYS, QStringLiteral("This machine's libavcodec has no coder for it"));
    _video.coder.reset(avcodec_alloc_context3(codec));
    AVCodecContext *c = _video.coder.get();
    if (!c) return QmxError(ENOMEM);
    c->width = _size.width();
    c->height = _size.height();
    c->pix_fmt = AV_PIX_FMT_YUV420P;
    c->framerate = {desc.frameRate().num(), desc.frameRate().den()};
    c->time_base = av_inv_q(c->framerate);
    c->gop_size = desc.frameRate().timecodeRate() / 2; // whoever tunes in waits at most half a second
    c->max_b_frames = 0;
    c->thread_count = 1; // the recorder's own coders come first
    if (row)
        c->bit_rate = options.videoRate > 0
                          ? options.videoRate
                          : int64_t(row->rate * c->width * c->height * desc.frameRate().toDouble());
    // The rate is kept over each second: it is what a line was rented for.
    c->rc_max_rate = c->bit_rate;
    c->rc_buffer_size = int(c->bit_rate);
    const QmxLibav::Colour colour = QmxLibav::colour(_size);
    c->color_primaries = colour.primaries;
    c->color_trc = colour.transfer;
    c->colorspace = colour.matrix;
    c->color_range = AVCOL_RANGE_MPEG;
    if (_interlaced && !isPlain) c->flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    if (codec->id == AV_CODEC_ID_H264) {
        av_opt_set(c->priv_data, "preset", "ultrafast", 0);
        av_opt_set(c->priv_data, "tune", "zerolatency", 0);
    }
    return openTrack(codec, _video);
}

QmxError Muxer::addAudio(const QmxOutputOptions &options)
{
    const QmxOutputCodecRow *row = choose(options.audio, audioChoice);
    const AVCodec *codec = row ? qmxFindEncoder(*row) : nullptr;
    if (!codec || _output->oformat->audio_codec == AV_CODEC_ID_NONE) return QmxError();
    for (int channel = 0; channel < options.channels; channel += trackChannels)
        if (QmxError error = addTrack(options, *row, codec); error.isError()) return error;
    AVCodecContext *c = _audio.front().coder.get();
    SwrContext *made = nullptr;
    swr_alloc_set_opts2(&made, &c->ch_layout, c->sample_fmt, qmxAudioRate, &c->ch_layout, AV_SAMPLE_FMT_S32,
                        qmxAudioRate, 0, nullptr);
    _resampler.reset(made);
    const int result = swr_init(_resampler.get());
    return result < 0 ? QmxLibav::error(QStringLiteral("convert its sound"), result) : QmxError();
}

QmxError Muxer::addTrack(const QmxOutputOptions &options, const QmxOutputCodecRow &row, const AVCodec *codec)
{
    Track &track = _audio.emplace_back();
    track.coder.reset(avcodec_alloc_context3(codec));
    AVCodecContext *c = track.coder.get();
    if (!c) return QmxError(ENOMEM);
    c->sample_rate = qmxAudioRate;
    c->time_base = {1, qmxAudioRate};
    c->bit_rate = options.audioRate > 0 ? options.audioRate : int64_t(row.rate);
    c->sample_fmt = codec->id == AV_CODEC_ID_MP2 ? AV_SAMPLE_FMT_S16 : AV_SAMPLE_FMT_FLTP;
    av_channel_layout_default(&c->ch_layout, trackChannels);
    return openTrack(codec, track);
}

QmxError Muxer::openTrack(const AVCodec *codec, Track &track)
{
    if (_output->oformat->flags & AVFMT_GLOBALHEADER) track.coder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    int result = avcodec_open2(track.coder.get(), codec, nullptr);
    if (result < 0) return QmxLibav::error(QStringLiteral("code it"), result);
    track.stream = avformat_new_stream(_output.get(), nullptr);
    if (!track.stream) return QmxError(ENOMEM);
    track.stream->time_base = track.coder->time_base;
    track.stream->avg_frame_rate = track.coder->framerate;
    result = avcodec_parameters_from_context(track.stream->codecpar, track.coder.get());
    return result < 0 ? QmxLibav::error(QStringLiteral("code it"), result) : QmxError();
}

QmxError Muxer::write(const QmxOutputFrame &frame)
{
    if (_firstTick < 0) _firstTick = frame.tick.index;
    QmxPicture picture = frame.picture;
    if (!picture.isValid()) {
        picture = QmxPicture::allocate(QmxPicture::Format::Yuv422P10, _size);
        if (!picture.isValid()) return QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
        picture.fillBlack();
    }
    const QmxError error = writePicture(picture, frame.tick.index - _firstTick);
    return error.isError() || _audio.empty() ? error : writeSound(frame);
}

QmxError Muxer::writePicture(const QmxPicture &picture, qint64 time)
{
    const QmxLibav::Frame frame(av_frame_alloc());
    if (!frame) return QmxError(ENOMEM);
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = _size.width();
    frame->height = _size.height();
    if (const int result = av_frame_get_buffer(frame.get(), 0); result < 0)
        return QmxLibav::error(QStringLiteral("convert a picture"), result);
    if (!_converter.convert(picture, AV_PIX_FMT_YUV420P, _size, frame->data, frame->linesize, _interlaced))
        return QmxError(EINVAL, QStringLiteral("Cannot convert a picture"));
    frame->pts = time;
    QmxLibav::setInterlaced(frame.get(), _interlaced, QmxLibav::topFieldFirst(_size));
    return send(_video, frame.get());
}

QmxError Muxer::writeSound(const QmxOutputFrame &output)
{
    // Frames that were dropped leave a gap, which silence fills: picture and sound stay together.
    const qint64 start =
        qmxAudioStart(output.tick.index, output.tick.rate) - qmxAudioStart(_firstTick, output.tick.rate);
    const qint64 gap = start - (_samples + _sound.count());
    if (gap > 1 && gap < qint64(10) * qmxAudioRate) _sound.appendSilence(int(gap));
    const int expected = qmxAudioSamples(output.tick.index, output.tick.rate);
    if (output.audio.isValid())
        _sound.append(output.audio);
    else
        _sound.appendSilence(expected);
    const int length = _audio.front().coder->frame_size > 0 ? _audio.front().coder->frame_size : expected;
    while (_sound.count() >= length) {
        const QmxAudio piece = _sound.take(length, output.tick.rate);
        if (!piece.isValid()) return QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
        for (int number = 0; number < int(_audio.size()); ++number)
            if (QmxError error = writePair(piece, number); error.isError()) return error;
        _samples += length;
    }
    return QmxError();
}

QmxError Muxer::writePair(const QmxAudio &piece, int number)
{
    Track &track = _audio[size_t(number)];
    const int length = piece.samples();
    const int channels = piece.desc().channels();
    std::vector<qint32> pair(size_t(length) * trackChannels);
    for (int i = 0; i < length; ++i)
        std::copy_n(piece.data() + qsizetype(i) * channels + number * trackChannels, trackChannels,
                    pair.begin() + qsizetype(i) * trackChannels);
    const QmxLibav::Frame frame(av_frame_alloc());
    if (!frame) return QmxError(ENOMEM);
    frame->format = track.coder->sample_fmt;
    frame->nb_samples = length;
    frame->sample_rate = qmxAudioRate;
    av_channel_layout_default(&frame->ch_layout, trackChannels);
    if (const int result = av_frame_get_buffer(frame.get(), 0); result < 0)
        return QmxLibav::error(QStringLiteral("convert its sound"), result);
    const auto *in = reinterpret_cast<const uint8_t *>(pair.data());
    swr_convert(_resampler.get(), frame->extended_data, length, &in, length);
    frame->pts = _samples;
    return send(track, frame.get());
}

QmxError Muxer::send(Track &track, const AVFrame *frame)
{
    int result = avcodec_send_frame(track.coder.get(), frame);
    while (result >= 0) {
        result = avcodec_receive_packet(track.coder.get(), _packet.get());
        if (result < 0) break;
        av_packet_rescale_ts(_packet.get(), track.coder->time_base, track.stream->time_base);
        _packet->stream_index = track.stream->index;
        result = av_interleaved_write_frame(_output.get(), _packet.get());
    }
    const bool isDone = result >= 0 || result == AVERROR(EAGAIN) || result == AVERROR_EOF;
    return isDone ? QmxError() : QmxLibav::error(QStringLiteral("write to it"), result);
}
} // namespace

std::unique_ptr<QmxMuxer> QmxMuxer::open(const QmxOutputOptions &options,
                                         const std::function<QmxImageDesc()> &format,
                                         const std::atomic<bool> &isInterrupted, QmxError *error)
{
    auto muxer = std::make_unique<Muxer>();
    *error = muxer->start(options, format, isInterrupted);
    if (error->isError()) return nullptr;
    return muxer;
}
