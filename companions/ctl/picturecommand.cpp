// SPDX-License-Identifier: GPL-3.0-or-later
// picture: what is on the output, as a file.
#include "companions/ctl/commands.h"

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
    {"jpg jpeg", AV_CODEC_ID_MJPEG, AV_PIX_FMT_YUVJ420P},
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

/// The preview's planes in full range, as that kind has them; null when there is no memory.
Owned<AVFrame> inFullRange(const QmxPreviewPicture &picture, AVPixelFormat format)
{
    const Owned<SwsContext> scaler(
        sws_getContext(picture.width, picture.height, AV_PIX_FMT_YUV420P, picture.width, picture.height,
                       format, SWS_ACCURATE_RND | SWS_BILINEAR, nullptr, nullptr, nullptr));
    Owned<AVFrame> frame(av_frame_alloc());
    if (!scaler || !frame) return nullptr;
    frame->width = picture.width;
    frame->height = picture.height;
    frame->format = format;
    if (av_frame_get_buffer(frame.get(), 0) < 0) return nullptr;
    const bool isStandardDefinition = picture.format.startsWith(QLatin1String("720x"));
    const int from = isStandardDefinition ? SWS_CS_ITU601 : SWS_CS_ITU709;
    // (Files of this kind are taken for BT.601 everywhere.)
    const int to = format == AV_PIX_FMT_RGB24 ? from : SWS_CS_ITU601;
    sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(from), 0, sws_getCoefficients(to), 1, 0,
                             1 << 16, 1 << 16);
    const auto *luma = reinterpret_cast<const uint8_t *>(picture.luma.constData());
    const auto *cb = reinterpret_cast<const uint8_t *>(picture.cb.constData());
    const auto *cr = reinterpret_cast<const uint8_t *>(picture.cr.constData());
    const uint8_t *const planes[] = {luma, cb, cr, nullptr};
    const int strides[] = {picture.width, picture.width / 2, picture.width / 2, 0};
    sws_scale(scaler.get(), planes, strides, 0, picture.height, frame->data, frame->linesize);
    return frame;
}

QByteArray coded(const QmxPreviewPicture &picture, const KindRow &kind)
{
    const Owned<AVFrame> frame = inFullRange(picture, kind.format);
    const AVCodec *codec = avcodec_find_encoder(kind.codec);
    const Owned<AVCodecContext> encoder(codec ? avcodec_alloc_context3(codec) : nullptr);
    const Owned<AVPacket> packet(av_packet_alloc());
    if (!frame || !encoder || !packet) return {};
    constexpr int fine = 2; // of 31
    encoder->width = frame->width;
    encoder->height = frame->height;
    encoder->pix_fmt = kind.format;
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
    constexpr int pictureWithin = 3000; // ms
    if (!recorder.waitFor([&] { return reader.open() && reader.read(picture) && picture.width > 0; },
                          pictureWithin)) {
        return report.error(ExitCode::Refused, "there is no picture on the output",
                            "`xpctl status` shows what the recorder does, `xpctl doctor` what it lacks");
    }
    if (const QString problem = saved(coded(picture, *kind), name); !problem.isEmpty()) {
        return report.error(ExitCode::Refused,
                            QStringLiteral("the picture cannot be written to %1: %2").arg(name, problem),
                            "choose another folder, or free some space");
    }
    report.result(QStringLiteral("%1: %2x%3, %4")
                      .arg(name)
                      .arg(picture.width)
                      .arg(picture.height)
                      .arg(picture.timecode),
                  {{"file", name},
                   {"width", picture.width},
                   {"height", picture.height},
                   {"timecode", picture.timecode},
                   {"format", picture.format}});
    return ExitCode::Done;
}
