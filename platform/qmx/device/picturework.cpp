// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/picturework.h"

#include "platform/qmx/codec/pixelfont.h"
#include "platform/qmx/codec/qmxcube.h"
#include "platform/qmx/codec/qmxenlargekernels.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {
using Format = QmxPicture::Format;

constexpr int entries = 1024;
constexpr int maximum = entries - 1;
// Legal ranges of 10-bit video (ITU-R BT.709, table of digital representation).
constexpr int black = 64;
constexpr int white = 940;
constexpr int neutral = 512;
constexpr int chromaSpan = 896;

/// Luma weights of R and B.
struct Matrix
{
    float red;
    float blue;
};
constexpr Matrix hd{0.2126F, 0.0722F};
constexpr Matrix sd{0.299F, 0.114F};
constexpr int firstHdHeight = 720;

int clampTo(float value, int top)
{
    return std::clamp(qRound(value), 0, top);
}

quint16 lookUp(const short *run, float value)
{
    return quint16(std::clamp<int>(run[clampTo(value, maximum)], 0, maximum));
}

/// One pixel in YCbCr (10 bit, legal) through a table in RGB and back.
struct LutPixel
{
    LutPixel(const QmxImageLut &lut, const Matrix &m) : _r(lut.lutData()), _g(_r + entries), _b(_g + entries)
    {
        _green = 1 - m.red - m.blue;
        _m = m;
    }

    std::array<int, 3> operator()(int luma, int cb, int cr) const
    {
        const float y = float(luma - black) * maximum / (white - black);
        const float pb = float(cb - neutral) * maximum / chromaSpan;
        const float pr = float(cr - neutral) * maximum / chromaSpan;
        const float r = y + 2 * (1 - _m.red) * pr;
        const float b = y + 2 * (1 - _m.blue) * pb;
        const float g = (y - _m.red * r - _m.blue * b) / _green;
        const float r2 = lookUp(_r, r);
        const float g2 = lookUp(_g, g);
        const float b2 = lookUp(_b, b);
        const float y2 = _m.red * r2 + _green * g2 + _m.blue * b2;
        return {clampTo(black + y2 * (white - black) / maximum, maximum),
                clampTo(neutral + (b2 - y2) / (2 * (1 - _m.blue)) * chromaSpan / maximum, maximum),
                clampTo(neutral + (r2 - y2) / (2 * (1 - _m.red)) * chromaSpan / maximum, maximum)};
    }

private:
    const short *_r;
    const short *_g;
    const short *_b;
    Matrix _m;
    float _green;
};

void lutYuvRow(const QmxPicture &from, QmxPicture &to, int y, const LutPixel &pixel)
{
    // Chroma comes from the even pixel of a pair, as it is sited there.
    const int step = from.format() == Format::Yuv422P10 ? 2 : 1;
    for (int x = 0; x < from.width(); ++x) {
        const int cx = x / step;
        const auto value = pixel(from.row(0, y)[x], from.row(1, y)[cx], from.row(2, y)[cx]);
        to.row(0, y)[x] = quint16(value[0]);
        if (x % step) continue;
        to.row(1, y)[cx] = quint16(value[1]);
        to.row(2, y)[cx] = quint16(value[2]);
    }
}

void lutRgbRow(const QmxPicture &from, QmxPicture &to, int y, const QmxImageLut &lut)
{
    for (int plane = 0; plane < 3; ++plane)
        for (int x = 0; x < from.width(); ++x)
            to.row(plane, y)[x] = lookUp(lut.lutData() + plane * entries, from.row(plane, y)[x]);
}

/// Fills a rectangle; `light` white, else black.
void fillBox(QmxPicture &picture, int left, int top, int width, int height, bool light)
{
    for (int plane = 0; plane < 3; ++plane) {
        const int step = plane > 0 && picture.format() == Format::Yuv422P10 ? 2 : 1;
        quint16 value = light ? white : black;
        if (picture.format() == Format::Rgb444P10)
            value = light ? maximum : 0;
        else if (plane > 0)
            value = neutral;
        for (int y = top; y < top + height; ++y)
            std::fill_n(picture.row(plane, y) + left / step, width / step, value);
    }
}
} // namespace

QmxPicture PictureWork::inFormat(const QmxPicture &picture, QmxPicture::Format format)
{
    if (picture.format() == format || !picture.isValid()) return picture;
    if (picture.format() == Format::Rgb444P10 || format == Format::Rgb444P10) return {};
    QmxPicture result = QmxPicture::allocate(format, picture.size());
    if (!result.isValid()) return result;
    const bool widen = format == Format::Yuv444P10;
    for (int y = 0; y < picture.height(); ++y) {
        std::memcpy(result.row(0, y), picture.row(0, y), size_t(picture.width()) * sizeof(quint16));
        for (int plane = 1; plane < 3; ++plane) {
            const quint16 *from = picture.row(plane, y);
            quint16 *to = result.row(plane, y);
            for (int x = 0; x < result.planeWidth(plane); ++x)
                to[x] = widen ? from[x / 2] : from[x * 2];
        }
    }
    return result;
}

QmxPicture PictureWork::withLut(const QmxPicture &picture, const QmxImageLut &lut)
{
    if (lut.entries() != entries || !picture.isValid()) return picture;
    if (const auto cube = QmxCubes::of(lut)) return cube->applied(picture);
    QmxPicture result = QmxPicture::allocate(picture.format(), picture.size());
    if (!result.isValid()) return result;
    const LutPixel pixel(lut, picture.height() < firstHdHeight ? sd : hd);
    for (int y = 0; y < picture.height(); ++y) {
        if (picture.format() == Format::Rgb444P10)
            lutRgbRow(picture, result, y, lut);
        else
            lutYuvRow(picture, result, y, pixel);
    }
    return result;
}

QmxPicture PictureWork::enlarged(const QmxPicture &picture, const QSize &size, bool interlaced)
{
    // What a clip holds need not be what it says.
    const QSize from((size.width() + 1) / 2, (size.height() + 1) / 2);
    if (!picture.isValid() || picture.size() != from) return picture;
    QmxPicture result = QmxPicture::allocate(picture.format(), size);
    const int fields = interlaced ? 2 : 1;
    const int height = result.isValid() ? size.height() : 0;
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < height; ++y) {
            const int field = y % fields, line = y / fields;
            const int last = (picture.height() - 1 - field) / fields;
            const auto row = [&](int of) {
                return picture.row(plane, std::clamp(of, 0, last) * fields + field);
            };
            QmxEnlargeKernels::enlargeRow(row(line / 2), row(line % 2 ? line / 2 + 1 : line / 2 - 1),
                                          result.planeWidth(plane), result.row(plane, y));
        }
    return result;
}

QmxPicture PictureWork::withText(const QmxPicture &picture, const QString &text)
{
    if (text.isEmpty() || !picture.isValid()) return picture;
    constexpr int lines = 54; ///< letters are about a 54th of the height of a dot grid: 1/8 of 7 dots
    const int dot = std::max(2, picture.height() / (lines * 4) * 2);
    const int advance = dot * (PixelFont::width + 1);
    const int fitting = std::max(0, picture.width() / advance - 2);
    const QString shown = text.left(fitting);
    const int width = int(shown.size() + 1) * advance / 2 * 2;
    const int height = dot * (PixelFont::height + 2);
    const int left = (picture.width() - width) / 4 * 2;
    const int top = picture.height() - height - picture.height() / 12;
    if (shown.isEmpty() || top < 0) return picture;

    QmxPicture result = picture.deepCopy();
    if (!result.isValid()) return picture;
    fillBox(result, left, top, width, height, false);
    for (int i = 0; i < shown.size(); ++i)
        for (int row = 0; row < PixelFont::height; ++row)
            for (int column = 0; column < PixelFont::width; ++column)
                if (PixelFont::dot(shown.at(i), column, row))
                    fillBox(result, left + advance / 2 + i * advance + column * dot, top + dot * (row + 1),
                            dot, dot, true);
    return result;
}
