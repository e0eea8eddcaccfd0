// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/thumbnails.h"

#include "platform/product/clipscan.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/codec/qmxvideocodec.h"

#include <QFile>
#include <QSaveFile>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <set>

#include <fcntl.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

constexpr int width = 192;
constexpr int quality = 4; ///< libavcodec's scale for JPEG: 2 is best
/// Where in a clip its picture is taken.
constexpr int tenth = 10;

QmxPicture pictureOf(const std::string &clip, const QmxEnvironment &environment)
{
    QmxClipReader reader(environment);
    if (reader.open(QString::fromLocal8Bit(clip)).isError()) return {};
    QmxFrame frame;
    if (reader.readFrame(reader.info().frames / tenth, frame).isError()) return {};
    const QList<QmxImage> images = std::as_const(frame).vids();
    if (images.isEmpty() || !images.first().isValid()) return {};
    const QmxImage &image = images.first();
    const QmxCodecRow *codec = qmxCodec(image.desc().dataType());
    const auto decoder = codec ? codec->createDecoder(image.desc()) : nullptr;
    QmxPicture picture;
    // At least as large as it will be shown.
    const int divisor = int(std::bit_floor(unsigned(std::max(1, image.desc().width() / width))));
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
    small->width = width;
    small->height = std::max(2, width * picture.height() / picture.width() / 2 * 2);
    const QmxLibav::Scaler scaler(sws_getContext(picture.width(), picture.height(),
                                                 AVPixelFormat(source->format), small->width, small->height,
                                                 AV_PIX_FMT_YUVJ420P, SWS_AREA, nullptr, nullptr, nullptr));
    if (!scaler || av_frame_get_buffer(small.get(), 0) < 0) return nullptr;
    sws_scale(scaler.get(), source->data, source->linesize, 0, picture.height(), small->data,
              small->linesize);
    return small;
}

qint64 timeOf(const std::string &path, const QmxEnvironment &environment)
{
    struct stat64 status = {};
    if (environment.files->stat(QString::fromLocal8Bit(path), &status) != 0) return -1;
    return status.st_mtim.tv_sec;
}

bool save(const std::string &path, const QByteArray &bytes, qint64 time)
{
    QSaveFile file(QString::fromLocal8Bit(path));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) return false;
    const struct timespec times[] = {{time, 0}, {time, 0}};
    return utimensat(AT_FDCWD, path.c_str(), times, 0) == 0;
}

} // namespace

QByteArray makeThumbnail(const std::string &clip, const QmxEnvironment &environment)
{
    const QmxPicture picture = pictureOf(clip, environment);
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

int keepThumbnails(const std::string &medium, const std::string &folder, const QmxEnvironment &environment,
                   const std::function<bool()> &goesOn)
{
    std::error_code failed;
    fs::create_directories(folder, failed);
    std::set<std::string> wanted;
    std::set<std::string> clips;
    fs::directory_iterator entry(medium, failed);
    for (const fs::directory_iterator end; !failed && entry != end; entry.increment(failed))
        if (isClipName(entry->path().filename().string())) clips.insert(entry->path().filename().string());
    if (failed) return 0; // gone: its pictures are wanted again when it comes back
    int made = 0;
    for (const std::string &name : clips) {
        const std::string clip = medium + "/" + name;
        const std::string thumbnail = folder + "/" + name + ".jpg";
        const qint64 time = timeOf(clip, environment);
        wanted.insert(name + ".jpg");
        if (time < 0 || timeOf(thumbnail, environment) == time) continue;
        if (!goesOn()) return made;
        // One that cannot be decoded gets an empty file, so that it is not tried again and again.
        if (save(thumbnail, makeThumbnail(clip, environment), time)) ++made;
    }
    fs::directory_iterator old(folder, failed);
    for (const fs::directory_iterator end; !failed && old != end; old.increment(failed)) {
        std::error_code kept;
        if (!wanted.contains(old->path().filename().string())) fs::remove(old->path(), kept);
    }
    return made;
}
