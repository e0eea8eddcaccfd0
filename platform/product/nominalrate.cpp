// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/nominalrate.h"

#include "platform/qmx/codec/prores/proresformat.h"
#include "platform/qmx/core/qmxids.h"

#include <QRegularExpression>
#include <QSize>
#include <QString>

#include <algorithm>
#include <cmath>

namespace {
struct CodecRow
{
    unsigned value; ///< of record_codec
    QmxId dataType;
};
const CodecRow coded[] = {
    {0, QmxIds::proRes422},      {1, QmxIds::proRes422Hq}, {2, QmxIds::proRes422Lt},
    {3, QmxIds::proRes422Proxy}, {7, QmxIds::proRes4444},
};
constexpr unsigned uncompressed8 = 8;
constexpr unsigned uncompressed10 = 9;

/// Widths of the formats that are called by their lines alone.
int widthOf(int lines)
{
    constexpr std::pair<int, int> widths[] = {{1080, 1920}, {720, 1280}, {576, 720}, {486, 720}};
    for (const auto &[height, width] : widths)
        if (height == lines) return width;
    return 0;
}

double bytesOfPicture(unsigned codec, const QSize &size)
{
    const double pixels = double(size.width()) * size.height();
    if (codec == uncompressed8) return pixels * 2;
    constexpr int pixelsOfGroup = 48;
    constexpr int bytesOfGroup = 128;
    if (codec == uncompressed10)
        return double((size.width() + pixelsOfGroup - 1) / pixelsOfGroup) * bytesOfGroup * size.height();
    const auto row = std::find_if(std::begin(coded), std::end(coded),
                                  [codec](const CodecRow &one) { return one.value == codec; });
    return row == std::end(coded) ? 0 : ProRes::nominalSize(ProRes::kind(row->dataType), size);
}
} // namespace

QmxId recordedDataType(unsigned codec)
{
    if (codec == uncompressed8) return QmxIds::uncompressed8;
    if (codec == uncompressed10) return QmxIds::uncompressed10;
    const auto row = std::find_if(std::begin(coded), std::end(coded),
                                  [codec](const CodecRow &one) { return one.value == codec; });
    return row == std::end(coded) ? QmxId() : row->dataType;
}

std::optional<QmxImageDesc> recordedFormat(unsigned codec, const std::string &format)
{
    static const QRegularExpression form(
        QStringLiteral("^(?:(\\d+)x)?(\\d+)(?:p|psf|i)(\\d+(?:\\.\\d+)?)(?:_variable)?$"));
    const QRegularExpressionMatch match = form.match(QString::fromStdString(format));
    if (!match.hasMatch()) return std::nullopt;
    const int lines = match.captured(2).toInt();
    const int width = match.captured(1).isEmpty() ? widthOf(lines) : match.captured(1).toInt();
    if (width == 0) return std::nullopt;
    QmxImageDesc desc;
    desc.setSize(width, lines);
    const double rate = match.captured(3).toDouble();
    const int whole = int(std::lround(rate));
    constexpr int thousand = 1000;
    desc.setFrameRate(std::abs(rate - whole) < 1.0 / thousand ? QmxVideoRate(whole)
                                                              : QmxVideoRate(whole * thousand, thousand + 1));
    desc.setDataType(recordedDataType(codec));
    return desc;
}

double nominalRate(unsigned codec, const std::string &format, int audioChannels)
{
    const std::optional<QmxImageDesc> desc = recordedFormat(codec, format);
    if (!desc) return 0;
    constexpr double bytesOfSound = 3.0 * 48000; // a channel, a second
    const double picture = bytesOfPicture(codec, QSize(desc->width(), desc->height()));
    return picture > 0 ? picture * desc->frameRate().toDouble() + audioChannels * bytesOfSound : 0;
}
