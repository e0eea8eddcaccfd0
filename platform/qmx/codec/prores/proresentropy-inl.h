// SPDX-License-Identifier: GPL-3.0-or-later
// Pairs of runs and levels, by look-up tables and where those end. Read once for each instruction set, so it
// has no guard that would let it in only once.
#if defined(PRORESENTROPY_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PRORESENTROPY_INL_H
#undef PRORESENTROPY_INL_H
#else
#define PRORESENTROPY_INL_H
#endif

#include "platform/qmx/codec/prores/proresentropy.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <bit>
#include <hwy/highway.h>
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
    int longPairs = 0; ///< that were in no table
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

/// Where no pair begins: the component's end if it has no more than these bits and all of them are 0. Then
/// nothing more is taken.
inline void endHere(Cursor &c)
{
    const qint64 left = c.left();
    c.good = c.good && left >= 0 && left <= 64 && std::countl_zero(c.bits) >= left;
    c.bits = 0;
    c.known = 0;
    c.at = c.end;
}

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
    ++c.longPairs;
    c.fill<careful>();
    const int runFrom = c.known;
    if (HWY_UNLIKELY(!runSymbols[state / ProRes::acBooks].take(c, run))) return endHere(c);
    const int runLength = runFrom - c.known;
    if (careful || HWY_UNLIKELY(runLength > ordinaryRun)) c.fill<careful>();
    c.good = levelSymbols[state % ProRes::acBooks].take(c, level) && level < greatest;
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
inline void takeRest(Cursor &c, const quint32 *tables, const uchar *end)
{
    while (c.good && c.out + 1 < c.limit) {
        const qint64 left = c.left();
        if (left <= 0) return;
        fillFor(c, end);
        if (left < 64) c.bits &= ~quint64(0) << (64 - left);
        for (int i = 0; i < pairsAFilling; ++i) {
            if (c.bits == 0) return endHere(c);
            const quint32 entry = tables[c.table + (c.bits >> (64 - acBits))];
            if (entry == 0) {
                longPair<true>(c);
                break;
            }
            advance(c, entry);
            if (c.left() < 0 || c.out >= c.limit) return;
            *c.out = levelOf(entry);
            if (c.out + 1 >= c.limit) return;
        }
    }
}

/// Whatever came before, a component that is good has no more bits than it has places for: so it is the same
/// one that is damaged, however many pairs were taken at once.
inline void finish(Cursor &c, const quint32 *tables, const uchar *end)
{
    takeRest(c, tables, end);
    if (c.good && c.left() > 0) {
        fillFor(c, end);
        endHere(c);
    }
    c.good = c.good && c.left() >= 0;
}

/// How far both can go together without looking where they are.
const uchar *fastEnd(const Cursor &c, const uchar *end)
{
    // Compared as numbers: a component near the beginning of the memory has no such place in it.
    const auto a = quintptr(c.end) - bytesAFilling, b = quintptr(end) - bytesRead;
    return reinterpret_cast<const uchar *>(std::min(a, b)); // NOLINT(performance-no-int-to-ptr)
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

} // namespace ProResEntropy::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
