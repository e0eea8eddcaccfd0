// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/codec/prores/proresinverse.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "platform/qmx/codec/prores/proresinverse-inl.h"
#include "platform/qmx/codec/prores/proresinverse.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <utility>

HWY_BEFORE_NAMESPACE();
namespace ProResInverse::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int lanes = ProRes::lanes;
constexpr int midSample = 512;

using Narrow = hn::Rebind<int16_t, Wide>;

/// Levels to the transform's input and the transform's output to samples: what all blocks have in common.
struct Arithmetic
{
    explicit Arithmetic(const Dequantiser &dequantiser) : _dequantiser(dequantiser) {}

    /// The n-th coefficients of some blocks.
    HWY_INLINE WideVector coefficient(hn::Vec<Narrow> levels, size_t n) const
    {
        const Wide d;
        const Narrow narrow;
        const auto most = hn::Set(narrow, _dequantiser.most[n]);
        const auto kept = hn::Max(hn::Min(levels, most), hn::Neg(most));
        const auto product = hn::Mul(hn::PromoteTo(d, kept), hn::Set(d, _dequantiser.factor[n]));
        return hn::ShiftRight<factorBits>(hn::Add(product, hn::Set(d, 1 << (factorBits - 1))));
    }
    /// Of the first coefficient, with what is the same in all samples.
    HWY_INLINE WideVector mean(const qint16 *levels) const
    {
        const Wide d;
        return hn::Add(coefficient(hn::LoadU(Narrow(), levels), 0),
                       hn::Set(d, (midSample << sampleBits) + (1 << (sampleBits - 1))));
    }
    /// As samples.
    static HWY_INLINE hn::Vec<hn::RebindToUnsigned<Narrow>> finished(WideVector v)
    {
        const Narrow narrow;
        const auto sample = hn::DemoteTo(narrow, hn::ShiftRight<sampleBits>(v));
        const auto kept =
            hn::Max(hn::Min(sample, hn::Set(narrow, greatestSample)), hn::Set(narrow, leastSample));
        return hn::BitCast(hn::RebindToUnsigned<Narrow>(), kept);
    }
    static HWY_INLINE void store(WideVector v, quint16 *samples)
    {
        hn::StoreU(finished(v), hn::RebindToUnsigned<Narrow>(), samples);
    }

private:
    const Dequantiser &_dequantiser;
};

/// Both directions; coefficients at `used` and beyond are 0 in both.
template <int edge, int used>
HWY_INLINE void inverseBoth(WideVector *v, unsigned columns, quint16 *samples)
{
    for (int x = 0; x < used; ++x)
        if (columns >> x & 1) inverse<edge>(v + x, edge);
    for (int y = 0; y < edge; ++y) {
        // What is known to be 0 here the compiler makes use of.
        WideVector line[edge];
        for (int x = 0; x < edge; ++x)
            line[x] = x < used ? v[y * edge + x] : hn::Zero(Wide());
        inverse<edge>(line, 1);
        for (int x = 0; x < edge; ++x)
            Arithmetic::store(line[x], samples + (y * edge + x) * lanes);
    }
}

/// Without a loop: of that GCC would make a string instruction, which takes longer than storing zeros.
template <size_t... i>
HWY_INLINE void clear(WideVector *v, std::index_sequence<i...>)
{
    ((v[i] = hn::Zero(Wide())), ...);
}

/// As many blocks as fit into a vector. Drawn pictures have many blocks that change in one direction only.
template <int edge>
void transformLanes(const qint16 *levels, int blocks, int places, const Dequantiser &dequantiser,
                    quint16 *samples)
{
    constexpr int count = edge * edge;
    const Narrow narrow;
    const hn::RebindToUnsigned<Narrow> unsignedNarrow;
    const Arithmetic arithmetic(dequantiser);
    // First what there is, then that: whether a place has anything nobody can foretell.
    quint64 present = 0;
    for (size_t n = 1; n < size_t(places); ++n) {
        const auto level = hn::LoadU(narrow, levels + n * size_t(blocks));
        present |= quint64(!hn::AllTrue(narrow, hn::Eq(level, hn::Zero(narrow)))) << n;
    }
    WideVector v[count];
    clear(v, std::make_index_sequence<count>());
    v[0] = arithmetic.mean(levels);
    unsigned columns = 1, rows = 1; // that have anything
    for (; present; present &= present - 1) {
        const auto n = size_t(std::countr_zero(present));
        const int place = dequantiser.place[n];
        v[place] = arithmetic.coefficient(hn::LoadU(narrow, levels + n * size_t(blocks)), n);
        columns |= 1U << place % edge;
        rows |= 1U << place / edge;
    }
    if (columns == 1) {
        inverse<edge>(v, edge);
        for (int y = 0; y < edge; ++y) {
            const auto line = Arithmetic::finished(v[y * edge]);
            for (int x = 0; x < edge; ++x)
                hn::StoreU(line, unsignedNarrow, samples + (y * edge + x) * lanes);
        }
    } else if (rows == 1) {
        inverse<edge>(v, 1);
        for (int x = 0; x < edge; ++x) {
            const auto column = Arithmetic::finished(v[x]);
            for (int y = 0; y < edge; ++y)
                hn::StoreU(column, unsignedNarrow, samples + (y * edge + x) * lanes);
        }
    } else if (edge == ProRes::blockEdge && (columns | rows) < 1U << edge / 2) {
        inverseBoth<edge, (edge + 1) / 2>(v, columns, samples);
    } else {
        inverseBoth<edge, edge>(v, columns, samples);
    }
}

/// Blocks, a bit each, that have anything besides their mean.
quint32 notFlat(const qint16 *levels, int blocks, int places)
{
    const hn::CappedTag<int16_t, lanes> d;
    quint32 result = 0;
    for (int lane = 0; lane < blocks; lane += int(hn::Lanes(d))) {
        auto any = hn::Zero(d);
        for (int n = 1; n < places; ++n)
            any = hn::Or(any, hn::LoadU(d, levels + n * blocks + lane));
        uint8_t bytes[8] = {};
        hn::StoreMaskBits(d, hn::Ne(any, hn::Zero(d)), bytes);
        quint32 bits;
        std::memcpy(&bits, bytes, sizeof bits);
        result |= bits << lane;
    }
    return blocks < lanes ? result & ((1U << blocks) - 1) : result;
}

/// The levels of the blocks in `which` alone, one beside the other. In order: what is written behind the
/// levels of a place is overwritten by those of the next.
void pack(const qint16 *levels, int blocks, int places, quint32 which, qint16 *out)
{
#if HWY_TARGET == HWY_SCALAR
    for (int n = 0; n < places; ++n, levels += blocks)
        for (quint32 left = which; left; left &= left - 1)
            *out++ = levels[std::countr_zero(left)];
#else
    // By one order of bytes for all places: few instruction sets can do it by a mask.
    constexpr int together = 8;
    const hn::FixedTag<int16_t, together> d;
    const hn::FixedTag<uint8_t, 2 * together> bytes;
    alignas(16) uint8_t order[lanes / together][2 * together] = {};
    int count[lanes / together] = {};
    for (quint32 left = which; left; left &= left - 1) {
        const int block = std::countr_zero(left), group = block / together;
        uint8_t *const to = order[group] + 2 * count[group]++;
        to[0] = uint8_t(2 * (block % together));
        to[1] = uint8_t(to[0] + 1);
    }
    for (int n = 0; n < places; ++n, levels += blocks)
        for (int group = 0; group * together < blocks; ++group) {
            const auto all = hn::BitCast(bytes, hn::LoadU(d, levels + group * together));
            hn::StoreU(hn::BitCast(d, hn::TableLookupBytes(all, hn::Load(bytes, order[group]))), d, out);
            out += count[group];
        }
#endif
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

/// One line of smaller blocks, the samples of each side by side.
template <int edge>
HWY_INLINE void interleaveLine(const quint16 *samples, int blocks, quint16 *line)
{
#if HWY_TARGET == HWY_SCALAR
    for (int i = 0; i < blocks * edge; ++i)
        line[i] = samples[i % edge * lanes + i / edge];
#else
    constexpr int together = 8;
    const hn::FixedTag<uint16_t, together> d;
    const auto column = [&](int x) HWY_ATTR { return hn::LoadU(d, samples + x * lanes); };
    for (int lane = 0; lane < blocks; lane += together, samples += together, line += together * edge) {
        if constexpr (edge == 4)
            hn::StoreInterleaved4(column(0), column(1), column(2), column(3), d, line);
        else
            hn::StoreInterleaved2(column(0), column(1), d, line);
    }
#endif
}

/// Blocks to where they belong.
template <int edge>
void storeBlocks(const quint16 *samples, int blocks, quint16 *const *first, qsizetype stride)
{
    quint16 line[edge * lanes];
    for (int y = 0; y < edge; ++y) {
        interleaveLine<edge>(samples + y * edge * lanes, blocks, line);
        for (int block = 0; block < blocks; ++block)
            std::memcpy(first[block] + y * stride, line + block * edge, edge * sizeof(quint16));
    }
}

template <>
void storeBlocks<ProRes::blockEdge>(const quint16 *samples, int blocks, quint16 *const *first,
                                    qsizetype stride)
{
    int lane = 0;
#if HWY_TARGET != HWY_SCALAR
    constexpr int together = 8;
    for (; lane + together <= blocks; lane += together)
        for (int y = 0; y < together; ++y)
            storeLine(samples + y * together * lanes + lane, first + lane, y * stride);
    if (lane < blocks) {
        quint16 rest[together * together];
        quint16 *to[together];
        for (int i = 0; i < together; ++i)
            to[i] = rest + i * together;
        for (int y = 0; y < together; ++y) {
            storeLine(samples + y * together * lanes + lane, to, 0);
            for (int i = 0; lane + i < blocks; ++i)
                std::memcpy(first[lane + i] + y * stride, to[i], together * sizeof(quint16));
        }
        return;
    }
#endif
    for (; lane < blocks; ++lane)
        for (int i = 0; i < ProRes::blockSamples; ++i)
            first[lane][i / 8 * stride + i % 8] = samples[i * lanes + lane];
}

/// The means of all blocks, as samples.
HWY_INLINE void means(const qint16 *levels, int blocks, const Dequantiser &dequantiser, quint16 *samples)
{
    const Arithmetic arithmetic(dequantiser);
    for (int lane = 0; lane < blocks; lane += int(hn::Lanes(Wide())))
        arithmetic.store(arithmetic.mean(levels + lane), samples + lane);
}

template <int edge>
void storeFlat(const quint16 *mean, quint32 which, const Place &place)
{
    const hn::CappedTag<uint16_t, edge> d;
    for (; which; which &= which - 1) {
        const int block = std::countr_zero(which);
        quint16 *to = place.block(block, edge);
        const auto value = hn::Set(d, mean[block]);
        for (int y = 0; y < edge; ++y, to += place.stride)
            for (int x = 0; x < edge; x += int(hn::Lanes(d)))
                hn::StoreU(value, d, to + x);
    }
}

/// A block has `edge` lines of as many samples.
template <int edge>
void reconstructBlocks(const qint16 *levels, int blocks, int places, const Dequantiser &dequantiser,
                       const Place &place, Scratch &scratch)
{
    const int together = int(hn::Lanes(Wide()));
    const quint32 all = blocks < lanes ? (1U << blocks) - 1 : ~0U;
    quint16 *samples = scratch.sample.data();
    quint32 which = notFlat(levels, blocks, places);
    // Only where it saves a vector: putting together the few blocks that are not flat costs something too.
    const auto vectors = [together](int count) { return (count + together - 1) / together; };
    const int count = std::popcount(which);
    if (vectors(count) < vectors(blocks)) {
        means(levels, blocks, dequantiser, samples);
        storeFlat<edge>(samples, all & ~which, place);
        if (count == 0) return;
        pack(levels, blocks, places, which, scratch.level.data());
        levels = scratch.level.data();
        blocks = count;
    } else {
        which = all;
    }
    quint16 *first[lanes];
    for (int i = 0; i < blocks; ++i, which &= which - 1)
        first[i] = place.block(std::countr_zero(which), edge);
    for (int lane = 0; lane < blocks; lane += together)
        transformLanes<edge>(levels + lane, blocks, places, dequantiser, samples + lane);
    storeBlocks<edge>(samples, blocks, first, place.stride);
}

/// Every other one to another line.
template <class T>
HWY_INLINE void alternate(const quint16 *samples, int count, quint16 *upper, quint16 *lower)
{
    const auto *from = reinterpret_cast<const T *>(samples);
    int i = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::CappedTag<T, 4> d;
    const int together = int(hn::Lanes(d));
    for (; i + together <= count; i += together) {
        hn::Vec<decltype(d)> even, odd;
        hn::LoadInterleaved2(d, from + 2 * i, even, odd);
        hn::StoreU(even, d, reinterpret_cast<T *>(upper) + i);
        hn::StoreU(odd, d, reinterpret_cast<T *>(lower) + i);
    }
#endif
    for (; i < count; ++i) {
        std::memcpy(reinterpret_cast<T *>(upper) + i, from + 2 * i, sizeof(T));
        std::memcpy(reinterpret_cast<T *>(lower) + i, from + 2 * i + 1, sizeof(T));
    }
}

/// A sample a block: two lines.
void reconstructMeans(const qint16 *levels, int blocks, const Dequantiser &dequantiser, const Place &place,
                      quint16 *samples)
{
    means(levels, blocks, dequantiser, samples);
    quint16 *upper = place.origin, *lower = upper + place.stride;
    if (place.colour)
        alternate<uint16_t>(samples, blocks / 2, upper, lower);
    else
        alternate<uint32_t>(samples, blocks / 4, upper, lower);
}

void reconstruct(const ProResEntropy::Levels &levels, int blocks, int places, const Dequantiser &dequantiser,
                 Scale scale, const Place &place, Scratch &scratch)
{
    const qint16 *level = levels.level.data();
    quint16 *sample = scratch.sample.data();
    places = std::min(places, placesNeeded(scale));
    switch (scale) {
    case Scale::Full:
        return reconstructBlocks<8>(level, blocks, places, dequantiser, place, scratch);
    case Scale::Half:
        return reconstructBlocks<4>(level, blocks, places, dequantiser, place, scratch);
    case Scale::Quarter:
        return reconstructBlocks<2>(level, blocks, places, dequantiser, place, scratch);
    case Scale::Eighth:
        return reconstructMeans(level, blocks, dequantiser, place, sample);
    }
}

} // namespace ProResInverse::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ProResInverse {
HWY_EXPORT(reconstruct);
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

void ProResInverse::reconstruct(const ProResEntropy::Levels &levels, int blocks, int places,
                                const Dequantiser &dequantiser, Scale scale, const Place &place,
                                Scratch &scratch)
{
    HWY_DYNAMIC_DISPATCH(reconstruct)(levels, blocks, places, dequantiser, scale, place, scratch);
}
#endif
