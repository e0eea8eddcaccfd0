// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

// Compiled once for each of them.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/qmx/codec/qmxcubekernels.cpp" // NOLINT
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "platform/qmx/codec/qmxcubekernels.h"

HWY_BEFORE_NAMESPACE();
namespace QmxCubeKernels::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Legal ranges of 10-bit video.
constexpr float maximum = 1023;
constexpr float black = 64;
constexpr float lumaSpan = 876;
constexpr float neutral = 512;
constexpr float chromaSpan = 896;

using Float = hn::ScalableTag<float>;
using Vector = hn::Vec<Float>;
using Colour = std::array<float, 3>;

Vector load(const quint16 *samples)
{
    const Float d;
    const hn::RebindToSigned<Float> di;
    const hn::Rebind<uint16_t, Float> narrow;
    return hn::ConvertTo(d, hn::PromoteTo(di, hn::LoadU(narrow, samples)));
}

void store(Vector value, quint16 *samples)
{
    const Float d;
    const hn::Rebind<uint16_t, Float> narrow;
    const Vector held = hn::Min(hn::Max(value, hn::Zero(d)), hn::Set(d, maximum));
    hn::StoreU(hn::DemoteTo(narrow, hn::NearestInt(held)), narrow, samples);
}

/// Where a colour lies among the nodes: its lower corner, and how far beyond.
struct Place
{
    Vector node;
    Vector rest;
};

Place place(Vector value, float from, float to, int size)
{
    const Float d;
    const float scale = float(size - 1) / (to - from);
    Vector at = hn::Mul(hn::Sub(value, hn::Set(d, from)), hn::Set(d, scale));
    at = hn::Min(hn::Max(at, hn::Zero(d)), hn::Set(d, float(size - 1)));
    // The last node belongs to the last cell.
    const Vector node = hn::Min(hn::Trunc(at), hn::Set(d, float(size - 2)));
    return {node, hn::Sub(at, node)};
}

/// The colour at r, g, b (0 to 1): of the six tetrahedra of a cell the one in which it lies, weighted between
/// its four corners. The way from the first corner to the last goes along the axes in the order of their
/// rests.
void lookUp(const QmxCube &cube, Vector &r, Vector &g, Vector &b)
{
    const Float d;
    const hn::RebindToSigned<Float> di;
    const Place red = place(r, cube.from[0], cube.to[0], cube.size);
    const Place green = place(g, cube.from[1], cube.to[1], cube.size);
    const Place blue = place(b, cube.from[2], cube.to[2], cube.size);
    const Vector stepR = hn::Set(d, float(QmxCube::step));
    const Vector stepG = hn::Set(d, float(QmxCube::step * cube.size));
    const Vector stepB = hn::Set(d, float(QmxCube::step * cube.size * cube.size));
    const Vector first =
        hn::MulAdd(red.node, stepR, hn::MulAdd(green.node, stepG, hn::Mul(blue.node, stepB)));
    const Vector last = hn::Add(first, hn::Add(stepR, hn::Add(stepG, stepB)));

    const Vector most = hn::Max(red.rest, hn::Max(green.rest, blue.rest));
    const Vector least = hn::Min(red.rest, hn::Min(green.rest, blue.rest));
    const Vector middle = hn::Sub(hn::Add(red.rest, hn::Add(green.rest, blue.rest)), hn::Add(most, least));
    const Vector firstStep =
        hn::IfThenElse(hn::Eq(red.rest, most), stepR, hn::IfThenElse(hn::Eq(green.rest, most), stepG, stepB));
    const Vector lastStep = hn::IfThenElse(hn::Eq(blue.rest, least), stepB,
                                           hn::IfThenElse(hn::Eq(green.rest, least), stepG, stepR));
    // Exact: nodes of the largest cube are numbered below 2^24.
    const auto c0 = hn::ConvertTo(di, first);
    const auto c1 = hn::ConvertTo(di, hn::Add(first, firstStep));
    const auto c2 = hn::ConvertTo(di, hn::Sub(last, lastStep));
    const auto c3 = hn::ConvertTo(di, last);
    const Vector w0 = hn::Sub(hn::Set(d, 1.0F), most);
    const Vector w1 = hn::Sub(most, middle);
    const Vector w2 = hn::Sub(middle, least);
    const auto mixed = [&](int channel) {
        const float *nodes = cube.nodes.data() + channel;
        Vector sum = hn::Mul(hn::GatherIndex(d, nodes, c0), w0);
        sum = hn::MulAdd(hn::GatherIndex(d, nodes, c1), w1, sum);
        sum = hn::MulAdd(hn::GatherIndex(d, nodes, c2), w2, sum);
        sum = hn::MulAdd(hn::GatherIndex(d, nodes, c3), least, sum);
        return hn::Min(hn::Max(sum, hn::Zero(d)), hn::Set(d, 1.0F));
    };
    r = mixed(0);
    g = mixed(1);
    b = mixed(2);
}

void apply(const QmxCube &cube, const Matrix &matrix, const Rows<const quint16> &from,
           const Rows<quint16> &to, int count)
{
    const Float d;
    const int lanes = int(hn::Lanes(d));
    const bool isRgb = matrix.red == 0;
    const float weightG = 1 - matrix.red - matrix.blue;
    const auto scaled = [d](Vector value, float offset, float factor) {
        return hn::Mul(hn::Sub(value, hn::Set(d, offset)), hn::Set(d, factor));
    };
    for (int i = 0; i < count; i += lanes) {
        Vector a = load(from[0] + i), b = load(from[1] + i), c = load(from[2] + i);
        if (isRgb) {
            Vector red = scaled(a, 0, 1 / maximum), green = scaled(b, 0, 1 / maximum);
            Vector blue = scaled(c, 0, 1 / maximum);
            lookUp(cube, red, green, blue);
            store(hn::Mul(red, hn::Set(d, maximum)), to[0] + i);
            store(hn::Mul(green, hn::Set(d, maximum)), to[1] + i);
            store(hn::Mul(blue, hn::Set(d, maximum)), to[2] + i);
            continue;
        }
        const Vector luma = scaled(a, black, 1 / lumaSpan);
        Vector red = hn::Add(luma, scaled(c, neutral, 2 * (1 - matrix.red) / chromaSpan));
        Vector blue = hn::Add(luma, scaled(b, neutral, 2 * (1 - matrix.blue) / chromaSpan));
        const Vector others = hn::MulAdd(red, hn::Set(d, matrix.red), hn::Mul(blue, hn::Set(d, matrix.blue)));
        Vector green = hn::Mul(hn::Sub(luma, others), hn::Set(d, 1 / weightG));
        lookUp(cube, red, green, blue);
        a = hn::MulAdd(red, hn::Set(d, matrix.red),
                       hn::MulAdd(green, hn::Set(d, weightG), hn::Mul(blue, hn::Set(d, matrix.blue))));
        b = hn::Mul(hn::Sub(blue, a), hn::Set(d, chromaSpan / (2 * (1 - matrix.blue))));
        c = hn::Mul(hn::Sub(red, a), hn::Set(d, chromaSpan / (2 * (1 - matrix.red))));
        store(hn::MulAdd(a, hn::Set(d, lumaSpan), hn::Set(d, black)), to[0] + i);
        store(hn::Add(b, hn::Set(d, neutral)), to[1] + i);
        store(hn::Add(c, hn::Set(d, neutral)), to[2] + i);
    }
}
} // namespace QmxCubeKernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace QmxCubeKernels {
HWY_EXPORT(apply);
} // namespace QmxCubeKernels

void QmxCubeKernels::apply(const QmxCube &cube, const Matrix &matrix, const Rows<const quint16> &from,
                           const Rows<quint16> &to, int count)
{
    HWY_DYNAMIC_DISPATCH(apply)(cube, matrix, from, to, count);
}
#endif
