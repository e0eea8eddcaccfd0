// SPDX-License-Identifier: GPL-3.0-or-later
// What reading pairs and reading DC levels in lanes of 512-bit vectors have in common: the bits at a
// position, and what the code at their head says.
#pragma once

#include "platform/qmx/codec/prores/proreslanes.h"

#include <hwy/detect_compiler_arch.h>

#include <algorithm>
#include <array>

#if HWY_ARCH_X86_64 && defined(__GNUC__)
#include <immintrin.h>

// The compiler's own headers begin what they do not need with what was there.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

// Highway has no name for this set of instructions.
#define XP_LANES_TARGET __attribute__((target("avx512f,avx512bw,avx512cd,avx512dq,avx512vl,avx512vbmi,bmi2")))

#define XP_LANES_INLINE __attribute__((always_inline)) inline
namespace {
constexpr int lanes = ProResLanes::lanes;
/// Bits that one reading gives whatever its first bit is.
constexpr int bitsAReading = 57;

/// A code's value is its bits and an offset; offsets are told with this added, so that none is negative.
constexpr int bias = 8;
/// Zeros from which on a code of any book is a long one: two more bits for each more of them.
constexpr int longZeros = 3;
constexpr int kinds = longZeros + 1;
constexpr int greatestLevel = 32767;
constexpr int longestRun = 15, largestLevel = 9; // all beyond choose the same book

using Bytes = std::array<quint8, 64>;

/// By book and zeros (up to longZeros): how many bits a code has.
template <size_t count>
constexpr Bytes lengths(const std::array<ProRes::Codebook, count> &books)
{
    Bytes table{};
    for (size_t i = 0; i < books.size() * kinds; ++i) {
        const ProRes::Codebook &book = books[i / kinds];
        const int zeros = int(i % kinds);
        table[i] =
            quint8(zeros <= book.lastRiceQuotient ? zeros + 1 + book.rice
                                                  : 2 * zeros + book.exponential - book.lastRiceQuotient);
    }
    return table;
}

template <size_t count>
constexpr Bytes offsets(const std::array<ProRes::Codebook, count> &books)
{
    Bytes table{};
    for (size_t i = 0; i < books.size() * kinds; ++i) {
        const ProRes::Codebook &book = books[i / kinds];
        const int zeros = int(i % kinds);
        const int offset = zeros <= book.lastRiceQuotient
                               ? (zeros - 1) * (1 << book.rice)
                               : ((book.lastRiceQuotient + 1) << book.rice) - (1 << book.exponential);
        table[i] = quint8(offset + bias);
    }
    return table;
}

constexpr bool isShort(ProRes::Codebook book)
{
    return book.lastRiceQuotient < longZeros;
}
static_assert(std::ranges::all_of(ProRes::acRun, isShort) && std::ranges::all_of(ProRes::acLevel, isShort) &&
              std::ranges::all_of(ProRes::dcDifference, isShort));

/// By value and bias: where the entries of the book that follows begin.
Bytes booksBehind(int (*book)(int), int valueMore)
{
    Bytes table{};
    for (int i = bias; i < int(table.size()); ++i)
        table[size_t(i)] = quint8(book(i - bias + valueMore) * kinds);
    return table;
}

struct Tables
{
    alignas(64) Bytes runLength = lengths(ProRes::acRun), levelLength = lengths(ProRes::acLevel);
    alignas(64) Bytes runOffset = offsets(ProRes::acRun), levelOffset = offsets(ProRes::acLevel);
    alignas(64) Bytes meansLength = lengths(ProRes::dcDifference);
    alignas(64) Bytes meansOffset = offsets(ProRes::dcDifference);
    alignas(64) Bytes afterRun = booksBehind(ProRes::bookAfterRun, 0);
    alignas(64) Bytes afterLevel = booksBehind(ProRes::bookAfterLevel, 1);
};

const Tables &tables()
{
    static const Tables made;
    return made;
}

XP_LANES_TARGET XP_LANES_INLINE __m512i load(const void *from)
{
    return _mm512_load_si512(from);
}

struct Symbol
{
    __m512i length, value; ///< with `bias`
};

/// Bytes of a table, one a lane.
XP_LANES_TARGET XP_LANES_INLINE __m512i lookUp(__m512i table, __m512i index)
{
    constexpr quint64 lowest = 0x0101010101010101;
    return _mm512_maskz_permutexvar_epi8(lowest, index, table);
}

XP_LANES_TARGET XP_LANES_INLINE Symbol symbol(__m512i bits, __m512i book, __m512i lengthTable,
                                              __m512i offsetTable)
{
    const __m512i most = _mm512_set1_epi64(longZeros);
    const __m512i zeros = _mm512_lzcnt_epi64(bits);
    const __m512i index = _mm512_add_epi64(book, _mm512_min_epu32(zeros, most));
    const __m512i more = _mm512_subs_epu16(zeros, most);
    const __m512i length = _mm512_add_epi64(_mm512_add_epi64(lookUp(lengthTable, index), more), more);
    const __m512i top = _mm512_srlv_epi64(bits, _mm512_sub_epi64(_mm512_set1_epi64(64), length));
    return {length, _mm512_add_epi64(top, lookUp(offsetTable, index))};
}

struct Bits
{
    __m512i bits, left; ///< how many of them may be taken
};

/// The bits at the position of each of the lanes `which`.
XP_LANES_TARGET XP_LANES_INLINE Bits read(__m512i position, __m512i end, const uchar *bytes, __mmask8 which)
{
    const __m512i reversed =
        _mm512_set4_epi64(0x08090a0b0c0d0e0f, 0x0001020304050607, 0x08090a0b0c0d0e0f, 0x0001020304050607);
    const __m512i inByte = _mm512_and_si512(position, _mm512_set1_epi64(7));
    const __m512i raw =
        _mm512_mask_i64gather_epi64(_mm512_setzero_si512(), which, _mm512_srai_epi64(position, 3), bytes, 1);
    return {_mm512_sllv_epi64(_mm512_shuffle_epi8(raw, reversed), inByte),
            _mm512_min_epi64(_mm512_sub_epi64(end, position), _mm512_set1_epi64(bitsAReading))};
}

} // namespace
#endif
