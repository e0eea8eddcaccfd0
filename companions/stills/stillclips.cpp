// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/stills/stillclips.h"

#include "companions/stills/stillpicture.h"
#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxfiles.h"
#include "platform/qmx/core/qmxids.h"

#include <QDir>
#include <QFileInfo>

#include <array>
#include <cerrno>

namespace {
constexpr char text[] = "LOSS OF VIDEO";

struct Raster
{
    const char *name;
    int width, height;
    bool interlaced;
    int rateNum, rateDen; ///< a usual one; the recorder takes the still at any rate
};
constexpr std::array rasters = {
    Raster{"525i", 720, 486, true, 30000, 1001},    Raster{"625i", 720, 576, true, 25, 1},
    Raster{"720p", 1280, 720, false, 60000, 1001},  Raster{"1080i", 1920, 1080, true, 30000, 1001},
    Raster{"1080p", 1920, 1080, false, 24, 1},      Raster{"2ki", 2048, 1080, true, 30000, 1001},
    Raster{"2kp", 2048, 1080, false, 24, 1},        Raster{"qhdi", 3840, 2160, true, 30000, 1001},
    Raster{"qhdp", 3840, 2160, false, 30000, 1001}, Raster{"4ki", 4096, 2160, true, 30000, 1001},
    Raster{"4kp", 4096, 2160, false, 24, 1},
};
struct Kind
{
    QmxId dataType;
    const char *sampling;
};
constexpr std::array kinds = {Kind{QmxIds::proRes422, "422"}, Kind{QmxIds::proRes4444, "444"}};
constexpr int hdHeight = 720;

QmxImageDesc describe(const Raster &raster, const QmxId &dataType)
{
    QmxImageDesc desc;
    desc.setSize(raster.width, raster.height);
    if (raster.height < hdHeight)
        desc.setAspectRatio(4, 3);
    else
        desc.setAspectRatio(raster.width, raster.height);
    desc.setFrameRate(QmxVideoRate(raster.rateNum, raster.rateDen));
    desc.setScanMode(raster.interlaced ? QmxImageDesc::Interlaced : QmxImageDesc::Progressive);
    desc.setDataType(dataType);
    return desc;
}
} // namespace

QList<StillClip> stillClips()
{
    QList<StillClip> clips;
    for (const Kind &kind : kinds)
        for (const Raster &raster : rasters)
            clips.append({QStringLiteral("prores_%1/loss_of_video_%2_%1.mov")
                              .arg(QLatin1String(kind.sampling), QLatin1String(raster.name)),
                          describe(raster, kind.dataType)});
    return clips;
}

QmxError writeStillClip(const QString &directory, const StillClip &clip)
{
    const QString path = QDir(directory).filePath(clip.file);
    const QString unfinished = path + QStringLiteral(".new");
    if (!QDir().mkpath(QFileInfo(path).path()))
        return QmxError(EACCES, QStringLiteral("Cannot make the directory of %1").arg(path));
    const QmxCodecRow *row = qmxCodec(clip.desc.dataType());
    const QmxPicture picture =
        drawStill(row->pictureFormat, QSize(clip.desc.width(), clip.desc.height()), text);
    if (!picture.isValid())
        return QmxError(ENOMEM, QStringLiteral("No memory for the picture of %1").arg(path));
    QmxBuffer coded;
    QmxError error = row->createEncoder(clip.desc)->encode(picture, coded);
    if (error.isError()) return error;

    const QmxEnvironment environment = QmxEnvironment::current();
    environment.files->unlink(unfinished); // one that a former run left
    QmxClipInfo info;
    info.image = clip.desc;
    QmxFrame frame;
    frame.vids().append(QmxImage(clip.desc, {coded}));
    QmxClipWriter writer(environment);
    error = writer.create(unfinished, info);
    if (!error.isError()) error = writer.writeFrame(frame);
    if (const QmxError closed = writer.close(); !error.isError()) error = closed;
    if (!error.isError() && environment.files->rename(unfinished, path) != 0) {
        const int reason = errno;
        error = QmxError(reason,
                         QStringLiteral("Cannot rename %1: %2").arg(unfinished, QmxError(reason).toString()));
    }
    if (error.isError()) environment.files->unlink(unfinished);
    return error;
}
