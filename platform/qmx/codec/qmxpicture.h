// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxbuffer.h"

#include <QSize>

/// A picture as samples: the working form between sources, coders and sinks. A value; copies share the
/// samples, which live in pool memory. Samples are 16-bit words in host order, 10 significant bits (legal
/// range 64 to 940 luma, 64 to 960 chroma). Interlaced pictures hold both fields in raster order. A writer
/// fills a picture before it hands it on and never afterwards.
class QmxPicture
{
public:
    enum class Format {
        Invalid,
        Yuv422P10, ///< planes Y, Cb, Cr; chroma half as wide
        Yuv444P10, ///< planes Y, Cb, Cr
        Rgb444P10, ///< planes R, G, B (full range 0 to 1023)
    };

    QmxPicture();
    /// A picture with undefined content; not valid when the pool is exhausted.
    static QmxPicture allocate(Format format, const QSize &size);

    bool isValid() const { return _buffer.isValid(); }
    Format format() const { return _format; }
    int width() const { return _size.width(); }
    int height() const { return _size.height(); }
    QSize size() const { return _size; }
    int planeWidth(int plane) const;
    /// Distance between rows in bytes; a multiple of 64.
    int stride(int plane) const { return _stride[plane]; }
    quint16 *row(int plane, int y);
    const quint16 *row(int plane, int y) const;
    /// The same samples (not: equal ones).
    bool sharesWith(const QmxPicture &other) const;
    /// Whether another picture holds these samples; if not, they may be written again.
    bool isShared() const { return _buffer.isShared(); }
    /// A copy with samples of its own.
    QmxPicture deepCopy() const;
    /// Fills with video black.
    void fillBlack();
    /// The memory of all three planes.
    QmxBuffer buffer() const { return _buffer; }

private:
    QmxBuffer _buffer;
    Format _format = Format::Invalid;
    QSize _size;
    int _stride[3] = {0, 0, 0};
    qsizetype _offset[3] = {0, 0, 0};
};
