// SPDX-License-Identifier: GPL-3.0-or-later
// The inverse cosine transforms of one direction. Read once for each instruction set, so it has no guard that
// would let it in only once.
#if defined(PRORESINVERSE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PRORESINVERSE_INL_H
#undef PRORESINVERSE_INL_H
#else
#define PRORESINVERSE_INL_H
#endif

#include "platform/qmx/codec/prores/proresformat.h"

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ProResInverse::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

constexpr int constantBits = 13; ///< of the transform's constants

using Wide = hn::CappedTag<int32_t, ProRes::lanes>;
using WideVector = hn::Vec<Wide>;

/// v times a constant below 1, rounded.
HWY_INLINE WideVector part(WideVector v, int constant)
{
    const Wide d;
    const auto half = hn::Set(d, 1 << (constantBits - 1));
    return hn::ShiftRight<constantBits>(hn::Add(hn::Mul(v, hn::Set(d, constant)), half));
}

// The constants of the transforms are above 1: what is above it is added, so that products fit into 32 bits.
HWY_INLINE WideVector timesRoot2(WideVector v) // sqrt(2)
{
    return hn::Add(v, part(v, 3393));
}

/// Eight coefficients, `step` apart, to their inverse DCT in place: that of Arai, Agui and Nakajima, which
/// wants the gains of Dequantiser in its input.
HWY_INLINE void inverseEight(WideVector *v, int step)
{
    const auto sum04 = hn::Add(v[0], v[4 * step]), difference04 = hn::Sub(v[0], v[4 * step]);
    const auto sum26 = hn::Add(v[2 * step], v[6 * step]);
    const auto turn26 = hn::Sub(timesRoot2(hn::Sub(v[2 * step], v[6 * step])), sum26);
    const auto e0 = hn::Add(sum04, sum26), e3 = hn::Sub(sum04, sum26);
    const auto e1 = hn::Add(difference04, turn26), e2 = hn::Sub(difference04, turn26);

    const auto sum53 = hn::Add(v[5 * step], v[3 * step]), difference53 = hn::Sub(v[5 * step], v[3 * step]);
    const auto sum17 = hn::Add(v[1 * step], v[7 * step]), difference17 = hn::Sub(v[1 * step], v[7 * step]);
    const auto o0 = hn::Add(sum17, sum53);
    const auto cross = timesRoot2(hn::Sub(sum17, sum53));
    const auto both = hn::Add(difference53, difference17);
    // 2 cos(pi / 8), 2 (cos(pi / 8) - cos(3 pi / 8)) and 2 (cos(pi / 8) + cos(3 pi / 8))
    const auto turn = hn::Sub(hn::Add(both, both), part(both, 1247));
    const auto low = hn::Sub(turn, hn::Add(difference17, part(difference17, 675)));
    const auto high = hn::Sub(turn, hn::Add(hn::Add(difference53, difference53), part(difference53, 5023)));
    const auto o1 = hn::Sub(high, o0);
    const auto o2 = hn::Sub(cross, o1);
    const auto o3 = hn::Sub(low, o2);
    v[0] = hn::Add(e0, o0);
    v[7 * step] = hn::Sub(e0, o0);
    v[1 * step] = hn::Add(e1, o1);
    v[6 * step] = hn::Sub(e1, o1);
    v[2 * step] = hn::Add(e2, o2);
    v[5 * step] = hn::Sub(e2, o2);
    v[3 * step] = hn::Add(e3, o3);
    v[4 * step] = hn::Sub(e3, o3);
}

/// The same of four; the input of the odd ones has no gain.
HWY_INLINE void inverseFour(WideVector *v, int step)
{
    constexpr int high = 2511, low = 4433; // sqrt(2) cos(pi / 8) - 1, sqrt(2) cos(3 pi / 8)
    const auto large = [&](WideVector x) HWY_ATTR { return hn::Add(x, part(x, high)); };
    const auto e0 = hn::Add(v[0], v[2 * step]), e1 = hn::Sub(v[0], v[2 * step]);
    const auto o0 = hn::Add(large(v[step]), part(v[3 * step], low));
    const auto o1 = hn::Sub(part(v[step], low), large(v[3 * step]));
    v[0] = hn::Add(e0, o0);
    v[3 * step] = hn::Sub(e0, o0);
    v[step] = hn::Add(e1, o1);
    v[2 * step] = hn::Sub(e1, o1);
}

template <int edge>
HWY_INLINE void inverse(WideVector *v, int step)
{
    if constexpr (edge == 8)
        inverseEight(v, step);
    else if constexpr (edge == 4)
        inverseFour(v, step);
    else if constexpr (edge == 2) {
        const auto sum = hn::Add(v[0], v[step]);
        v[step] = hn::Sub(v[0], v[step]);
        v[0] = sum;
    }
}

} // namespace ProResInverse::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
