// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"

#include <QSize>
#include <QtGlobal>

#include <array>
#include <bit>

/// Numbers and tables of the ProRes bitstream (SMPTE RDD 36) and of its kinds. Constant; any thread.
namespace ProRes {

constexpr int blockEdge = 8;
constexpr int blockSamples = 64;
constexpr int macroblockEdge = 16;
constexpr int largestSlice = 8; ///< macroblocks
/// Blocks that are worked on at once: one component of a 4:4:4 slice (or the luma of a 4:2:2 one), or both
/// colour components of a 4:2:2 slice.
constexpr int lanes = 32;
constexpr int groupSamples = lanes * blockSamples;
/// Greatest quantisation index, and its scale: 1 to 128 are scales themselves, then they go in steps of 4.
constexpr int coarsestQuantiser = 224;
constexpr int coarsestScale = 512;

using Matrix = std::array<quint8, blockSamples>;

/// One kind of ProRes. Bits per macroblock are the published data rates at 29.97 frames (59.94 for 720
/// lines) divided by the macroblocks of the raster.
struct Kind
{
    QmxId dataType;
    const char *fourcc;
    bool fullChroma; ///< 4:4:4, else 4:2:2
    int sdBits;      ///< per macroblock up to 576 lines
    int hd720Bits;
    int hdBits;           ///< 1080 lines and more
    const Matrix *matrix; ///< for luma and chroma, in raster order
};

/// The kind of a data type (202 to 206); ProRes 422 for any other.
const Kind &kind(const QmxId &dataType);
/// Nominal size of a coded frame in bytes: what the data rates published for the kind come to for a raster.
int nominalSize(const Kind &kind, const QSize &size);

/// Raster position of the n-th coefficient of a block in coding order.
const std::array<quint8, blockSamples> &scan(bool interlaced);

/// Scale of a quantisation index, and the index whose scale is nearest below or at a scale.
int scaleOfQuantiser(int quantiser);
int quantiserOfScale(double scale);

/// Rice and exponential Golomb codes combined: up to `lastRiceQuotient` a Rice code of order `rice`, beyond
/// an exponential Golomb code of order `exponential`.
struct Codebook
{
    quint8 lastRiceQuotient;
    quint8 rice;
    quint8 exponential;
};
struct Code
{
    quint32 value;
    int length; ///< bits
};
inline Code code(const Codebook &book, quint32 symbol)
{
    const quint32 quotient = symbol >> book.rice;
    if (quotient <= book.lastRiceQuotient) {
        const quint32 rest = symbol & ((1U << book.rice) - 1);
        return {(1U << book.rice) | rest, int(quotient) + 1 + book.rice};
    }
    const int zeros = book.lastRiceQuotient + 1;
    const quint32 value = symbol - (quint32(zeros) << book.rice) + (1U << book.exponential);
    const int width = std::bit_width(value);
    return {value, zeros + (width - 1 - book.exponential) + width};
}

/// Codes of the first DC coefficient of a slice and of the differences, by the size of the one before.
constexpr Codebook firstDc{0, 5, 6};
constexpr std::array<Codebook, 4> dcDifference = {Codebook{0, 0, 1}, Codebook{0, 1, 2}, Codebook{1, 2, 3},
                                                  Codebook{0, 3, 4}};
constexpr int firstDcDifference = 3; ///< the size that counts as the one before at the start

/// Codes of AC runs and levels, and which of them follows a run or a level.
constexpr int acBooks = 6;
constexpr std::array<Codebook, acBooks> acRun = {Codebook{2, 0, 1}, Codebook{1, 0, 1}, Codebook{0, 0, 1},
                                                 Codebook{1, 1, 2}, Codebook{0, 1, 2}, Codebook{0, 2, 3}};
constexpr std::array<Codebook, acBooks> acLevel = {Codebook{2, 0, 2}, Codebook{1, 0, 1}, Codebook{2, 0, 1},
                                                   Codebook{0, 0, 1}, Codebook{0, 1, 2}, Codebook{0, 2, 3}};
int bookAfterRun(int run);
int bookAfterLevel(int level); ///< level without its sign, from 1
constexpr int firstRun = 4;
constexpr int firstLevel = 2;

} // namespace ProRes
