// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresentropy.h"

/// From levels back to samples, a block a lane. Written with Highway: the best instruction set of the machine
/// is chosen at run time, and every one gives the same samples, because all of it is integer arithmetic of
/// fixed width. Pure; any thread.
namespace ProResInverse {

/// Edge of a decoded block: 8, or less for pictures a half, a quarter and an eighth as wide and high, which
/// are made of the lowest frequencies alone.
enum class Scale { Full = 8, Half = 4, Quarter = 2, Eighth = 1 };
inline int edge(Scale scale)
{
    return int(scale);
}
/// Places in coding order that a block needs for its scale: those of the lowest frequencies come first.
inline int placesNeeded(Scale scale)
{
    return edge(scale) * edge(scale);
}

/// What takes levels to the transform's input, by place in coding order: the matrix, the quantiser and the
/// gains of the fast transform.
struct Dequantiser
{
    Dequantiser() = default;
    Dequantiser(const ProRes::Matrix &matrix, int quantiser, bool interlaced, Scale scale);

    std::array<quint8, ProRes::blockSamples>
        place{}; ///< index of the n-th coefficient in a block of this scale
    std::array<qint32, ProRes::blockSamples> factor{}; ///< with `factorBits` behind the point
    /// No level counts for more than this: what is beyond cannot come from samples of 10 bits.
    std::array<qint16, ProRes::blockSamples> most{};
};
constexpr int factorBits = 14;
/// Bits behind the point in the transform. Then the samples are within 1 of those of the exact inverse cosine
/// transform (in double precision, rounded once).
constexpr int sampleBits = 6;
/// Samples are 4 to 1019: the others have a meaning of their own on serial interfaces (ITU-R BT.656).
constexpr int leastSample = 4;
constexpr int greatestSample = 1019;

/// Samples of up to 32 blocks: first those at the first position of all lanes, then those at the second.
struct Samples
{
    alignas(64) std::array<quint16, ProRes::groupSamples> sample;
};

/// Transforms the levels of `blocks` blocks; none of them has one at the place `places` or behind it.
void transform(const ProResEntropy::Levels &levels, int blocks, int places, const Dequantiser &dequantiser,
               Scale scale, Samples &samples);

/// Puts blocks where they belong: `first` is the first sample of each, lines are `stride` samples apart.
void store(const Samples &samples, int blocks, quint16 *const *first, qsizetype stride, Scale scale);

} // namespace ProResInverse
