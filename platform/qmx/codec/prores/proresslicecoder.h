// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/prorescomponent.h"
#include "platform/qmx/codec/prores/proreslayout.h"

/// Codes slices of one format. Holds the working memory of a slice; one thread at a time.
class ProResSliceCoder
{
public:
    explicit ProResSliceCoder(const ProResFormat &format);

    /// Most bytes that a slice takes with its header.
    static constexpr int largest = 8 + 3 * ProResComponent::largest + ProResComponent::largestAlpha;

    /// In place of a quantiser: the coarsest one and no AC coefficients.
    static constexpr quint8 dcOnly = ProRes::coarsestQuantiser + 1;

    /// Codes a slice of a picture; bytes written. At `out` there must be room for `largest` bytes.
    int code(const ProResPlanes &picture, int pictureHeight, const ProResSlice &slice, int quantiser,
             uchar *out);
    /// Begins to fetch the samples of a slice that will be coded soon: its lines lie too far apart for the
    /// processor to guess the next.
    void prefetch(const ProResPlanes &picture, int pictureHeight, const ProResSlice &slice) const;
    /// Counts the coefficients of a slice by size.
    void count(const ProResPlanes &picture, int pictureHeight, const ProResSlice &slice,
               ProResKernels::Counts &counts);
    /// Bytes of the alpha channel in the slice coded last.
    int alphaBytes() const { return _alphaBytes; }

private:
    /// One rectangle of a plane: of a slice, or what stands for it where the slice reaches beyond the
    /// picture.
    struct Area
    {
        const quint16 *first;
        qsizetype stride;
    };
    Area area(const ProResPlanes &picture, int pictureHeight, const ProResSlice &slice, int plane);
    ProResKernels::Blocks blocksOfGroup(const ProResPlanes &picture, int pictureHeight,
                                        const ProResSlice &slice, int group);
    int codeAlpha(const ProResPlanes &picture, int pictureHeight, const ProResSlice &slice, uchar *out);
    int groups() const { return _format.kind->fullChroma ? 3 : 2; }

    ProResFormat _format;
    ProResKernels::Weights _weights;
    const ProResCodeTables &_tables;
    int _alphaBytes = 0;
    alignas(64) std::array<qint16, ProRes::groupSamples> _coefficients;
    ProResKernels::Levels _levels;
    static constexpr int edgeWidth = ProRes::largestSlice * ProRes::macroblockEdge;
    using EdgePlane = std::array<quint16, edgeWidth * ProRes::macroblockEdge>;
    alignas(64) std::array<EdgePlane, 4> _edge;
};
