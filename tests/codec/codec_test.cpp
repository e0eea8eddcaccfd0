// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxpictureconverter.h"
#include "tests/codec/codecrig.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {
struct Raster
{
    int width, height, scanMode;
    const char *fieldOrder; ///< ffprobe's word
    const char *matrix;
};
constexpr Raster rasters[] = {
    {1920, 1080, QmxImageDesc::Interlaced, "tt", "bt709"},
    {1280, 720, QmxImageDesc::Progressive, "progressive", "bt709"},
    {720, 486, QmxImageDesc::Interlaced, "bb", "smpte170m"},
};

/// Least quality, in dB, that a kind must keep on the texture.
double leastPsnr(int dataType)
{
    switch (dataType) {
    case 205:
        return 38;
    case 204:
        return 40;
    case 230:
        return 56;
    case 231:
    case 250:
        return 99;
    default:
        return 42;
    }
}
} // namespace

TEST(Codec, everyRowDecodesHereAndElsewhere)
{
    const TestDir dir;
    for (const QmxCodecRow &row : qmxCodecs()) {
        for (const Raster &raster : rasters) {
            SCOPED_TRACE(
                QStringLiteral("%1 %2").arg(QLatin1String(row.name)).arg(raster.height).toStdString());
            const QSize size(raster.width, raster.height);
            const QmxImageDesc desc = makeDesc(row, raster.width, raster.height, raster.scanMode);
            const QmxPicture picture = makeTexture(row.pictureFormat, size, 0);
            const auto encoder = row.createEncoder(desc);
            const auto decoder = row.createDecoder(desc);
            QmxBuffer coded;
            QmxPicture here;
            ASSERT_EQ(encoder->encode(picture, coded), QmxError());
            ASSERT_EQ(decoder->decode(coded, here), QmxError());
            EXPECT_EQ(here.format(), row.pictureFormat);
            EXPECT_GT(psnr(picture, here), leastPsnr(row.dataType.value()));

            const QString movie = dir.file(QStringLiteral("a.mov"));
            writeMovie(movie, row, size, coded);
            const QmxPicture there = decodeByProgram(dir, movie, row.pictureFormat, size);
            ASSERT_TRUE(there.isValid());
            // Within 1 of each other by their transforms; 4444 is decoded to 12 bits elsewhere, to 10 here.
            const bool coder = row.dataType.value() < 230;
            EXPECT_GT(psnr(here, there), coder ? 60 : 99);
            if (row.dataType.value() >= 230) continue;
            const ProgramResult probe =
                runProgram(QStringLiteral("ffprobe"),
                           {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-show_frames"),
                            QStringLiteral("-show_streams"), movie});
            EXPECT_TRUE(probe.out.contains(QByteArray("color_space=") + raster.matrix))
                << probe.out.constData();
            const bool interlaced = raster.scanMode == QmxImageDesc::Interlaced;
            EXPECT_TRUE(probe.out.contains(interlaced ? "interlaced_frame=1" : "interlaced_frame=0"));
            EXPECT_TRUE(
                probe.out.contains(raster.fieldOrder[0] == 't' ? "top_field_first=1" : "top_field_first=0"));
        }
    }
}

TEST(Codec, frameHeadersTellRateAspectAndColour)
{
    // Codes of SMPTE RDD 36.
    constexpr struct
    {
        int num, den, code;
    } rates[] = {{24000, 1001, 1}, {24, 1, 2}, {25, 1, 3},       {30000, 1001, 4}, {30, 1, 5},
                 {50, 1, 6},       {60, 1, 8}, {60000, 1001, 7}, {12, 1, 0}};
    constexpr struct
    {
        int width, height, aspect, primaries, matrix;
    } headers[] = {{720, 486, 2, 6, 6},   {720, 576, 2, 5, 6},   {1280, 720, 3, 1, 1}, {1920, 1080, 3, 1, 1},
                   {2048, 1080, 1, 1, 1}, {3840, 2160, 3, 1, 1}, {4096, 2160, 1, 1, 1}};
    constexpr qsizetype chroma = 20, aspectAndRate = 21, primaries = 22;
    const auto check = [&](const QmxCodecRow &row, const auto &header, const auto &rate) {
        SCOPED_TRACE(
            QString::asprintf("%s %dx%d %d/%d", row.name, header.width, header.height, rate.num, rate.den)
                .toStdString());
        QmxImageDesc desc = makeDesc(row, header.width, header.height, QmxImageDesc::Progressive);
        desc.setFrameRate(QmxVideoRate(rate.num, rate.den));
        QmxBuffer coded;
        const QmxPicture picture = makeTexture(row.pictureFormat, QSize(header.width, header.height), 3);
        ASSERT_EQ(row.createEncoder(desc)->encode(picture, coded), QmxError());
        const uchar *bytes = coded.constData();
        EXPECT_EQ(bytes[chroma] >> 6, row.dataType.value() == 206 ? 3 : 2);
        EXPECT_EQ(bytes[aspectAndRate], header.aspect << 4 | rate.code);
        EXPECT_EQ(bytes[primaries], header.primaries);
        EXPECT_EQ(bytes[primaries + 1], 1);
        EXPECT_EQ(bytes[primaries + 2], header.matrix);
    };
    for (const int type : {202, 203, 204, 205, 206})
        for (const QmxCodecRow *row : {qmxCodec(QmxId(type)), qmxCodecByLibav(QmxId(type))})
            check(*row, headers[0], rates[3]);
    for (const auto &rate : rates)
        check(*qmxCodec(QmxId(202)), headers[2], rate);
    for (const auto &header : headers)
        check(*qmxCodec(QmxId(202)), header, rates[2]);
}

TEST(Codec, damagedFramesAreErrorsOrPictures)
{
    for (const QmxCodecRow &row : qmxCodecs()) {
        SCOPED_TRACE(row.name);
        const QmxImageDesc desc = makeDesc(row, 320, 240, QmxImageDesc::Progressive);
        const QmxPicture picture = makeTexture(row.pictureFormat, QSize(320, 240), 2);
        QmxBuffer coded;
        ASSERT_EQ(row.createEncoder(desc)->encode(picture, coded), QmxError());
        const auto decoder = row.createDecoder(desc);
        QmxPicture decoded;
        for (qsizetype size : {qsizetype(0), qsizetype(1), qsizetype(20)}) {
            const QmxBuffer cut = QmxBuffer::copyOf(coded.constData(), size);
            EXPECT_TRUE(decoder->decode(cut, decoded).isError()) << size;
        }
        // Half a frame: an error, or its upper half, and of the rest it is said that it is not there.
        const QmxBuffer half = QmxBuffer::copyOf(coded.constData(), coded.size() / 2);
        EXPECT_TRUE(decoder->decode(half, decoded).isError() || decoder->damagedParts() > 0);
        for (quint32 seed = 1; seed <= 40; ++seed) {
            QmxBuffer damaged = QmxBuffer::copyOf(coded.constData(), coded.size());
            quint32 random = seed * 2654435761u;
            for (int i = 0; i < 8; ++i) {
                random = random * 1664525u + 1013904223u;
                damaged.data()[(random >> 8) % quint32(coded.size())] ^= uchar(1u << (random & 7));
            }
            const QmxError error = decoder->decode(damaged, decoded);
            if (!error.isError()) {
                EXPECT_EQ(decoded.format(), row.pictureFormat);
            }
        }
        // Whatever it was fed, the next good frame is good.
        ASSERT_EQ(decoder->decode(coded, decoded), QmxError());
        EXPECT_GT(psnr(picture, decoded), 30);
        QmxBuffer none;
        EXPECT_TRUE(row.createEncoder(desc)->encode(QmxPicture(), none).isError());
    }
}

TEST(Converter, rangeAndFieldsAreKept)
{
    // Full range, 4:2:0, interlaced: the top field is one colour, the bottom field another.
    const QmxLibav::Frame frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUVJ420P;
    frame->width = 720;
    frame->height = 576;
    QmxLibav::setInterlaced(frame.get(), true, true);
    ASSERT_GE(av_frame_get_buffer(frame.get(), 0), 0);
    for (int y = 0; y < 576; ++y)
        std::memset(frame->data[0] + y * frame->linesize[0], y % 2 ? 255 : 0, 720);
    for (int y = 0; y < 288; ++y)
        for (int plane : {1, 2})
            std::memset(frame->data[plane] + y * frame->linesize[plane], y % 2 ? 255 : 1, 360);
    QmxPictureConverter converter;
    const QmxPicture picture = converter.convert(frame.get(), QmxPicture::Format::Yuv422P10, QSize(720, 576));
    ASSERT_TRUE(picture.isValid());
    for (int y = 100; y < 104; ++y) {
        EXPECT_NEAR(picture.row(0, y)[300], y % 2 ? 940 : 64, 2) << y;
        EXPECT_NEAR(picture.row(1, y)[150], y % 2 ? 960 : 66, 4) << y;
    }

    const QmxPicture colours = makeTexture(QmxPicture::Format::Yuv422P10, QSize(1280, 720), 3, 1);
    const QmxPicture rgb = converter.convert(colours, QmxPicture::Format::Rgb444P10);
    ASSERT_TRUE(rgb.isValid());
    EXPECT_GT(psnr(colours, converter.convert(rgb, QmxPicture::Format::Yuv422P10)), 45);
}
