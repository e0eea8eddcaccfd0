// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresentropy.h"

/// From levels back to samples, a block a lane; blocks that are flat cost little. Written with Highway: the
/// best instruction set of the machine is chosen at run time, and every one gives the same samples, because
/// all of it is integer arithmetic of fixed width. Pure; any thread.
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

/// Where the blocks of a component go. In coding order two lines of blocks are filled macroblock by
/// macroblock: luma line by line, colour column by column.
struct Place
{
    quint16 *origin;
    qsizetype stride; ///< in samples
    bool colour;

    quint16 *block(int number, int edge) const
    {
        const int row = colour ? number & 1 : number >> 1 & 1;
        const int column = colour ? number >> 1 : (number >> 2) * 2 + (number & 1);
        return origin + row * edge * stride + column * edge;
    }
};

/// Memory for the work on one component.
struct Scratch
{
    /// Of up to 32 blocks: first those at the first position of all, then those at the second.
    alignas(64) std::array<quint16, ProRes::groupSamples> sample;
    alignas(64) std::array<qint16, ProRes::groupSamples + ProRes::lanes> level;
};

/// Transforms the levels of `blocks` blocks and puts the samples where they belong; no block has a level at
/// the place `places` or behind it.
void reconstruct(const ProResEntropy::Levels &levels, int blocks, int places, const Dequantiser &dequantiser,
                 Scale scale, const Place &place, Scratch &scratch);

} // namespace ProResInverse
