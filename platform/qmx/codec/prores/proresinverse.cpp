// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/codec/prores/proresinverse.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "platform/qmx/codec/prores/proresinverse.h"

#include <algorithm>
#include <cmath>

HWY_BEFORE_NAMESPACE();
namespace ProResInverse::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int lanes = ProRes::lanes;
constexpr int midSample = 512;
constexpr int constantBits = 13; ///< of the transform's constants

using Wide = hn::CappedTag<int32_t, lanes>;
using WideVector = hn::Vec<Wide>;
using Narrow = hn::Rebind<int16_t, Wide>;

/// v times a constant below 1, rounded.
HWY_INLINE WideVector part(WideVector v, int constant)
{
    const Wide d;
    const auto half = hn::Set(d, 1 << (constantBits - 1));
    return hn::ShiftRight<constantBits>(hn::Add(hn::Mul(v, hn::Set(d, constant)), half));
}

// The constants of the transforms are above 1: what is above it is added, so that products fit into 32 bits.
HWY_INLINE WideVector timesRoot2(WideVector v) // sqrt(2)
{
    return hn::Add(v, part(v, 3393));
}

/// Eight coefficients, `step` apart, to their inverse DCT in place: that of Arai, Agui and Nakajima, which
/// wants the gains of Dequantiser in its input.
HWY_INLINE void inverseEight(WideVector *v, int step)
{
    const auto sum04 = hn::Add(v[0], v[4 * step]), difference04 = hn::Sub(v[0], v[4 * step]);
    const auto sum26 = hn::Add(v[2 * step], v[6 * step]);
    const auto turn26 = hn::Sub(timesRoot2(hn::Sub(v[2 * step], v[6 * step])), sum26);
    const auto e0 = hn::Add(sum04, sum26), e3 = hn::Sub(sum04, sum26);
    const auto e1 = hn::Add(difference04, turn26), e2 = hn::Sub(difference04, turn26);

    const auto sum53 = hn::Add(v[5 * step], v[3 * step]), difference53 = hn::Sub(v[5 * step], v[3 * step]);
    const auto sum17 = hn::Add(v[1 * step], v[7 * step]), difference17 = hn::Sub(v[1 * step], v[7 * step]);
    const auto o0 = hn::Add(sum17, sum53);
    const auto cross = timesRoot2(hn::Sub(sum17, sum53));
    const auto both = hn::Add(difference53, difference17);
    // 2 cos(pi / 8), 2 (cos(pi / 8) - cos(3 pi / 8)) and 2 (cos(pi / 8) + cos(3 pi / 8))
    const auto turn = hn::Sub(hn::Add(both, both), part(both, 1247));
    const auto low = hn::Sub(turn, hn::Add(difference17, part(difference17, 675)));
    const auto high = hn::Sub(turn, hn::Add(hn::Add(difference53, difference53), part(difference53, 5023)));
    const auto o1 = hn::Sub(high, o0);
    const auto o2 = hn::Sub(cross, o1);
    const auto o3 = hn::Sub(low, o2);
    v[0] = hn::Add(e0, o0);
    v[7 * step] = hn::Sub(e0, o0);
    v[1 * step] = hn::Add(e1, o1);
    v[6 * step] = hn::Sub(e1, o1);
    v[2 * step] = hn::Add(e2, o2);
    v[5 * step] = hn::Sub(e2, o2);
    v[3 * step] = hn::Add(e3, o3);
    v[4 * step] = hn::Sub(e3, o3);
}

/// The same of four; the input of the odd ones has no gain.
HWY_INLINE void inverseFour(WideVector *v, int step)
{
    constexpr int high = 2511, low = 4433; // sqrt(2) cos(pi / 8) - 1, sqrt(2) cos(3 pi / 8)
    const auto large = [&](WideVector x) HWY_ATTR { return hn::Add(x, part(x, high)); };
    const auto e0 = hn::Add(v[0], v[2 * step]), e1 = hn::Sub(v[0], v[2 * step]);
    const auto o0 = hn::Add(large(v[step]), part(v[3 * step], low));
    const auto o1 = hn::Sub(part(v[step], low), large(v[3 * step]));
    v[0] = hn::Add(e0, o0);
    v[3 * step] = hn::Sub(e0, o0);
    v[step] = hn::Add(e1, o1);
    v[2 * step] = hn::Sub(e1, o1);
}

template <int edge>
HWY_INLINE void inverse(WideVector *v, int step)
{
    if constexpr (edge == 8)
        inverseEight(v, step);
    else if constexpr (edge == 4)
        inverseFour(v, step);
    else if constexpr (edge == 2) {
        const auto sum = hn::Add(v[0], v[step]);
        v[step] = hn::Sub(v[0], v[step]);
        v[0] = sum;
    }
}

/// Which coefficients of some blocks there are.
enum class Content { All, LowestQuarter, Dc };

/// The blocks from `lane` on, as many as fit into a vector.
template <int edge, Content content>
void transformLanes(const qint16 *levels, int blocks, int places, const Dequantiser &dequantiser,
                    quint16 *samples, int lane)
{
    constexpr int count = edge * edge;
    /// Coefficients beyond are 0 in both directions.
    constexpr int used = content == Content::LowestQuarter ? edge / 2 : edge;
    const Wide d;
    const Narrow narrow;
    const hn::RebindToUnsigned<Narrow> unsignedNarrow;
    const auto half = hn::Set(d, 1 << (factorBits - 1));
    const auto bias = hn::Set(d, (midSample << sampleBits) + (1 << (sampleBits - 1)));
    const auto least = hn::Set(narrow, leastSample), greatest = hn::Set(narrow, greatestSample);
    const auto coefficient = [&](size_t n) HWY_ATTR {
        const auto level = hn::LoadU(narrow, levels + n * size_t(blocks) + lane);
        const auto most = hn::Set(narrow, dequantiser.most[n]);
        const auto kept = hn::Max(hn::Min(level, most), hn::Neg(most));
        const auto product = hn::Mul(hn::PromoteTo(d, kept), hn::Set(d, dequantiser.factor[n]));
        return hn::ShiftRight<factorBits>(hn::Add(product, half));
    };
    const auto finished = [&](WideVector v) HWY_ATTR {
        const auto sample = hn::DemoteTo(narrow, hn::ShiftRight<sampleBits>(v));
        return hn::BitCast(unsignedNarrow, hn::Max(hn::Min(sample, greatest), least));
    };
    if constexpr (content == Content::Dc) {
        const auto flat = finished(hn::Add(coefficient(0), bias));
        for (int i = 0; i < count; ++i)
            hn::StoreU(flat, unsignedNarrow, samples + i * lanes + lane);
        return;
    }
    WideVector v[count];
    for (int i = 0; i < count; ++i)
        v[i] = hn::Zero(d);
    for (size_t n = 0; n < size_t(std::min(places, used * used)); ++n)
        v[dequantiser.place[n]] = coefficient(n);
    v[0] = hn::Add(v[0], bias);
    for (int x = 0; x < used; ++x)
        inverse<edge>(v + x, edge);
    for (int y = 0; y < edge; ++y) {
        if constexpr (used < edge) {
            // Known to be 0 here, which the compiler makes use of.
            WideVector line[edge];
            for (int x = 0; x < edge; ++x)
                line[x] = x < used ? v[y * edge + x] : hn::Zero(d);
            inverse<edge>(line, 1);
            for (int x = 0; x < edge; ++x)
                v[y * edge + x] = line[x];
        } else {
            inverse<edge>(v + y * edge, 1);
        }
    }
    for (int i = 0; i < count; ++i)
        hn::StoreU(finished(v[i]), unsignedNarrow, samples + i * lanes + lane);
}

/// What there is of the blocks from `lane` on; those of a vector may be taken for more than they have.
template <int edge>
HWY_INLINE Content contentOf(const qint16 *levels, int blocks, int places, int lane)
{
    const Narrow narrow;
    constexpr int low = edge / 2 * (edge / 2);
    auto any = hn::Zero(narrow);
    for (int n = low; n < places; ++n)
        any = hn::Or(any, hn::LoadU(narrow, levels + n * blocks + lane));
    if (!hn::AllTrue(narrow, hn::Eq(any, hn::Zero(narrow)))) return Content::All;
    for (int n = 1; n < std::min(low, places); ++n)
        any = hn::Or(any, hn::LoadU(narrow, levels + n * blocks + lane));
    return hn::AllTrue(narrow, hn::Eq(any, hn::Zero(narrow))) ? Content::Dc : Content::LowestQuarter;
}

template <int edge>
void transformBlocks(const qint16 *levels, int blocks, int places, const Dequantiser &dequantiser,
                     quint16 *samples)
{
    places = std::min(places, edge * edge);
    const int together = int(hn::Lanes(Wide()));
    for (int lane = 0; lane < blocks; lane += together) {
        if constexpr (edge == ProRes::blockEdge) {
            switch (contentOf<edge>(levels, blocks, places, lane)) {
            case Content::All:
                break;
            case Content::LowestQuarter:
                transformLanes<edge, Content::LowestQuarter>(levels, blocks, places, dequantiser, samples,
                                                             lane);
                continue;
            case Content::Dc:
                transformLanes<edge, Content::Dc>(levels, blocks, places, dequantiser, samples, lane);
                continue;
            }
        }
        transformLanes<edge, Content::All>(levels, blocks, places, dequantiser, samples, lane);
    }
}

void transform(const ProResEntropy::Levels &levels, int blocks, int places, const Dequantiser &dequantiser,
               Scale scale, Samples &samples)
{
    const qint16 *level = levels.level.data();
    quint16 *sample = samples.sample.data();
    switch (scale) {
    case Scale::Full:
        return transformBlocks<8>(level, blocks, places, dequantiser, sample);
    case Scale::Half:
        return transformBlocks<4>(level, blocks, places, dequantiser, sample);
    case Scale::Quarter:
        return transformBlocks<2>(level, blocks, places, dequantiser, sample);
    case Scale::Eighth:
        return transformBlocks<1>(level, blocks, places, dequantiser, sample);
    }
}

#if HWY_TARGET != HWY_SCALAR
/// One line of eight whole blocks: a transposition.
HWY_INLINE void storeLine(const quint16 *samples, quint16 *const *first, qsizetype offset)
{
    const hn::FixedTag<uint16_t, 8> d;
    const hn::FixedTag<uint32_t, 4> d32;
    const hn::FixedTag<uint64_t, 2> d64;
    const auto row = [&](int x) HWY_ATTR { return hn::Load(d, samples + x * lanes); };
    const auto pairs = [&](auto a, auto b, auto &low, auto &high) HWY_ATTR {
        low = hn::BitCast(d32, hn::InterleaveLower(d, a, b));
        high = hn::BitCast(d32, hn::InterleaveUpper(d, a, b));
    };
    const auto quads = [&](auto a, auto b, auto &low, auto &high) HWY_ATTR {
        low = hn::BitCast(d64, hn::InterleaveLower(d32, a, b));
        high = hn::BitCast(d64, hn::InterleaveUpper(d32, a, b));
    };
    const auto put = [&](auto a, auto b, int lane) HWY_ATTR {
        hn::StoreU(hn::BitCast(d, hn::InterleaveLower(d64, a, b)), d, first[lane] + offset);
        hn::StoreU(hn::BitCast(d, hn::InterleaveUpper(d64, a, b)), d, first[lane + 1] + offset);
    };
    hn::Vec<decltype(d32)> a0, a1, b0, b1, c0, c1, e0, e1;
    pairs(row(0), row(1), a0, a1);
    pairs(row(2), row(3), b0, b1);
    pairs(row(4), row(5), c0, c1);
    pairs(row(6), row(7), e0, e1);
    hn::Vec<decltype(d64)> p0, p1, p2, p3, q0, q1, q2, q3;
    quads(a0, b0, p0, p1);
    quads(a1, b1, p2, p3);
    quads(c0, e0, q0, q1);
    quads(c1, e1, q2, q3);
    put(p0, q0, 0);
    put(p1, q1, 2);
    put(p2, q2, 4);
    put(p3, q3, 6);
}
#endif

void store(const Samples &samples, int blocks, quint16 *const *first, qsizetype stride, Scale scale)
{
    const int length = edge(scale);
    int lane = 0;
#if HWY_TARGET != HWY_SCALAR
    constexpr int together = 8;
    if (scale == Scale::Full)
        for (; lane + together <= blocks; lane += together)
            for (int y = 0; y < length; ++y)
                storeLine(samples.sample.data() + y * length * lanes + lane, first + lane, y * stride);
#endif
    for (; lane < blocks; ++lane)
        for (int y = 0; y < length; ++y)
            for (int x = 0; x < length; ++x)
                first[lane][y * stride + x] = samples.sample[size_t((y * length + x) * lanes + lane)];
}

} // namespace ProResInverse::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ProResInverse {
HWY_EXPORT(transform);
HWY_EXPORT(store);
} // namespace ProResInverse

ProResInverse::Dequantiser::Dequantiser(const ProRes::Matrix &matrix, int quantiser, bool interlaced,
                                        Scale scale)
{
    // sqrt(2) cos(k pi / 16), but 1 for 0: what the fast transform of eight wants in its k-th input. Shorter
    // transforms want none.
    constexpr std::array<double, ProRes::blockEdge> gain = {1, 1.387039845, 1.306562965, 1.175875602,
                                                            1, 0.785694958, 0.541196100, 0.275899379};
    constexpr double quarterStep = 4; ///< a step of quantiser 1 is a quarter of the matrix's value
    constexpr qint64 greatestProduct = 1 << 30;
    const int length = edge(scale);
    const auto &order = ProRes::scan(interlaced);
    for (size_t n = 0; n < size_t(placesNeeded(scale)); ++n) {
        const int x = order[n] % ProRes::blockEdge, y = order[n] / ProRes::blockEdge;
        place[n] = quint8(y * length + x);
        double value =
            matrix[order[n]] * ProRes::scaleOfQuantiser(quantiser) / quarterStep / ProRes::blockEdge;
        if (scale == Scale::Full) value *= gain[size_t(x)] * gain[size_t(y)];
        const qint64 exact = std::llround(std::ldexp(value, sampleBits + factorBits));
        factor[n] = qint32(std::min(exact, greatestProduct));
        most[n] = factor[n] ? qint16(std::clamp<qint64>(greatestProduct / factor[n], 1, 32767)) : qint16(0);
    }
}

void ProResInverse::transform(const ProResEntropy::Levels &levels, int blocks, int places,
                              const Dequantiser &dequantiser, Scale scale, Samples &samples)
{
    HWY_DYNAMIC_DISPATCH(transform)(levels, blocks, places, dequantiser, scale, samples);
}

void ProResInverse::store(const Samples &samples, int blocks, quint16 *const *first, qsizetype stride,
                          Scale scale)
{
    HWY_DYNAMIC_DISPATCH(store)(samples, blocks, first, stride, scale);
}
#endif
