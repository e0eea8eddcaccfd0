// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/stillfiles.h"

#include "platform/qmx/core/qmxids.h"

namespace {
struct Raster
{
    const char *name;
    int width, height;
    bool interlaced;
    int rateNum, rateDen;
};
constexpr Raster rasters[] = {
    {"525i", 720, 486, true, 30000, 1001},    {"625i", 720, 576, true, 25, 1},
    {"720p", 1280, 720, false, 60000, 1001},  {"1080i", 1920, 1080, true, 30000, 1001},
    {"1080p", 1920, 1080, false, 24, 1},      {"2ki", 2048, 1080, true, 30000, 1001},
    {"2kp", 2048, 1080, false, 24, 1},        {"qhdi", 3840, 2160, true, 30000, 1001},
    {"qhdp", 3840, 2160, false, 30000, 1001}, {"4ki", 4096, 2160, true, 30000, 1001},
    {"4kp", 4096, 2160, false, 24, 1},
};

struct Kind
{
    QmxId dataType; ///< ProRes 422 stands for all that code 4:2:2
    const char *sampling;
};
constexpr Kind kinds[] = {{QmxIds::proRes422, "422"}, {QmxIds::proRes4444, "444"}};

QmxImageDesc describe(const Raster &raster, const QmxId &dataType)
{
    constexpr int hdHeight = 720;
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

const QList<StillFile> &stillFiles()
{
    static const QList<StillFile> files = [] {
        QList<StillFile> made;
        for (const Kind &kind : kinds)
            for (const Raster &raster : rasters)
                made.append({QStringLiteral("prores_%1/loss_of_video_%2_%1.mov")
                                 .arg(QLatin1String(kind.sampling), QLatin1String(raster.name)),
                             describe(raster, kind.dataType)});
        return made;
    }();
    return files;
}

QString findStillFile(const QmxImageDesc &desc)
{
    const QmxId family = QmxIds::isProRes422(desc.dataType()) ? QmxIds::proRes422 : desc.dataType();
    for (const StillFile &still : stillFiles())
        if (still.desc.width() == desc.width() && still.desc.height() == desc.height() &&
            still.desc.dataType() == family && still.desc.isInterlaced() == desc.isInterlaced())
            return still.file;
    return {};
}
