// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proreslanes-inl.h"

#if HWY_ARCH_X86_64 && defined(__GNUC__)
namespace {
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

void ProResLanes::advance(std::span<MeansJob> jobs)
{
    for (size_t i = 0; i < jobs.size(); i += lanes)
        runMeans(jobs.subspan(i, std::min<size_t>(lanes, jobs.size() - i)));
}
#else
void ProResLanes::advance(std::span<MeansJob>) {}
#endif
