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
#include <cstdlib>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace ProResEntropy::HWY_NAMESPACE {

constexpr int acBits = ProResDecodeTables::acBits;
constexpr quint32 lengthMask = 15;
constexpr int runShift = 4, levelShift = 8, tableShift = 16;
/// Pairs that one filling of the bits is enough for, if all are in the table.
constexpr int pairsAFilling = 5;
static_assert(pairsAFilling * acBits <= 56);
/// Bytes that the codes of one filling may take, and those that a filling reads.
constexpr int bytesAFilling = 14;
constexpr int bytesRead = 40;
static_assert(Levels::slack >= 2 * 16 * pairsAFilling);

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

    /// At least 56 known bits; reads eight bytes.
    HWY_INLINE void fill()
    {
        bits |= qFromBigEndian<quint64>(at) >> known;
        at += (63 - known) >> 3;
        known |= 56;
    }
    /// The same near the end: zeros stand for what is not there.
    void fillCarefully()
    {
        for (; known <= 56; known += 8, ++at)
            if (at < end) bits |= quint64(*at) << (56 - known);
    }
    HWY_INLINE void drop(int length)
    {
        bits <<= length;
        known -= length;
    }
    /// Bits that the component still has; negative: more were taken than there were.
    qint64 left() const { return (end - at) * 8 + known; }
};

/// A code that no table has, near the end or not.
template <bool careful>
bool slowSymbol(Cursor &c, const ProRes::Codebook &book, quint32 &value)
{
    if constexpr (careful)
        c.fillCarefully();
    else
        c.fill();
    const auto symbol = symbolAt(c.bits, book);
    if (!symbol) return false;
    c.drop(symbol->length);
    value = symbol->value;
    return true;
}

/// A pair whose entry is 0.
template <bool careful>
HWY_NOINLINE bool slowPair(Cursor &c)
{
    const quint32 state = c.table >> acBits;
    quint32 run = 0, level = 0;
    if (!slowSymbol<careful>(c, ProRes::acRun[state / ProRes::acBooks], run) ||
        !slowSymbol<careful>(c, ProRes::acLevel[state % ProRes::acBooks], level))
        return false;
    if constexpr (careful)
        c.fillCarefully();
    else
        c.fill();
    const bool negative = c.bits >> 63;
    c.drop(1);
    constexpr quint32 greatest = 32767;
    if (level >= greatest) return false;
    if (run + 1 >= quint32(c.limit - c.out)) {
        c.out += c.limit - c.out; // beyond the last place
        return true;
    }
    c.out += run + 1;
    const int size = int(level) + 1;
    *c.out = qint16(negative ? -size : size);
    c.table = ProResDecodeTables::acTable(int(run), size);
    return true;
}

/// False: it was a long one, and where the bits end has to be looked at again.
HWY_INLINE bool pair(Cursor &c, const quint32 *tables)
{
    const quint32 entry = tables[c.table + (c.bits >> (64 - acBits))];
    if (HWY_UNLIKELY(entry == 0)) {
        c.good = slowPair<false>(c);
        if (!c.good) c.at = c.end; // nothing more is taken
        return false;
    }
    c.drop(int(entry & lengthMask));
    c.out += entry >> runShift & 15;
    *c.out = qint8(entry >> levelShift);
    c.table = entry >> tableShift;
    return true;
}

/// Up to the end of the bytes, of the places or of what is good; nothing beyond the component is read.
void finish(Cursor &c, const quint32 *tables)
{
    // Among the bits may be some of what comes behind the component.
    c.known = int(std::clamp<qint64>(c.left(), 0, c.known));
    c.at = std::min(c.at, c.end);
    c.bits = c.known > 0 ? c.bits & ~quint64(0) << (64 - c.known) : 0;
    while (c.good && c.out + 1 < c.limit) {
        c.fillCarefully();
        if (c.bits == 0 || c.left() <= 0) break;
        const quint32 entry = tables[c.table + (c.bits >> (64 - acBits))];
        if (entry == 0) {
            c.good = slowPair<true>(c) && c.left() >= 0;
            continue;
        }
        c.drop(int(entry & lengthMask));
        c.out += entry >> runShift & 15;
        c.good = c.left() >= 0;
        if (!c.good || c.out >= c.limit) break;
        *c.out = qint8(entry >> levelShift);
        c.table = entry >> tableShift;
    }
}

/// The DC levels of a component while they are decoded: a number, then differences. The sign of one is told
/// against that of the one before.
struct DcState
{
    qint16 *out = nullptr;
    int left = 0; ///< blocks
    quint32 level = 0;
    int book = ProRes::firstDcDifference;
    bool negative = false;
};

HWY_INLINE void fillFor(Cursor &c, const uchar *end)
{
    if (HWY_LIKELY(c.at <= end - 8))
        c.fill();
    else
        c.fillCarefully();
}

HWY_INLINE void nextDc(Cursor &c, DcState &dc, const ProResDecodeTables &tables, const uchar *end)
{
    constexpr int symbolShift = 4;
    fillFor(c, end);
    quint32 symbol = 0;
    if (const quint16 entry = tables.dc(dc.book)[c.bits >> (64 - ProResDecodeTables::dcBits)];
        HWY_LIKELY(entry)) {
        c.drop(int(entry & lengthMask));
        symbol = entry >> symbolShift;
    } else if (!slowSymbol<true>(c, ProRes::dcDifference[size_t(dc.book)], symbol)) {
        c.good = false;
    }
    const int told = unfolded(symbol);
    const int difference = dc.negative ? -told : told;
    dc.level += quint32(difference);
    *dc.out++ = qint16(dc.level);
    dc.book = std::min(std::abs(difference), ProRes::firstDcDifference);
    dc.negative = difference < 0;
    --dc.left;
}

Cursor begin(const Component &component, int mostPlaces, DcState &dc)
{
    Cursor c;
    if (!component.bytes) {
        c.good = false;
        return c;
    }
    qint16 *levels = component.levels->level.data();
    const int count = component.blocks * mostPlaces;
    std::memset(levels, 0, size_t(count) * sizeof(qint16));
    c.at = component.bytes;
    c.end = component.bytes + component.size;
    c.out = levels + component.blocks - 1;
    c.limit = levels + count;
    c.table = quint32(ProRes::bookAfterRun(ProRes::firstRun) * ProRes::acBooks +
                      ProRes::bookAfterLevel(ProRes::firstLevel))
              << acBits;
    quint32 symbol = 0;
    c.good = slowSymbol<true>(c, ProRes::firstDc, symbol);
    dc.level = quint32(unfolded(symbol));
    dc.out = levels;
    *dc.out++ = qint16(dc.level);
    dc.left = c.good ? component.blocks - 1 : 0;
    return c;
}

void decodeDc(Cursor &a, DcState &dcA, Cursor &b, DcState &dcB, const ProResDecodeTables &tables,
              const uchar *end)
{
    while (dcA.left > 0 && dcB.left > 0) {
        nextDc(a, dcA, tables, end);
        nextDc(b, dcB, tables, end);
    }
    while (dcA.left > 0)
        nextDc(a, dcA, tables, end);
    while (dcB.left > 0)
        nextDc(b, dcB, tables, end);
    a.good = a.good && a.left() >= 0;
    b.good = b.good && b.left() >= 0;
}

/// How far both can go together without looking where they are.
const uchar *fastEnd(const Cursor &c, const uchar *end)
{
    // Compared as numbers: a component near the beginning of the memory has no such place in it.
    const auto a = quintptr(c.end) - bytesAFilling, b = quintptr(end) - bytesRead;
    return reinterpret_cast<const uchar *>(std::min(a, b));
}

void decode(Component &first, Component &second, int mostPlaces, const uchar *end)
{
    const ProResDecodeTables &all = ProResDecodeTables::instance();
    const quint32 *tables = all.ac();
    DcState dcA, dcB;
    Cursor a = begin(first, mostPlaces, dcA), b = begin(second, mostPlaces, dcB);
    decodeDc(a, dcA, b, dcB, all, end);
    if (mostPlaces > 1) {
        if (a.good && b.good) {
            const uchar *endA = fastEnd(a, end), *endB = fastEnd(b, end);
            while (a.at <= endA && b.at <= endB && a.out < a.limit && b.out < b.limit) {
                a.fill();
                b.fill();
                for (int i = 0; i < pairsAFilling; ++i) {
                    const bool shortA = pair(a, tables), shortB = pair(b, tables);
                    if (HWY_UNLIKELY(!shortA || !shortB)) break;
                }
            }
        }
        for (Cursor *c : {&a, &b}) {
            if (!c->good) continue;
            const uchar *endC = fastEnd(*c, end);
            while (c->at <= endC && c->out < c->limit) {
                c->fill();
                for (int i = 0; i < pairsAFilling && pair(*c, tables); ++i) {}
            }
            finish(*c, tables);
        }
    }
    const auto result = [mostPlaces](Component &component, const Cursor &c) {
        if (!component.bytes) return;
        const qint64 written = c.out - component.levels->level.data();
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

namespace {
/// The bits of an alpha channel, one after the other; zeros behind the end.
class AlphaBits
{
public:
    AlphaBits(const uchar *bytes, int size) : _bytes(bytes), _size(qint64(size) * 8) {}
    int take(int count)
    {
        int value = 0;
        for (; count > 0; --count, ++_at)
            value = value << 1 | (_at < _size ? _bytes[_at >> 3] >> (7 - (_at & 7)) & 1 : 0);
        return value;
    }
    qint64 left() const { return _size - _at; }

private:
    const uchar *_bytes;
    qint64 _size;
    qint64 _at = 0;
};
} // namespace

bool ProResEntropy::decodeAlpha(const uchar *bytes, int size, int bits, quint16 *values, int count)
{
    constexpr int wide = 16, smallBitsOfWide = 7, smallBitsOfNarrow = 4, shortRun = 4, longRun = 11;
    const int mask = (1 << bits) - 1;
    AlphaBits in(bytes, size);
    int value = mask;
    // Full scale of 8 bits is full scale of 16.
    const auto scaled = [bits](int v) { return quint16(bits == wide ? v : v << 8 | v); };
    for (int i = 0; i < count;) {
        if (in.left() <= 0) return false;
        if (in.take(1)) {
            value += in.take(bits);
        } else {
            const int folded = in.take(bits == wide ? smallBitsOfWide : smallBitsOfNarrow);
            const int difference = folded / 2 + 1;
            value += folded & 1 ? -difference : difference;
        }
        value &= mask;
        values[i++] = scaled(value);
        if (i == count || in.take(1)) continue;
        int run = in.take(shortRun);
        if (run == 0) run = in.take(longRun);
        run = std::min(run, count - i);
        std::fill_n(values + i, run, scaled(value));
        i += run;
    }
    return true;
}
#endif
