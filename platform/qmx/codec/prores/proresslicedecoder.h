// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresinverse.h"
#include "platform/qmx/codec/prores/proresparser.h"

#include <memory>

/// Where a decoded frame goes: Y, Cb, Cr and, where it is wanted, A, 16-bit words with 10 significant bits.
/// Strides in samples.
struct ProResTarget
{
    std::array<quint16 *, 4> plane{};
    std::array<qsizetype, 4> stride{};
};

/// Decodes slices of one frame after the other. Holds their working memory and, for the matrices of the
/// frame, the factors of each quantiser that it met; one thread at a time.
class ProResSliceDecoder
{
public:
    /// What the next slices belong to; it must outlive their decoding. Cheap when the matrices are those of
    /// the frame before.
    void begin(const ProResCodedFrame &frame, ProResInverse::Scale scale, const ProResTarget &target);
    /// How many slices are best decoded at once, now.
    int slicesTogether() const { return ProResEntropy::slicesTogether(_habit); }
    /// Decodes up to ProResEntropy::mostSlices slices, each into its place; a damaged one becomes grey. How
    /// many are damaged.
    int decode(std::span<const ProResCodedSlice> slices);

    /// Asks for the memory that the next slices are read from: of their headers, and once those are there, of
    /// what they tell of. Small pictures need little more than to fetch it.
    static void askForHeaders(std::span<const ProResCodedSlice> slices);
    static void askForData(std::span<const ProResCodedSlice> slices);

    /// Raster of a frame decoded at a scale.
    static QSize sizeAt(const QSize &size, ProResInverse::Scale scale);

private:
    /// A slice taken apart.
    struct Parts
    {
        const ProResCodedSlice *slice = nullptr;
        bool good = false;
        int quantiser = 0;
        std::array<const uchar *, 4> bytes{}; ///< of Y, Cb, Cr and A
        std::array<int, 4> size{};
    };
    /// The rectangle of a slice in a plane, as far as the frame has it.
    struct Area
    {
        quint16 *first;
        qsizetype stride;
        int width, height;           ///< of the slice
        int shownWidth, shownHeight; ///< of it, in the frame
        bool whole() const { return width == shownWidth && height == shownHeight; }
    };
    static Parts parts(const ProResCodedSlice *slice);
    bool half(int plane) const { return !_frame->fullChroma && (plane == 1 || plane == 2); }
    int blocks(const ProResCodedSlice &slice, int plane) const;
    Area area(const ProResCodedSlice &slice, int plane) const;
    /// Asks for the memory of a plane that is going to be written soon.
    void prefetch(const Parts &parts, int plane) const;
    const ProResInverse::Dequantiser &dequantiser(int plane, int quantiser);
    void put(const Parts &parts, int plane, const ProResEntropy::Component &component);
    bool putAlpha(const Parts &parts);
    void putOpaque(const Parts &parts);
    void putGrey(const ProResCodedSlice &slice);

    const ProResCodedFrame *_frame = nullptr;
    ProResInverse::Scale _scale = ProResInverse::Scale::Full;
    ProResTarget _target;
    QSize _size;                      ///< of the frame at this scale
    std::array<int, 2> _planeWidth{}; ///< of luma and alpha, of colour
    std::array<int, 2> _firstLine{};  ///< of each picture of the frame
    std::array<int, 2> _pictureHeight{};

    // Of luma and of chroma: the factors of each quantiser, and what they were made for.
    using Dequantisers =
        std::array<std::unique_ptr<ProResInverse::Dequantiser>, ProRes::coarsestQuantiser + 1>;
    std::array<Dequantisers, 2> _dequantisers;
    std::array<ProRes::Matrix, 2> _matrices{};
    bool _interlaced = false;
    ProResInverse::Scale _madeFor = ProResInverse::Scale::Full;

    ProResEntropy::Habit _habit;
    std::array<ProResEntropy::Levels, ProResEntropy::mostTogether> _levels;
    ProResInverse::Scratch _scratch;
    alignas(64) std::array<quint16, ProRes::groupSamples> _edge; ///< a slice that the frame ends in
    std::array<quint16, ProRes::groupSamples> _alpha;
};
