// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxgeneratorpicture.h"

#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/edges/qmxstrip.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

namespace {
using Format = QmxPicture::Format;

constexpr int texturePeriod = 256; ///< pixels after which the texture repeats
constexpr int pixelsPerFrame = 8;  ///< scrolling; divided among the fields of interlaced pictures
constexpr int hdHeight = 720;
/// As many as are usually on their way through coders and outputs at once; the others are copies.
constexpr size_t keptPictures = 6;

constexpr double lumaRange = 876;   ///< 64 to 940
constexpr double chromaRange = 896; ///< 64 to 960
constexpr int lumaBlack = 64;
constexpr int chromaNeutral = 512;
constexpr int rgbWhite = 1023;

struct Rgb
{
    double r, g, b;
};

/// Weights of red and blue in luma (ITU-R BT.709, BT.601).
struct Weights
{
    double red, blue;
};
Weights weights(int height)
{
    return height >= hdHeight ? Weights{0.2126, 0.0722} : Weights{0.299, 0.114};
}

std::array<quint16, 3> sample(const Rgb &c, Format format, int height)
{
    if (format == Format::Rgb444P10)
        return {quint16(std::lround(c.r * rgbWhite)), quint16(std::lround(c.g * rgbWhite)),
                quint16(std::lround(c.b * rgbWhite))};
    const Weights w = weights(height);
    const double y = w.red * c.r + (1 - w.red - w.blue) * c.g + w.blue * c.b;
    const double cb = (c.b - y) / (2 * (1 - w.blue));
    const double cr = (c.r - y) / (2 * (1 - w.red));
    return {quint16(std::lround(lumaBlack + lumaRange * y)),
            quint16(std::lround(chromaNeutral + chromaRange * cb)),
            quint16(std::lround(chromaNeutral + chromaRange * cr))};
}

/// 75 % bars: white, yellow, cyan, green, magenta, red, blue, black.
Rgb barColour(double x)
{
    constexpr double level = 0.75;
    const int inverted = std::clamp(int(x * 8), 0, 7);
    const auto component = [&](int mask) { return inverted & mask ? 0.0 : level; };
    return {component(2), component(4), component(1)};
}

Format formatOf(const QmxImageDesc &desc)
{
    const QmxCodecRow *codec = qmxCodec(desc.dataType());
    return codec ? codec->pictureFormat : Format::Yuv422P10;
}

/// A texture of smooth hills and grain that repeats after texturePeriod pixels, about as hard to code as a
/// camera's picture.
void drawTexture(QmxPicture &picture, int plane)
{
    const bool chroma = plane > 0 && picture.format() != Format::Rgb444P10;
    const int divisor = picture.width() / picture.planeWidth(plane);
    const int period = texturePeriod / divisor;
    std::vector<int> hill(size_t(texturePeriod), 0);
    for (int i = 0; i < texturePeriod; ++i)
        hill[size_t(i)] = int(std::lround(256 * std::sin(2 * M_PI * i / texturePeriod)));
    const int height = chroma ? 120 : 220, grain = chroma ? 8 : 24, base = chroma ? 512 : 480;
    quint32 random = 0x2545f491u + quint32(plane);
    for (int y = 0; y < picture.height(); ++y) {
        quint16 *row = picture.row(plane, y);
        const int v = hill[size_t((y * 2 + plane * 50) % texturePeriod)];
        for (int x = 0; x < std::min(period, picture.planeWidth(plane)); ++x) {
            random ^= random << 13, random ^= random >> 17, random ^= random << 5;
            const int h = hill[size_t(x * divisor * 2 % texturePeriod)];
            row[x] = quint16(base + (h * v * height >> 16) + int(random % quint32(grain)));
        }
        for (int x = period; x < picture.planeWidth(plane); ++x)
            row[x] = row[x - period];
    }
}
} // namespace

QmxGeneratorPicture::QmxGeneratorPicture(const QmxImageDesc &desc, const QmxId &pattern) : _desc(desc)
{
    _scrolls = pattern == QmxIds::movingPattern;
    const int width = desc.width() + (_scrolls ? texturePeriod : 0);
    _background = QmxPicture::allocate(formatOf(desc), QSize(width, desc.height()));
    if (_background.isValid()) drawBackground(pattern);
}

void QmxGeneratorPicture::drawBackground(QmxId pattern)
{
    if (pattern == QmxIds::movingPattern) {
        for (int plane = 0; plane < 3; ++plane)
            drawTexture(_background, plane);
        return;
    }
    _background.fillBlack();
    if (pattern != QmxIds::bars && pattern != QmxIds::ramp) return;
    quint16 *const first[3] = {_background.row(0, 0), _background.row(1, 0), _background.row(2, 0)};
    fillRowFromColours(first, _background.width(), pattern);
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 1; y < _background.height(); ++y)
            std::memcpy(_background.row(plane, y), first[plane], size_t(_background.planeWidth(plane)) * 2);
}

void QmxGeneratorPicture::fillRowFromColours(quint16 *const rows[3], int width, QmxId pattern) const
{
    const int chromaStep = width / _background.planeWidth(1);
    for (int x = 0; x < width; ++x) {
        const double place = double(x) / width;
        const Rgb colour = pattern == QmxIds::bars ? barColour(place) : Rgb{place, place, place};
        const std::array<quint16, 3> s = sample(colour, _background.format(), _background.height());
        rows[0][x] = s[0];
        if (x % chromaStep != 0) continue;
        rows[1][x / chromaStep] = s[1];
        rows[2][x / chromaStep] = s[2];
    }
}

QmxPicture QmxGeneratorPicture::render(qint64 frame)
{
    if (!_background.isValid()) return {};
    QmxPicture picture;
    if (_scrolls) {
        picture = QmxPicture::allocate(_background.format(), QSize(_desc.width(), _desc.height()));
        if (picture.isValid()) scroll(picture, frame);
    } else {
        const auto free = std::find_if(_drawn.begin(), _drawn.end(),
                                       [](const Drawn &drawn) { return !drawn.picture.isShared(); });
        if (free != _drawn.end()) {
            picture = free->picture;
            eraseBox(picture, free->frame);
            free->frame = frame;
        } else {
            picture = _background.deepCopy();
            if (picture.isValid() && _drawn.size() < keptPictures) _drawn.push_back({picture, frame});
        }
    }
    if (!picture.isValid()) return {};
    drawBox(picture, frame);
    QmxStrip::draw(picture, quint32(frame));
    return picture;
}

/// Which field of its picture a line belongs to: the one that is sent first (0) or second.
int QmxGeneratorPicture::fieldOf(int line) const
{
    if (!_desc.isInterlaced()) return 0;
    return QmxLibav::topFieldFirst(QSize(_desc.width(), _desc.height())) ? line & 1 : ~line & 1;
}

void QmxGeneratorPicture::scroll(QmxPicture &picture, qint64 frame) const
{
    for (int plane = 0; plane < 3; ++plane) {
        const int divisor = picture.width() / picture.planeWidth(plane);
        for (int y = 0; y < picture.height(); ++y) {
            const qint64 field = fieldOf(y);
            const qint64 moved = frame * pixelsPerFrame + field * pixelsPerFrame / 2;
            std::memcpy(picture.row(plane, y), _background.row(plane, y) + moved % texturePeriod / divisor,
                        size_t(picture.planeWidth(plane)) * 2);
        }
    }
}

int QmxGeneratorPicture::boxSide() const
{
    return std::max(_desc.height() / 16 / 2 * 2, 2);
}

int QmxGeneratorPicture::boxStart(int line, qint64 frame) const
{
    const qint64 moved = frame * pixelsPerFrame + qint64(fieldOf(line)) * pixelsPerFrame / 2;
    return int(moved % std::max(_desc.width() - boxSide(), 1)) / 2 * 2;
}

void QmxGeneratorPicture::drawBox(QmxPicture &picture, qint64 frame) const
{
    const int side = boxSide();
    const bool rgb = picture.format() == Format::Rgb444P10;
    for (int plane = 0; plane < 3; ++plane) {
        const int divisor = picture.width() / picture.planeWidth(plane);
        const quint16 value = rgb ? rgbWhite : plane == 0 ? lumaBlack + int(lumaRange) : chromaNeutral;
        for (int y = picture.height() / 2; y < picture.height() / 2 + side; ++y)
            std::fill_n(picture.row(plane, y) + boxStart(y, frame) / divisor, side / divisor, value);
    }
}

void QmxGeneratorPicture::eraseBox(QmxPicture &picture, qint64 frame) const
{
    const int side = boxSide();
    for (int plane = 0; plane < 3; ++plane) {
        const int divisor = picture.width() / picture.planeWidth(plane);
        for (int y = picture.height() / 2; y < picture.height() / 2 + side; ++y) {
            const int x = boxStart(y, frame) / divisor;
            std::copy_n(_background.row(plane, y) + x, side / divisor, picture.row(plane, y) + x);
        }
    }
}
