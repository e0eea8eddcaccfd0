// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxpictureconverter.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

namespace {
constexpr size_t maximumScalers = 8; ///< a source that changes its format forever must not collect them

/// The "j" formats say full range by their name; swscale wants it as a flag.
AVPixelFormat withoutRange(int format, bool &full)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        full = true;
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        full = true;
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        full = true;
        return AV_PIX_FMT_YUV444P;
    default:
        return AVPixelFormat(format);
    }
}

bool isRgb(AVPixelFormat format)
{
    const AVPixFmtDescriptor *d = av_pix_fmt_desc_get(format);
    return d && (d->flags & AV_PIX_FMT_FLAG_RGB);
}

/// swscale's flag; R, G, B have none there.
int rangeOf(int format, bool full)
{
    return full && !isRgb(AVPixelFormat(format)) ? 1 : 0;
}

int swsMatrix(AVColorSpace matrix, const QSize &size)
{
    if (matrix == AVCOL_SPC_UNSPECIFIED || matrix == AVCOL_SPC_RGB) matrix = QmxLibav::colour(size).matrix;
    switch (matrix) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    default:
        return SWS_CS_ITU601;
    }
}
} // namespace

SwsContext *QmxPictureConverter::scaler(const Key &key)
{
    for (const Entry &entry : _entries)
        if (entry.key == key) return entry.scaler.get();
    const bool sameSize = key.fromWidth == key.toWidth && key.fromHeight == key.toHeight;
    const bool grows = key.toWidth > key.fromWidth || key.toHeight > key.fromHeight;
    const int flags = (sameSize ? SWS_BILINEAR : grows ? SWS_BICUBIC : SWS_AREA) | SWS_ACCURATE_RND;
    QmxLibav::Scaler made(sws_alloc_context());
    if (!made) return nullptr;
    // The ranges before it is initialised: with equal ones it would copy samples of the same layout as they
    // are.
    const std::pair<const char *, int> options[] = {
        {"srcw", key.fromWidth},
        {"srch", key.fromHeight},
        {"src_format", key.fromFormat},
        {"dstw", key.toWidth},
        {"dsth", key.toHeight},
        {"dst_format", key.toFormat},
        {"src_range", rangeOf(key.fromFormat, key.fromFull)},
        {"dst_range", rangeOf(key.toFormat, key.toFull)},
        {"sws_flags", flags},
    };
    for (const auto &[name, value] : options)
        av_opt_set_int(made.get(), name, value, 0);
    if (sws_init_context(made.get(), nullptr, nullptr) < 0) return nullptr;
    constexpr int unity = 1 << 16;
    sws_setColorspaceDetails(made.get(), sws_getCoefficients(key.fromMatrix), key.fromFull,
                             sws_getCoefficients(key.toMatrix), key.toFull, 0, unity, unity);
    if (_entries.size() == maximumScalers) _entries.erase(_entries.begin());
    _entries.push_back(Entry{key, std::move(made)});
    return _entries.back().scaler.get();
}

bool QmxPictureConverter::run(const AVFrame *frame, AVPixelFormat format, const QSize &size,
                              uint8_t *const data[4], const int stride[4], bool byField)
{
    bool full = frame->color_range == AVCOL_RANGE_JPEG;
    const AVPixelFormat from = withoutRange(frame->format, full);
    if (!sws_isSupportedInput(from) || !sws_isSupportedOutput(format)) return false;
    const int fields = byField ? 2 : 1;
    const QSize fromSize(frame->width, frame->height);
    const Key key{frame->width,
                  frame->height / fields,
                  from,
                  size.width(),
                  size.height() / fields,
                  format,
                  swsMatrix(frame->colorspace, fromSize),
                  swsMatrix(AVCOL_SPC_UNSPECIFIED, size),
                  full || isRgb(from),
                  isRgb(format)};
    SwsContext *context = scaler(key);
    if (!context) return false;
    for (int field = 0; field < fields; ++field) {
        const uint8_t *source[4] = {};
        uint8_t *target[4] = {};
        int sourceStride[4] = {};
        int targetStride[4] = {};
        for (int plane = 0; plane < 4; ++plane) {
            source[plane] =
                frame->data[plane] ? frame->data[plane] + field * frame->linesize[plane] : nullptr;
            sourceStride[plane] = frame->linesize[plane] * fields;
            target[plane] = data[plane] ? data[plane] + field * stride[plane] : nullptr;
            targetStride[plane] = stride[plane] * fields;
        }
        if (sws_scale(context, source, sourceStride, 0, key.fromHeight, target, targetStride) <= 0)
            return false;
    }
    return true;
}

QmxPicture QmxPictureConverter::convert(const AVFrame *frame, QmxPicture::Format format, const QSize &size)
{
    QmxPicture picture = QmxPicture::allocate(format, size);
    const QmxLibav::Frame target = QmxLibav::wrap(picture);
    if (!target) return {};
    const AVPixFmtDescriptor *d = av_pix_fmt_desc_get(AVPixelFormat(frame->format));
    const bool verticalWork = (d && d->log2_chroma_h > 0) || size.height() != frame->height;
    const int wholeFields = d && d->log2_chroma_h > 0 ? 4 : 2;
    const bool byField = QmxLibav::isInterlaced(frame) && verticalWork && size.height() % 2 == 0 &&
                         frame->height % wholeFields == 0;
    if (!run(frame, AVPixelFormat(target->format), size, target->data, target->linesize, byField)) return {};
    return picture;
}

QmxPicture QmxPictureConverter::convert(const QmxPicture &picture, const QSize &size, bool interlaced)
{
    const QmxLibav::Frame frame = QmxLibav::wrap(picture);
    if (!frame) return {};
    QmxLibav::setInterlaced(frame.get(), interlaced, QmxLibav::topFieldFirst(picture.size()));
    return convert(frame.get(), picture.format(), size);
}

QmxPicture QmxPictureConverter::convert(const QmxPicture &picture, QmxPicture::Format format)
{
    const QmxLibav::Frame frame = QmxLibav::wrap(picture);
    return frame ? convert(frame.get(), format, picture.size()) : QmxPicture();
}

bool QmxPictureConverter::convert(const QmxPicture &picture, AVPixelFormat format, const QSize &size,
                                  uint8_t *const data[4], const int stride[4], bool interlaced)
{
    const QmxLibav::Frame frame = QmxLibav::wrap(picture);
    const AVPixFmtDescriptor *d = av_pix_fmt_desc_get(format);
    const bool byField = interlaced && d && d->log2_chroma_h > 0 && size.height() == picture.height() &&
                         size.height() % 4 == 0;
    return frame && run(frame.get(), format, size, data, stride, byField);
}
