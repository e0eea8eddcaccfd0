// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresslicedecoder.h"

#include <QtEndian>

#include <algorithm>

namespace {
constexpr quint16 neutral = 512, opaque = 1023;
constexpr int alphaPlane = 3;
} // namespace

QSize ProResSliceDecoder::sizeAt(const QSize &size, ProResInverse::Scale scale)
{
    const auto scaled = [scale](int samples) {
        return (samples * ProResInverse::edge(scale) + ProRes::blockEdge - 1) / ProRes::blockEdge;
    };
    return {scaled(size.width()), scaled(size.height())};
}

void ProResSliceDecoder::begin(const ProResCodedFrame &frame, ProResInverse::Scale scale,
                               const ProResTarget &target)
{
    _frame = &frame;
    _scale = scale;
    _target = target;
    _size = sizeAt(frame.size, scale);
    const bool interlaced = frame.scan != ProResFormat::Progressive;
    const std::array matrices = {frame.lumaMatrix, frame.chromaMatrix};
    for (size_t i = 0; i < matrices.size(); ++i)
        if (matrices[i] != _matrices[i] || interlaced != _interlaced || scale != _madeFor) {
            _matrices[i] = matrices[i];
            for (auto &dequantiser : _dequantisers[i])
                dequantiser.reset();
        }
    _interlaced = interlaced;
    _madeFor = scale;
    _planeWidth = {_size.width(), frame.fullChroma ? _size.width() : (_size.width() + 1) / 2};
    const int pictures = interlaced ? 2 : 1;
    for (int picture = 0; picture < pictures; ++picture) {
        const size_t i = size_t(picture);
        _firstLine[i] = frame.scan == ProResFormat::BottomFieldFirst ? 1 - picture : picture;
        _pictureHeight[i] = (_size.height() + pictures - 1 - _firstLine[i]) / pictures;
    }
}

ProResSliceDecoder::Parts ProResSliceDecoder::parts(const ProResCodedSlice *slice)
{
    constexpr int leastHeader = 6, headerWithCr = 8, sizeShift = 3;
    Parts parts{slice};
    if (!slice || !slice->bytes || slice->size < leastHeader) return parts;
    const int header = slice->bytes[0] >> sizeShift;
    if (header < leastHeader || header > slice->size) return parts;
    parts.quantiser = std::clamp<int>(slice->bytes[1], 1, ProRes::coarsestQuantiser);
    int left = slice->size - header;
    const uchar *at = slice->bytes + header;
    for (size_t plane = 0; plane < parts.bytes.size(); ++plane) {
        // What the header does not say is the rest.
        const bool told = plane < 2 || (plane == 2 && header >= headerWithCr);
        const int size = told ? qFromBigEndian<quint16>(slice->bytes + 2 + 2 * plane) : left;
        if (size > left) return parts;
        parts.bytes[plane] = at;
        parts.size[plane] = size;
        at += size;
        left -= size;
    }
    parts.good = true;
    return parts;
}

void ProResSliceDecoder::askForHeaders(std::span<const ProResCodedSlice> slices)
{
    for (const ProResCodedSlice &slice : slices)
        __builtin_prefetch(slice.bytes);
}

void ProResSliceDecoder::askForData(std::span<const ProResCodedSlice> slices)
{
    for (const ProResCodedSlice &slice : slices)
        for (const uchar *bytes : parts(&slice).bytes)
            __builtin_prefetch(bytes);
}

int ProResSliceDecoder::blocks(const ProResCodedSlice &slice, int plane) const
{
    return slice.place.macroblocks * (half(plane) ? 2 : 4);
}

ProResSliceDecoder::Area ProResSliceDecoder::area(const ProResCodedSlice &slice, int plane) const
{
    const int pictures = _interlaced ? 2 : 1;
    const auto picture = size_t(slice.place.picture);
    const int height = 2 * ProResInverse::edge(_scale);
    const int macroblockWidth = half(plane) ? height / 2 : height;
    const int width = slice.place.macroblocks * macroblockWidth;
    const int left = slice.place.column * macroblockWidth, top = slice.place.row * height;
    const int planeWidth = _planeWidth[plane == 1 || plane == 2];
    const qsizetype stride = _target.stride[size_t(plane)];
    return {_target.plane[size_t(plane)] + (qsizetype(top) * pictures + _firstLine[picture]) * stride + left,
            stride * pictures,
            width,
            height,
            std::clamp(planeWidth - left, 0, width),
            std::clamp(_pictureHeight[picture] - top, 0, height)};
}

void ProResSliceDecoder::prefetch(const Parts &parts, int plane) const
{
    constexpr int line = 64 / sizeof(quint16); // samples of a cache line
    if (!parts.good || _scale != ProResInverse::Scale::Full) return;
    const Area a = area(*parts.slice, plane);
    for (int y = 0; y < a.shownHeight; ++y)
        for (int x = 0; x < a.shownWidth; x += line)
            __builtin_prefetch(a.first + y * a.stride + x, 1);
}

const ProResInverse::Dequantiser &ProResSliceDecoder::dequantiser(int plane, int quantiser)
{
    const size_t kind = plane == 0 ? 0 : 1;
    auto &made = _dequantisers[kind][size_t(quantiser)];
    if (!made)
        made = std::make_unique<ProResInverse::Dequantiser>(_matrices[kind], quantiser, _interlaced, _scale);
    return *made;
}

void ProResSliceDecoder::put(const Parts &parts, int plane, const ProResEntropy::Component &component)
{
    const Area a = area(*parts.slice, plane);
    const ProResInverse::Place place{a.whole() ? a.first : _edge.data(), a.whole() ? a.stride : a.width,
                                     plane != 0};
    ProResInverse::reconstruct(*component.levels, component.blocks, component.places,
                               dequantiser(plane, parts.quantiser), _scale, place, _scratch);
    if (a.whole()) return;
    for (int y = 0; y < a.shownHeight; ++y)
        std::copy_n(_edge.data() + y * a.width, a.shownWidth, a.first + y * a.stride);
}

bool ProResSliceDecoder::putAlpha(const Parts &parts)
{
    constexpr int wideBits = 16, sampleBits = 10;
    const Area a = area(*parts.slice, alphaPlane);
    if (!ProResEntropy::decodeAlpha(parts.bytes[alphaPlane], parts.size[alphaPlane], _frame->alphaBits,
                                    _alpha.data(), a.width * a.height))
        return false;
    for (int y = 0; y < a.shownHeight; ++y)
        for (int x = 0; x < a.shownWidth; ++x)
            a.first[y * a.stride + x] = _alpha[size_t(y * a.width + x)] >> (wideBits - sampleBits);
    return true;
}

/// Mid grey: seen for what it is, and no shock to who watches.
void ProResSliceDecoder::putGrey(const ProResCodedSlice &slice)
{
    for (int plane = 0; plane <= alphaPlane; ++plane) {
        if (!_target.plane[size_t(plane)]) continue;
        const Area a = area(slice, plane);
        for (int y = 0; y < a.shownHeight; ++y)
            std::fill_n(a.first + y * a.stride, a.shownWidth, plane == alphaPlane ? opaque : neutral);
    }
}

void ProResSliceDecoder::putOpaque(const Parts &parts)
{
    const Area a = area(*parts.slice, alphaPlane);
    for (int y = 0; y < a.shownHeight; ++y)
        std::fill_n(a.first + y * a.stride, a.shownWidth, opaque);
}

int ProResSliceDecoder::decode(std::span<const ProResCodedSlice> slices)
{
    constexpr size_t planes = alphaPlane;
    std::array<Parts, ProResEntropy::mostSlices> all;
    std::array<ProResEntropy::Component, ProResEntropy::mostTogether> components;
    const size_t count = slices.size();
    for (size_t i = 0; i < count; ++i) {
        all[i] = parts(&slices[i]);
        // The longest ones first, those of luma: then the short ones are left when few are left.
        for (size_t plane = 0; plane < planes && all[i].good; ++plane)
            components[plane * count + i] = {all[i].bytes[plane], all[i].size[plane],
                                             blocks(slices[i], int(plane)), &_levels[plane * count + i]};
    }
    prefetch(all[0], 0);
    ProResEntropy::decode(std::span(components).first(planes * count), ProResInverse::placesNeeded(_scale),
                          _frame->end, _habit);
    int damaged = 0;
    for (size_t i = 0; i < count; ++i) {
        Parts &slice = all[i];
        for (size_t plane = 0; plane < planes; ++plane) {
            if (plane + 1 < planes)
                prefetch(slice, int(plane) + 1);
            else if (i + 1 < count)
                prefetch(all[i + 1], 0);
            const ProResEntropy::Component &component = components[plane * count + i];
            slice.good = slice.good && component.places > 0;
            if (slice.good) put(slice, int(plane), component);
        }
        if (slice.good && _target.plane[alphaPlane] && _scale == ProResInverse::Scale::Full) {
            if (_frame->alphaBits == 0)
                putOpaque(slice);
            else
                slice.good = putAlpha(slice);
        }
        if (slice.good) continue;
        putGrey(slices[i]);
        ++damaged;
    }
    return damaged;
}
