// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proreslanes-inl.h"

#if HWY_ARCH_X86_64 && defined(__GNUC__)
namespace {
/// Pairs that are tried with the bits of one reading.
constexpr int pairsAReading = 4;

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

/// By a code's value and bias: the book of the next code.
XP_LANES_TARGET XP_LANES_INLINE __m512i bookBehind(__m512i table, __m512i value, int most)
{
    return lookUp(table, _mm512_min_epu32(value, _mm512_set1_epi64(most + bias)));
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

#else
bool ProResLanes::available()
{
    return false;
}
void ProResLanes::advance(std::span<Job>) {}
#endif
