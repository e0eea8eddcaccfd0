// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresformat.h"

#include <vector>

/// What a stream of ProRes frames is. A value.
struct ProResFormat
{
    enum Scan { Progressive = 0, TopFieldFirst = 1, BottomFieldFirst = 2 }; ///< as in the frame header

    const ProRes::Kind *kind = nullptr;
    QSize size;
    Scan scan = Progressive;
    int aspect = 0; ///< code in the frame header: 1 square pixels, 2 a picture of 4:3, 3 of 16:9
    int rate = 0;   ///< code in the frame header, 0 unknown
    // ITU-T H.273
    int primaries = 2;
    int transfer = 2;
    int matrix = 2;
    bool alpha = false; ///< 16-bit alpha channel; with 4:4:4 only

    bool isInterlaced() const { return scan != Progressive; }
};

/// Samples to code, 16-bit words with 10 significant bits: Y, Cb, Cr and, for formats with alpha, A. Strides
/// in samples.
struct ProResPlanes
{
    std::array<const quint16 *, 4> plane{};
    std::array<qsizetype, 4> stride{};
};

/// A run of macroblocks of one row of a picture (the frame, or one of its fields).
struct ProResSlice
{
    int picture; ///< 0, or 1 for the field that comes second
    int column;  ///< of its first macroblock
    int row;
    int macroblocks; ///< 1, 2, 4 or 8
};

/// How a format divides into pictures and slices. Constant; any thread.
class ProResLayout
{
public:
    explicit ProResLayout(const ProResFormat &format);

    int pictures() const { return _pictures; }
    int pictureHeight(int picture) const { return _height[size_t(picture)]; }
    /// The planes of one picture of a frame: every line, or the lines of a field.
    ProResPlanes pictureOf(const ProResPlanes &frame, int picture) const;
    /// All slices, in coding order.
    const std::vector<ProResSlice> &slices() const { return _slices; }
    int slicesOfPicture(int picture) const { return _slicesOfPicture[size_t(picture)]; }

private:
    int _pictures;
    std::array<int, 2> _height{};
    std::array<int, 2> _firstLine{};
    std::array<int, 2> _slicesOfPicture{};
    std::vector<ProResSlice> _slices;
};
