// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/codec/qmxreducekernels.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "platform/qmx/codec/qmxreducekernels.h"

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace QmxReduceKernels::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int shift = 4; // a mean of four, 10 to 8 bits
constexpr int half = 1 << (shift - 1);
constexpr int maximum = 255;

#if HWY_TARGET != HWY_SCALAR
using Word = hn::ScalableTag<uint32_t>; // two neighbouring samples, the first one in its low half
using WordVector = hn::Vec<Word>;

/// The first of each pair of samples.
HWY_INLINE WordVector firstOf(WordVector pairs)
{
    return hn::And(pairs, hn::Set(Word(), 0xffff));
}

HWY_INLINE void store(WordVector sums, uchar *out)
{
    const hn::RebindToSigned<Word> whole;
    const hn::Rebind<uint8_t, Word> narrow;
    const auto mean = hn::ShiftRight<shift>(hn::Add(sums, hn::Set(Word(), half)));
    hn::StoreU(hn::DemoteTo(narrow, hn::BitCast(whole, mean)), narrow, out);
}

HWY_INLINE WordVector load(const quint16 *samples, size_t word)
{
    return hn::LoadU(Word(), reinterpret_cast<const uint32_t *>(samples) + word);
}

/// First and second of each two samples.
HWY_INLINE WordVector ofTwo(const quint16 *row)
{
    const WordVector pairs = load(row, 0);
    return hn::Add(firstOf(pairs), hn::ShiftRight<16>(pairs));
}

/// First and third of each four samples.
HWY_INLINE WordVector ofFour(const quint16 *row)
{
    const Word d;
    const WordVector low = load(row, 0), high = load(row, hn::Lanes(d));
    return hn::Add(firstOf(hn::ConcatEven(d, high, low)), firstOf(hn::ConcatOdd(d, high, low)));
}

#endif

void reduceRow(const quint16 *near, const quint16 *far, int factor, int width, uchar *out)
{
    int x = 0;
#if HWY_TARGET != HWY_SCALAR
    const int lanes = int(hn::Lanes(Word()));
    if (factor == 2)
        for (; x + lanes <= width; x += lanes)
            store(hn::Add(ofTwo(near + x * 2), ofTwo(far + x * 2)), out + x);
    else if (factor == 4)
        for (; x + lanes <= width; x += lanes)
            store(hn::Add(ofFour(near + x * 4), ofFour(far + x * 4)), out + x);
#endif
    const int apart = factor / 2;
    for (near += x * factor, far += x * factor; x < width; ++x, near += factor, far += factor)
        out[x] = uchar(std::min((near[0] + near[apart] + far[0] + far[apart] + half) >> shift, maximum));
}
} // namespace QmxReduceKernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QmxReduceKernels {
HWY_EXPORT(reduceRow);
} // namespace QmxReduceKernels

void QmxReduceKernels::reduceRow(const quint16 *near, const quint16 *far, int factor, int width, uchar *out)
{
    HWY_DYNAMIC_DISPATCH(reduceRow)(near, far, factor, width, out);
}
#endif
