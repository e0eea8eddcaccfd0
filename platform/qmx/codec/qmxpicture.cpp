// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxpicture.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr int strideAlignment = 64;
/// Decoders write whole macroblocks of both fields, so every plane has rows up to a multiple of 32, and at
/// least one more than the picture, for groups of samples that reach beyond the end of the last row.
constexpr int rowAlignment = 32;
/// Converters read and write a vector beyond the last sample.
constexpr qsizetype tailBytes = 64;

constexpr quint16 blackLuma = 64;
constexpr quint16 neutralChroma = 512;

qsizetype alignUp(qsizetype value, qsizetype alignment)
{
    return (value + alignment - 1) / alignment * alignment;
}
} // namespace

QmxPicture::QmxPicture() = default;

QmxPicture QmxPicture::allocate(Format format, const QSize &size)
{
    QmxPicture picture;
    if (format == Format::Invalid || size.width() <= 0 || size.height() <= 0) return picture;
    picture._format = format;
    picture._size = size;
    qsizetype total = 0;
    for (int plane = 0; plane < 3; ++plane) {
        const qsizetype rowBytes = picture.planeWidth(plane) * qsizetype(sizeof(quint16));
        picture._stride[plane] = int(alignUp(rowBytes, strideAlignment));
        picture._offset[plane] = total;
        total += picture._stride[plane] * alignUp(size.height() + 1, rowAlignment);
    }
    picture._buffer = QmxBuffer::allocate(total + tailBytes);
    if (!picture._buffer.isValid()) return QmxPicture();
    return picture;
}

int QmxPicture::planeWidth(int plane) const
{
    return plane > 0 && _format == Format::Yuv422P10 ? (_size.width() + 1) / 2 : _size.width();
}

quint16 *QmxPicture::row(int plane, int y)
{
    return reinterpret_cast<quint16 *>(_buffer.data() + _offset[plane] + qsizetype(y) * _stride[plane]);
}

const quint16 *QmxPicture::row(int plane, int y) const
{
    return reinterpret_cast<const quint16 *>(_buffer.constData() + _offset[plane] +
                                             qsizetype(y) * _stride[plane]);
}

bool QmxPicture::sharesWith(const QmxPicture &other) const
{
    return isValid() && other.isValid() && _buffer.serial() == other._buffer.serial();
}

QmxPicture QmxPicture::deepCopy() const
{
    QmxPicture copy = allocate(_format, _size);
    if (copy.isValid()) std::memcpy(copy._buffer.data(), _buffer.constData(), size_t(copy._buffer.size()));
    return copy;
}

void QmxPicture::fillBlack()
{
    for (int plane = 0; plane < 3; ++plane) {
        quint16 value = plane == 0 ? blackLuma : neutralChroma;
        if (_format == Format::Rgb444P10) value = 0;
        for (int y = 0; y < height(); ++y)
            std::fill_n(row(plane, y), planeWidth(plane), value);
    }
}
