// SPDX-License-Identifier: GPL-3.0-or-later
// Three-dimensional tables, from their file to the picture; an independent program is the judge.
#include "platform/qmx/codec/prores/prorestargets.h"

#include "platform/product/lututils.h"
#include "platform/qmx/codec/qmxcube.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <hwy/targets.h>
#include <random>

namespace {
using Format = QmxPicture::Format;
using Colour = std::array<float, 3>;

/// A file of a table, its values those of `colour` (of red, green, blue from 0 to 1).
template <class Make>
QString writeCube(const TestDir &dir, const char *name, int size, const Make &colour)
{
    QByteArray text = "# made by a test\nLUT_3D_SIZE " + QByteArray::number(size) + "\n";
    const float top = float(size - 1);
    for (int i = 0; i < size * size * size; ++i) {
        const Colour in{float(i % size) / top, float(i / size % size) / top, float(i / size / size) / top};
        for (const float number : colour(in))
            text += QByteArray::number(double(number), 'f', 6) + ' ';
        text += '\n';
    }
    writeAll(dir.file(name), text);
    return dir.file(name);
}

/// As the daemon makes it of a file: 1024 entries and a name.
QmxImageLut read(const QString &path)
{
    constexpr int entries = 1024;
    QmxImageLut lut(QmxId(1100), entries);
    lut.setFilename(path);
    int count = 0;
    std::string error;
    short *const runs = lut.lutData();
    EXPECT_TRUE(kel::utils::LUT_Utils::parse(path.toStdString(), runs, runs + entries, runs + 2 * entries,
                                             entries, &count, error))
        << error;
    EXPECT_EQ(count, entries);
    return lut;
}

QmxPicture noise(Format format, const QSize &size, int lowest, int highest)
{
    std::minstd_rand random(7);
    std::uniform_int_distribution<int> level(lowest, highest);
    QmxPicture picture = QmxPicture::allocate(format, size);
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < size.height(); ++y)
            for (int x = 0; x < picture.planeWidth(plane); ++x)
                picture.row(plane, y)[x] = quint16(level(random));
    return picture;
}

/// Its samples, plane by plane; planes of R, G, B in the order in which other programs have them.
std::vector<quint16> samples(const QmxPicture &picture)
{
    std::vector<quint16> all;
    for (const int plane : {1, 2, 0})
        for (int y = 0; y < picture.height(); ++y)
            all.insert(all.end(), picture.row(plane, y), picture.row(plane, y) + picture.planeWidth(plane));
    return all;
}

int furthest(const std::vector<quint16> &a, const std::vector<quint16> &b)
{
    EXPECT_EQ(a.size(), b.size());
    int most = 0;
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        most = std::max(most, std::abs(a[i] - b[i]));
    return most;
}
} // namespace

TEST(Cubes, areAppliedAsByAnotherProgramOnEveryProcessor)
{
    const TestDir dir;
    std::minstd_rand random(3);
    std::uniform_real_distribution<float> any(0, 1);
    const QString path = writeCube(dir, "wild.cube", 17, [&](const Colour &) {
        return Colour{any(random), any(random), any(random)};
    });
    const QmxPicture picture = noise(Format::Rgb444P10, {362, 40}, 0, 1023);
    const QString raw = dir.file(QStringLiteral("in.raw")), out = dir.file(QStringLiteral("out.raw"));
    const std::vector<quint16> in = samples(picture);
    writeAll(raw, QByteArray(reinterpret_cast<const char *>(in.data()), qsizetype(in.size() * 2)));
    const ProgramResult judge =
        runProgram(QStringLiteral("ffmpeg"),
                   QStringLiteral("-v error -f rawvideo -pix_fmt gbrp10le -s 362x40 -i %1 -vf "
                                  "lut3d=file=%2:interp=tetrahedral -f rawvideo -pix_fmt gbrp10le %3")
                       .arg(raw, path, out)
                       .split(' '));
    ASSERT_EQ(judge.status, 0) << judge.err.constData();
    const QByteArray made = readAll(out);
    const auto *first = reinterpret_cast<const quint16 *>(made.constData());
    const std::vector<quint16> expected(first, first + made.size() / 2);
    const auto cube = QmxCubes::of(read(path));
    ASSERT_TRUE(cube);
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        EXPECT_LE(furthest(samples(cube->applied(picture)), expected), 1) << hwy::TargetName(target);
    }
    hwy::SetSupportedTargetsForTest(0);
}

TEST(Cubes, keepWhatTheyDoNotChangeAndFollowTheirFile)
{
    const TestDir dir;
    const auto same = [](const Colour &in) { return in; };
    const auto inverted = [](const Colour &in) { return Colour{1 - in[0], 1 - in[1], 1 - in[2]}; };
    const QmxImageLut identity = read(writeCube(dir, "look.cube", 33, same));
    const auto cube = QmxCubes::of(identity);
    ASSERT_TRUE(cube);
    for (const Format format : {Format::Yuv422P10, Format::Yuv444P10})
        for (const QSize &size : {QSize(362, 18), QSize(64, 720)}) {
            // Near grey: every such value is a colour.
            const QmxPicture picture = noise(format, size, 450, 570);
            EXPECT_LE(furthest(samples(cube->applied(picture)), samples(picture)), 1);
        }
    // Another content under the same name is another table, and what reads only the greys sees it, too.
    const QmxImageLut negative = read(writeCube(dir, "look.cube", 33, inverted));
    EXPECT_NEAR(negative.lutData()[100], 923, 1);
    const QmxPicture grey = noise(Format::Rgb444P10, {64, 4}, 300, 300);
    EXPECT_NEAR(QmxCubes::of(negative)->applied(grey).row(1, 0)[0], 723, 1);
    EXPECT_EQ(QmxCubes::of(identity), cube);
    QmxImageLut plain = identity;
    plain.lutData()[5] = 7;
    EXPECT_FALSE(QmxCubes::of(plain)) << "a table of its own under the name of another";
}
