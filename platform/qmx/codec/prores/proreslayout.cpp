// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proreslayout.h"

ProResLayout::ProResLayout(const ProResFormat &format) : _pictures(format.isInterlaced() ? 2 : 1)
{
    const auto macroblocks = [](int samples) {
        return (samples + ProRes::macroblockEdge - 1) / ProRes::macroblockEdge;
    };
    const int columns = macroblocks(format.size.width());
    for (int picture = 0; picture < _pictures; ++picture) {
        const size_t i = size_t(picture);
        _firstLine[i] = format.scan == ProResFormat::BottomFieldFirst ? 1 - picture : picture;
        // The top field has the odd line of a frame of odd height.
        _height[i] = (format.size.height() + _pictures - 1 - _firstLine[i]) / _pictures;
        const size_t before = _slices.size();
        for (int row = 0; row < macroblocks(_height[i]); ++row) {
            // Slices of the full length, then ever shorter ones: powers of two.
            int length = ProRes::largestSlice;
            for (int column = 0; column < columns; column += length) {
                while (length > columns - column)
                    length /= 2;
                _slices.push_back({picture, column, row, length});
            }
        }
        _slicesOfPicture[i] = int(_slices.size() - before);
    }
}

ProResPlanes ProResLayout::pictureOf(const ProResPlanes &frame, int picture) const
{
    ProResPlanes result = frame;
    for (size_t plane = 0; plane < frame.plane.size(); ++plane) {
        if (!frame.plane[plane]) continue;
        result.plane[plane] += frame.stride[plane] * _firstLine[size_t(picture)];
        result.stride[plane] *= _pictures;
    }
    return result;
}
