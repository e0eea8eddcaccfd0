// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipstill.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/codec/qmxvideocodec.h"

#include <algorithm>
#include <bit>

namespace {
constexpr int quality = 4; ///< libavcodec's scale for JPEG: 2 is best
/// Where in a clip its picture is taken.
constexpr int tenth = 10;

QmxPicture pictureOf(const QString &clip, qint64 number, const QmxEnvironment &environment)
{
    QmxClipReader reader(environment);
    if (reader.open(clip).isError()) return {};
    QmxFrame frame;
    const qint64 wanted = number == QmxClipStill::aTenth ? reader.info().frames / tenth : number;
    if (reader.readFrame(wanted, frame).isError()) return {};
    const QList<QmxImage> images = std::as_const(frame).vids();
    if (images.isEmpty() || !images.first().isValid()) return {};
    const QmxImage &image = images.first();
    const QmxCodecRow *codec = qmxCodec(image.desc().dataType());
    const auto decoder = codec ? codec->createDecoder(image.desc()) : nullptr;
    QmxPicture picture;
    // At least as large as it will be shown.
    const int divisor =
        int(std::bit_floor(unsigned(std::max(1, image.desc().width() / QmxClipStill::width))));
    if (!decoder || decoder->decodeSmaller(image.buffers().first(), divisor, picture).isError()) return {};
    return picture;
}

/// The picture made small, as JPEG wants it: square samples are not cared for in so small a picture.
QmxLibav::Frame scaled(const QmxPicture &picture)
{
    const QmxLibav::Frame source = QmxLibav::wrap(picture);
    QmxLibav::Frame small(av_frame_alloc());
    if (!source || !small) return nullptr;
    small->format = AV_PIX_FMT_YUVJ420P;
    small->width = QmxClipStill::width;
    small->height = std::max(2, QmxClipStill::width * picture.height() / picture.width() / 2 * 2);
    const QmxLibav::Scaler scaler(sws_getContext(picture.width(), picture.height(),
                                                 AVPixelFormat(source->format), small->width, small->height,
                                                 AV_PIX_FMT_YUVJ420P, SWS_AREA, nullptr, nullptr, nullptr));
    if (!scaler || av_frame_get_buffer(small.get(), 0) < 0) return nullptr;
    sws_scale(scaler.get(), source->data, source->linesize, 0, picture.height(), small->data,
              small->linesize);
    return small;
}

} // namespace

QByteArray QmxClipStill::make(const QString &clip, qint64 number, const QmxEnvironment &environment)
{
    const QmxPicture picture = pictureOf(clip, number, environment);
    if (!picture.isValid()) return {};
    QmxLibav::quietLog();
    const QmxLibav::Frame frame = scaled(picture);
    const AVCodec *codec = avcodec_find_encoder(AV_CODEC_ID_MJPEG);
    const QmxLibav::CodecContext context(codec ? avcodec_alloc_context3(codec) : nullptr);
    const QmxLibav::Packet packet(av_packet_alloc());
    if (!frame || !context || !packet) return {};
    context->pix_fmt = AV_PIX_FMT_YUVJ420P;
    context->width = frame->width;
    context->height = frame->height;
    context->time_base = {1, 1};
    context->flags |= AV_CODEC_FLAG_QSCALE;
    context->global_quality = quality * FF_QP2LAMBDA;
    frame->quality = context->global_quality;
    frame->pts = 0;
    if (avcodec_open2(context.get(), codec, nullptr) < 0 ||
        avcodec_send_frame(context.get(), frame.get()) < 0 ||
        avcodec_receive_packet(context.get(), packet.get()) < 0)
        return {};
    return QByteArray(reinterpret_cast<const char *>(packet->data), packet->size);
}
