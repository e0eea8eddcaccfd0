// SPDX-License-Identifier: GPL-3.0-or-later
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
/// Pairs that are tried with the bits of one reading.
constexpr int pairsAReading = 4;
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

/// Numbers of all lanes.
struct Numbers
{
    alignas(64) std::array<qint64, lanes> position{}, end{}, out{}, limit{}, runBook{}, levelBook{};
};

/// What the vectors hold between two steps.
struct State
{
    __m512i position, out, limit, runBook, levelBook;
};

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

/// By a code's value and bias: the book of the next code.
XP_LANES_TARGET XP_LANES_INLINE __m512i bookBehind(__m512i table, __m512i value, int most)
{
    return lookUp(table, _mm512_min_epu32(value, _mm512_set1_epi64(most + bias)));
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

struct VectorTables
{
    __m512i runLength, levelLength, runOffset, levelOffset, afterRun, afterLevel;
};

/// A pair of each of the lanes `which`. Returns those whose pair was an ordinary one and has been taken.
XP_LANES_TARGET XP_LANES_INLINE __mmask8 step(State &s, Bits &bits, const VectorTables &t, qint16 *levels,
                                              __mmask8 which)
{
    const Symbol run = symbol(bits.bits, s.runBook, t.runLength, t.runOffset);
    const __m512i behindRun = _mm512_sllv_epi64(bits.bits, run.length);
    const Symbol level = symbol(behindRun, s.levelBook, t.levelLength, t.levelOffset);
    const __m512i sign = _mm512_sllv_epi64(behindRun, level.length);
    const __m512i one = _mm512_set1_epi64(1), unbias = _mm512_set1_epi64(bias - 1);
    const __m512i taken = _mm512_add_epi64(_mm512_add_epi64(run.length, level.length), one);
    const __m512i out = _mm512_add_epi64(s.out, _mm512_sub_epi64(run.value, unbias));
    __mmask8 good = _mm512_mask_cmple_epu64_mask(which, taken, bits.left);
    good = _mm512_mask_cmplt_epi64_mask(good, out, s.limit);
    good = _mm512_mask_cmplt_epi64_mask(good, level.value, _mm512_set1_epi64(greatestLevel + bias));

    const __m512i size = _mm512_sub_epi64(level.value, unbias);
    const __m512i signedLevel =
        _mm512_mask_sub_epi64(size, _mm512_movepi64_mask(sign), _mm512_setzero_si512(), size);
    // Two levels are written: the second one is 0, as all behind it still are.
    const __m512i pair = _mm512_and_si512(signedLevel, _mm512_set1_epi64(0xffff));
    _mm512_mask_i64scatter_epi32(levels, good, out, _mm512_cvtepi64_epi32(pair), sizeof(qint16));

    s.runBook = _mm512_mask_mov_epi64(s.runBook, good, bookBehind(t.afterRun, run.value, longestRun));
    s.levelBook =
        _mm512_mask_mov_epi64(s.levelBook, good, bookBehind(t.afterLevel, level.value, largestLevel - 1));
    s.out = _mm512_mask_mov_epi64(s.out, good, out);
    s.position = _mm512_mask_add_epi64(s.position, good, s.position, taken);
    bits.left = _mm512_sub_epi64(bits.left, taken);
    bits.bits = _mm512_slli_epi64(sign, 1);
    return good;
}

/// Which job each lane works at.
class Lanes
{
public:
    Lanes(std::span<ProResLanes::Job> jobs) : _jobs(jobs), _bytes(jobs[0].bytes), _levels(jobs[0].out) {}

    XP_LANES_TARGET void run();

private:
    /// A lane's next job; false: there is none.
    bool begin(size_t lane);
    void leave(size_t lane);
    XP_LANES_TARGET State loaded() const;
    XP_LANES_TARGET void keep(const State &s);

    std::span<ProResLanes::Job> _jobs;
    const uchar *_bytes; ///< positions count from here
    qint16 *_levels;     ///< and places from here
    size_t _next = 0;
    std::array<ProResLanes::Job *, lanes> _job{};
    Numbers _numbers;
};

bool Lanes::begin(size_t lane)
{
    if (_next == _jobs.size()) {
        _job[lane] = nullptr;
        return false;
    }
    ProResLanes::Job &job = *(_job[lane] = &_jobs[_next++]);
    const qint64 first = (job.bytes - _bytes) * 8;
    _numbers.position[lane] = first + job.position;
    _numbers.end[lane] = first + job.end;
    _numbers.out[lane] = job.out - _levels;
    _numbers.limit[lane] = job.limit - _levels;
    _numbers.runBook[lane] = job.runBook * kinds;
    _numbers.levelBook[lane] = job.levelBook * kinds;
    return true;
}

void Lanes::leave(size_t lane)
{
    ProResLanes::Job &job = *_job[lane];
    job.position = _numbers.position[lane] - (job.bytes - _bytes) * 8;
    job.out = _levels + _numbers.out[lane];
    job.runBook = int(_numbers.runBook[lane] / kinds);
    job.levelBook = int(_numbers.levelBook[lane] / kinds);
}

XP_LANES_TARGET State Lanes::loaded() const
{
    return {load(_numbers.position.data()), load(_numbers.out.data()), load(_numbers.limit.data()),
            load(_numbers.runBook.data()), load(_numbers.levelBook.data())};
}

XP_LANES_TARGET void Lanes::keep(const State &s)
{
    _mm512_store_si512(_numbers.position.data(), s.position);
    _mm512_store_si512(_numbers.out.data(), s.out);
    _mm512_store_si512(_numbers.runBook.data(), s.runBook);
    _mm512_store_si512(_numbers.levelBook.data(), s.levelBook);
}

XP_LANES_TARGET void Lanes::run()
{
    constexpr int fewest = 3; // lanes that are worth a vector
    const Tables &t = tables();
    const VectorTables vectors{load(t.runLength.data()), load(t.levelLength.data()),
                               load(t.runOffset.data()), load(t.levelOffset.data()),
                               load(t.afterRun.data()),  load(t.afterLevel.data())};
    unsigned active = 0;
    for (size_t lane = 0; lane < lanes; ++lane)
        active |= unsigned(begin(lane)) << lane;
    while (__builtin_popcount(active) >= fewest) {
        State s = loaded();
        const __m512i end = load(_numbers.end.data());
        unsigned stopped = 0;
        while (!stopped) {
            Bits bits = read(s.position, end, _bytes, __mmask8(active));
            __mmask8 good = step(s, bits, vectors, _levels, __mmask8(active));
            stopped = active & ~good;
            for (int i = 1; i < pairsAReading; ++i)
                good = step(s, bits, vectors, _levels, good);
        }
        keep(s);
        for (; stopped; stopped &= stopped - 1) {
            const auto lane = size_t(__builtin_ctz(stopped));
            leave(lane);
            if (!begin(lane)) active &= ~(1U << lane);
        }
    }
    for (size_t lane = 0; lane < lanes; ++lane)
        if (active >> lane & 1) leave(lane);
}

/// DC levels while they are read.
struct Means
{
    __m512i position, level, book, sign;
};

/// A level of each lane.
using MeansRow = std::array<qint16, lanes>;

XP_LANES_TARGET XP_LANES_INLINE void keep(__m512i level, MeansRow &row)
{
    _mm_store_si128(reinterpret_cast<__m128i *>(row.data()), _mm512_cvtepi64_epi16(level));
}

/// Odd values stand for negative numbers.
XP_LANES_TARGET XP_LANES_INLINE __m512i unfolded(__m512i value)
{
    const __m512i odd = _mm512_and_si512(value, _mm512_set1_epi64(1));
    return _mm512_xor_si512(_mm512_srli_epi64(value, 1), _mm512_sub_epi64(_mm512_setzero_si512(), odd));
}

/// The first level of each of the lanes `which`, whose code is another one. Returns those that have it.
XP_LANES_TARGET XP_LANES_INLINE __mmask8 firstMeans(Means &m, __m512i end, const uchar *bytes, MeansRow &row,
                                                    __mmask8 which)
{
    static_assert(ProRes::firstDc.lastRiceQuotient == 0 &&
                  ProRes::firstDc.rice + 1 ==
                      ProRes::firstDc.exponential); // so all its codes are of one kind
    const Bits bits = read(m.position, end, bytes, which);
    const __m512i zeros = _mm512_lzcnt_epi64(bits.bits);
    const __m512i length =
        _mm512_add_epi64(_mm512_add_epi64(zeros, zeros), _mm512_set1_epi64(ProRes::firstDc.exponential));
    const __m512i top = _mm512_srlv_epi64(bits.bits, _mm512_sub_epi64(_mm512_set1_epi64(64), length));
    const __m512i value = _mm512_sub_epi64(top, _mm512_set1_epi64(1 << ProRes::firstDc.rice));
    const __mmask8 good = _mm512_mask_cmple_epi64_mask(which, length, bits.left);
    m.level = unfolded(value);
    m.position = _mm512_add_epi64(m.position, length);
    keep(m.level, row);
    return _mm512_mask_cmplt_epi64_mask(good, value, _mm512_set1_epi64(greatestLevel));
}

/// The levels `from` to `until` of the lanes `which`, all at the same pace. Returns those that have them.
XP_LANES_TARGET __mmask8 moreMeans(Means &m, __m512i end, const uchar *bytes, MeansRow *rows, int from,
                                   int until, __mmask8 which)
{
    constexpr int differencesAReading = 6;
    const Tables &t = tables();
    const __m512i lengthTable = load(t.meansLength.data()), offsetTable = load(t.meansOffset.data());
    const __m512i one = _mm512_set1_epi64(1), greatest = _mm512_set1_epi64(greatestLevel);
    const __m512i greatestBook = _mm512_set1_epi64(ProRes::firstDcDifference);
    while (from < until && which) {
        Bits bits = read(m.position, end, bytes, which);
        for (int i = 0; i < differencesAReading && from < until; ++i, ++from) {
            const Symbol code = symbol(bits.bits, m.book, lengthTable, offsetTable);
            const __m512i value = _mm512_sub_epi64(code.value, _mm512_set1_epi64(bias));
            __mmask8 good = _mm512_mask_cmple_epi64_mask(which, code.length, bits.left);
            good = _mm512_mask_cmplt_epi64_mask(good, value, greatest);
            if (good != which) {
                if (i > 0) break; // bits are missing, or is it more?
                which = good;
            }
            // The sign is told against that of the difference before.
            const __m512i difference = _mm512_sub_epi64(_mm512_xor_si512(unfolded(value), m.sign), m.sign);
            const __m512i size = _mm512_srli_epi64(_mm512_add_epi64(value, one), 1);
            m.level = _mm512_add_epi64(m.level, difference);
            m.sign = _mm512_srai_epi64(difference, 63);
            m.book = _mm512_slli_epi64(_mm512_min_epu32(size, greatestBook), 2);
            m.position = _mm512_add_epi64(m.position, code.length);
            bits.left = _mm512_sub_epi64(bits.left, code.length);
            bits.bits = _mm512_sllv_epi64(bits.bits, code.length);
            keep(m.level, rows[from]);
        }
    }
    return which;
}

/// Eight levels of each lane to where the lanes want them.
XP_LANES_TARGET XP_LANES_INLINE void turn(const MeansRow *rows, qint16 *const *out)
{
    const auto row = [rows](int i) {
        return _mm_load_si128(reinterpret_cast<const __m128i *>(rows[i].data()));
    };
    __m128i pairs[8], quads[8];
    for (int i = 0; i < 4; ++i) {
        pairs[i] = _mm_unpacklo_epi16(row(2 * i), row(2 * i + 1));
        pairs[4 + i] = _mm_unpackhi_epi16(row(2 * i), row(2 * i + 1));
    }
    for (int i = 0; i < 4; ++i) {
        quads[2 * i] = _mm_unpacklo_epi32(pairs[2 * i], pairs[2 * i + 1]);
        quads[2 * i + 1] = _mm_unpackhi_epi32(pairs[2 * i], pairs[2 * i + 1]);
    }
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 2; ++j) {
            const __m128i upper = quads[4 * i + j], lower = quads[4 * i + 2 + j];
            auto *first = reinterpret_cast<__m128i *>(out[4 * i + 2 * j]);
            auto *second = reinterpret_cast<__m128i *>(out[4 * i + 2 * j + 1]);
            _mm_storeu_si128(first, _mm_unpacklo_epi64(upper, lower));
            _mm_storeu_si128(second, _mm_unpackhi_epi64(upper, lower));
        }
}

/// Up to `lanes` jobs.
XP_LANES_TARGET void runMeans(std::span<ProResLanes::MeansJob> jobs)
{
    alignas(64) std::array<qint64, lanes> positions{}, ends{};
    alignas(64) std::array<MeansRow, ProRes::lanes> rows;
    const uchar *bytes = nullptr;
    unsigned given = 0;
    for (size_t i = 0; i < jobs.size(); ++i) {
        if (!jobs[i].bytes) continue;
        if (!bytes) bytes = jobs[i].bytes;
        given |= 1U << i;
        positions[i] = (jobs[i].bytes - bytes) * 8;
        ends[i] = positions[i] + jobs[i].size * qint64(8);
    }
    const __m512i end = load(ends.data()), zero = _mm512_setzero_si512();
    Means m{load(positions.data()), zero, _mm512_set1_epi64(ProRes::firstDcDifference * kinds), zero};
    __mmask8 active = firstMeans(m, end, bytes, rows[0], __mmask8(given));
    int most = 0;
    for (int from = 1; active;) {
        int until = ProRes::lanes;
        for (size_t i = 0; i < jobs.size(); ++i)
            if (active >> i & 1) until = std::min(until, jobs[i].blocks);
        active = moreMeans(m, end, bytes, rows.data(), from, until, active);
        _mm512_store_si512(positions.data(), m.position);
        for (size_t i = 0; i < jobs.size(); ++i) {
            ProResLanes::MeansJob &job = jobs[i];
            if (!(active >> i & 1) || job.blocks != until) continue;
            job.good = true;
            job.position = positions[i] - (job.bytes - bytes) * 8;
            active = __mmask8(active & ~(1U << i));
        }
        most = from = until;
    }
    MeansRow nobodys;
    int turned = 0;
    for (; turned < most; turned += lanes) {
        std::array<qint16 *, lanes> out;
        for (size_t i = 0; i < lanes; ++i)
            out[i] = i < jobs.size() && jobs[i].good ? jobs[i].out + turned : nobodys.data();
        turn(&rows[size_t(turned)], out.data());
    }
    for (const ProResLanes::MeansJob &job : jobs)
        if (job.good) std::fill(job.out + job.blocks, job.out + turned, qint16(0));
}
} // namespace

bool ProResLanes::available()
{
    static const bool processor = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                                  __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                                  __builtin_cpu_supports("avx512vl") &&
                                  __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("bmi2");
    return processor;
}

void ProResLanes::advance(std::span<Job> jobs)
{
    if (jobs.size() > 2) Lanes(jobs).run();
}

void ProResLanes::advance(std::span<MeansJob> jobs)
{
    for (size_t i = 0; i < jobs.size(); i += lanes)
        runMeans(jobs.subspan(i, std::min<size_t>(lanes, jobs.size() - i)));
}
#else
bool ProResLanes::available()
{
    return false;
}
void ProResLanes::advance(std::span<Job>) {}
void ProResLanes::advance(std::span<MeansJob>) {}
#endif
