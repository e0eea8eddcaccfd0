// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/lossofvideofile.h"

#include "platform/qmx/core/qmxids.h"

namespace {

QmxId familyOf(const QmxId &dataType)
{
    return QmxIds::isProRes422(dataType) ? QmxIds::proRes422 : dataType;
}

} // namespace

const QList<LossOfVideoFile> &lossOfVideoFiles()
{
    constexpr QmxId is422 = QmxIds::proRes422;
    constexpr QmxId is444 = QmxIds::proRes4444;
    static const QList<LossOfVideoFile> files = {
        {720, 486, true, is422, "prores_422/loss_of_video_525i_422.mov"},
        {720, 576, true, is422, "prores_422/loss_of_video_625i_422.mov"},
        {1280, 720, false, is422, "prores_422/loss_of_video_720p_422.mov"},
        {1920, 1080, true, is422, "prores_422/loss_of_video_1080i_422.mov"},
        {1920, 1080, false, is422, "prores_422/loss_of_video_1080p_422.mov"},
        {2048, 1080, true, is422, "prores_422/loss_of_video_2ki_422.mov"},
        {2048, 1080, false, is422, "prores_422/loss_of_video_2kp_422.mov"},
        {3840, 2160, true, is422, "prores_422/loss_of_video_qhdi_422.mov"},
        {3840, 2160, false, is422, "prores_422/loss_of_video_qhdp_422.mov"},
        {4096, 2160, true, is422, "prores_422/loss_of_video_4ki_422.mov"},
        {4096, 2160, false, is422, "prores_422/loss_of_video_4kp_422.mov"},
        {720, 486, true, is444, "prores_444/loss_of_video_525i_444.mov"},
        {720, 576, true, is444, "prores_444/loss_of_video_625i_444.mov"},
        {1280, 720, false, is444, "prores_444/loss_of_video_720p_444.mov"},
        {1920, 1080, true, is444, "prores_444/loss_of_video_1080i_444.mov"},
        {1920, 1080, false, is444, "prores_444/loss_of_video_1080p_444.mov"},
        {2048, 1080, true, is444, "prores_444/loss_of_video_2ki_444.mov"},
        {2048, 1080, false, is444, "prores_444/loss_of_video_2kp_444.mov"},
        {3840, 2160, true, is444, "prores_444/loss_of_video_qhdi_444.mov"},
        {3840, 2160, false, is444, "prores_444/loss_of_video_qhdp_444.mov"},
        {4096, 2160, true, is444, "prores_444/loss_of_video_4ki_444.mov"},
        {4096, 2160, false, is444, "prores_444/loss_of_video_4kp_444.mov"},
    };
    return files;
}

QString findLossOfVideoFile(const QmxImageDesc &desc)
{
    const QmxId family = familyOf(desc.dataType());
    for (const LossOfVideoFile &file : lossOfVideoFiles()) {
        if (file.width == desc.width() && file.height == desc.height() && file.dataType == family &&
            file.interlaced == desc.isInterlaced())
            return file.fileName;
    }
    return {};
}
