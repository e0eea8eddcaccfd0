// SPDX-License-Identifier: GPL-3.0-or-later
// Our coders against those of the ffmpeg program: the same pictures, the same size, decoded by the program.
#include "tests/codec/codecrig.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"

#include <gtest/gtest.h>

namespace {
constexpr QSize raster(1280, 720);
constexpr double lossAllowed = 0.3; ///< dB

struct Coded
{
    double bytes = 0;
    double quality = 0; ///< dB
};

/// Our coder, after some frames: its rate control has come to rest.
Coded codeHere(const TestDir &dir, const QmxCodecRow &row, const QmxPicture &picture)
{
    const auto encoder = row.createEncoder(makeDesc(row, raster.width(), raster.height(), 0));
    QmxBuffer coded;
    for (int i = 0; i < 8; ++i)
        EXPECT_FALSE(encoder->encode(picture, coded).isError());
    const QString movie = dir.file(QStringLiteral("here.mov"));
    writeMovie(movie, row, raster, coded);
    return {double(coded.size()), psnr(picture, decodeByProgram(dir, movie, row.pictureFormat, raster))};
}

Coded codeThere(const TestDir &dir, const QmxCodecRow &row, const QmxPicture &picture,
                const QStringList &coding)
{
    const QString raw = dir.file(QStringLiteral("source")), movie = dir.file(QStringLiteral("there.mov"));
    writeAll(raw, rawBytes(picture));
    const ProgramResult made =
        runProgram("ffmpeg", QStringList{"-v", "error", "-y", "-f", "rawvideo", "-s", "1280x720", "-r", "25",
                                         "-pix_fmt", programFormat(row.pictureFormat), "-i", raw} +
                                 coding + QStringList{movie});
    EXPECT_EQ(made.status, 0) << made.err.constData();
    const ProgramResult probe =
        runProgram("ffprobe", {"-v", "error", "-show_entries", "packet=size", "-of", "csv=p=0", movie});
    return {probe.out.trimmed().toDouble(),
            psnr(picture, decodeByProgram(dir, movie, row.pictureFormat, raster))};
}

/// What the program's ProRes coder reaches with at least so many bytes. It takes bits a macroblock as its
/// limit, and stays below it.
Coded proResThere(const TestDir &dir, const QmxCodecRow &row, const QmxPicture &picture, double bytes)
{
    constexpr double macroblocks = 80 * 45, closeEnough = 1.01;
    const QString profile = QString::number(row.dataType.value() == 205   ? 0
                                            : row.dataType.value() == 204 ? 1
                                            : row.dataType.value() == 202 ? 2
                                            : row.dataType.value() == 203 ? 3
                                                                          : 4);
    double asked = bytes;
    for (int tries = 0; tries < 6; ++tries) {
        const Coded result = codeThere(dir, row, picture,
                                       {"-c:v", "prores_ks", "-profile:v", profile, "-alpha_bits", "0",
                                        "-bits_per_mb", QString::number(qRound(asked * 8 / macroblocks))});
        if (result.bytes >= bytes) return result;
        asked *= closeEnough * bytes / result.bytes;
    }
    ADD_FAILURE() << "the program's coder cannot be brought to " << bytes << " bytes";
    return {};
}
} // namespace

TEST(Quality, isThatOfFfmpegAtTheSameSize)
{
    const TestDir dir;
    for (const QmxCodecRow &row : qmxCodecs()) {
        SCOPED_TRACE(row.name);
        const QmxPicture picture = makeTexture(row.pictureFormat, raster, 5, 60);
        const Coded here = codeHere(dir, row, picture);
        const bool isProRes = row.dataType.value() < 230;
        const Coded there =
            isProRes ? proResThere(dir, row, picture, here.bytes)
            : row.dataType.value() == 230
                ? codeThere(dir, row, picture, {"-c:v", "rawvideo", "-pix_fmt", "uyvy422"})
                : codeThere(dir, row, picture, {"-c:v", row.dataType.value() == 231 ? "v210" : "r210"});
        EXPECT_GE(here.quality, there.quality - lossAllowed)
            << here.bytes << " bytes here, " << there.bytes << " there";
        if (!isProRes) {
            EXPECT_EQ(here.bytes, there.bytes);
        }
        std::printf("%-28s %8.0f bytes %6.2f dB, ffmpeg %8.0f bytes %6.2f dB\n", row.name, here.bytes,
                    here.quality, there.bytes, there.quality);
    }
}
