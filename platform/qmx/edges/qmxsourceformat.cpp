// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxsourceformat.h"
#include "platform/qmx/core/qmxids.h"

#include <QRegularExpression>

#include <array>
#include <cmath>
#include <limits>

namespace {
constexpr int hdHeight = 720;

struct StandardRate
{
    int num;
    int den;
    const char *text;
};
constexpr std::array standardRates = {
    StandardRate{24000, 1001, "23.98"}, StandardRate{24, 1, "24"}, StandardRate{25, 1, "25"},
    StandardRate{30000, 1001, "29.97"}, StandardRate{30, 1, "30"}, StandardRate{50, 1, "50"},
    StandardRate{60000, 1001, "59.94"}, StandardRate{60, 1, "60"}, StandardRate{24000, 1001, "23.976"},
};

constexpr int progressive = QmxImageDesc::Progressive;
constexpr int interlaced = QmxImageDesc::Interlaced;
constexpr int segmented = QmxImageDesc::SegmentedFrame;

/// A raster with the range of rates (rows of standardRates) that it is recorded at.
struct Row
{
    int width;
    int height;
    int scanMode;
    int firstRate;
    int lastRate;
};
constexpr std::array recordable = {
    Row{720, 486, interlaced, 3, 3},  Row{720, 576, interlaced, 2, 2},   Row{1280, 720, progressive, 5, 7},
    Row{1920, 1080, segmented, 0, 4}, Row{1920, 1080, interlaced, 2, 4}, Row{1920, 1080, progressive, 0, 7},
    Row{2048, 1080, segmented, 0, 4}, Row{2048, 1080, interlaced, 2, 4}, Row{2048, 1080, progressive, 0, 7},
    Row{3840, 2160, segmented, 0, 4}, Row{3840, 2160, interlaced, 2, 4}, Row{3840, 2160, progressive, 0, 7},
    Row{4096, 2160, segmented, 0, 4}, Row{4096, 2160, interlaced, 2, 4}, Row{4096, 2160, progressive, 0, 7},
};

QmxVideoRate rateOf(int row)
{
    return QmxVideoRate(standardRates[size_t(row)].num, standardRates[size_t(row)].den);
}
} // namespace

QmxVideoRate QmxSourceFormat::rateFromText(const QString &text)
{
    for (const StandardRate &rate : standardRates)
        if (text == QLatin1String(rate.text)) return QmxVideoRate(rate.num, rate.den);
    static const QRegularExpression fraction(QStringLiteral("^(\\d{1,6})(?:/(\\d{1,6}))?$"));
    const QRegularExpressionMatch match = fraction.match(text);
    if (!match.hasMatch()) return {};
    const int den = match.captured(2).isEmpty() ? 1 : match.captured(2).toInt();
    return QmxVideoRate::stated(match.captured(1).toInt(), den);
}

QmxVideoRate QmxSourceFormat::rateFromMeasurement(qint64 num, qint64 den)
{
    if (num <= 0 || den <= 0) return {};
    constexpr double tolerance = 0.0004; // 30 and 30000/1001 are 0.001 apart
    const double measured = double(num) / double(den);
    for (const StandardRate &rate : standardRates) {
        const double standard = double(rate.num) / rate.den;
        if (std::abs(measured - standard) < standard * tolerance) return QmxVideoRate(rate.num, rate.den);
    }
    return QmxVideoRate::stated(num, den);
}

int QmxSourceFormat::variableRateClass(const QmxVideoRate &rate)
{
    constexpr int classes = 5;
    for (int row = 0; row < classes; ++row)
        if (rateOf(row) == rate) return row + 1;
    return 0;
}

QSize QmxSourceFormat::sizeFromText(const QString &text)
{
    static const QRegularExpression size(QStringLiteral("^(\\d{2,4})x(\\d{2,4})$"));
    const QRegularExpressionMatch match = size.match(text);
    return match.hasMatch() ? QSize(match.captured(1).toInt(), match.captured(2).toInt()) : QSize();
}

int QmxSourceFormat::scanModeFromText(const QString &text)
{
    if (text == QLatin1String("p")) return progressive;
    if (text == QLatin1String("i")) return interlaced;
    if (text == QLatin1String("psf")) return segmented;
    return -1;
}

QmxImageDesc QmxSourceFormat::fromText(const QString &text)
{
    static const QRegularExpression format(QStringLiteral("^(\\d+x\\d+)(psf|p|i)([\\d./]+)$"));
    const QRegularExpressionMatch match = format.match(text);
    if (!match.hasMatch()) return {};
    const QSize size = sizeFromText(match.captured(1));
    const QmxVideoRate rate = rateFromText(match.captured(3));
    if (size.isEmpty() || !rate.isValid()) return {};
    return desc(size, rate, scanModeFromText(match.captured(2)));
}

QmxImageDesc QmxSourceFormat::desc(const QSize &size, const QmxVideoRate &rate, int scanMode)
{
    QmxImageDesc result;
    result.setSize(size.width(), size.height());
    if (size.height() < hdHeight)
        result.setAspectRatio(4, 3);
    else
        result.setAspectRatio(size.width(), size.height());
    result.setFrameRate(rate);
    result.setScanMode(scanMode);
    result.setDataType(QmxIds::uncompressed10);
    return result;
}

bool QmxSourceFormat::isRecordable(const QmxImageDesc &desc)
{
    for (const Row &row : recordable) {
        if (row.width != desc.width() || row.height != desc.height() || row.scanMode != desc.scanMode())
            continue;
        for (int rate = row.firstRate; rate <= row.lastRate; ++rate)
            if (rateOf(rate) == desc.frameRate()) return true;
    }
    return false;
}

QmxImageDesc QmxSourceFormat::nearest(const QmxImageDesc &wanted)
{
    QmxImageDesc best = wanted;
    double bestCost = std::numeric_limits<double>::max();
    const auto distance = [](double a, double b) { return std::abs(std::log(std::max(a, 1.0) / b)); };
    for (const Row &row : recordable) {
        for (int rate = row.firstRate; rate <= row.lastRate; ++rate) {
            constexpr double sizeWeight = 100, scanWeight = 10;
            const double cost =
                sizeWeight * (distance(wanted.width(), row.width) + distance(wanted.height(), row.height)) +
                scanWeight * (wanted.scanMode() != row.scanMode) +
                distance(wanted.frameRate().toDouble(), rateOf(rate).toDouble());
            if (cost >= bestCost) continue;
            bestCost = cost;
            best = desc(QSize(row.width, row.height), rateOf(rate), row.scanMode);
        }
    }
    return best;
}

QmxVideoState QmxSourceFormat::state(const QmxImageDesc &desc)
{
    QmxVideoState result;
    result.setPresent(true);
    result.setValid(true);
    result.setInputImageDesc(desc);
    const bool canRecord = isRecordable(desc);
    result.setCaptureImageDesc(canRecord ? desc : nearest(desc));
    if (!canRecord) result.setRecInhibit(QmxIds::unsupportedInput);
    return result;
}

QmxAudioDesc QmxSourceFormat::audioDesc(const QmxVideoRate &rate)
{
    QmxAudioDesc result;
    result.setDataType(QmxIds::pcm);
    result.setChannels(audioChannels);
    result.setSampleRate(qmxAudioRate, 1);
    result.setFrameRate(rate);
    return result;
}
