// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresparser.h"

#include <QtEndian>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {
// Offsets in a frame header, which stands behind the frame's size and identifier.
constexpr int prefix = 8;
constexpr int leastHeader = 20;
constexpr int widthAt = 8, heightAt = 10, formatAt = 12, alphaAt = 17, matricesAt = 19;
constexpr uchar lumaMatrixFlag = 2, chromaMatrixFlag = 1;
constexpr uchar flatWeight = 4; ///< of every place where a frame brings no matrix
constexpr int greatestVersion = 1;
constexpr int leastPictureHeader = 8;
constexpr int tableEntry = 2;
constexpr int mostLinesOrColumns = 16384;

QmxError wrong(const char *what)
{
    return QmxError(EINVAL, QStringLiteral("Not a ProRes frame: %1").arg(QLatin1String(what)));
}

int macroblocks(int samples)
{
    return (samples + ProRes::macroblockEdge - 1) / ProRes::macroblockEdge;
}

/// Slices in a row of so many macroblocks when the longest have `length`.
int slicesInRow(int columns, int length)
{
    int count = 0;
    for (; length > 0; columns %= length, length /= 2)
        count += columns / length;
    return count;
}
} // namespace

QmxError ProResCodedFrame::parse(const uchar *bytes, qsizetype available)
{
    slices.clear();
    if (available < prefix + leastHeader || std::memcmp(bytes + 4, "icpf", 4) != 0)
        return wrong("it does not begin like one");
    const qsizetype told = qFromBigEndian<quint32>(bytes);
    if (told < prefix + leastHeader) return wrong("its size is smaller than its header");
    end = bytes + std::min(told, available);
    const uchar *header = bytes + prefix;
    const int headerSize = qFromBigEndian<quint16>(header);
    if (headerSize < leastHeader || headerSize > end - header) return wrong("its header has no room in it");
    if (qFromBigEndian<quint16>(header + 2) > greatestVersion) return wrong("its version is not known");
    size = QSize(qFromBigEndian<quint16>(header + widthAt), qFromBigEndian<quint16>(header + heightAt));
    if (size.isEmpty() || size.width() > mostLinesOrColumns || size.height() > mostLinesOrColumns)
        return wrong("its raster is not possible");
    constexpr int chromaShift = 6, chroma422 = 2, chroma444 = 3;
    const int chroma = header[formatAt] >> chromaShift;
    if (chroma != chroma422 && chroma != chroma444) return wrong("its colour format is not known");
    fullChroma = chroma == chroma444;
    const int interlace = header[formatAt] >> 2 & 3;
    if (interlace > ProResFormat::BottomFieldFirst) return wrong("its order of fields is not known");
    scan = ProResFormat::Scan(interlace);
    constexpr std::array alphas = {0, 8, 16};
    const size_t alpha = header[alphaAt] & 0xf;
    if (alpha >= alphas.size()) return wrong("its alpha channel is not known");
    alphaBits = alphas[alpha];

    const uchar *at = header + leastHeader;
    lumaMatrix.fill(flatWeight);
    chromaMatrix.fill(flatWeight);
    for (const auto &[flag, matrix] :
         {std::pair{lumaMatrixFlag, &lumaMatrix}, {chromaMatrixFlag, &chromaMatrix}}) {
        if (!(header[matricesAt] & flag)) continue;
        if (header + headerSize - at < ProRes::blockSamples) return wrong("its matrices have no room in it");
        std::copy_n(at, ProRes::blockSamples, matrix->begin());
        at += ProRes::blockSamples;
    }
    at = header + headerSize;
    for (int picture = 0; picture < (interlace ? 2 : 1); ++picture)
        if (!parsePicture(at, picture)) return wrong("its pictures have no room in it");
    return QmxError();
}

/// False: there is nothing that could be shown of it.
bool ProResCodedFrame::parsePicture(const uchar *&at, int picture)
{
    if (end - at < leastPictureHeader) return picture > 0 && !slices.empty();
    const int headerSize = at[0] >> 3;
    constexpr int lengthShift = 4, longestShift = 3;
    const int shift = at[7] >> lengthShift;
    if (headerSize < leastPictureHeader || shift > longestShift) return picture > 0 && !slices.empty();
    const int first = scan == ProResFormat::BottomFieldFirst ? 1 - picture : picture;
    const int pictures = scan == ProResFormat::Progressive ? 1 : 2;
    const int rows = macroblocks((size.height() + pictures - 1 - first) / pictures);
    const int columns = macroblocks(size.width());
    const qsizetype count = qsizetype(rows) * slicesInRow(columns, 1 << shift);
    const qsizetype told = qFromBigEndian<quint32>(at + 1);
    const uchar *pictureEnd = at + std::min<qsizetype>(told, end - at);
    const uchar *table = at + headerSize;
    if (pictureEnd - table < count * tableEntry) return picture > 0 && !slices.empty();

    const uchar *data = table + count * tableEntry;
    bool broken = qFromBigEndian<quint16>(at + 5) != quint16(count);
    for (int row = 0; row < rows; ++row)
        for (int column = 0, length = 1 << shift; column < columns; column += length, table += tableEntry) {
            while (length > columns - column)
                length /= 2;
            ProResCodedSlice slice{{picture, column, row, length}, nullptr, qFromBigEndian<quint16>(table)};
            broken = broken || slice.size > pictureEnd - data;
            if (!broken) {
                slice.bytes = data;
                data += slice.size;
            }
            slices.push_back(slice);
        }
    at = pictureEnd;
    return true;
}
