// SPDX-License-Identifier: GPL-3.0-or-later
// The lanes where vectors have 256 bits: sixteen of 32 bits, in two vectors whose steps fill each other's
// waits.
#include "platform/qmx/codec/prores/proresdecodetables.h"
#include "platform/qmx/codec/prores/proreslanes.h"

#include <QtEndian>

#include <hwy/detect_compiler_arch.h>

#include <algorithm>
#include <array>

#if HWY_ARCH_X86_64 && defined(__GNUC__)
#include <immintrin.h>

#define XP_LANES_TARGET __attribute__((target("avx2,bmi,bmi2")))
#define XP_LANES_INLINE __attribute__((always_inline)) inline
namespace {
constexpr int lanesAVector = 8, vectors = 2, lanes = lanesAVector * vectors;
/// Bits that one reading gives whatever its first bit is.
constexpr int bitsAReading = 25;
/// The same of a single one, with 64 bits.
constexpr int mostBits = 57;
constexpr int books = 7; ///< what of a number tells of a book
/// A code's offset is told with this added, so that none is negative.
constexpr int bias = 4;
/// Zeros from which on a code of any book is a long one: two more bits for each more of them.
constexpr int longZeros = 3;

/// A byte for each number of zeros: how many bits the code has, and above that its offset.
constexpr quint32 codes(const ProRes::Codebook &book)
{
    quint32 all = 0;
    for (int zeros = 0; zeros <= longZeros; ++zeros) {
        const bool isShort = zeros <= book.lastRiceQuotient;
        const int length =
            isShort ? zeros + 1 + book.rice : 2 * zeros + book.exponential - book.lastRiceQuotient;
        const int offset = isShort ? zeros * (1 << book.rice) - (1 << book.rice)
                                   : ((book.lastRiceQuotient + 1) << book.rice) - (1 << book.exponential);
        all |= quint32(length | (offset + bias) << 4) << (8 * zeros);
    }
    return all;
}

struct Tables
{
    Tables()
    {
        for (size_t i = 0; i < ProRes::acBooks; ++i) {
            run[i] = codes(ProRes::acRun[i]);
            level[i] = codes(ProRes::acLevel[i]);
        }
        for (int i = 0; i < 32; ++i) {
            afterRun[size_t(i)] = quint8(ProRes::bookAfterRun(i % 16));
            afterLevel[size_t(i)] = quint8(ProRes::bookAfterLevel(i % 16 + 1));
        }
    }
    alignas(32) std::array<quint32, 8> run{}, level{};           // by book
    alignas(32) std::array<quint8, 32> afterRun{}, afterLevel{}; // by value: books
};

const Tables &tables()
{
    static const Tables made;
    return made;
}

struct Numbers
{
    alignas(32) std::array<qint32, lanes> position{}, end{}, out{}, limit{}, level{}, runBook{}, levelBook{};
};

struct State
{
    __m256i position, out, level, runBook, levelBook;
};

XP_LANES_TARGET XP_LANES_INLINE __m256i load(const void *from)
{
    return _mm256_load_si256(static_cast<const __m256i *>(from));
}
XP_LANES_TARGET XP_LANES_INLINE void store(void *to, __m256i v)
{
    _mm256_store_si256(static_cast<__m256i *>(to), v);
}

/// By the exponent of the number: what is below its first bit is thinned out, so that it is not rounded up.
XP_LANES_TARGET XP_LANES_INLINE __m256i leadingZeros(__m256i bits)
{
    constexpr int exponentShift = 23, exponentOf31 = 158;
    const __m256i thin = _mm256_andnot_si256(_mm256_srli_epi32(bits, 1), bits);
    const __m256i exponent = _mm256_srli_epi32(_mm256_castps_si256(_mm256_cvtepi32_ps(thin)), exponentShift);
    // The first bit makes it negative.
    return _mm256_max_epi32(_mm256_sub_epi32(_mm256_set1_epi32(exponentOf31), exponent),
                            _mm256_setzero_si256());
}

struct Symbol
{
    __m256i length, value; ///< with `bias`
};

XP_LANES_TARGET XP_LANES_INLINE Symbol symbol(__m256i bits, __m256i codes)
{
    const __m256i nibble = _mm256_set1_epi32(15);
    const __m256i zeros = leadingZeros(bits);
    const __m256i kind = _mm256_min_epi32(zeros, _mm256_set1_epi32(longZeros));
    const __m256i more = _mm256_sub_epi32(zeros, kind);
    const __m256i code = _mm256_srlv_epi32(codes, _mm256_slli_epi32(kind, 3));
    const __m256i length = _mm256_add_epi32(_mm256_and_si256(code, nibble), _mm256_add_epi32(more, more));
    const __m256i top = _mm256_srlv_epi32(bits, _mm256_sub_epi32(_mm256_set1_epi32(32), length));
    return {length, _mm256_add_epi32(top, _mm256_and_si256(_mm256_srli_epi32(code, 4), nibble))};
}

/// The bits at the position of each lane.
XP_LANES_TARGET XP_LANES_INLINE __m256i read(__m256i position, const uchar *bytes)
{
    const __m256i reversed = _mm256_setr_epi8(3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12, 3, 2, 1,
                                              0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12);
    const __m256i raw =
        _mm256_i32gather_epi32(reinterpret_cast<const int *>(bytes), _mm256_srli_epi32(position, 3), 1);
    return _mm256_sllv_epi32(_mm256_shuffle_epi8(raw, reversed),
                             _mm256_and_si256(position, _mm256_set1_epi32(7)));
}

XP_LANES_TARGET XP_LANES_INLINE __m256i bookBehind(__m256i table, __m256i value)
{
    return _mm256_shuffle_epi8(table, _mm256_min_epi32(value, _mm256_set1_epi32(15)));
}

/// A pair of each lane. Returns those whose pair was an ordinary one and has been taken.
XP_LANES_TARGET XP_LANES_INLINE unsigned step(State &s, const qint32 *end, const qint32 *limit,
                                              const Tables &t, const uchar *bytes, qint16 *levels)
{
    const __m256i bits = read(s.position, bytes);
    const Symbol run = symbol(bits, _mm256_permutevar8x32_epi32(load(t.run.data()), s.runBook));
    const __m256i behindRun = _mm256_sllv_epi32(bits, run.length);
    const Symbol level = symbol(behindRun, _mm256_permutevar8x32_epi32(load(t.level.data()), s.levelBook));
    const __m256i sign = _mm256_srai_epi32(_mm256_sllv_epi32(behindRun, level.length), 31);
    const __m256i one = _mm256_set1_epi32(1), biases = _mm256_set1_epi32(bias);
    const __m256i taken = _mm256_add_epi32(_mm256_add_epi32(run.length, level.length), one);
    const __m256i left =
        _mm256_min_epi32(_mm256_sub_epi32(load(end), s.position), _mm256_set1_epi32(bitsAReading));
    const __m256i runValue = _mm256_sub_epi32(run.value, biases);
    const __m256i levelValue = _mm256_sub_epi32(level.value, biases);
    const __m256i out = _mm256_add_epi32(_mm256_add_epi32(s.out, runValue), one);
    const __m256i good =
        _mm256_andnot_si256(_mm256_cmpgt_epi32(taken, left), _mm256_cmpgt_epi32(load(limit), out));
    const __m256i size = _mm256_add_epi32(levelValue, one);
    s.position = _mm256_add_epi32(s.position, _mm256_and_si256(taken, good));
    s.out = _mm256_blendv_epi8(s.out, out, good);
    // A lane that stands still writes what it wrote last.
    s.level = _mm256_blendv_epi8(s.level, _mm256_sub_epi32(_mm256_xor_si256(size, sign), sign), good);
    s.runBook = _mm256_blendv_epi8(s.runBook, bookBehind(load(t.afterRun.data()), runValue), good);
    s.levelBook = _mm256_blendv_epi8(s.levelBook, bookBehind(load(t.afterLevel.data()), levelValue), good);
    alignas(32) std::array<quint32, lanesAVector> outs;
    alignas(32) std::array<quint32, lanesAVector> values;
    store(outs.data(), s.out);
    store(values.data(), s.level);
    for (size_t i = 0; i < lanesAVector; ++i)
        levels[outs[i]] = qint16(values[i]);
    return unsigned(_mm256_movemask_ps(_mm256_castsi256_ps(good)));
}

/// Which job each lane works at.
class Lanes
{
public:
    Lanes(std::span<ProResLanes::Job> jobs) : _jobs(jobs), _bytes(jobs[0].bytes), _levels(jobs[0].out)
    {
        for (const ProResLanes::Job &job : jobs) { // so that no number is negative
            _bytes = std::min(_bytes, job.bytes);
            _levels = std::min(_levels, job.out);
        }
        _numbers.level.fill(*_levels); // lanes that never have a job write it again and again
    }

    /// How many pairs there were, or a few more.
    XP_LANES_TARGET qint64 run();

private:
    /// A lane's next job; false: there is none.
    bool begin(size_t lane);
    void leave(size_t lane);
    /// A pair of more bits than a lane has; false: it is no ordinary one.
    bool takeLong(size_t lane);
    XP_LANES_TARGET State loaded(size_t vector) const;
    XP_LANES_TARGET void keep(size_t vector, const State &s);

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
        // It goes on standing where it is.
        _numbers.end[lane] = _numbers.position[lane];
        _job[lane] = nullptr;
        return false;
    }
    ProResLanes::Job &job = *(_job[lane] = &_jobs[_next++]);
    const qint64 first = (job.bytes - _bytes) * 8;
    _numbers.position[lane] = qint32(first + job.position);
    _numbers.end[lane] = qint32(first + job.end);
    _numbers.out[lane] = qint32(job.out - _levels);
    _numbers.limit[lane] = qint32(job.limit - _levels);
    _numbers.level[lane] = *job.out;
    _numbers.runBook[lane] = job.runBook;
    _numbers.levelBook[lane] = job.levelBook;
    return true;
}

void Lanes::leave(size_t lane)
{
    ProResLanes::Job &job = *_job[lane];
    job.position = _numbers.position[lane] - (job.bytes - _bytes) * 8;
    job.out = _levels + _numbers.out[lane];
    job.runBook = _numbers.runBook[lane] & books;
    job.levelBook = _numbers.levelBook[lane] & books;
}

bool Lanes::takeLong(size_t lane)
{
    constexpr quint32 greatestLevel = 32767;
    const int position = _numbers.position[lane], left = _numbers.end[lane] - position;
    const quint64 bits = qFromBigEndian<quint64>(_bytes + (position >> 3)) << (position & 7);
    const auto run = symbolAt(bits, ProRes::acRun[size_t(_numbers.runBook[lane] & books)]);
    if (!run || run->length > mostBits) return false;
    const quint64 behind = bits << run->length;
    const auto level = symbolAt(behind, ProRes::acLevel[size_t(_numbers.levelBook[lane] & books)]);
    if (!level || level->value >= greatestLevel) return false;
    const int taken = run->length + level->length + 1;
    const qint64 out = _numbers.out[lane] + qint64(run->value) + 1;
    if (taken > std::min(left, mostBits) || out >= _numbers.limit[lane]) return false;
    const int size = int(level->value) + 1;
    const bool negative = behind << level->length >> 63;
    _numbers.position[lane] += taken;
    _numbers.out[lane] = qint32(out);
    _numbers.level[lane] = negative ? -size : size;
    _numbers.runBook[lane] = ProRes::bookAfterRun(int(run->value));
    _numbers.levelBook[lane] = ProRes::bookAfterLevel(size);
    _levels[out] = qint16(_numbers.level[lane]);
    return true;
}

XP_LANES_TARGET State Lanes::loaded(size_t vector) const
{
    const size_t at = vector * lanesAVector;
    return {load(&_numbers.position[at]), load(&_numbers.out[at]), load(&_numbers.level[at]),
            load(&_numbers.runBook[at]), load(&_numbers.levelBook[at])};
}

XP_LANES_TARGET void Lanes::keep(size_t vector, const State &s)
{
    const size_t at = vector * lanesAVector;
    store(&_numbers.position[at], s.position);
    store(&_numbers.out[at], s.out);
    store(&_numbers.level[at], s.level);
    store(&_numbers.runBook[at], s.runBook);
    store(&_numbers.levelBook[at], s.levelBook);
}

XP_LANES_TARGET qint64 Lanes::run()
{
    constexpr int fewest = 4; // lanes that are worth the vectors
    const Tables &t = tables();
    qint64 pairs = 0;
    unsigned active = 0;
    for (size_t lane = 0; lane < lanes; ++lane)
        active |= unsigned(begin(lane)) << lane;
    while (__builtin_popcount(active) >= fewest) {
        State a = loaded(0), b = loaded(1);
        unsigned stopped = 0;
        int steps = 0;
        for (; !stopped; ++steps) {
            const unsigned goodA = step(a, _numbers.end.data(), _numbers.limit.data(), t, _bytes, _levels);
            const unsigned goodB = step(b, _numbers.end.data() + lanesAVector,
                                        _numbers.limit.data() + lanesAVector, t, _bytes, _levels);
            stopped = active & ~(goodA | goodB << lanesAVector);
        }
        pairs += qint64(steps) * __builtin_popcount(active);
        keep(0, a);
        keep(1, b);
        for (; stopped; stopped &= stopped - 1) {
            const auto lane = size_t(__builtin_ctz(stopped));
            if (takeLong(lane)) continue;
            leave(lane);
            if (!begin(lane)) active &= ~(1U << lane);
        }
    }
    for (size_t lane = 0; lane < lanes; ++lane)
        if (active >> lane & 1) leave(lane);
    return pairs;
}
} // namespace

qint64 ProResLanes::advanceNarrow(std::span<Job> jobs)
{
    return jobs.empty() ? 0 : Lanes(jobs).run();
}
#else
qint64 ProResLanes::advanceNarrow(std::span<Job>)
{
    return 0;
}
#endif
