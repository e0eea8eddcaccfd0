// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresslicecoder.h"

#include <QtEndian>

#include <algorithm>

namespace {
constexpr int headerSize = 6;
constexpr int alphaHeaderSize = 8;
constexpr int sizeShift = 3; ///< of the header's size in its first byte
constexpr quint16 middle = 512;
constexpr int alphaPlane = 3;
constexpr int sampleBits = 10;
constexpr int alphaBits = 16;
} // namespace

ProResSliceCoder::ProResSliceCoder(const ProResFormat &format)
    : _format(format),
      _weights(ProResKernels::weights(*format.kind->matrix, format.isInterlaced())),
      _tables(ProResCodeTables::instance())
{}

ProResSliceCoder::Area ProResSliceCoder::area(const ProResPlanes &picture, int pictureHeight,
                                              const ProResSlice &slice, int plane)
{
    using namespace ProRes;
    const bool half = !_format.kind->fullChroma && (plane == 1 || plane == 2);
    const int planeWidth = half ? (_format.size.width() + 1) / 2 : _format.size.width();
    const int macroblockWidth = half ? macroblockEdge / 2 : macroblockEdge;
    const int left = slice.column * macroblockWidth;
    const int top = slice.row * macroblockEdge;
    const qsizetype stride = picture.stride[size_t(plane)];
    const quint16 *first = picture.plane[size_t(plane)] + top * stride + left;
    if (slice.macroblocks == largestSlice && left + largestSlice * macroblockWidth <= planeWidth &&
        top + macroblockEdge <= pictureHeight)
        return {first, stride};

    // The last samples go on beyond the edges; what is no macroblock of the slice is flat.
    const int width = std::min(slice.macroblocks * macroblockWidth, planeWidth - left);
    for (int y = 0; y < macroblockEdge; ++y) {
        const quint16 *from = first + std::min(y, pictureHeight - 1 - top) * stride;
        quint16 *line = _edge[size_t(plane)].data() + y * edgeWidth;
        std::copy_n(from, width, line);
        std::fill(line + width, line + slice.macroblocks * macroblockWidth, from[width - 1]);
        std::fill(line + slice.macroblocks * macroblockWidth, line + edgeWidth, middle);
    }
    return {_edge[size_t(plane)].data(), edgeWidth};
}

void ProResSliceCoder::prefetch(const ProResPlanes &picture, int pictureHeight,
                                const ProResSlice &slice) const
{
    constexpr int line = 64 / sizeof(quint16); // samples of a cache line
    const int planes = _format.alpha ? 4 : 3;
    const int top = slice.row * ProRes::macroblockEdge;
    const int bottom = std::min(top + ProRes::macroblockEdge, pictureHeight);
    for (int plane = 0; plane < planes; ++plane) {
        const bool half = !_format.kind->fullChroma && (plane == 1 || plane == 2);
        const int width = ProRes::macroblockEdge / (half ? 2 : 1);
        const quint16 *at = picture.plane[size_t(plane)] + slice.column * width;
        for (int y = top; y < bottom; ++y)
            for (int x = 0; x < slice.macroblocks * width; x += line)
                __builtin_prefetch(at + y * picture.stride[size_t(plane)] + x);
    }
}

/// The order of blocks is that of macroblocks; within one, luma goes line by line, colour column by column.
ProResKernels::Blocks ProResSliceCoder::blocksOfGroup(const ProResPlanes &picture, int pictureHeight,
                                                      const ProResSlice &slice, int group)
{
    using namespace ProRes;
    ProResKernels::Blocks blocks;
    const auto lower = [](const Area &a) { return a.first + blockEdge * a.stride; };
    if (group == 0 || _format.kind->fullChroma) {
        const Area a = area(picture, pictureHeight, slice, group);
        const size_t below = group == 0 ? 2 : 1;
        const size_t right = group == 0 ? 1 : 2;
        for (size_t m = 0; m < largestSlice; ++m) {
            const size_t x = m * macroblockEdge;
            blocks.first[4 * m] = a.first + x;
            blocks.first[4 * m + right] = a.first + x + blockEdge;
            blocks.first[4 * m + below] = lower(a) + x;
            blocks.first[4 * m + 3] = lower(a) + x + blockEdge;
        }
        blocks.stride = a.stride;
        return blocks;
    }
    const Area areas[] = {area(picture, pictureHeight, slice, 1), area(picture, pictureHeight, slice, 2)};
    for (size_t i = 0; i < 2; ++i)
        for (size_t m = 0; m < largestSlice; ++m) {
            blocks.first[lanes / 2 * i + 2 * m] = areas[i].first + m * blockEdge;
            blocks.first[lanes / 2 * i + 2 * m + 1] = lower(areas[i]) + m * blockEdge;
        }
    blocks.stride = areas[0].stride;
    return blocks;
}

int ProResSliceCoder::code(const ProResPlanes &picture, int pictureHeight, const ProResSlice &slice,
                           int quantiser, uchar *out)
{
    const int index = std::min(quantiser, ProRes::coarsestQuantiser);
    ProResKernels::Quantiser q(ProRes::scaleOfQuantiser(index));
    if (quantiser == dcOnly) q.least = ProResKernels::Quantiser::noneReaches;
    const int header = _format.alpha ? alphaHeaderSize : headerSize;
    int size = header;
    std::array<int, 3> sizes{};
    const auto put = [&](int component, const ProResComponent::Lanes &lanes) {
        sizes[size_t(component)] = ProResComponent::code(_levels, lanes, _tables, out + size);
        size += sizes[size_t(component)];
    };
    for (int group = 0; group < groups(); ++group) {
        const ProResKernels::Blocks blocks = blocksOfGroup(picture, pictureHeight, slice, group);
        ProResKernels::transform(blocks, _weights, _coefficients.data());
        ProResKernels::quantise(_coefficients.data(), q, _levels);
        if (group == 0 || _format.kind->fullChroma) {
            put(group, {0, 4 * slice.macroblocks});
        } else {
            put(1, {0, 2 * slice.macroblocks});
            put(2, {ProRes::lanes / 2, 2 * slice.macroblocks});
        }
    }
    _alphaBytes = _format.alpha ? codeAlpha(picture, pictureHeight, slice, out + size) : 0;
    out[0] = uchar(header << sizeShift);
    out[1] = uchar(index);
    qToBigEndian(quint16(sizes[0]), out + 2);
    qToBigEndian(quint16(sizes[1]), out + 4);
    if (_format.alpha) qToBigEndian(quint16(sizes[2]), out + 6);
    return size + _alphaBytes;
}

void ProResSliceCoder::count(const ProResPlanes &picture, int pictureHeight, const ProResSlice &slice,
                             ProResKernels::Counts &counts)
{
    for (int group = 0; group < groups(); ++group) {
        const ProResKernels::Blocks blocks = blocksOfGroup(picture, pictureHeight, slice, group);
        ProResKernels::transform(blocks, _weights, _coefficients.data());
        ProResKernels::count(_coefficients.data(), counts);
    }
}

int ProResSliceCoder::codeAlpha(const ProResPlanes &picture, int pictureHeight, const ProResSlice &slice,
                                uchar *out)
{
    const Area a = area(picture, pictureHeight, slice, alphaPlane);
    const int width = slice.macroblocks * ProRes::macroblockEdge;
    std::array<quint16, ProRes::groupSamples> values;
    for (int y = 0; y < ProRes::macroblockEdge; ++y)
        for (int x = 0; x < width; ++x) {
            constexpr quint16 greatest = (1 << sampleBits) - 1;
            const quint16 sample = std::min(a.first[y * a.stride + x], greatest);
            // Full scale of 10 bits is full scale of 16.
            values[size_t(y * width + x)] =
                quint16(sample << (alphaBits - sampleBits) | sample >> (2 * sampleBits - alphaBits));
        }
    return ProResComponent::codeAlpha(values.data(), width * ProRes::macroblockEdge, out);
}
