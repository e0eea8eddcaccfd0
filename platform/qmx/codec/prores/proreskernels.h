// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresformat.h"

/// The arithmetic of a group of blocks at once, a block a lane. Written with Highway: the best instruction
/// set of the machine is chosen at run time, and every one gives the same numbers, because all of it is
/// integer arithmetic of fixed width. Pure; any thread. Coefficients and levels lie by place: first those of
/// all lanes at the first place in coding order, then those at the second, and so on.
namespace ProResKernels {

/// Where the blocks are: the first sample of each, and the samples from one line to the next. Samples are of
/// 10 bits; greater ones count as 1023.
struct Blocks
{
    std::array<const quint16 *, ProRes::lanes> first;
    qsizetype stride;
};

/// Weights by place in coding order that take the transform's output to coefficients: one eighth of the step
/// that quantiser 1 has at that place.
struct Weights
{
    std::array<quint8, ProRes::blockSamples> place; ///< raster position of the n-th coefficient
    std::array<qint32, ProRes::blockSamples> factor;
    std::array<int, ProRes::blockSamples> shift;
};
Weights weights(const ProRes::Matrix &matrix, bool interlaced);

/// Parts of a step of quantiser 1 that coefficients are counted in.
constexpr int fraction = 8;

/// Forward DCT of all lanes, weighted. The DCT is the fast one of Arai, Agui and Nakajima with constants of
/// 13 bits and three bits more than the samples have.
void transform(const Blocks &blocks, const Weights &weights, qint16 *coefficients);

/// How coefficients become levels: (|c| + offset) / step, and 0 below `least`; the division is exact.
struct Quantiser
{
    explicit Quantiser(int scale);
    static constexpr quint16 noneReaches = 0xffff; ///< for `least`
    // In steps. What only just makes a level costs more bits than it is worth; found by trial, at equal size,
    // on six kinds of pictures.
    static constexpr double leastShare = 0.75;
    static constexpr double offsetShare = 0.4375;

    quint16 step;
    quint16 offset;     ///< for AC: less than half a step, which saves more bits than it costs in quality
    quint16 least;      ///< AC coefficients below it become 0
    quint16 dcOffset;   ///< half a step
    quint16 reciprocal; ///< 2^(16 + shift) / step, rounded up
    int shift;
};

/// Levels without their signs, and of each place one bit a lane: set when the level is not 0, when the
/// coefficient is negative; these words are little-endian.
struct Levels
{
    alignas(64) std::array<quint16, ProRes::groupSamples> size;
    alignas(64) std::array<quint32, ProRes::blockSamples> present;
    alignas(64) std::array<quint32, ProRes::blockSamples> negative;
};
void quantise(const qint16 *coefficients, const Quantiser &quantiser, Levels &levels);

/// How many AC coefficients reach each of these sizes.
constexpr int thresholds = 13;
constexpr int firstThreshold = 5; ///< the next is twice as large, and so on
using Counts = std::array<quint32, thresholds>;
/// Adds those of a group.
void count(const qint16 *coefficients, Counts &counts);

} // namespace ProResKernels
