// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/codec/qmxprores.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace {
QmxImageDesc makeDesc(const QmxCodecRow &row, int width, int height, int scanMode)
{
    QmxImageDesc desc;
    desc.setSize(width, height);
    desc.setAspectRatio(width, height);
    desc.setFrameRate(QmxVideoRate(30000, 1001));
    desc.setScanMode(scanMode);
    desc.setDataType(QmxId(row.dataType));
    return desc;
}

/// Hills with grain; `phase` makes a picture unlike the others.
QmxPicture makeTexture(QmxPicture::Format format, const QSize &size, int phase, quint32 grain = 16)
{
    QmxPicture picture = QmxPicture::allocate(format, size);
    quint32 random = 12345u + quint32(phase);
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.planeWidth(plane); ++x) {
                random = random * 1664525u + 1013904223u;
                const double hill = std::sin((x + phase) / 31.0) * std::cos(y / 23.0 + plane);
                picture.row(plane, y)[x] = quint16(500 + 180 * hill + (random >> 16) % grain);
            }
    return picture;
}

double psnr(const QmxPicture &a, const QmxPicture &b)
{
    qint64 squares = 0;
    qint64 count = 0;
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < a.height(); ++y)
            for (int x = 0; x < a.planeWidth(plane); ++x, ++count) {
                const int difference = a.row(plane, y)[x] - b.row(plane, y)[x];
                squares += difference * difference;
            }
    return 10 * std::log10(1023.0 * 1023.0 * double(count) / std::max(double(squares), 1e-9));
}

/// One coded frame in a QuickTime file, by libavformat.
void writeMovie(const QString &path, const QmxCodecRow &row, const QSize &size, const QmxBuffer &coded)
{
    AVFormatContext *context = nullptr;
    const QByteArray name = path.toLocal8Bit();
    ASSERT_GE(avformat_alloc_output_context2(&context, nullptr, "mov", name.constData()), 0);
    AVStream *stream = avformat_new_stream(context, nullptr);
    stream->time_base = {1, 25};
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = row.dataType == 230   ? AV_CODEC_ID_RAWVIDEO
                                 : row.dataType == 231 ? AV_CODEC_ID_V210
                                 : row.dataType == 250 ? AV_CODEC_ID_R210
                                                       : AV_CODEC_ID_PRORES;
    stream->codecpar->codec_tag = MKTAG(row.fourcc[0], row.fourcc[1], row.fourcc[2], row.fourcc[3]);
    stream->codecpar->width = size.width();
    stream->codecpar->height = size.height();
    if (row.dataType == 230) stream->codecpar->format = AV_PIX_FMT_UYVY422;
    ASSERT_GE(avio_open(&context->pb, name.constData(), AVIO_FLAG_WRITE), 0);
    ASSERT_GE(avformat_write_header(context, nullptr), 0);
    const QmxLibav::Packet packet(av_packet_alloc());
    ASSERT_GE(av_new_packet(packet.get(), int(coded.size())), 0);
    std::memcpy(packet->data, coded.constData(), size_t(coded.size()));
    packet->flags = AV_PKT_FLAG_KEY;
    packet->pts = packet->dts = 0;
    packet->duration = 1;
    ASSERT_GE(av_interleaved_write_frame(context, packet.get()), 0);
    ASSERT_GE(av_write_trailer(context), 0);
    avio_closep(&context->pb);
    avformat_free_context(context);
}

/// What the ffmpeg program decodes from it.
QmxPicture decodeByProgram(const TestDir &dir, const QString &movie, QmxPicture::Format format,
                           const QSize &size)
{
    const bool isRgb = format == QmxPicture::Format::Rgb444P10;
    const char *pixels = isRgb                                     ? "gbrp10le"
                         : format == QmxPicture::Format::Yuv444P10 ? "yuv444p10le"
                                                                   : "yuv422p10le";
    const QString raw = dir.file(QStringLiteral("raw"));
    const ProgramResult result =
        runProgram(QStringLiteral("ffmpeg"),
                   {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-i"),
                    movie, QStringLiteral("-f"), QStringLiteral("rawvideo"), QStringLiteral("-pix_fmt"),
                    QLatin1String(pixels), raw});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, QByteArray());
    const QByteArray bytes = readAll(raw);
    QmxPicture picture = QmxPicture::allocate(format, size);
    qsizetype offset = 0;
    for (int i = 0; i < 3; ++i) {
        const int plane = isRgb ? (i + 1) % 3 : i; // the program knows them as G, B, R
        for (int y = 0; y < size.height(); ++y) {
            const qsizetype length = picture.planeWidth(plane) * 2;
            if (offset + length > bytes.size()) return {};
            std::memcpy(picture.row(plane, y), bytes.constData() + offset, size_t(length));
            offset += length;
        }
    }
    EXPECT_EQ(offset, bytes.size());
    return picture;
}

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
            EXPECT_GT(psnr(picture, here), leastPsnr(row.dataType));

            const QString movie = dir.file(QStringLiteral("a.mov"));
            writeMovie(movie, row, size, coded);
            const QmxPicture there = decodeByProgram(dir, movie, row.pictureFormat, size);
            ASSERT_TRUE(there.isValid());
            // 4444 is decoded to 12 bits elsewhere, to 10 here.
            EXPECT_GT(psnr(here, there), row.dataType == 206 ? 60 : 99);
            if (row.dataType >= 230) continue;
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

TEST(Codec, dataRateIsHeldNearTheNominalOne)
{
    for (const QmxCodecRow &row : qmxCodecs()) {
        if (row.dataType > 206) continue;
        SCOPED_TRACE(row.name);
        const QmxImageDesc desc = makeDesc(row, 1280, 720, QmxImageDesc::Progressive);
        const auto encoder = row.createEncoder(desc);
        const QSize size(desc.width(), desc.height());
        const int nominal = qmxProResNominalSize(desc.dataType(), size);
        const QmxPicture hard = makeTexture(row.pictureFormat, size, 1, 200);
        qint64 bytes = 0;
        constexpr int settling = 14, counted = 6;
        for (int i = 0; i < settling + counted; ++i) {
            QmxBuffer coded;
            ASSERT_EQ(encoder->encode(hard, coded), QmxError());
            if (i >= settling) bytes += coded.size();
        }
        EXPECT_LT(double(bytes) / counted, nominal * 1.15);
        EXPECT_GT(double(bytes) / counted, nominal * 0.5);
    }
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
        for (qsizetype size : {qsizetype(0), qsizetype(1), qsizetype(20), coded.size() / 2}) {
            const QmxBuffer cut = QmxBuffer::copyOf(coded.constData(), size);
            EXPECT_TRUE(decoder->decode(cut, decoded).isError()) << size;
        }
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
    frame->interlaced_frame = 1;
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
