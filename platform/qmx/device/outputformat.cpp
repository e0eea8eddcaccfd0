// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/outputformat.h"

#include "platform/qmx/core/qmxids.h"

#include <QStringList>

namespace {
constexpr int firstHdHeight = 720;
constexpr double lowestCrossRate = 50; ///< 720 lines have no slower one
constexpr double highestSegmentedRate = 30;

void setRaster(QmxImageDesc &desc, int width, int height)
{
    desc.setSize(width, height);
    if (height < firstHdHeight)
        desc.setAspectRatio(4, 3);
    else
        desc.setAspectRatio(width, height);
}

/// Rates of the 625-line countries are multiples of 25.
bool isOf625Lines(const QmxVideoRate &rate)
{
    return rate.den() == 1 && rate.num() % 25 == 0;
}

bool hasSize(const QmxImageDesc &desc, int width, int height)
{
    return desc.width() == width && desc.height() == height;
}
} // namespace

QmxImageDesc OutputFormat::converted(const QmxImageDesc &desc, const QmxId &conversion)
{
    QmxImageDesc result = desc;
    const bool isHd = desc.height() >= firstHdHeight;
    if (conversion == QmxIds::conversionCross) {
        if (desc.scanMode() != QmxImageDesc::Progressive ||
            desc.frameRate().toDouble() < lowestCrossRate * 0.99)
            return result;
        if (hasSize(desc, 1280, 720))
            setRaster(result, 1920, 1080);
        else if (hasSize(desc, 1920, 1080))
            setRaster(result, 1280, 720);
    } else if (conversion == QmxIds::conversionUp && desc.isValid() && !isHd) {
        setRaster(result, 1920, 1080);
    } else if (conversion == QmxIds::conversionDown && isHd) {
        setRaster(result, 720, isOf625Lines(desc.frameRate()) ? 576 : 486);
    }
    return result;
}

QmxImageDesc OutputFormat::shown(const QmxImageDesc &desc, const QmxVideoDeviceSetup &setup)
{
    QmxImageDesc result = converted(desc, setup.videoOutConvert());
    if (setup.forcePSFOutput() && result.scanMode() == QmxImageDesc::Progressive &&
        result.frameRate().toDouble() <= highestSegmentedRate)
        result.setScanMode(QmxImageDesc::SegmentedFrame);
    return result;
}

QString OutputFormat::describe(const QmxVideoDeviceSetup &setup)
{
    QStringList parts;
    if (setup.videoOutputType().isValid()) parts.append(setup.videoOutputType().name());
    parts.append(setup.videoOutputSDILevelA() ? QStringLiteral("SDI level A")
                                              : QStringLiteral("SDI level B"));
    if (setup.hdmiOutputMode().isValid())
        parts.append(QStringLiteral("HDMI ") + setup.hdmiOutputMode().name());
    if (setup.audioInputLevel().isValid())
        parts.append(QStringLiteral("analog ") + setup.audioInputLevel().name());
    return parts.join(QStringLiteral(", "));
}
