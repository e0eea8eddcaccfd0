// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxlibav.h"

#include "platform/qmx/core/qmxloglevel.h"

#include <QLibrary>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>

namespace {
constexpr int firstHdHeight = 720;

void logLine(void *, int level, const char *format, va_list arguments)
{
    if (level > AV_LOG_WARNING) return;
    std::array<char, 512> text;
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    if (length > 1)
        qmxLogOutput(QmxLogLevel::Debug, "libav", 0, "%s%s", text.data(),
                     text[size_t(std::min(length, 511)) - 1] == '\n' ? "" : "\n");
}

void releaseBuffer(void *opaque, uint8_t *)
{
    delete static_cast<QmxBuffer *>(opaque);
}

void releasePicture(void *, uint8_t *data)
{
    delete reinterpret_cast<QmxPicture *>(data);
}

/// Gives a libav frame the picture's planes. The picture itself hangs behind `opaque_ref`.
bool attach(AVFrame *frame, const QmxPicture &picture)
{
    auto *held = new QmxPicture(picture);
    frame->opaque_ref =
        av_buffer_create(reinterpret_cast<uint8_t *>(held), sizeof(QmxPicture), releasePicture, nullptr, 0);
    if (!frame->opaque_ref) {
        delete held;
        return false;
    }
    auto *buffer = new QmxBuffer(held->buffer());
    frame->buf[0] = av_buffer_create(buffer->data(), size_t(buffer->size()), releaseBuffer, buffer, 0);
    if (!frame->buf[0]) {
        delete buffer;
        return false;
    }
    // libav knows the planes of RGB as G, B, R.
    static constexpr int rgbOrder[] = {1, 2, 0};
    for (int plane = 0; plane < 3; ++plane) {
        const int from = picture.format() == QmxPicture::Format::Rgb444P10 ? rgbOrder[plane] : plane;
        frame->data[plane] = reinterpret_cast<uint8_t *>(held->row(from, 0));
        frame->linesize[plane] = picture.stride(from);
    }
    return true;
}

int getPoolBuffer(AVCodecContext *context, AVFrame *frame, int flags)
{
    const QmxPicture::Format format = QmxLibav::pictureFormat(frame->format);
    if (format == QmxPicture::Format::Invalid) return avcodec_default_get_buffer2(context, frame, flags);
    const QmxPicture picture = QmxPicture::allocate(format, QSize(frame->width, frame->height));
    if (!picture.isValid() || !attach(frame, picture)) return AVERROR(ENOMEM);
    frame->extended_data = frame->data;
    return 0;
}
} // namespace

void QmxLibav::quietLog()
{
    static std::once_flag once;
    std::call_once(once, [] {
        av_log_set_callback(logLine);
        // What a file or a sender claims to need: no picture takes as much in one piece.
        constexpr size_t largestPiece = size_t(1) << 30;
        av_max_alloc(largestPiece);
    });
}

bool QmxLibav::loadDevices()
{
    // Its version goes with libavformat's.
    static const bool isRegistered = [] {
        QLibrary library(QStringLiteral("avdevice"), LIBAVFORMAT_VERSION_MAJOR);
        const auto registerAll = reinterpret_cast<void (*)()>(library.resolve("avdevice_register_all"));
        if (registerAll) registerAll();
        return registerAll != nullptr;
    }();
    return isRegistered;
}

QString QmxLibav::errorText(int averror)
{
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(averror, text.data(), text.size());
    return QString::fromLocal8Bit(text.data());
}

QmxError QmxLibav::error(const QString &what, int averror)
{
    // libav's own numbers are no errno values: they all become "bad message" with libav's words.
    const bool isErrno = AVUNERROR(averror) > 0 && AVUNERROR(averror) < 4096;
    return QmxError(isErrno ? AVUNERROR(averror) : EBADMSG,
                    QStringLiteral("Cannot %1: %2").arg(what, errorText(averror)));
}

AVPixelFormat QmxLibav::pixelFormat(QmxPicture::Format format)
{
    switch (format) {
    case QmxPicture::Format::Yuv422P10:
        return AV_PIX_FMT_YUV422P10;
    case QmxPicture::Format::Yuv444P10:
        return AV_PIX_FMT_YUV444P10;
    case QmxPicture::Format::Rgb444P10:
        return AV_PIX_FMT_GBRP10;
    case QmxPicture::Format::Invalid:
        break;
    }
    return AV_PIX_FMT_NONE;
}

QmxPicture::Format QmxLibav::pictureFormat(int avPixelFormat)
{
    switch (avPixelFormat) {
    case AV_PIX_FMT_YUV422P10:
        return QmxPicture::Format::Yuv422P10;
    case AV_PIX_FMT_YUV444P10:
        return QmxPicture::Format::Yuv444P10;
    case AV_PIX_FMT_GBRP10:
        return QmxPicture::Format::Rgb444P10;
    default:
        return QmxPicture::Format::Invalid;
    }
}

QmxLibav::Frame QmxLibav::wrap(const QmxPicture &picture)
{
    Frame frame(av_frame_alloc());
    if (!frame || !picture.isValid() || !attach(frame.get(), picture)) return {};
    frame->format = pixelFormat(picture.format());
    frame->width = picture.width();
    frame->height = picture.height();
    frame->extended_data = frame->data;
    const Colour c = colour(picture.size());
    frame->color_primaries = c.primaries;
    frame->color_trc = c.transfer;
    const bool rgb = picture.format() == QmxPicture::Format::Rgb444P10;
    frame->colorspace = rgb ? AVCOL_SPC_RGB : c.matrix;
    frame->color_range = rgb ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    return frame;
}

void QmxLibav::decodeIntoPool(AVCodecContext *context)
{
    context->get_buffer2 = getPoolBuffer;
}

QmxPicture QmxLibav::pooledPicture(const AVFrame *frame)
{
    if (!frame->opaque_ref || frame->opaque_ref->size != sizeof(QmxPicture)) return {};
    const auto *held = reinterpret_cast<const QmxPicture *>(frame->opaque_ref->data);
    // A cropped or converted frame is no longer the picture behind it.
    const bool whole = held->size() == QSize(frame->width, frame->height) &&
                       frame->data[0] == reinterpret_cast<const uint8_t *>(held->row(0, 0));
    return whole || held->format() == QmxPicture::Format::Rgb444P10 ? *held : QmxPicture();
}

QmxLibav::Colour QmxLibav::colour(const QSize &size)
{
    if (size.height() >= firstHdHeight) return {AVCOL_PRI_BT709, AVCOL_TRC_BT709, AVCOL_SPC_BT709};
    if (size.height() == 576) return {AVCOL_PRI_BT470BG, AVCOL_TRC_BT709, AVCOL_SPC_SMPTE170M};
    return {AVCOL_PRI_SMPTE170M, AVCOL_TRC_BT709, AVCOL_SPC_SMPTE170M};
}

bool QmxLibav::topFieldFirst(const QSize &size)
{
    return size.height() != 486 && size.height() != 480;
}

bool QmxLibav::isInterlaced(const AVFrame *frame)
{
#ifdef AV_FRAME_FLAG_INTERLACED
    return frame->flags & AV_FRAME_FLAG_INTERLACED;
#else
    return frame->interlaced_frame;
#endif
}

void QmxLibav::setInterlaced(AVFrame *frame, bool interlaced, bool topFieldFirst)
{
#ifdef AV_FRAME_FLAG_INTERLACED
    frame->flags &= ~(AV_FRAME_FLAG_INTERLACED | AV_FRAME_FLAG_TOP_FIELD_FIRST);
    if (interlaced) frame->flags |= AV_FRAME_FLAG_INTERLACED;
    if (topFieldFirst) frame->flags |= AV_FRAME_FLAG_TOP_FIELD_FIRST;
#else
    frame->interlaced_frame = interlaced;
    frame->top_field_first = topFieldFirst;
#endif
}
