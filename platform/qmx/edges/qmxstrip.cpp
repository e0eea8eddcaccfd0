// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxstrip.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {
constexpr int countBits = 32;
constexpr int checkBits = 16;
/// White, black, the count, its checksum (both highest bit first), black, white: the outer cells give the
/// levels, so that range and gain of whatever has handled the picture do not matter.
constexpr int cells = 2 + countBits + checkBits + 2;

constexpr quint16 legalBlack = 64;
constexpr quint16 legalWhite = 940;
constexpr quint16 fullWhite = 1023;
constexpr quint16 neutral = 512;

/// Least difference of the two levels, as a share of the full range: grey mush is no strip.
constexpr double minimumContrast = 0.3;

struct Geometry
{
    int left, width, top, height;

    Geometry(int pictureWidth, int pictureHeight)
        : left(pictureWidth / 16),
          width(pictureWidth - 2 * left),
          // Whole blocks of both fields where the picture is large enough for it.
          top(std::max(pictureHeight / 24 / 8 * 8, pictureHeight >= 240 ? 16 : pictureHeight / 16)),
          height(top)
    {}
    int cellStart(int cell) const { return left + width * cell / cells; }
};

quint16 checksum(quint32 count)
{
    quint16 crc = 0xffff; // CRC-16-CCITT
    for (int bit = countBits - 1; bit >= 0; --bit) {
        const bool invert = ((count >> bit) & 1) != (crc >> 15);
        crc = quint16(crc << 1);
        if (invert) crc ^= 0x1021;
    }
    return crc;
}

std::array<bool, cells> pattern(quint32 count)
{
    std::array<bool, cells> bits{};
    bits[0] = bits[cells - 1] = true;
    for (int i = 0; i < countBits; ++i)
        bits[size_t(2 + i)] = (count >> (countBits - 1 - i)) & 1;
    const quint16 check = checksum(count);
    for (int i = 0; i < checkBits; ++i)
        bits[size_t(2 + countBits + i)] = (check >> (checkBits - 1 - i)) & 1;
    return bits;
}

/// Reads from the rows firstRow, firstRow + rowStep, ...: the middle of every cell, both ways.
template <typename Sample>
std::optional<quint32> readRows(const Geometry &g, int firstRow, int rowStep, double fullScale, Sample sample)
{
    std::array<double, cells> level{};
    const int from = g.top + g.height / 4;
    const int to = std::max(g.top + g.height * 3 / 4, from + rowStep);
    for (int cell = 0; cell < cells; ++cell) {
        const int start = g.cellStart(cell), end = g.cellStart(cell + 1);
        const int margin = (end - start) / 4;
        double sum = 0;
        int samples = 0;
        for (int y = from + (from + firstRow) % rowStep; y < to; y += rowStep)
            for (int x = start + margin; x < std::max(end - margin, start + margin + 1); ++x, ++samples)
                sum += sample(x, y);
        if (samples == 0) return std::nullopt;
        level[size_t(cell)] = sum / samples;
    }
    const double white = (level[0] + level[cells - 1]) / 2;
    const double black = (level[1] + level[cells - 2]) / 2;
    if (white - black < fullScale * minimumContrast) return std::nullopt;
    const auto bit = [&](int cell) { return level[size_t(cell)] > (white + black) / 2; };
    quint32 count = 0;
    quint16 check = 0;
    for (int i = 0; i < countBits; ++i)
        count = count << 1 | quint32(bit(2 + i));
    for (int i = 0; i < checkBits; ++i)
        check = quint16(check << 1 | int(bit(2 + countBits + i)));
    if (check != checksum(count)) return std::nullopt;
    return count;
}

template <typename Sample>
std::optional<quint32> readFields(int width, int height, double fullScale, Sample sample)
{
    if (width < cells * 2 || height < 32) return std::nullopt;
    const Geometry geometry(width, height);
    const auto top = readRows(geometry, 0, 2, fullScale, sample);
    const auto bottom = readRows(geometry, 1, 2, fullScale, sample);
    return top == bottom ? top : std::nullopt;
}

constexpr int markLength = 96;    ///< samples: 2 ms
constexpr int markHalfPeriod = 4; ///< samples: a square wave of 6 kHz
constexpr qint32 markLevel = 0x60000000;
/// Tones stay 18 dB below full scale, so half the mark's level tells them apart.
constexpr qint32 markThreshold = markLevel / 2;
} // namespace

void QmxStrip::draw(QmxPicture &picture, quint32 count)
{
    const Geometry g(picture.width(), picture.height());
    const std::array<bool, cells> bits = pattern(count);
    const bool rgb = picture.format() == QmxPicture::Format::Rgb444P10;
    const quint16 white = rgb ? fullWhite : legalWhite;
    const quint16 black = rgb ? 0 : legalBlack;
    for (int y = g.top; y < g.top + g.height; ++y) {
        for (int plane = 0; plane < 3; ++plane) {
            quint16 *row = picture.row(plane, y);
            if (plane > 0 && !rgb) {
                const int divisor = picture.width() / picture.planeWidth(plane);
                std::fill(row + g.left / divisor, row + (g.left + g.width) / divisor, neutral);
                continue;
            }
            for (int cell = 0; cell < cells; ++cell)
                std::fill(row + g.cellStart(cell), row + g.cellStart(cell + 1),
                          bits[size_t(cell)] ? white : black);
        }
    }
}

std::optional<quint32> QmxStrip::read(const QmxPicture &picture)
{
    if (!picture.isValid()) return std::nullopt;
    return readFields(picture.width(), picture.height(), fullWhite,
                      [&](int x, int y) { return picture.row(0, y)[x]; });
}

std::optional<quint32> QmxStrip::readLuma8(const uchar *luma, int width, int height, qsizetype stride)
{
    return readFields(width, height, 255, [&](int x, int y) { return luma[y * stride + x]; });
}

void QmxStrip::drawMark(QmxAudio &audio, int channels)
{
    const int stride = audio.desc().channels();
    auto *samples = reinterpret_cast<qint32 *>(audio.buffer().data());
    const int length = std::min(markLength, audio.samples());
    for (int i = 0; i < length; ++i)
        std::fill_n(samples + i * stride, std::min(channels, stride),
                    i / markHalfPeriod % 2 == 0 ? markLevel : -markLevel);
}

int QmxStrip::findMark(const qint32 *samples, int count, int channels, int channel)
{
    // A click is no mark: most of its length must be loud.
    for (int i = 0; i < count; ++i) {
        if (std::abs(qint64(samples[i * channels + channel])) < markThreshold) continue;
        const int length = std::min(markLength / 2, count - i);
        int loud = 0;
        for (int k = 0; k < length; ++k)
            loud += std::abs(qint64(samples[(i + k) * channels + channel])) >= markThreshold;
        if (loud * 2 > length) return i;
    }
    return -1;
}
