// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/codec/qmxenlargekernels.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "platform/qmx/codec/qmxenlargekernels.h"

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace QmxEnlargeKernels::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int shift = 4; // weights of 9, 3, 3 and 1
constexpr int half = 1 << (shift - 1);

#if HWY_TARGET != HWY_SCALAR
using Sample = hn::ScalableTag<uint16_t>;
using Samples = hn::Vec<Sample>;

HWY_INLINE Samples threeTimes(Samples samples)
{
    return hn::Add(samples, hn::Add(samples, samples));
}

HWY_INLINE Samples mixed(const quint16 *near, const quint16 *far)
{
    return hn::Add(threeTimes(hn::LoadU(Sample(), near)), hn::LoadU(Sample(), far));
}
#endif

void enlargeRow(const quint16 *near, const quint16 *far, int width, quint16 *out)
{
    const int last = (width + 1) / 2 - 1;
    const auto mixedAt = [near, far, last](int x) {
        const int at = std::clamp(x, 0, last);
        return 3 * near[at] + far[at];
    };
    const auto putAt = [&](int x) {
        const int here = 3 * mixedAt(x) + half;
        out[2 * x] = quint16((here + mixedAt(x - 1)) >> shift);
        if (2 * x + 1 < width) out[2 * x + 1] = quint16((here + mixedAt(x + 1)) >> shift);
    };
    if (width > 0) putAt(0);
    int x = 1;
#if HWY_TARGET != HWY_SCALAR
    const Sample d;
    const int lanes = int(hn::Lanes(d));
    for (; x + lanes <= last; x += lanes) {
        const Samples before = mixed(near + x - 1, far + x - 1);
        const Samples after = mixed(near + x + 1, far + x + 1);
        const Samples here = hn::Add(threeTimes(mixed(near + x, far + x)), hn::Set(d, half));
        hn::StoreInterleaved2(hn::ShiftRight<shift>(hn::Add(here, before)),
                              hn::ShiftRight<shift>(hn::Add(here, after)), d, out + 2 * x);
    }
#endif
    for (; x <= last; ++x)
        putAt(x);
}
} // namespace QmxEnlargeKernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QmxEnlargeKernels {
HWY_EXPORT(enlargeRow);
} // namespace QmxEnlargeKernels

void QmxEnlargeKernels::enlargeRow(const quint16 *near, const quint16 *far, int width, quint16 *out)
{
    HWY_DYNAMIC_DISPATCH(enlargeRow)(near, far, width, out);
}
#endif
