// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them: those with shifts that touch no flags need a third less time.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/codec/prores/proresentropy.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "platform/qmx/codec/prores/proresentropy-inl.h"
#include "platform/qmx/codec/prores/proresentropy.h"
#include "platform/qmx/codec/prores/proreslanes.h"

#include <algorithm>
#include <array>
#include <cstring>

HWY_BEFORE_NAMESPACE();
namespace ProResEntropy::HWY_NAMESPACE {

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

void clear(Levels &levels)
{
    std::memset(levels.level.data(), 0, size_t(levels.used) * sizeof(qint16));
}

/// Where the pairs of a component go, behind its DC levels.
Cursor behindDc(const Component &component, int mostPlaces)
{
    Cursor c;
    qint16 *levels = component.levels->level.data();
    c.at = c.end = component.bytes + component.size;
    c.out = levels + component.blocks - 1;
    c.limit = levels + component.blocks * mostPlaces;
    c.table = quint32(ProRes::bookAfterRun(ProRes::firstRun) * ProRes::acBooks +
                      ProRes::bookAfterLevel(ProRes::firstLevel))
              << acBits;
    return c;
}

Cursor begin(const Component &component, int mostPlaces, DcState &dc, const uchar *end)
{
    Cursor c = behindDc(component, mostPlaces);
    c.at = component.bytes;
    constexpr Symbols firstDc(ProRes::firstDc);
    quint32 symbol = 0;
    fillFor(c, end);
    c.good = firstDc.take(c, symbol);
    dc.level = quint32(unfolded(symbol));
    dc.out = component.levels->level.data();
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

qint64 positionOf(const Component &component, const Cursor &c)
{
    return (c.at - component.bytes) * 8 - c.known;
}

void goTo(Cursor &c, const uchar *bytes, qint64 position, const uchar *end)
{
    c.at = bytes + (position >> 3);
    c.bits = 0;
    c.known = 0;
    fillFor(c, end);
    c.drop(int(position & 7));
}

enum class Lanes { None, Narrow, Wide };

/// Highway does not know all that the lanes need, but where it has less they are not asked. Narrow ones lose
/// to the tables where most codes are short.
Lanes lanesFor(const Habit &habit)
{
    [[maybe_unused]] const Lanes narrow = habit.isLong ? Lanes::Narrow : Lanes::None;
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
    return ProResLanes::available() ? Lanes::Wide : narrow;
#elif HWY_TARGET == HWY_AVX2
    return narrow;
#else
    return Lanes::None;
#endif
}

/// Whether the lanes may read it: they look a little beyond its end.
bool isForLanes(const Component &component, const uchar *end)
{
    return component.bytes && end - component.bytes >= component.size + ProResLanes::readBehind;
}

using MeansJobs = std::array<ProResLanes::MeansJob, mostTogether>;

/// The DC levels of all; a job tells of the component of the same number. Whether all of them are good.
bool decodeDcTogether(std::span<const Component> components, MeansJobs &jobs, const uchar *end)
{
    for (size_t i = 0; i < components.size(); ++i) {
        const Component &component = components[i];
        if (isForLanes(component, end))
            jobs[i] = {component.bytes, component.size, component.levels->level.data(), component.blocks};
    }
    const auto all = std::span(jobs).first(components.size());
    ProResLanes::advance(all);
    return std::ranges::all_of(all, &ProResLanes::MeansJob::good);
}

/// The pairs of all, as far as it goes.
void decodePairsTogether(std::span<const Component> components, std::span<Cursor> cursors, const uchar *end,
                         Lanes lanes, Habit &habit)
{
    constexpr double longPair = 7.2; // bits on average from which on tables are the slower way
    std::array<ProResLanes::Job, mostTogether> jobs;
    std::array<Cursor *, mostTogether> whose;
    size_t count = 0;
    for (size_t i = 0; i < components.size(); ++i) {
        const Component &component = components[i];
        Cursor &c = cursors[i];
        if (!c.good || !isForLanes(component, end)) continue;
        const int books = int(c.table >> acBits);
        whose[count] = &c;
        jobs[count++] = {component.bytes, positionOf(component, c), component.size * qint64(8), c.out,
                         c.limit,         books / ProRes::acBooks,  books % ProRes::acBooks};
    }
    qint64 bits = 0, pairs = 0;
    if (lanes == Lanes::Wide)
        ProResLanes::advance(std::span(jobs).first(count));
    else
        pairs = ProResLanes::advanceNarrow(std::span(jobs).first(count));
    for (size_t i = 0; i < count; ++i) {
        const ProResLanes::Job &job = jobs[i];
        bits += job.position - positionOf(components[size_t(whose[i] - cursors.data())], *whose[i]);
        goTo(*whose[i], job.bytes, job.position, end);
        whose[i]->out = job.out;
        whose[i]->table = quint32(job.runBook * ProRes::acBooks + job.levelBook) << acBits;
    }
    habit.isLong = double(bits) > longPair * double(pairs);
}

/// What the long ones among the pairs tell, which were read without lanes.
void learn(std::span<const Component> components, std::span<const Cursor> cursors, Habit &habit)
{
    constexpr qint64 longPairEvery = 50; // bits
    qint64 bits = 0, longPairs = 0;
    for (size_t i = 0; i < components.size(); ++i) {
        bits += components[i].size * qint64(8);
        longPairs += cursors[i].longPairs;
    }
    habit.isLong = longPairs * longPairEvery > bits;
}

void tell(Component &component, const Cursor &c, int mostPlaces)
{
    if (!component.bytes) return;
    const qint64 written = c.out - component.levels->level.data();
    component.levels->used = int(written) + 1;
    // What is beyond the places asked for does not matter.
    const bool enough = mostPlaces > 1 && mostPlaces < ProRes::blockSamples && c.out + 1 >= c.limit;
    const bool good = enough || (c.good && c.out < c.limit);
    component.places = !good ? 0 : int(std::min<qint64>(written / component.blocks + 1, mostPlaces));
}

int slicesTogether(const Habit &habit)
{
    return lanesFor(habit) == Lanes::None ? 2 : mostSlices;
}

void decode(std::span<Component> components, int mostPlaces, const uchar *end, Habit &habit)
{
    const ProResDecodeTables &all = ProResDecodeTables::instance();
    const size_t count = components.size();
    for (Component &component : components)
        if (component.bytes) clear(*component.levels);
    const Lanes lanes = lanesFor(habit);
    MeansJobs means;
    if (lanes == Lanes::Wide && decodeDcTogether(components, means, end) && mostPlaces == 1) {
        for (Component &component : components) {
            component.levels->used = component.blocks;
            component.places = 1;
        }
        return;
    }
    // The one beyond an odd number has nothing to do.
    std::array<Cursor, mostTogether + 1> cursors;
    std::array<DcState, mostTogether + 1> states;
    Component none;
    const auto together = std::span(cursors).first(count);
    cursors[count].good = false;
    for (size_t i = 0; i < count; ++i) {
        if (means[i].good) {
            cursors[i] = behindDc(components[i], mostPlaces);
            goTo(cursors[i], means[i].bytes, means[i].position, end);
        } else if (components[i].bytes) {
            cursors[i] = begin(components[i], mostPlaces, states[i], end);
        } else {
            cursors[i].good = false;
        }
    }
    for (size_t i = 0; i < count; i += 2)
        if (states[i].left > 0 || states[i + 1].left > 0)
            decodeDc(cursors[i], states[i], cursors[i + 1], states[i + 1], all.dc(), end);
    if (lanes != Lanes::None && mostPlaces > 1) decodePairsTogether(components, together, end, lanes, habit);
    for (size_t i = 0; i < count; i += 2) {
        Component &second = i + 1 < count ? components[i + 1] : none;
        if (mostPlaces > 1) {
            decodePairs(cursors[i], cursors[i + 1], all.ac(), end);
            decodePairs(cursors[i], all.ac(), end);
            decodePairs(cursors[i + 1], all.ac(), end);
        }
        tell(components[i], cursors[i], mostPlaces);
        tell(second, cursors[i + 1], mostPlaces);
    }
    if (lanes == Lanes::None && mostPlaces > 1) learn(components, together, habit);
}

} // namespace ProResEntropy::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ProResEntropy {
HWY_EXPORT(decode);
HWY_EXPORT(slicesTogether);
} // namespace ProResEntropy

int ProResEntropy::slicesTogether(const Habit &habit)
{
    return HWY_DYNAMIC_DISPATCH(slicesTogether)(habit);
}

void ProResEntropy::decode(std::span<Component> components, int mostPlaces, const uchar *end, Habit &habit)
{
    HWY_DYNAMIC_DISPATCH(decode)(components, mostPlaces, end, habit);
}
#endif
