// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/codec/prores/proreskernels.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "platform/qmx/codec/prores/proreskernels.h"

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>

HWY_BEFORE_NAMESPACE();
namespace ProResKernels::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int edge = ProRes::blockEdge;
constexpr int lanes = ProRes::lanes;
constexpr int midSample = 512;
constexpr int greatestSample = 1023;
constexpr int extraBits = 3;     ///< of the samples, so that rounding in the transform stays small
constexpr int constantBits = 13; ///< of the transform's constants

using Wide = hn::CappedTag<int32_t, lanes>;
using WideVector = hn::Vec<Wide>;
using Narrow = hn::Rebind<int16_t, Wide>;

#if HWY_TARGET == HWY_SCALAR
/// One line of eight blocks, which lie anywhere, as eight rows of eight lanes: a transposition.
void loadLine(const quint16 *const *first, qsizetype offset, qint16 *out)
{
    for (int lane = 0; lane < edge; ++lane)
        for (int x = 0; x < edge; ++x)
            out[x * lanes + lane] = qint16(std::min<int>(first[lane][offset + x], greatestSample));
}
#else
HWY_INLINE void loadLine(const quint16 *const *first, qsizetype offset, qint16 *out)
{
    const hn::FixedTag<uint16_t, edge> d;
    const hn::FixedTag<uint32_t, edge / 2> d32;
    const hn::FixedTag<uint64_t, edge / 4> d64;
    const auto top = hn::Set(d, greatestSample);
    const auto line = [&](int i) HWY_ATTR { return hn::Min(hn::LoadU(d, first[i] + offset), top); };
    const auto pairs = [&](auto a, auto b, auto &low, auto &high) HWY_ATTR {
        low = hn::BitCast(d32, hn::InterleaveLower(d, a, b));
        high = hn::BitCast(d32, hn::InterleaveUpper(d, a, b));
    };
    const auto quads = [&](auto a, auto b, auto &low, auto &high) HWY_ATTR {
        low = hn::BitCast(d64, hn::InterleaveLower(d32, a, b));
        high = hn::BitCast(d64, hn::InterleaveUpper(d32, a, b));
    };
    const auto store = [&](auto a, auto b, int x) HWY_ATTR {
        auto *low = reinterpret_cast<uint16_t *>(out) + x * lanes;
        hn::StoreU(hn::BitCast(d, hn::InterleaveLower(d64, a, b)), d, low);
        hn::StoreU(hn::BitCast(d, hn::InterleaveUpper(d64, a, b)), d, low + lanes);
    };
    hn::Vec<decltype(d32)> a0, a1, b0, b1, c0, c1, e0, e1;
    pairs(line(0), line(1), a0, a1);
    pairs(line(2), line(3), b0, b1);
    pairs(line(4), line(5), c0, c1);
    pairs(line(6), line(7), e0, e1);
    hn::Vec<decltype(d64)> p0, p1, p2, p3, q0, q1, q2, q3;
    quads(a0, b0, p0, p1);
    quads(a1, b1, p2, p3);
    quads(c0, e0, q0, q1);
    quads(c1, e1, q2, q3);
    store(p0, q0, 0);
    store(p1, q1, 2);
    store(p2, q2, 4);
    store(p3, q3, 6);
}

#endif

/// v times a constant of `constantBits`, rounded.
HWY_INLINE WideVector times(WideVector v, int constant)
{
    const Wide d;
    const auto half = hn::Set(d, 1 << (constantBits - 1));
    return hn::ShiftRight<constantBits>(hn::Add(hn::Mul(v, hn::Set(d, constant)), half));
}

/// Eight samples, `step` apart, to their DCT in place; the k-th output is 2 sqrt(2) s(k) times the
/// orthonormal one (s in weights()).
HWY_INLINE void transformEight(WideVector *v, int step)
{
    constexpr int cos4 = 5793;          // cos(4 pi / 16)
    constexpr int cos6 = 3135;          // cos(6 pi / 16)
    constexpr int cos2MinusCos6 = 4433; // cos(2 pi / 16) - cos(6 pi / 16)
    constexpr int cos2PlusCos6 = 10703; // cos(2 pi / 16) + cos(6 pi / 16)
    const auto sum = [&](int i) HWY_ATTR { return hn::Add(v[i * step], v[(edge - 1 - i) * step]); };
    const auto difference = [&](int i) HWY_ATTR { return hn::Sub(v[i * step], v[(edge - 1 - i) * step]); };
    const auto s0 = sum(0), s1 = sum(1), s2 = sum(2), s3 = sum(3);
    const auto d0 = difference(0), d1 = difference(1), d2 = difference(2), d3 = difference(3);

    const auto e0 = hn::Add(s0, s3), e3 = hn::Sub(s0, s3);
    const auto e1 = hn::Add(s1, s2), e2 = hn::Sub(s1, s2);
    const auto even = times(hn::Add(e2, e3), cos4);
    v[0] = hn::Add(e0, e1);
    v[4 * step] = hn::Sub(e0, e1);
    v[2 * step] = hn::Add(e3, even);
    v[6 * step] = hn::Sub(e3, even);

    const auto o0 = hn::Add(d3, d2), o1 = hn::Add(d2, d1), o2 = hn::Add(d1, d0);
    const auto turn = times(hn::Sub(o0, o2), cos6);
    const auto low = hn::Add(times(o0, cos2MinusCos6), turn);
    const auto high = hn::Add(times(o2, cos2PlusCos6), turn);
    const auto middle = times(o1, cos4);
    const auto plus = hn::Add(d0, middle), minus = hn::Sub(d0, middle);
    v[5 * step] = hn::Add(minus, low);
    v[3 * step] = hn::Sub(minus, low);
    v[1 * step] = hn::Add(plus, high);
    v[7 * step] = hn::Sub(plus, high);
}

void transform(const Blocks &blocks, const Weights &weights, qint16 *coefficients)
{
    const Wide d;
    const Narrow narrow;
    alignas(64) qint16 samples[ProRes::groupSamples];
    for (int y = 0; y < edge; ++y)
        for (int lane = 0; lane < lanes; lane += edge)
            loadLine(blocks.first.data() + lane, y * blocks.stride, samples + y * edge * lanes + lane);
    const auto middle = hn::Set(d, midSample);
    for (size_t lane = 0; lane < size_t(lanes); lane += hn::Lanes(d)) {
        WideVector v[ProRes::blockSamples];
        for (size_t i = 0; i < ProRes::blockSamples; ++i) {
            const auto sample = hn::PromoteTo(d, hn::LoadU(narrow, samples + i * lanes + lane));
            v[i] = hn::ShiftLeft<extraBits>(hn::Sub(sample, middle));
        }
        for (int x = 0; x < edge; ++x)
            transformEight(v + x, edge);
        for (int y = 0; y < edge; ++y)
            transformEight(v + y * edge, 1);
        for (size_t n = 0; n < ProRes::blockSamples; ++n) {
            const int shift = weights.shift[n];
            const auto half = hn::Set(d, 1 << (shift - 1));
            const auto product = hn::Mul(v[weights.place[n]], hn::Set(d, weights.factor[n]));
            const auto weighted = hn::ShiftRightSame(hn::Add(product, half), shift);
            hn::StoreU(hn::DemoteTo(narrow, weighted), narrow, coefficients + n * lanes + lane);
        }
    }
}

#if HWY_TARGET == HWY_SCALAR
/// What the others have to agree with: plain division.
void quantise(const qint16 *coefficients, const Quantiser &quantiser, Levels &levels)
{
    for (size_t n = 0; n < ProRes::blockSamples; ++n) {
        quint32 present = 0, negative = 0;
        for (size_t lane = 0; lane < size_t(lanes); ++lane) {
            const int c = coefficients[n * lanes + lane];
            const int size = std::abs(c);
            const int rounding = n == 0 ? quantiser.dcOffset : quantiser.offset;
            const int level = n > 0 && size < quantiser.least ? 0 : (size + rounding) / quantiser.step;
            levels.size[n * lanes + lane] = quint16(level);
            present |= quint32(level > 0) << lane;
            negative |= quint32(c < 0) << lane;
        }
        levels.present[n] = qToLittleEndian(present);
        levels.negative[n] = qToLittleEndian(negative);
    }
}
#else
void quantise(const qint16 *coefficients, const Quantiser &quantiser, Levels &levels)
{
    const hn::CappedTag<int16_t, lanes> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    const auto reciprocal = hn::Set(du, quantiser.reciprocal);
    const auto least = hn::Set(du, quantiser.least);
    const auto zero = hn::Zero(d);
    auto offset = hn::Set(du, quantiser.dcOffset);
    auto floor = hn::Zero(du);
    for (size_t n = 0; n < ProRes::blockSamples; ++n) {
        for (size_t lane = 0; lane < size_t(lanes); lane += hn::Lanes(d)) {
            const auto c = hn::LoadU(d, coefficients + n * lanes + lane);
            const auto size = hn::BitCast(du, hn::Abs(c));
            const auto quotient =
                hn::ShiftRightSame(hn::MulHigh(hn::Add(size, offset), reciprocal), quantiser.shift);
            // Unsigned: the most negative coefficient has no positive one of its size.
            const auto kept = hn::IfThenElseZero(hn::Eq(hn::Max(size, floor), size), quotient);
            hn::StoreU(kept, du, levels.size.data() + n * lanes + lane);
            auto *present = reinterpret_cast<uint8_t *>(&levels.present[n]) + lane / 8;
            auto *negative = reinterpret_cast<uint8_t *>(&levels.negative[n]) + lane / 8;
            hn::StoreMaskBits(du, hn::Ne(kept, hn::Zero(du)), present);
            hn::StoreMaskBits(d, hn::Lt(c, zero), negative);
        }
        offset = hn::Set(du, quantiser.offset);
        floor = least;
    }
}
#endif

void count(const qint16 *coefficients, Counts &counts)
{
    const hn::CappedTag<int16_t, lanes> d;
    hn::Vec<decltype(d)> sums[thresholds];
    for (auto &sum : sums)
        sum = hn::Zero(d);
    for (size_t n = lanes; n < ProRes::groupSamples; n += hn::Lanes(d)) {
        const auto size = hn::Abs(hn::LoadU(d, coefficients + n));
        for (int i = 0; i < thresholds; ++i) {
            const auto reached = hn::Gt(size, hn::Set(d, int16_t((firstThreshold << i) - 1)));
            sums[i] = hn::Sub(sums[i], hn::VecFromMask(d, reached));
        }
    }
    for (int i = 0; i < thresholds; ++i) {
        alignas(64) int16_t lane[hn::MaxLanes(d)];
        hn::StoreU(sums[i], d, lane);
        for (size_t k = 0; k < hn::Lanes(d); ++k)
            counts[size_t(i)] += quint32(lane[k]);
    }
}

} // namespace ProResKernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ProResKernels {
HWY_EXPORT(transform);
HWY_EXPORT(quantise);
HWY_EXPORT(count);
} // namespace ProResKernels

ProResKernels::Weights ProResKernels::weights(const ProRes::Matrix &matrix, bool interlaced)
{
    // sqrt(2) cos(k pi / 16), but 1 for 0: what the transform leaves in its k-th output.
    constexpr std::array<double, ProRes::blockEdge> gain = {1, 1.387039845, 1.306562965, 1.175875602,
                                                            1, 0.785694958, 0.541196100, 0.275899379};
    // The output is 64 times gains times the orthonormal coefficient, a step of quantiser 1 is a quarter of
    // the matrix's value. The factors have as many bits as 32-bit products leave room for.
    constexpr double outputScale = 64;
    constexpr int leastShift = 15;
    Weights result{};
    const auto &scan = ProRes::scan(interlaced);
    for (size_t n = 0; n < ProRes::blockSamples; ++n) {
        const size_t place = scan[n];
        const int weight = matrix[place];
        const double factor =
            4.0 * fraction / weight /
            (outputScale * gain[place % ProRes::blockEdge] * gain[place / ProRes::blockEdge]);
        const int shift = leastShift + std::ilogb(weight / 4.0);
        result.place[n] = quint8(place);
        result.shift[n] = shift;
        result.factor[n] = qint32(std::lround(std::ldexp(factor, shift)));
    }
    return result;
}

ProResKernels::Quantiser::Quantiser(int scale)
{
    const int wide = fraction * scale;
    step = quint16(wide);
    offset = quint16(wide * offsetShare);
    least = quint16(wide * leastShare);
    dcOffset = quint16(wide / 2);
    // So that the reciprocal has 16 bits: then the quotient is exact for every coefficient.
    shift = std::bit_width(unsigned(wide - 1)) - 1;
    const quint32 dividend = 1U << (16 + shift);
    reciprocal = quint16((dividend + quint32(wide) - 1) / quint32(wide));
}

void ProResKernels::transform(const Blocks &blocks, const Weights &weights, qint16 *coefficients)
{
    HWY_DYNAMIC_DISPATCH(transform)(blocks, weights, coefficients);
}

void ProResKernels::quantise(const qint16 *coefficients, const Quantiser &quantiser, Levels &levels)
{
    HWY_DYNAMIC_DISPATCH(quantise)(coefficients, quantiser, levels);
}

void ProResKernels::count(const qint16 *coefficients, Counts &counts)
{
    HWY_DYNAMIC_DISPATCH(count)(coefficients, counts);
}
#endif
