// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/prores/proresframecoder.h"

#include <random>
#include <vector>

/// Samples of a frame, in memory of their own.
struct ProResTestFrame
{
    explicit ProResTestFrame(const ProResFormat &format);

    int width(int plane) const { return plane == 1 || plane == 2 ? chromaWidth : size.width(); }
    quint16 &at(int plane, int x, int y) { return samples[size_t(plane)][size_t(y * width(plane) + x)]; }
    ProResPlanes planes() const;

    QSize size;
    int chromaWidth;
    std::array<std::vector<quint16>, 4> samples; ///< the fourth is empty without alpha
};

/// What a test picture shows.
enum class ProResTestKind { Black, White, Flat, Noise, Extremes, Texture, SingleCoefficient, Edges };
constexpr int proResTestKinds = 8;
void paint(ProResTestFrame &frame, ProResTestKind kind, std::minstd_rand &random);

/// A frame taken apart, by the public description alone.
struct ProResParsedFrame
{
    struct Slice
    {
        int picture, column, row, macroblocks;
        int quantiser;
        std::array<int, 4> bytes; ///< Y, Cb, Cr, alpha
    };
    int width = 0, height = 0;
    int version = 0, chroma = 0, interlace = 0, aspect = 0, rate = 0;
    int primaries = 0, transfer = 0, matrix = 0, alpha = 0;
    ProRes::Matrix weights{}; ///< of luma and of chroma
    std::vector<Slice> slices;
};
/// Empty, or what is wrong with the frame.
std::string parse(const QmxBuffer &frame, ProResParsedFrame &parsed);

/// Decodes by libavcodec into `decoded`; empty, or what it warned of.
std::string decode(const QmxBuffer &frame, ProResTestFrame &decoded);

/// Codes a frame by one of libavcodec's coders, with any of its settings; invalid: it does not take it.
QmxBuffer encodeElsewhere(const ProResFormat &format, const ProResTestFrame &frame, std::minstd_rand &random);

/// Parses and decodes; empty when everything agrees with the format and no component of a slice is further
/// from the original than its quantiser allows, else what does not.
std::string verify(const ProResFormat &format, const ProResTestFrame &frame, const QmxBuffer &coded);

ProResFormat proResTestFormat(int dataType, const QSize &size, ProResFormat::Scan scan, bool alpha = false);
/// Of a raster of at most 170x71.
ProResFormat randomFormat(std::minstd_rand &random);
/// How many random pictures a test takes.
int picturesWanted();
