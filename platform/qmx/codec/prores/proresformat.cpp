// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresformat.h"
#include "platform/qmx/core/qmxids.h"

#include <algorithm>

namespace {
using ProRes::Matrix;

constexpr Matrix proxyMatrix = {4,  7,  9,  11, 13, 14, 15, 63, 7,  7,  11, 12, 14, 15, 63, 63,
                                9,  11, 13, 14, 15, 63, 63, 63, 11, 11, 13, 14, 63, 63, 63, 63,
                                11, 13, 14, 63, 63, 63, 63, 63, 13, 14, 63, 63, 63, 63, 63, 63,
                                13, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63};
constexpr Matrix ltMatrix = {4, 5,  6,  7,  9,  11, 13, 15, 5,  5,  7,  8,  11, 13, 15, 17,
                             6, 7,  9,  11, 13, 15, 15, 17, 7,  7,  9,  11, 13, 15, 17, 19,
                             7, 9,  11, 13, 14, 16, 19, 23, 9,  11, 13, 14, 16, 19, 23, 29,
                             9, 11, 13, 15, 17, 21, 28, 35, 11, 13, 16, 17, 21, 28, 35, 41};
constexpr Matrix standardMatrix = {4, 4, 5, 5, 6,  7,  7,  9,  4, 4, 5, 6,  7,  7,  9,  9,
                                   5, 5, 6, 7, 7,  9,  9,  10, 5, 5, 6, 7,  7,  9,  9,  10,
                                   5, 6, 7, 7, 8,  9,  10, 12, 6, 7, 7, 8,  9,  10, 12, 15,
                                   6, 7, 7, 9, 10, 11, 14, 17, 7, 7, 9, 10, 11, 14, 17, 21};
constexpr Matrix fineMatrix = {4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4,
                               4, 4, 4, 4, 4, 4, 4, 4, 4, 5, 4, 4, 4, 4, 4, 4, 5, 5, 4, 4, 4, 4,
                               4, 5, 5, 6, 4, 4, 4, 4, 5, 5, 6, 7, 4, 4, 4, 4, 5, 6, 7, 7};

constexpr std::array kinds = {
    ProRes::Kind{QmxIds::proRes422, "apcn", false, 1005, 681, 601, &standardMatrix},
    ProRes::Kind{QmxIds::proRes422Hq, "apch", false, 1507, 1020, 900, &fineMatrix},
    ProRes::Kind{QmxIds::proRes422Lt, "apcs", false, 694, 468, 417, &ltMatrix},
    ProRes::Kind{QmxIds::proRes422Proxy, "apco", false, 287, 208, 184, &proxyMatrix},
    ProRes::Kind{QmxIds::proRes4444, "ap4h", true, 2248, 1529, 1349, &fineMatrix},
};

constexpr std::array<quint8, ProRes::blockSamples> progressiveScan = {
    0,  1,  8,  9,  2,  3,  10, 11, 16, 17, 24, 25, 18, 19, 26, 27, 4,  5,  12, 20, 13, 6,
    7,  14, 21, 28, 29, 22, 15, 23, 30, 31, 32, 33, 40, 48, 41, 34, 35, 42, 49, 56, 57, 50,
    43, 36, 37, 44, 51, 58, 59, 52, 45, 38, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};
constexpr std::array<quint8, ProRes::blockSamples> interlacedScan = {
    0,  8,  1,  9,  16, 24, 17, 25, 2,  10, 3,  11, 18, 26, 19, 27, 32, 40, 33, 34, 41, 48,
    56, 49, 42, 35, 43, 50, 57, 58, 51, 59, 4,  12, 5,  6,  13, 20, 28, 21, 14, 7,  15, 22,
    29, 36, 44, 37, 30, 23, 31, 38, 45, 52, 60, 53, 46, 39, 47, 54, 61, 62, 55, 63};

constexpr int fineScales = 128; ///< up to here an index is its scale
constexpr int coarseStep = 4;
} // namespace

const ProRes::Kind &ProRes::kind(const QmxId &dataType)
{
    for (const Kind &kind : kinds)
        if (kind.dataType == dataType) return kind;
    return kinds.front();
}

int ProRes::nominalSize(const Kind &kind, const QSize &size)
{
    const int bits = size.height() >= 1080  ? kind.hdBits
                     : size.height() >= 720 ? kind.hd720Bits
                                            : kind.sdBits;
    const auto macroblocks = [](int samples) { return (samples + macroblockEdge - 1) / macroblockEdge; };
    return int(qint64(macroblocks(size.width())) * macroblocks(size.height()) * bits / 8);
}

const std::array<quint8, ProRes::blockSamples> &ProRes::scan(bool interlaced)
{
    return interlaced ? interlacedScan : progressiveScan;
}

int ProRes::scaleOfQuantiser(int quantiser)
{
    return quantiser <= fineScales ? quantiser : fineScales + coarseStep * (quantiser - fineScales);
}

int ProRes::quantiserOfScale(double scale)
{
    const int whole = int(std::clamp(scale, 1.0, double(coarsestScale)));
    return whole <= fineScales ? whole : fineScales + (whole - fineScales) / coarseStep;
}

int ProRes::bookAfterRun(int run)
{
    return run <= 1 ? 0 : run <= 3 ? 1 : run == 4 ? 2 : run <= 8 ? 3 : run <= 14 ? 4 : 5;
}

int ProRes::bookAfterLevel(int level)
{
    return level <= 4 ? level - 1 : level <= 8 ? 4 : 5;
}
