// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/clip/qmxblake3kernels.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "platform/qmx/clip/qmxblake3kernels.h"

#include <algorithm>
#include <bit>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace QmxBlake3Kernels::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

bool sumsInputs()
{
    return false;
}

void hashLanes(const Inputs &inputs, quint32 *values)
{
    for (size_t i = 0; i < inputs.count; ++i) {
        quint32 value[8];
        std::copy(std::begin(start), std::end(start), value);
        for (int block = 0; block < inputs.blocks; ++block)
            compress(value, inputs.data + i * inputs.distance + size_t(block) * blockSize, blockSize,
                     inputs.counts ? inputs.counter + i : inputs.counter,
                     inputs.flags | (block == 0 ? inputs.first : 0) |
                         (block == inputs.blocks - 1 ? inputs.last : 0));
        std::copy(std::begin(value), std::end(value), values + 8 * i);
    }
}

#else

using Words = hn::CappedTag<uint32_t, 16>;
using Vector = hn::Vec<Words>;
constexpr size_t mostLanes = 16;
constexpr size_t ahead = 512; ///< bytes that are fetched before their turn

template <int Bits>
HWY_INLINE Vector rotated(Vector value)
{
#if HWY_TARGET > HWY_AVX3 && HWY_TARGET != HWY_NEON
    // Cheaper than two shifts where there is no rotation.
    alignas(16) static constexpr uint8_t by16[16] = {2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13};
    alignas(16) static constexpr uint8_t by8[16] = {1, 2, 3, 0, 5, 6, 7, 4, 9, 10, 11, 8, 13, 14, 15, 12};
    if constexpr (Bits % 8 == 0) {
        const Words d;
        const hn::Repartition<uint8_t, Words> bytes;
        const auto order = hn::LoadDup128(bytes, Bits == 16 ? by16 : by8);
        return hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(bytes, value), order));
    }
#endif
    return hn::RotateRight<Bits>(value);
}

HWY_INLINE void mix(Vector &a, Vector &b, Vector &c, Vector &d, Vector x, Vector y)
{
    a = hn::Add(hn::Add(a, b), x);
    d = rotated<16>(hn::Xor(d, a));
    c = hn::Add(c, d);
    b = rotated<12>(hn::Xor(b, c));
    a = hn::Add(hn::Add(a, b), y);
    d = rotated<8>(hn::Xor(d, a));
    c = hn::Add(c, d);
    b = rotated<7>(hn::Xor(b, c));
}

template <int Round>
HWY_INLINE void mixRound(Vector *v, const Vector *m)
{
    constexpr const int *s = schedule.words[Round];
    mix(v[0], v[4], v[8], v[12], m[s[0]], m[s[1]]);
    mix(v[1], v[5], v[9], v[13], m[s[2]], m[s[3]]);
    mix(v[2], v[6], v[10], v[14], m[s[4]], m[s[5]]);
    mix(v[3], v[7], v[11], v[15], m[s[6]], m[s[7]]);
    mix(v[0], v[5], v[10], v[15], m[s[8]], m[s[9]]);
    mix(v[1], v[6], v[11], v[12], m[s[10]], m[s[11]]);
    mix(v[2], v[7], v[8], v[13], m[s[12]], m[s[13]]);
    mix(v[3], v[4], v[9], v[14], m[s[14]], m[s[15]]);
}

template <class D>
constexpr size_t lanesOf = hn::MaxLanes(D());

/// 16 bytes of every fourth input, the first of them `from[0]`.
template <class D>
HWY_INLINE hn::Vec<D> quarters(D d, const uchar *const *from, size_t offset)
{
    if constexpr (lanesOf<D> <= 4) {
        return hn::LoadU(d, reinterpret_cast<const uint32_t *>(from[0] + offset));
    } else {
        const hn::Half<D> half;
        return hn::Combine(d, quarters(half, from + lanesOf<D> / 2, offset), quarters(half, from, offset));
    }
}

/// Word i of the block of every input becomes m[i].
HWY_INLINE void loadBlock(const uchar *const *from, size_t offset, Vector *m)
{
    const Words d;
    const hn::Repartition<uint64_t, Words> pairs;
    for (int i = 0; i < 16; i += 4, offset += 16) {
        const Vector a = quarters(d, from, offset), b = quarters(d, from + 1, offset);
        const Vector c = quarters(d, from + 2, offset), e = quarters(d, from + 3, offset);
        const auto lowAb = hn::BitCast(pairs, hn::InterleaveLower(d, a, b));
        const auto lowCe = hn::BitCast(pairs, hn::InterleaveLower(d, c, e));
        const auto highAb = hn::BitCast(pairs, hn::InterleaveUpper(d, a, b));
        const auto highCe = hn::BitCast(pairs, hn::InterleaveUpper(d, c, e));
        m[i] = hn::BitCast(d, hn::InterleaveLower(pairs, lowAb, lowCe));
        m[i + 1] = hn::BitCast(d, hn::InterleaveUpper(pairs, lowAb, lowCe));
        m[i + 2] = hn::BitCast(d, hn::InterleaveLower(pairs, highAb, highCe));
        m[i + 3] = hn::BitCast(d, hn::InterleaveUpper(pairs, highAb, highCe));
    }
}

#if HWY_ARCH_X86_64 && HWY_TARGET <= HWY_SSE4
constexpr bool hasSums = true;
/// A block more of one input.
HWY_INLINE uint32_t summed(uint32_t sum, const uchar *block)
{
    unsigned long long wide = sum;
    for (int i = 0; i < blockSize; i += 8) {
        unsigned long long word;
        std::memcpy(&word, block + i, sizeof word);
        wide = __builtin_ia32_crc32di(wide, word);
    }
    return uint32_t(wide);
}
#else
constexpr bool hasSums = false;
HWY_INLINE uint32_t summed(uint32_t sum, const uchar *)
{
    return sum;
}
#endif

bool sumsInputs()
{
    return hasSums;
}

/// The sums of some of the lanes. They are made by a part of the processor that hashing leaves idle, so they
/// are strewn between its rounds.
template <int Round, bool Sums>
HWY_INLINE void sumSome(uint32_t *sums, const uchar *const *from, size_t offset)
{
    if constexpr (Sums) {
        constexpr size_t lanes = lanesOf<Words>;
        for (size_t lane = lanes * Round / rounds; lane < lanes * (Round + 1) / rounds; ++lane)
            sums[lane] = summed(sums[lane], from[lane] + offset);
    }
}

/// As many inputs as there are lanes; the last of fewer is hashed several times.
template <bool Sums>
void hashGroup(const Inputs &inputs, size_t first, size_t count, quint32 *values)
{
    const Words d;
    const size_t lanes = hn::Lanes(d);
    const uchar *from[mostLanes];
    alignas(64) uint32_t low[mostLanes];
    alignas(64) uint32_t high[mostLanes];
    for (size_t i = 0; i < lanes; ++i) {
        const size_t input = first + std::min(i, count - 1);
        const quint64 counter = inputs.counts ? inputs.counter + input : inputs.counter;
        from[i] = inputs.data + input * inputs.distance;
        low[i] = uint32_t(counter);
        high[i] = uint32_t(counter >> 32);
    }
    Vector h[8];
    for (int i = 0; i < 8; ++i)
        h[i] = hn::Set(d, start[i]);
    uint32_t sums[mostLanes] = {};
    for (int block = 0; block < inputs.blocks; ++block) {
        const size_t offset = size_t(block) * blockSize;
        Vector m[16];
        loadBlock(from, offset, m);
        // So many rows that the processor does not see them as rows. Behind the end of one lies its successor
        // of the next group.
        const size_t size = size_t(inputs.blocks) * blockSize;
        const size_t next = offset + ahead;
        for (size_t i = 0; i < lanes; ++i)
            hwy::Prefetch(from[i] + (next < size ? next : next - size + lanes * inputs.distance));
        const quint32 flags =
            inputs.flags | (block == 0 ? inputs.first : 0) | (block == inputs.blocks - 1 ? inputs.last : 0);
        Vector v[16] = {h[0],
                        h[1],
                        h[2],
                        h[3],
                        h[4],
                        h[5],
                        h[6],
                        h[7],
                        hn::Set(d, start[0]),
                        hn::Set(d, start[1]),
                        hn::Set(d, start[2]),
                        hn::Set(d, start[3]),
                        hn::Load(d, low),
                        hn::Load(d, high),
                        hn::Set(d, uint32_t(blockSize)),
                        hn::Set(d, flags)};
        mixRound<0>(v, m);
        sumSome<0, Sums>(sums, from, offset);
        mixRound<1>(v, m);
        sumSome<1, Sums>(sums, from, offset);
        mixRound<2>(v, m);
        sumSome<2, Sums>(sums, from, offset);
        mixRound<3>(v, m);
        sumSome<3, Sums>(sums, from, offset);
        mixRound<4>(v, m);
        sumSome<4, Sums>(sums, from, offset);
        mixRound<5>(v, m);
        sumSome<5, Sums>(sums, from, offset);
        mixRound<6>(v, m);
        sumSome<6, Sums>(sums, from, offset);
        for (int i = 0; i < 8; ++i)
            h[i] = hn::Xor(v[i], v[i + 8]);
    }
    alignas(64) uint32_t words[8][mostLanes];
    for (int i = 0; i < 8; ++i)
        hn::Store(h[i], d, words[i]);
    for (size_t lane = 0; lane < count; ++lane)
        for (size_t i = 0; i < 8; ++i)
            values[8 * (first + lane) + i] = words[i][lane];
    if constexpr (Sums) std::copy_n(sums, count, inputs.sums + first);
}

void hashLanes(const Inputs &inputs, quint32 *values)
{
    const size_t lanes = hn::Lanes(Words());
    for (size_t i = 0; i < inputs.count; i += lanes) {
        const size_t count = std::min(lanes, inputs.count - i);
        if (hasSums && inputs.sums)
            hashGroup<hasSums>(inputs, i, count, values);
        else
            hashGroup<false>(inputs, i, count, values);
    }
}

#endif

} // namespace QmxBlake3Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QmxBlake3Kernels {

HWY_EXPORT(hashLanes);
HWY_EXPORT(sumsInputs);

static_assert(std::endian::native == std::endian::little);

namespace {
void mixOne(quint32 *v, int a, int b, int c, int d, quint32 x, quint32 y)
{
    v[a] += v[b] + x;
    v[d] = std::rotr(v[d] ^ v[a], 16);
    v[c] += v[d];
    v[b] = std::rotr(v[b] ^ v[c], 12);
    v[a] += v[b] + y;
    v[d] = std::rotr(v[d] ^ v[a], 8);
    v[c] += v[d];
    v[b] = std::rotr(v[b] ^ v[c], 7);
}
} // namespace

void compress(quint32 *value, const uchar *block, quint32 length, quint64 counter, quint32 flags)
{
    quint32 m[16];
    std::memcpy(m, block, sizeof m);
    quint32 v[16] = {
        value[0], value[1], value[2], value[3], value[4], value[5],         value[6],
        value[7], start[0], start[1], start[2], start[3], quint32(counter), quint32(counter >> 32),
        length,   flags};
    for (const auto &s : schedule.words) {
        mixOne(v, 0, 4, 8, 12, m[s[0]], m[s[1]]);
        mixOne(v, 1, 5, 9, 13, m[s[2]], m[s[3]]);
        mixOne(v, 2, 6, 10, 14, m[s[4]], m[s[5]]);
        mixOne(v, 3, 7, 11, 15, m[s[6]], m[s[7]]);
        mixOne(v, 0, 5, 10, 15, m[s[8]], m[s[9]]);
        mixOne(v, 1, 6, 11, 12, m[s[10]], m[s[11]]);
        mixOne(v, 2, 7, 8, 13, m[s[12]], m[s[13]]);
        mixOne(v, 3, 4, 9, 14, m[s[14]], m[s[15]]);
    }
    for (int i = 0; i < 8; ++i)
        value[i] = v[i] ^ v[i + 8];
}

void hashAll(const Inputs &inputs, quint32 *values)
{
    HWY_DYNAMIC_DISPATCH(hashLanes)(inputs, values);
}

bool makesSums()
{
    return HWY_DYNAMIC_DISPATCH(sumsInputs)();
}

} // namespace QmxBlake3Kernels
#endif
