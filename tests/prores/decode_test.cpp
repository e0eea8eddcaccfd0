// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresframedecoder.h"
#include "platform/qmx/codec/prores/prorestargets.h"
#include "tests/prores/proresrig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <hwy/targets.h>
#include <numbers>
#include <optional>

namespace {
using ProResInverse::Scale;

ProResTarget targetOf(ProResTestFrame &frame)
{
    ProResTarget target;
    for (size_t plane = 0; plane < 4; ++plane) {
        if (frame.samples[plane].empty()) continue;
        target.plane[plane] = frame.samples[plane].data();
        target.stride[plane] = frame.width(int(plane));
    }
    return target;
}

/// Greatest difference between two frames, all planes.
int greatestDifference(const ProResTestFrame &a, const ProResTestFrame &b)
{
    int greatest = 0;
    for (size_t plane = 0; plane < a.samples.size(); ++plane)
        for (size_t i = 0; i < a.samples[plane].size(); ++i)
            greatest = std::max(greatest, std::abs(int(a.samples[plane][i]) - b.samples[plane][i]));
    return greatest;
}

/// Sample (x, y) of a block of `edge` lines: the inverse cosine transform of that many points, in double
/// precision.
double exactSample(const std::array<double, 64> &coefficients, int edge, int x, int y)
{
    double sum = 0;
    for (int v = 0; v < edge; ++v)
        for (int u = 0; u < edge; ++u) {
            const double scale = (u ? 1 : std::numbers::sqrt2 / 2) * (v ? 1 : std::numbers::sqrt2 / 2);
            sum += scale * coefficients[size_t(v * 8 + u)] *
                   std::cos((2 * x + 1) * u * std::numbers::pi / (2 * edge)) *
                   std::cos((2 * y + 1) * v * std::numbers::pi / (2 * edge));
        }
    return std::clamp(512 + sum * 2 / 8, 4.0, 1019.0);
}

/// Of our coder or of another one.
QmxBuffer randomFrame(const ProResFormat &format, std::minstd_rand &random)
{
    ProResTestFrame frame(format);
    paint(frame, ProResTestKind(random() % proResTestKinds), random);
    if (random() % 3 == 0)
        if (QmxBuffer coded = encodeElsewhere(format, frame, random); coded.isValid()) return coded;
    ProResFrameCoder coder(format);
    if (random() % 2) coder.setFixedQuantiser(1 + int(random() % (random() % 2 ? 224 : 8)));
    return coder.encode(frame.planes());
}
} // namespace

TEST(ProResDecode, isWithinOneOfTheExactTransformOnEveryTargetAndAtEveryScale)
{
    const auto targets = hwy::SupportedAndGeneratedTargets();
    EXPECT_GE(targets.size(), 2U);
    std::minstd_rand random(11);
    ProRes::Matrix matrix;
    double squares = 0, samples = 0;
    for (int round = 0; round < 60; ++round) {
        for (auto &weight : matrix)
            weight = quint8(4 + random() % (round % 2 ? 60 : 4));
        const int quantiser = 1 + int(random() % (round % 3 ? 8 : 60));
        const int blocks = 4 << random() % 4, places = 1 + int(random() % 64);
        const bool interlaced = random() % 2;
        // Of every 8 blocks so many are flat, and as many have low frequencies alone.
        const unsigned flat = random() % 3 ? random() % 9 : 0, low = random() % 9;
        ProResEntropy::Levels levels{};
        std::vector<std::array<double, 64>> coefficients(size_t(blocks), std::array<double, 64>{});
        for (size_t n = 0; n < size_t(places); ++n)
            for (int block = 0; block < blocks; ++block) {
                const int place = ProRes::scan(interlaced)[n];
                const double step = quantiser * matrix[size_t(place)] / 4.0;
                const int most = int((n == 0 ? 3000 : 700) / step);
                const unsigned kind = unsigned(block * 5 + round) % 8;
                const bool none = random() % 3 || (n > 0 && kind < flat) || (n >= 16 && 7 - kind < low);
                const int level = none ? 0 : int(random() % unsigned(2 * most + 1)) - most;
                levels.level[n * size_t(blocks) + size_t(block)] = qint16(level);
                coefficients[size_t(block)][size_t(place)] = level * step;
            }
        for (const Scale scale : {Scale::Full, Scale::Half, Scale::Quarter, Scale::Eighth}) {
            const int edge = ProResInverse::edge(scale);
            const ProResInverse::Dequantiser dequantiser(matrix, quantiser, interlaced, scale);
            for (const int64_t target : targets) {
                hwy::SetSupportedTargetsForTest(target);
                ProResInverse::Scratch scratch;
                std::vector<quint16> out(ProRes::groupSamples, 0xffff);
                const ProResInverse::Place place{out.data(), 128, round % 4 > 1};
                ProResInverse::reconstruct(levels, blocks, places, dequantiser, scale, place, scratch);
                for (int block = 0; block < blocks; ++block)
                    for (int i = 0; i < edge * edge; ++i) {
                        const double exact =
                            exactSample(coefficients[size_t(block)], edge, i % edge, i / edge);
                        const quint16 *first = place.block(block, edge);
                        const qsizetype at = i / edge * place.stride + i % edge;
                        const double error = first[at] - exact;
                        ASSERT_LE(std::abs(error), 1) << hwy::TargetName(target) << " edge " << edge;
                        squares += error * error;
                        samples += 1;
                    }
            }
        }
    }
    hwy::SetSupportedTargetsForTest(0);
    // Rounding alone, evenly spread, leaves 1/12.
    EXPECT_LT(squares / samples, 0.09);
}

TEST(ProResDecode, agreesWithLibavcodecOnFramesOfEveryKindAndCoder)
{
    ProResFrameDecoder decoder;
    for (int i = 0; i < picturesWanted(); ++i) {
        SCOPED_TRACE("picture " + std::to_string(i));
        std::minstd_rand random(unsigned(i) * 6271U + 3);
        const ProResFormat format = randomFormat(random);
        ProResTestFrame judge(format), own(format);
        const QmxBuffer coded = randomFrame(format, random);
        ASSERT_EQ(decode(coded, judge), "");
        ASSERT_FALSE(decoder.read(coded.constData(), coded.size()).isError());
        ASSERT_EQ(decoder.frame().size, format.size);
        ASSERT_EQ(decoder.decode(targetOf(own)), 0);
        ASSERT_LE(greatestDifference(own, judge), 1);
    }
}

TEST(ProResDecode, everyTargetGivesTheSamePictureOfDamagedFramesToo)
{
    const auto targets = hwy::SupportedAndGeneratedTargets();
    for (int i = 0; i < picturesWanted(); ++i) {
        std::minstd_rand random(unsigned(i) * 7919U + 5);
        const ProResFormat format = randomFormat(random);
        QmxBuffer coded = randomFrame(format, random);
        constexpr unsigned headers = 200;
        for (unsigned k = random() % 4; k > 0 && coded.size() > headers; --k)
            coded.data()[headers + random() % (unsigned(coded.size()) - headers)] = uchar(random());
        std::optional<ProResTestFrame> first;
        int damaged = 0;
        for (const int64_t target : targets) {
            hwy::SetSupportedTargetsForTest(target);
            ProResFrameDecoder decoder;
            ProResTestFrame picture(format);
            if (decoder.read(coded.constData(), coded.size()).isError()) break;
            const int now = decoder.decode(targetOf(picture));
            if (!first) damaged = now, first = picture;
            ASSERT_EQ(now, damaged) << hwy::TargetName(target) << ", picture " << i;
            ASSERT_EQ(picture.samples, first->samples) << hwy::TargetName(target) << ", picture " << i;
        }
    }
    hwy::SetSupportedTargetsForTest(0);
}

TEST(ProResDecode, damageStaysInItsSliceAndIsCountedAtEveryScale)
{
    const ProResFormat format = proResTestFormat(203, QSize(512, 64), ProResFormat::Progressive);
    ProResTestFrame frame(format);
    std::minstd_rand random(17);
    paint(frame, ProResTestKind::Texture, random);
    const QmxBuffer coded = ProResFrameCoder(format).encode(frame.planes());
    ProResFrameDecoder decoder;
    int counted = 0;
    for (int round = 0; round < 800; ++round) {
        const Scale scale = std::array{Scale::Full, Scale::Half, Scale::Quarter, Scale::Eighth}[round % 4];
        ProResFormat smaller = format;
        smaller.size = ProResSliceDecoder::sizeAt(format.size, scale);
        ProResTestFrame whole(smaller), broken(smaller);
        ASSERT_FALSE(decoder.read(coded.constData(), coded.size()).isError());
        ASSERT_EQ(decoder.decode(targetOf(whole), scale), 0);
        QmxBuffer bad = QmxBuffer::copyOf(coded.constData(), coded.size());
        ASSERT_FALSE(decoder.read(bad.constData(), bad.size()).isError());
        const ProResCodedSlice hit = decoder.frame().slices[random() % decoder.frame().slices.size()];
        uchar *bytes = bad.data() + (hit.bytes - bad.constData());
        for (int i = 0; i < 3; ++i)
            bytes[random() % unsigned(hit.size)] = uchar(random());
        // No component begins with so many zeros: that is found however little is read of it.
        constexpr int header = 6, zeros = 4;
        const bool isBad = random() % 8 == 0;
        if (isBad) std::fill_n(bytes, header + zeros, uchar(0)), bytes[0] = header << 3;
        const int damaged = decoder.decode(targetOf(broken), scale);
        ASSERT_TRUE(damaged == 1 || (damaged == 0 && !isBad));
        counted += damaged;
        const int unit = ProResInverse::edge(scale);
        for (int plane = 0; plane < 3; ++plane) {
            const int step = plane == 0 ? 2 * unit : unit;
            for (int y = 0; y < smaller.size.height(); ++y)
                for (int x = 0; x < whole.width(plane); ++x) {
                    const int column = x / step - hit.place.column;
                    const bool inside =
                        y / (2 * unit) == hit.place.row && column >= 0 && column < hit.place.macroblocks;
                    const int sample = broken.at(plane, x, y);
                    const bool right = inside ? !damaged || sample == 512 : sample == whole.at(plane, x, y);
                    ASSERT_TRUE(right) << plane << ": " << x << ", " << y;
                }
        }
    }
    EXPECT_GT(counted, 120);
}

TEST(ProResDecode, mutatedFramesAreErrorsOrPicturesAndTouchNothingElse)
{
    constexpr quint16 guard = 0xbeef;
    constexpr size_t guarded = 64;
    constexpr int largest = 4 * 170 * 72;
    constexpr unsigned headers = 220;
    ProResFrameDecoder decoder;
    std::minstd_rand random(29);
    QmxBuffer coded;
    std::vector<uchar> bad; // whose end is watched where memory is
    int pictures = 0;
    for (int i = 0; i < picturesWanted(); ++i) {
        if (i % 16 == 0) coded = randomFrame(randomFormat(random), random);
        const auto size = unsigned(coded.size()), within = random() % 2 ? size : std::min(size, headers);
        bad.assign(coded.constData(), coded.constData() + size);
        for (unsigned k = random() % 8; k < 8; ++k)
            bad[random() % within] = random() % 3 ? uchar(random()) : 0;
        bad.resize(random() % 4 ? size : random() % size);
        bad.shrink_to_fit();
        if (decoder.read(bad.data(), qsizetype(bad.size())).isError()) continue;
        const ProResCodedFrame &frame = decoder.frame();
        if (frame.size.width() * frame.size.height() > largest) continue;
        ++pictures;
        for (const Scale scale : {Scale::Full, Scale::Half, Scale::Quarter, Scale::Eighth}) {
            const QSize raster = decoder.sizeAt(scale);
            std::array<std::vector<quint16>, 4> planes;
            ProResTarget target;
            for (size_t plane = 0; plane < planes.size(); ++plane) {
                const bool half = !frame.fullChroma && (plane == 1 || plane == 2);
                const int width = half ? (raster.width() + 1) / 2 : raster.width();
                planes[plane].assign(size_t(width * raster.height()) + 2 * guarded, guard);
                target.plane[plane] = planes[plane].data() + guarded;
                target.stride[plane] = width;
            }
            ASSERT_LE(decoder.decode(target, scale), int(frame.slices.size()));
            for (const auto &plane : planes)
                for (size_t k = 0; k < guarded; ++k)
                    ASSERT_TRUE(plane[k] == guard && plane[plane.size() - 1 - k] == guard) << "picture " << i;
        }
    }
    EXPECT_GT(pictures, picturesWanted() / 8);
}
