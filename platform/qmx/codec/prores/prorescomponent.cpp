// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/codec/prores/prorescomponent.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "platform/qmx/codec/prores/prorescomponent.h"

#include "platform/qmx/codec/prores/proresbitwriter.h"
#include "platform/qmx/codec/prores/proresgather.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

HWY_BEFORE_NAMESPACE();
namespace ProResComponent::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
using ProResKernels::Levels;

/// A signed number as a symbol: 0, -1, 1, -2, 2 ...
quint32 folded(int value)
{
    return value < 0 ? quint32(-2 * value - 1) : quint32(2 * value);
}

void putCode(ProResBitWriter &writer, const ProRes::Codebook &book, quint32 symbol)
{
    const ProRes::Code code = ProRes::code(book, symbol);
    writer.put(code.value, code.length);
}

int dcLevel(const Levels &levels, int lane)
{
    const int size = levels.size[size_t(lane)];
    return qFromLittleEndian(levels.negative[0]) >> lane & 1 ? -size : size;
}

/// The first DC level, then differences. The sign of one is told against that of the one before.
void codeDc(ProResBitWriter &out, const Levels &levels, const Lanes &lanes)
{
    ProResBitWriter writer = out; // one that nobody else can see stays in registers
    int before = dcLevel(levels, lanes.first);
    putCode(writer, ProRes::firstDc, folded(before));
    int size = ProRes::firstDcDifference;
    bool negative = false;
    for (int lane = lanes.first + 1; lane < lanes.first + lanes.count; ++lane) {
        const int level = dcLevel(levels, lane);
        const int difference = level - before;
        putCode(writer, ProRes::dcDifference[size_t(size)], folded(negative ? -difference : difference));
        before = level;
        size = std::min(std::abs(difference), ProRes::firstDcDifference);
        negative = difference < 0;
    }
    out = writer;
}

/// The levels that are not 0, in coding order, with room for a vector that is written behind them.
struct Found
{
    static constexpr size_t room = ProRes::groupSamples + ProRes::lanes;
    std::array<quint16, room> place;
    std::array<quint16, room> signedSize; ///< twice the size, and 1 more for a negative one
    int count = 0;
};

#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL || HWY_TARGET == HWY_SCALAR
constexpr size_t lanesAtOnce = ProRes::lanes / 2;
#else
/// Where there is no instruction for it, Highway 1.0 has GCC copy its table of 2 kB for every vector: three
/// times the time of all the rest.
constexpr size_t lanesAtOnce = ProResGather::lanes;
#endif
const hn::CappedTag<uint16_t, lanesAtOnce> levelTag;
using LevelTag = decltype(levelTag);
using LevelVector = hn::Vec<LevelTag>;

/// Stores the lanes of both whose bit is set, and what comes behind them is spoilt; how many they are.
HWY_INLINE int storeThere(quint64 there, LevelVector places, LevelVector sizes, quint16 *place, quint16 *size)
{
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL || HWY_TARGET == HWY_SCALAR
    const quint64 bits = qToLittleEndian(there);
    const auto mask = hn::LoadMaskBits(levelTag, reinterpret_cast<const uint8_t *>(&bits));
    hn::CompressStore(sizes, mask, levelTag, size);
    return int(hn::CompressStore(places, mask, levelTag, place));
#else
    const hn::Repartition<uint8_t, LevelTag> bytes;
    const auto set = uint8_t(there);
    const auto order = hn::Load(bytes, ProResGather::orders[set].data());
    hn::StoreU(hn::BitCast(levelTag, hn::TableLookupBytes(hn::BitCast(bytes, sizes), order)), levelTag, size);
    hn::StoreU(hn::BitCast(levelTag, hn::TableLookupBytes(hn::BitCast(bytes, places), order)), levelTag,
               place);
    return std::popcount(set);
#endif
}

/// Moves together what is there, as many lanes at once as the machine has: each step costs the same, whether
/// it finds one level or all.
void find(const Levels &levels, const Lanes &lanes, Found &found)
{
    const LevelTag d;
    const int step = int(hn::Lanes(d));
    const auto one = hn::Set(d, 1);
    const quint32 all = lanes.count == ProRes::lanes ? ~0U : (1U << lanes.count) - 1;
    int count = 0;
    for (int n = 1; n < ProRes::blockSamples; ++n) {
        quint64 present = qFromLittleEndian(levels.present[size_t(n)]) >> lanes.first & all;
        quint64 negative = qFromLittleEndian(levels.negative[size_t(n)]) >> lanes.first;
        const quint16 *sizes = levels.size.data() + n * ProRes::lanes + lanes.first;
        int place = n * lanes.count;
        for (; present; present >>= step, negative >>= step, place += step, sizes += step) {
            const quint64 signs = qToLittleEndian(negative);
            const auto below = hn::LoadMaskBits(d, reinterpret_cast<const uint8_t *>(&signs));
            const auto size = hn::Add(hn::LoadU(d, sizes), hn::LoadU(d, sizes));
            const auto signedSize = hn::Or(size, hn::IfThenElseZero(below, one));
            count += storeThere(present, hn::Iota(d, uint16_t(place)), signedSize, found.place.data() + count,
                                found.signedSize.data() + count);
        }
    }
    found.count = count;
}

void codeAc(ProResBitWriter &out, const Levels &levels, const Lanes &lanes, const ProResCodeTables &tables)
{
    Found found;
    find(levels, lanes, found);
    ProResBitWriter writer = out;
    int runBefore = ProRes::firstRun;
    int levelBefore = ProRes::firstLevel;
    int next = lanes.count; // where a run of 0 would end
    for (int i = 0; i < found.count; ++i) {
        const int place = found.place[size_t(i)];
        const int level = found.signedSize[size_t(i)];
        const int run = place - next;
        const ProResCodeTables::Entry runCode = tables.runsAfter(runBefore)[run];
        const ProResCodeTables::Entry levelCode = tables.levelsAfter(levelBefore)[level];
        writer.put(quint64(runCode.value()) << levelCode.length() | levelCode.value(),
                   runCode.length() + levelCode.length());
        runBefore = run;
        levelBefore = level >> 1;
        next = place + 1;
    }
    out = writer;
}
int code(const Levels &levels, const Lanes &lanes, const ProResCodeTables &tables, uchar *out)
{
    ProResBitWriter writer(out);
    codeDc(writer, levels, lanes);
    codeAc(writer, levels, lanes, tables);
    return writer.finish();
}

} // namespace ProResComponent::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ProResComponent {
HWY_EXPORT(code);
} // namespace ProResComponent

int ProResComponent::code(const ProResKernels::Levels &levels, const Lanes &lanes,
                          const ProResCodeTables &tables, uchar *out)
{
    return HWY_DYNAMIC_DISPATCH(code)(levels, lanes, tables, out);
}

int ProResComponent::codeAlpha(const quint16 *values, int count, uchar *out)
{
    constexpr int wideBits = 16;
    constexpr int smallBits = 7;
    constexpr int greatestSmall = 64;
    constexpr int shortRunBits = 4;
    constexpr int longRunBits = 11;
    ProResBitWriter writer(out);
    quint16 before = 0xffff;
    for (int i = 0; i < count;) {
        const int difference = qint16(quint16(values[i] - before));
        const int size = std::abs(difference);
        if (size == 0 || size > greatestSmall)
            writer.put(1U << wideBits | quint16(difference), 1 + wideBits);
        else
            writer.put(quint32(size - 1) << 1 | (difference < 0), 1 + smallBits);
        before = values[i++];
        int run = 0;
        while (i < count && values[i] == before && run < (1 << longRunBits) - 1)
            ++i, ++run;
        if (run == 0)
            writer.put(1, 1);
        else if (run < 1 << shortRunBits)
            writer.put(quint32(run), 1 + shortRunBits);
        else
            writer.put(quint32(run), 1 + shortRunBits + longRunBits);
    }
    return writer.finish();
}
#endif
