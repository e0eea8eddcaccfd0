// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/proxywriter.h"

#include "companions/mediad/proxyfile.h"
#include "platform/qmx/codec/pixelfont.h"
#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxids.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <bit>
#include <cerrno>

namespace {

constexpr int mostLines = 720;
constexpr int soundRate = 48000;
constexpr int soundBits = 160'000; // a second
constexpr char quality[] = "23";   ///< x264's scale: 18 cannot be told from the original, 28 is poor
constexpr int black = 16;
constexpr int white = 235;

QmxError noMemory()
{
    return {ENOMEM, QStringLiteral("no memory is left to make a proxy")};
}

/// White letters on black in the middle of the lower part, straight into the luma of a picture of 8 bits.
void burnText(AVFrame *frame, const QString &text)
{
    constexpr int linesOfDots = 108; // a line of text is a twelfth of the picture
    const int dot = std::max(1, frame->height / linesOfDots);
    const int advance = dot * (PixelFont::width + 1);
    const int width = int(text.size() + 1) * advance;
    const int height = dot * (PixelFont::height + 2);
    const int left = (frame->width - width) / 2;
    const int top = frame->height - height - frame->height / 12;
    if (left < 0 || top < 0) return;
    const auto fill = [frame](int x, int y, int w, int h, int value) {
        for (int row = y; row < y + h; ++row)
            std::fill_n(frame->data[0] + row * frame->linesize[0] + x, w, uint8_t(value));
    };
    fill(left, top, width, height, black);
    for (int plane = 1; plane < 3; ++plane)
        for (int row = top / 2; row < (top + height + 1) / 2; ++row)
            std::fill_n(frame->data[plane] + row * frame->linesize[plane] + left / 2, (width + 1) / 2,
                        uint8_t(128));
    for (qsizetype i = 0; i < text.size(); ++i)
        for (int row = 0; row < PixelFont::height; ++row)
            for (int column = 0; column < PixelFont::width; ++column)
                if (PixelFont::dot(text.at(i), column, row))
                    fill(left + advance / 2 + int(i) * advance + column * dot, top + dot * (row + 1), dot,
                         dot, white);
}

} // namespace

struct ProxyWriter::Private
{
    Private(const QmxEnvironment &environment, bool burns) : file(environment), burn(burns) {}

    QmxError openVideo(const QmxClipInfo &info);
    QmxError openSound(const QmxClipInfo &info);
    QmxError addChapters(QList<QmxClipChapter> chapters, qint64 frames, qint64 &bytes);
    QmxError openFile(const QmxClipInfo &info, qint64 frames, const QList<QmxClipChapter> &chapters);
    QmxError writePicture(const QmxFrame &frame);
    QmxError writeSound(const QmxFrame &frame);
    QmxError sendSound(int samples);
    QmxError code(AVCodecContext *context, AVStream *stream, const AVFrame *frame);

    ProxyFile file;
    const bool burn;
    std::unique_ptr<QmxVideoDecoder> decoder;
    int divisor = 1;
    bool isInterlaced = false;
    QmxLibav::Scaler scaler;
    QmxLibav::CodecContext video;
    QmxLibav::CodecContext sound;
    AVStream *videoStream = nullptr;
    AVStream *soundStream = nullptr;
    QmxLibav::Frame small{av_frame_alloc()};
    QmxLibav::Packet packet{av_packet_alloc()};
    std::vector<float> waiting; ///< sound that is not coded yet, interleaved
    qint64 pictures = 0;
    qint64 samples = 0;
};

QmxError ProxyWriter::Private::openVideo(const QmxClipInfo &info)
{
    const QmxImageDesc &image = info.image;
    const QmxCodecRow *row = qmxCodec(image.dataType());
    decoder = row ? row->createDecoder(image) : nullptr;
    const AVCodec *codec = avcodec_find_encoder_by_name("libx264");
    if (!decoder || !codec || !small || !packet)
        return {ENOTSUP, codec ? QStringLiteral("nothing decodes %1").arg(image.toString())
                               : QStringLiteral("libavcodec has no H.264 encoder here; install libx264")};
    isInterlaced = image.isInterlaced();
    // Decoded no larger than it is needed; one field has half the lines already.
    divisor = isInterlaced ? 1 : int(std::bit_floor(unsigned(std::clamp(image.height() / mostLines, 1, 8))));
    const int lines = std::min(image.height(), mostLines) / 2 * 2;
    video.reset(avcodec_alloc_context3(codec));
    if (!video) return noMemory();
    const QmxVideoRate rate = image.frameRate();
    video->width = int(qint64(image.width()) * lines / image.height()) / 2 * 2;
    video->height = lines;
    video->pix_fmt = AV_PIX_FMT_YUV420P;
    video->time_base = {rate.den(), rate.num()};
    video->framerate = {rate.num(), rate.den()};
    // Each half second can be shown by itself: the page goes to any place quickly.
    video->gop_size = std::max(1, rate.timecodeRate() / 2);
    video->max_b_frames = 0;
    video->thread_count = 1; // a take comes first
    video->color_range = AVCOL_RANGE_MPEG;
    const QmxLibav::Colour colour = QmxLibav::colour(QSize(image.width(), image.height()));
    video->color_primaries = colour.primaries;
    video->color_trc = colour.transfer;
    video->colorspace = colour.matrix;
    if (image.aspectWidth() > 0 && image.aspectHeight() > 0)
        av_reduce(&video->sample_aspect_ratio.num, &video->sample_aspect_ratio.den,
                  qint64(image.aspectWidth()) * video->height, qint64(image.aspectHeight()) * video->width,
                  1 << 16);
    video->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    av_opt_set(video->priv_data, "preset", "veryfast", 0);
    av_opt_set(video->priv_data, "crf", quality, 0);
    if (const int failed = avcodec_open2(video.get(), codec, nullptr); failed < 0)
        return QmxLibav::error(QStringLiteral("begin to code H.264"), failed);
    small->format = video->pix_fmt;
    small->width = video->width;
    small->height = video->height;
    return av_frame_get_buffer(small.get(), 0) < 0 ? noMemory() : QmxError();
}

QmxError ProxyWriter::Private::openSound(const QmxClipInfo &info)
{
    if (info.audio.channels() == 0) return {};
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    sound.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!sound) return {ENOTSUP, QStringLiteral("libavcodec has no AAC encoder here")};
    sound->sample_fmt = AV_SAMPLE_FMT_FLTP;
    sound->sample_rate = soundRate;
    sound->bit_rate = soundBits;
    sound->time_base = {1, soundRate};
    av_channel_layout_default(&sound->ch_layout, std::min(2, info.audio.channels()));
    sound->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (const int failed = avcodec_open2(sound.get(), codec, nullptr); failed < 0)
        return QmxLibav::error(QStringLiteral("begin to code AAC"), failed);
    return {};
}

/// Each lasts until the next one begins. `bytes`: what they take in the tables.
QmxError ProxyWriter::Private::addChapters(QList<QmxClipChapter> chapters, qint64 frames, qint64 &bytes)
{
    std::stable_sort(chapters.begin(), chapters.end(),
                     [](const QmxClipChapter &a, const QmxClipChapter &b) { return a.frame < b.frame; });
    chapters.removeIf([frames](const QmxClipChapter &one) { return one.frame < 0 || one.frame >= frames; });
    bytes = 0;
    if (chapters.isEmpty()) return {};
    // Without one at the begin the last one would end too early by what is before the first.
    if (chapters.first().frame > 0) chapters.prepend({0, QString()});
    AVFormatContext *context = file.context();
    // Freed with the context, also when one of them could not be made.
    context->chapters = static_cast<AVChapter **>(av_calloc(size_t(chapters.size()), sizeof(AVChapter *)));
    if (!context->chapters) return noMemory();
    for (qsizetype i = 0; i < chapters.size(); ++i) {
        auto *chapter = static_cast<AVChapter *>(av_mallocz(sizeof(AVChapter)));
        if (!chapter) return noMemory();
        context->chapters[context->nb_chapters++] = chapter;
        const QByteArray name = chapters[i].name.toUtf8();
        chapter->id = i;
        chapter->time_base = video->time_base;
        chapter->start = chapters[i].frame;
        chapter->end = i + 1 < chapters.size() ? chapters[i + 1].frame : frames;
        av_dict_set(&chapter->metadata, "title", name.constData(), 0);
        constexpr qint64 besidesName = 64; // in the track of them and in the list that older players know
        bytes += 2 * name.size() + besidesName;
    }
    return {};
}

QmxError ProxyWriter::Private::openFile(const QmxClipInfo &info, qint64 frames,
                                        const QList<QmxClipChapter> &chapters)
{
    qint64 chapterBytes = 0;
    if (QmxError error = addChapters(chapters, frames, chapterBytes); error.isError()) return error;
    AVFormatContext *context = file.context();
    for (auto [codec, stream] :
         {std::pair(video.get(), &videoStream), std::pair(sound.get(), &soundStream)}) {
        if (!codec) continue;
        *stream = avformat_new_stream(context, nullptr);
        if (!*stream || avcodec_parameters_from_context((*stream)->codecpar, codec) < 0) return noMemory();
        (*stream)->time_base = codec->time_base;
    }
    videoStream->avg_frame_rate = video->framerate;
    if (info.startTimecode.isValid())
        av_dict_set(&videoStream->metadata, "timecode", info.startTimecode.toString().toLatin1().constData(),
                    0);
    // Room for the tables in front, so that a browser shows the first picture at once.
    constexpr qint64 tableBytes = 40; // a frame with its sound
    constexpr qint64 otherTables = 1 << 16;
    AVDictionary *options = nullptr;
    av_dict_set(&options, "write_tmcd", "1", 0);
    av_dict_set_int(&options, "moov_size", otherTables + tableBytes * frames + chapterBytes, 0);
    const int failed = avformat_write_header(context, &options);
    av_dict_free(&options);
    return failed < 0 ? file.error(QStringLiteral("begin the file"), failed) : QmxError();
}

QmxError ProxyWriter::Private::code(AVCodecContext *context, AVStream *stream, const AVFrame *frame)
{
    int failed = avcodec_send_frame(context, frame);
    while (failed >= 0) {
        failed = avcodec_receive_packet(context, packet.get());
        if (failed == AVERROR(EAGAIN) || failed == AVERROR_EOF) return {};
        if (failed < 0) break;
        packet->stream_index = stream->index;
        packet->duration = context == video.get() ? 1 : packet->duration;
        av_packet_rescale_ts(packet.get(), context->time_base, stream->time_base);
        failed = av_interleaved_write_frame(file.context(), packet.get());
        if (failed < 0) return file.error(QStringLiteral("write"), failed);
    }
    return QmxLibav::error(QStringLiteral("code the proxy"), failed);
}

QmxError ProxyWriter::Private::writePicture(const QmxFrame &frame)
{
    const QList<QmxImage> images = frame.vids();
    QmxPicture picture;
    if (images.isEmpty() || !images.first().isValid())
        return {EINVAL, QStringLiteral("a frame has no picture")};
    const QmxBuffer coded = images.first().buffers().first();
    QmxError error =
        divisor > 1 ? decoder->decodeSmaller(coded, divisor, picture) : decoder->decode(coded, picture);
    if (error.isError()) return error;
    const QmxLibav::Frame whole = QmxLibav::wrap(picture);
    if (!whole || av_frame_make_writable(small.get()) < 0) return noMemory();
    const int lines = isInterlaced ? picture.height() / 2 : picture.height();
    if (!scaler)
        scaler.reset(sws_getContext(picture.width(), lines, AVPixelFormat(whole->format), small->width,
                                    small->height, video->pix_fmt, SWS_BICUBIC, nullptr, nullptr, nullptr));
    if (!scaler) return noMemory();
    int strides[4] = {};
    for (int plane = 0; plane < 4; ++plane)
        strides[plane] = whole->linesize[plane] * (isInterlaced ? 2 : 1);
    sws_scale(scaler.get(), whole->data, strides, 0, lines, small->data, small->linesize);
    const auto timecode = frame.meta().value(QmxIds::timecode).value<QmxTimecode>();
    if (burn && timecode.isValid()) burnText(small.get(), timecode.toString());
    small->pts = pictures++;
    return code(video.get(), videoStream, small.get());
}

/// The first samples of what waits, fewer than a frame of the coder only at the end.
QmxError ProxyWriter::Private::sendSound(int count)
{
    const QmxLibav::Frame block(av_frame_alloc());
    if (!block) return noMemory();
    const int channels = sound->ch_layout.nb_channels;
    block->format = sound->sample_fmt;
    block->sample_rate = soundRate;
    block->nb_samples = count;
    av_channel_layout_copy(&block->ch_layout, &sound->ch_layout);
    if (av_frame_get_buffer(block.get(), 0) < 0) return noMemory();
    for (int channel = 0; channel < channels; ++channel) {
        auto *to = reinterpret_cast<float *>(block->data[channel]);
        for (int i = 0; i < count; ++i)
            to[i] = waiting[size_t(i * channels + channel)];
    }
    waiting.erase(waiting.begin(), waiting.begin() + qint64(count) * channels);
    block->pts = samples;
    samples += count;
    return code(sound.get(), soundStream, block.get());
}

QmxError ProxyWriter::Private::writeSound(const QmxFrame &frame)
{
    if (!sound || frame.auds().isEmpty()) return {};
    const QmxAudio audio = frame.auds().first();
    const int channels = sound->ch_layout.nb_channels;
    const int given = audio.desc().channels();
    constexpr float full = 2147483648.0F;
    for (int i = 0; audio.isValid() && i < audio.samples(); ++i)
        for (int channel = 0; channel < channels; ++channel)
            waiting.push_back(float(audio.data()[i * given + channel]) / full);
    while (qint64(waiting.size()) >= qint64(sound->frame_size) * channels)
        if (QmxError error = sendSound(sound->frame_size); error.isError()) return error;
    return {};
}

ProxyWriter::ProxyWriter(const QmxEnvironment &environment, bool burn)
    : d(std::make_unique<Private>(environment, burn))
{}

ProxyWriter::~ProxyWriter() = default;

QmxError ProxyWriter::create(const QString &path, const QmxClipInfo &info, qint64 frames,
                             const QList<QmxClipChapter> &chapters)
{
    QmxLibav::quietLog();
    QmxError error = d->openVideo(info);
    if (!error.isError()) error = d->openSound(info);
    if (!error.isError()) error = d->file.create(path);
    if (!error.isError()) error = d->openFile(info, frames, chapters);
    return error;
}

QmxError ProxyWriter::write(const QmxFrame &frame)
{
    const QmxError error = d->writePicture(frame);
    return error.isError() ? error : d->writeSound(frame);
}

QmxError ProxyWriter::close()
{
    QmxError error;
    if (d->sound && !d->waiting.empty())
        error = d->sendSound(int(d->waiting.size()) / d->sound->ch_layout.nb_channels);
    if (!error.isError()) error = d->code(d->video.get(), d->videoStream, nullptr);
    if (!error.isError() && d->sound) error = d->code(d->sound.get(), d->soundStream, nullptr);
    return error.isError() ? error : d->file.finish();
}
