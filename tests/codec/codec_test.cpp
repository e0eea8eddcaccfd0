// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "tests/support/print.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>

namespace {
struct Raster
{
    int width, height, scanMode;
    int fields; ///< as the frame's header has it
};
constexpr qsizetype chromaAndFields = 20; ///< byte of a ProRes frame
constexpr Raster rasters[] = {
    {1920, 1080, QmxImageDesc::Interlaced, 1},
    {1280, 720, QmxImageDesc::Progressive, 0},
    {720, 486, QmxImageDesc::Interlaced, 2},
};

/// Least quality, in dB, that a kind must keep on the texture.
const std::map<int, double> leastPsnr = {{202, 42}, {203, 42}, {204, 40}, {205, 38},
                                         {206, 42}, {230, 56}, {231, 99}, {250, 99}};

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

/// In dB, over all samples of two pictures of one format.
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

/// What libavcodec makes of a coded frame.
QmxPicture decodeElsewhere(const QmxCodecRow &row, const QSize &size, const QmxBuffer &coded)
{
    const quint32 tag = MKTAG(row.fourcc[0], row.fourcc[1], row.fourcc[2], row.fourcc[3]);
    const AVCodecTag *const tags[] = {avformat_get_mov_video_tags(), nullptr};
    const AVCodecID id = av_codec_get_id(tags, tag);
    const AVCodec *codec = avcodec_find_decoder(id);
    const QmxLibav::CodecContext context(avcodec_alloc_context3(codec));
    context->codec_tag = tag;
    context->width = size.width();
    context->height = size.height();
    if (id == AV_CODEC_ID_RAWVIDEO) context->pix_fmt = AV_PIX_FMT_UYVY422;
    const QmxLibav::Packet packet(av_packet_alloc());
    const QmxLibav::Frame frame(av_frame_alloc());
    if (avcodec_open2(context.get(), codec, nullptr) < 0) return {};
    if (av_new_packet(packet.get(), int(coded.size())) < 0) return {};
    std::memcpy(packet->data, coded.constData(), size_t(coded.size()));
    if (avcodec_send_packet(context.get(), packet.get()) < 0) return {};
    if (avcodec_receive_frame(context.get(), frame.get()) < 0) return {};

    const bool isRgb = row.pictureFormat == QmxPicture::Format::Rgb444P10;
    const AVPixelFormat wanted = isRgb                                                ? AV_PIX_FMT_GBRP10
                                 : row.pictureFormat == QmxPicture::Format::Yuv444P10 ? AV_PIX_FMT_YUV444P10
                                                                                      : AV_PIX_FMT_YUV422P10;
    const QmxLibav::Scaler scaler(sws_getContext(size.width(), size.height(), AVPixelFormat(frame->format),
                                                 size.width(), size.height(), wanted, SWS_BICUBIC, nullptr,
                                                 nullptr, nullptr));
    QmxPicture picture = QmxPicture::allocate(row.pictureFormat, size);
    uint8_t *planes[3];
    int strides[3];
    for (int i = 0; i < 3; ++i) {
        const int plane = isRgb ? (i + 1) % 3 : i; // those of RGB are G, B, R there
        planes[i] = reinterpret_cast<uint8_t *>(picture.row(plane, 0));
        strides[i] = picture.stride(plane);
    }
    sws_scale(scaler.get(), frame->data, frame->linesize, 0, size.height(), planes, strides);
    return picture;
}
} // namespace

TEST(Codec, everyRowDecodesHereAndElsewhere)
{
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
            EXPECT_GT(psnr(picture, here), leastPsnr.at(row.dataType.value()));

            const QmxPicture there = decodeElsewhere(row, size, coded);
            ASSERT_TRUE(there.isValid());
            // Within 1 of each other by their transforms; 4444 is decoded to 12 bits elsewhere, to 10 here.
            const bool coder = row.dataType.value() < 230;
            EXPECT_GT(psnr(here, there), coder ? 60 : 99);
            if (coder) {
                EXPECT_EQ(coded.constData()[chromaAndFields] >> 2 & 3, raster.fields);
            }
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
    constexpr qsizetype aspectAndRate = 21, primaries = 22;
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
        EXPECT_EQ(bytes[chromaAndFields] >> 6, row.dataType.value() == 206 ? 3 : 2);
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
