// SPDX-License-Identifier: GPL-3.0-or-later
// picture: what is on the output, as a file.
#include "companions/ctl/commands.h"

#include "platform/qmx/edges/qmxfullpicture.h"
#include "platform/qmx/edges/qmxpreview.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswscale/swscale.h>
}

#include <memory>

namespace {
struct Freed
{
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
    void operator()(AVCodecContext *codec) const { avcodec_free_context(&codec); }
    void operator()(SwsContext *scaler) const { sws_freeContext(scaler); }
};
template <typename T>
using Owned = std::unique_ptr<T, Freed>;

/// How pictures are written, by the ending of the name; the first one is for names without.
struct KindRow
{
    const char *endings; ///< separated by blanks
    AVCodecID codec;
    AVPixelFormat format;
};
constexpr KindRow kinds[] = {
    {"png", AV_CODEC_ID_PNG, AV_PIX_FMT_RGB24},
    {"jpg jpeg", AV_CODEC_ID_MJPEG, AV_PIX_FMT_YUV420P},
};

/// Null: no kind has this ending.
const KindRow *kindOf(const QString &name)
{
    const QString ending = QFileInfo(name).suffix().toLower();
    if (ending.isEmpty() || name.startsWith(QLatin1String("/dev/"))) return kinds;
    for (const KindRow &row : kinds)
        if (QString::fromLatin1(row.endings).split(' ').contains(ending)) return &row;
    return nullptr;
}

/// Where a picture lies, as libav wants it.
struct Samples
{
    int width = 0;
    int height = 0;
    AVPixelFormat format = AV_PIX_FMT_YUV420P;
    const uint8_t *planes[4] = {};
    int strides[4] = {};
    bool isStandardDefinition = false;
};

Samples samplesOf(const QmxPreviewPicture &picture)
{
    Samples samples;
    samples.width = picture.width;
    samples.height = picture.height;
    const QByteArray *planes[] = {&picture.luma, &picture.cb, &picture.cr};
    for (int i = 0; i < 3; ++i) {
        samples.planes[i] = reinterpret_cast<const uint8_t *>(planes[i]->constData());
        samples.strides[i] = i == 0 ? picture.width : picture.width / 2;
    }
    samples.isStandardDefinition = picture.format.startsWith(QLatin1String("720x"));
    return samples;
}

Samples samplesOf(const QmxFullPicture &picture)
{
    constexpr int standardWidth = 720;
    Samples samples;
    samples.width = picture.width;
    samples.height = picture.height;
    const bool isRgb = picture.format == QmxPicture::Format::Rgb444P10;
    samples.format = isRgb                                             ? AV_PIX_FMT_GBRP10
                     : picture.format == QmxPicture::Format::Yuv444P10 ? AV_PIX_FMT_YUV444P10
                                                                       : AV_PIX_FMT_YUV422P10;
    for (int i = 0; i < 3; ++i) {
        const int plane = isRgb ? (i + 1) % 3 : i; // green, blue, red
        samples.planes[i] = reinterpret_cast<const uint8_t *>(picture.planes[size_t(plane)].data());
        samples.strides[i] = picture.planeWidth(plane) * int(sizeof(quint16));
    }
    samples.isStandardDefinition = picture.width == standardWidth;
    return samples;
}

/// In full range, as that kind of file has it; null when there is no memory.
Owned<AVFrame> inFullRange(const Samples &samples, AVPixelFormat format)
{
    const Owned<SwsContext> scaler(
        sws_getContext(samples.width, samples.height, samples.format, samples.width, samples.height, format,
                       SWS_ACCURATE_RND | SWS_BILINEAR, nullptr, nullptr, nullptr));
    Owned<AVFrame> frame(av_frame_alloc());
    if (!scaler || !frame) return nullptr;
    frame->width = samples.width;
    frame->height = samples.height;
    frame->format = format;
    frame->color_range = AVCOL_RANGE_JPEG;
    if (av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
    const int from = samples.isStandardDefinition ? SWS_CS_ITU601 : SWS_CS_ITU709;
    // (JPEG files are taken for BT.601 everywhere.)
    const int to = format == AV_PIX_FMT_RGB24 ? from : SWS_CS_ITU601;
    const int fromFull = samples.format == AV_PIX_FMT_GBRP10 ? 1 : 0;
    sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(from), fromFull, sws_getCoefficients(to), 1, 0,
                             1 << 16, 1 << 16);
    sws_scale(scaler.get(), samples.planes, samples.strides, 0, samples.height, frame->data, frame->linesize);
    return frame;
}

QByteArray coded(const Samples &samples, const KindRow &kind)
{
    const Owned<AVFrame> frame = inFullRange(samples, kind.format);
    const AVCodec *codec = avcodec_find_encoder(kind.codec);
    const Owned<AVCodecContext> encoder(codec ? avcodec_alloc_context3(codec) : nullptr);
    const Owned<AVPacket> packet(av_packet_alloc());
    if (!frame || !encoder || !packet) return {};
    constexpr int fine = 2; // of 31
    encoder->width = frame->width;
    encoder->height = frame->height;
    encoder->pix_fmt = kind.format;
    encoder->color_range = AVCOL_RANGE_JPEG;
    encoder->time_base = {1, 1};
    encoder->flags |= AV_CODEC_FLAG_QSCALE;
    encoder->global_quality = fine * FF_QP2LAMBDA;
    frame->quality = encoder->global_quality;
    if (avcodec_open2(encoder.get(), codec, nullptr) < 0 ||
        avcodec_send_frame(encoder.get(), frame.get()) < 0 ||
        avcodec_receive_packet(encoder.get(), packet.get()) < 0)
        return {};
    return {reinterpret_cast<const char *>(packet->data), packet->size};
}

/// Empty, or why not. What had this name before is there until the new picture is whole; a device is written
/// to.
QString saved(const QByteArray &png, const QString &name)
{
    if (png.isEmpty()) return QStringLiteral("it cannot be coded");
    const bool isFile = QFileInfo(name).isFile() || !QFileInfo::exists(name);
    QSaveFile file(name);
    QFile device(name);
    QFileDevice &target = isFile ? static_cast<QFileDevice &>(file) : device;
    const bool isWritten =
        target.open(QIODevice::WriteOnly) && target.write(png) == png.size() && target.flush();
    return isWritten && (!isFile || file.commit()) ? QString() : target.errorString();
}
} // namespace

ExitCode ctlPicture(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    const QString name = QString::fromStdString(arguments.word(0));
    if (name.isEmpty()) return report.error(ExitCode::Usage, "FILE is empty", "give the picture a name");
    const KindRow *kind = kindOf(name);
    if (!kind)
        return report.error(ExitCode::Usage,
                            QStringLiteral("%1 has an ending that is no picture's").arg(name),
                            "call it .png or .jpg");
    QmxPreviewReader reader;
    QmxPreviewPicture picture;
    constexpr std::chrono::seconds pictureWithin(3);
    if (!recorder.waitFor([&] { return reader.open() && reader.read(picture) && picture.width > 0; },
                          pictureWithin)) {
        return report.error(ExitCode::Refused, "there is no picture on the output",
                            "`xpctl status` shows what the recorder does, `xpctl doctor` what it lacks");
    }
    Samples samples = samplesOf(picture);
    QmxFullPictureReader fullReader;
    QmxFullPicture full;
    if (arguments.full) {
        const bool isAsked = fullReader.open(QmxFullPicture::nameBeside(QmxPreview::defaultName()));
        if (isAsked) fullReader.ask();
        if (!isAsked || !recorder.waitFor([&] { return fullReader.read(full); }, pictureWithin) ||
            full.width == 0)
            return report.error(ExitCode::Refused, "there is no picture of full size",
                                "without --full it is the preview's");
        samples = samplesOf(full);
    }
    if (const QString problem = saved(coded(samples, *kind), name); !problem.isEmpty()) {
        return report.error(ExitCode::Refused,
                            QStringLiteral("the picture cannot be written to %1: %2").arg(name, problem),
                            "choose another folder, or free some space");
    }
    report.result(QStringLiteral("%1: %2x%3, %4")
                      .arg(name)
                      .arg(samples.width)
                      .arg(samples.height)
                      .arg(picture.timecode),
                  {{"file", name},
                   {"width", samples.width},
                   {"height", samples.height},
                   {"timecode", picture.timecode},
                   {"format", picture.format}});
    return ExitCode::Done;
}
