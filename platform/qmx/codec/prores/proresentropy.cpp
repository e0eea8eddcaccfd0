// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them: those with shifts that touch no flags need a third less time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/codec/prores/proresentropy.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "platform/qmx/codec/prores/proresentropy.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

HWY_BEFORE_NAMESPACE();
namespace ProResEntropy::HWY_NAMESPACE {

constexpr int acBits = ProResDecodeTables::acBits;
constexpr quint32 lengthMask = 15;
constexpr quint32 runMask = 63;
constexpr int runShift = 4, levelShift = 10, tableShift = 16;
/// Pairs that one filling of the bits is enough for, if all are in the table.
constexpr int pairsAFilling = 5;
static_assert(pairsAFilling * acBits <= 56);
/// Bytes that the codes of one filling may take, and those that a filling reads.
constexpr int bytesAFilling = 14;
constexpr int bytesRead = 40;
static_assert(Levels::slack >= pairsAFilling * (ProResDecodeTables::longestRun + 1) + ProRes::lanes);

/// Where a component is read and written. The bits that are known stand at the top of a word.
struct Cursor
{
    quint64 bits = 0;
    int known = 0;
    const uchar *at = nullptr;
    const uchar *end = nullptr;    ///< of the component
    qint16 *out = nullptr;         ///< the level written last
    const qint16 *limit = nullptr; ///< of the places that are wanted
    quint32 table = 0;
    bool good = true;

    /// At least 56 known bits; reads eight bytes, or carefully, near the end: there zeros stand for what is
    /// not there.
    template <bool careful>
    HWY_INLINE void fill()
    {
        if constexpr (careful) {
            for (; known <= 56; known += 8, ++at)
                if (at < end) bits |= quint64(*at) << (56 - known);
        } else {
            bits |= qFromBigEndian<quint64>(at) >> known;
            at += (63 - known) >> 3;
            known |= 56;
        }
    }
    HWY_INLINE void drop(int length)
    {
        bits <<= length;
        known -= length;
    }
    /// Bits that the component still has; negative: more were taken than there were.
    qint64 left() const { return (end - at) * 8 + known; }
};

/// symbolAt() without branches: which of both kinds a code is nobody can foretell.
struct Symbols
{
    constexpr explicit Symbols(const ProRes::Codebook &book)
        : last(book.lastRiceQuotient),
          rice(book.rice),
          riceLength(1 + book.rice),
          longLength(book.exponential - book.lastRiceQuotient),
          longOffset(((book.lastRiceQuotient + 1) << book.rice) - (1 << book.exponential))
    {}
    /// False: it stands for more than there can be.
    HWY_INLINE bool take(Cursor &c, quint32 &value) const
    {
        constexpr int mostZeros = 18;
        const int zeros = std::countl_zero(c.bits);
        const int isLong = -int(zeros > last);
        const int length = zeros + riceLength + ((zeros + longLength - riceLength) & isLong);
        const int offset = (zeros << rice) - (1 << rice);
        if (HWY_UNLIKELY(zeros > mostZeros)) return false;
        value = quint32(c.bits >> (64 - length)) + quint32(offset + ((longOffset - offset) & isLong));
        c.drop(length);
        return true;
    }

    int last, rice, riceLength, longLength, longOffset;
};
template <size_t count, size_t... index>
constexpr std::array<Symbols, count> symbolsOf(const std::array<ProRes::Codebook, count> &books,
                                               std::index_sequence<index...>)
{
    return {Symbols(books[index])...};
}
template <size_t count>
constexpr std::array<Symbols, count> symbolsOf(const std::array<ProRes::Codebook, count> &books)
{
    return symbolsOf(books, std::make_index_sequence<count>());
}
constexpr auto runSymbols = symbolsOf(ProRes::acRun), levelSymbols = symbolsOf(ProRes::acLevel);
constexpr auto dcSymbols = symbolsOf(ProRes::dcDifference);

/// A pair that is in no table. In line: pictures with hard edges have many long ones, and a cursor whose
/// address somebody has lives in memory.
template <bool careful>
HWY_INLINE void longPair(Cursor &c)
{
    constexpr quint32 greatest = 32767;
    // Right after a filling all 64 bits are there; that leaves room for the longest level behind such a run.
    constexpr int ordinaryRun = 11;
    const quint32 state = c.table >> acBits;
    quint32 run = 0, level = 0;
    c.fill<careful>();
    const int runFrom = c.known;
    c.good = runSymbols[state / ProRes::acBooks].take(c, run);
    const int runLength = runFrom - c.known;
    if (careful || HWY_UNLIKELY(runLength > ordinaryRun)) c.fill<careful>();
    c.good = c.good && levelSymbols[state % ProRes::acBooks].take(c, level) && level < greatest;
    if (HWY_UNLIKELY(!c.good)) return;
    const int negative = int(qint64(c.bits) >> 63);
    c.drop(1);
    // The codes before it in this filling may have gone beyond the last place already.
    if (HWY_UNLIKELY(qint64(run) + 1 >= c.limit - c.out)) {
        c.out = std::max(c.out, c.out + (c.limit - c.out));
        return;
    }
    c.out += run + 1;
    const int size = int(level) + 1;
    *c.out = qint16((size ^ negative) - negative);
    c.table = ProResDecodeTables::acTable(int(run), size);
}

/// Takes what an entry says; its level is told apart, because not every place is there.
HWY_INLINE void advance(Cursor &c, quint32 entry)
{
    c.drop(int(entry & lengthMask));
    c.out += entry >> runShift & runMask;
    c.table = entry >> tableShift;
}
HWY_INLINE qint16 levelOf(quint32 entry)
{
    return qint16(qint16(entry) >> levelShift);
}

/// False: it was a long one, and where the bits end has to be looked at again.
HWY_INLINE bool pair(Cursor &c, const quint32 *tables)
{
    const quint32 entry = tables[c.table + (c.bits >> (64 - acBits))];
    if (HWY_UNLIKELY(entry == 0)) {
        longPair<false>(c);
        if (HWY_UNLIKELY(!c.good)) c.at = c.end; // nothing more is taken
        return false;
    }
    advance(c, entry);
    *c.out = levelOf(entry);
    return true;
}

/// As fill(), wherever the component and the frame end.
HWY_INLINE void fillFor(Cursor &c, const uchar *end)
{
    if (HWY_LIKELY(c.at <= end - 8))
        c.fill<false>();
    else
        c.fill<true>();
}

/// Up to the end of the bytes, of the places or of what is good. Bits of what comes behind the component may
/// be read, but count as zeros.
void finish(Cursor &c, const quint32 *tables, const uchar *end)
{
    while (c.good && c.out + 1 < c.limit) {
        const qint64 left = c.left();
        if (left <= 0) return;
        fillFor(c, end);
        if (left < 64) c.bits &= ~quint64(0) << (64 - left);
        for (int i = 0; i < pairsAFilling; ++i) {
            if (c.bits == 0) return;
            const quint32 entry = tables[c.table + (c.bits >> (64 - acBits))];
            if (entry == 0) {
                longPair<true>(c);
                c.good = c.good && c.left() >= 0;
                break;
            }
            advance(c, entry);
            c.good = c.left() >= 0;
            if (!c.good || c.out >= c.limit) return;
            *c.out = levelOf(entry);
            if (c.out + 1 >= c.limit) return;
        }
    }
}

/// The DC levels of a component while they are decoded: a number, then differences. The sign of one is told
/// against that of the one before.
struct DcState
{
    qint16 *out = nullptr;
    int left = 0; ///< blocks
    quint32 level = 0;
    quint32 table = ProResDecodeTables::dcTable(ProRes::firstDcDifference);
    int sign = 0; ///< of the difference before: all bits of a negative one

    HWY_INLINE void add(int told)
    {
        const int difference = (told ^ sign) - sign;
        level += quint32(difference);
        *out++ = qint16(level);
        sign = difference >> 31;
    }
};

HWY_INLINE void nextDc(Cursor &c, DcState &dc, const quint32 *tables, const uchar *end)
{
    constexpr int toldShift = 16;
    const quint32 entry = tables[dc.table + (c.bits >> (64 - ProResDecodeTables::dcBits))];
    if (HWY_UNLIKELY(entry == 0)) { // a difference that no table has
        quint32 symbol = 0;
        fillFor(c, end);
        if (!dcSymbols[dc.table >> ProResDecodeTables::dcBits].take(c, symbol)) c.good = false;
        fillFor(c, end);
        const int told = unfolded(symbol);
        dc.table = ProResDecodeTables::dcTable(told);
        return dc.add(told);
    }
    c.drop(int(entry & lengthMask));
    dc.table = entry & (3U << ProResDecodeTables::dcBits);
    dc.add(int(entry) >> toldShift);
}

Cursor begin(const Component &component, int mostPlaces, DcState &dc)
{
    Cursor c;
    if (!component.bytes) {
        c.good = false;
        return c;
    }
    qint16 *levels = component.levels->level.data();
    std::memset(levels, 0, size_t(component.levels->used) * sizeof(qint16));
    c.at = component.bytes;
    c.end = component.bytes + component.size;
    c.out = levels + component.blocks - 1;
    c.limit = levels + component.blocks * mostPlaces;
    c.table = quint32(ProRes::bookAfterRun(ProRes::firstRun) * ProRes::acBooks +
                      ProRes::bookAfterLevel(ProRes::firstLevel))
              << acBits;
    constexpr Symbols firstDc(ProRes::firstDc);
    quint32 symbol = 0;
    c.fill<true>();
    c.good = firstDc.take(c, symbol);
    dc.level = quint32(unfolded(symbol));
    dc.out = levels;
    *dc.out++ = qint16(dc.level);
    dc.left = c.good ? component.blocks - 1 : 0;
    return c;
}

void decodeDc(Cursor &first, DcState &dcA, Cursor &second, DcState &dcB, const quint32 *tables,
              const uchar *end)
{
    constexpr int dcAFilling = 5;
    static_assert(dcAFilling * ProResDecodeTables::dcBits <= 56);
    Cursor a = first, b = second;
    for (; dcA.left >= dcAFilling && dcB.left >= dcAFilling; dcA.left -= dcAFilling, dcB.left -= dcAFilling) {
        fillFor(a, end);
        fillFor(b, end);
        for (int i = 0; i < dcAFilling; ++i) {
            nextDc(a, dcA, tables, end);
            nextDc(b, dcB, tables, end);
        }
    }
    const auto rest = [&](Cursor c, DcState &dc) HWY_ATTR {
        for (; dc.left > 0; --dc.left) {
            fillFor(c, end);
            nextDc(c, dc, tables, end);
        }
        c.good = c.good && c.left() >= 0;
        return c;
    };
    first = rest(a, dcA);
    second = rest(b, dcB);
}

/// How far both can go together without looking where they are.
const uchar *fastEnd(const Cursor &c, const uchar *end)
{
    // Compared as numbers: a component near the beginning of the memory has no such place in it.
    const auto a = quintptr(c.end) - bytesAFilling, b = quintptr(end) - bytesRead;
    return reinterpret_cast<const uchar *>(std::min(a, b));
}

/// The pairs of one, or what is left of them.
HWY_INLINE void decodePairs(Cursor &cursor, const quint32 *tables, const uchar *end)
{
    if (!cursor.good) return;
    Cursor c = cursor;
    const uchar *endC = fastEnd(c, end);
    while (c.at <= endC && c.out < c.limit) {
        c.fill<false>();
        for (int i = 0; i < pairsAFilling && pair(c, tables); ++i) {}
    }
    finish(c, tables, end);
    cursor = c;
}

/// Those of two, until one comes near its end.
HWY_INLINE void decodePairs(Cursor &first, Cursor &second, const quint32 *tables, const uchar *end)
{
    if (!first.good || !second.good) return;
    Cursor a = first, b = second;
    const uchar *endA = fastEnd(a, end), *endB = fastEnd(b, end);
    while (a.at <= endA && b.at <= endB && a.out < a.limit && b.out < b.limit) {
        a.fill<false>();
        b.fill<false>();
        for (int i = 0; i < pairsAFilling; ++i) {
            const bool shortA = pair(a, tables), shortB = pair(b, tables);
            if (HWY_UNLIKELY(!shortA || !shortB)) break;
        }
    }
    first = a;
    second = b;
}

void decode(Component &first, Component &second, int mostPlaces, const uchar *end)
{
    const ProResDecodeTables &all = ProResDecodeTables::instance();
    DcState dcA, dcB;
    Cursor a = begin(first, mostPlaces, dcA), b = begin(second, mostPlaces, dcB);
    decodeDc(a, dcA, b, dcB, all.dc(), end);
    if (mostPlaces > 1) {
        decodePairs(a, b, all.ac(), end);
        decodePairs(a, all.ac(), end);
        decodePairs(b, all.ac(), end);
    }
    const auto result = [mostPlaces](Component &component, const Cursor &c) {
        if (!component.bytes) return;
        const qint64 written = c.out - component.levels->level.data();
        component.levels->used = int(written) + 1;
        // What is beyond the places asked for may not have been looked at.
        const bool whole = mostPlaces == ProRes::blockSamples;
        component.places = !c.good || (whole && c.out >= c.limit)
                               ? 0
                               : int(std::min<qint64>(written / component.blocks + 1, mostPlaces));
    };
    result(first, a);
    result(second, b);
}

} // namespace ProResEntropy::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ProResEntropy {
HWY_EXPORT(decode);
} // namespace ProResEntropy

void ProResEntropy::decode(Component &a, Component &b, int mostPlaces, const uchar *end)
{
    HWY_DYNAMIC_DISPATCH(decode)(a, b, mostPlaces, end);
}
#endif
