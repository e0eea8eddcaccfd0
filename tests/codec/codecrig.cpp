// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/codec/codecrig.h"

#include "platform/qmx/codec/qmxlibav.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

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

QmxPicture makeTexture(QmxPicture::Format format, const QSize &size, int phase, quint32 grain)
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

void writeMovie(const QString &path, const QmxCodecRow &row, const QSize &size, const QmxBuffer &coded)
{
    AVFormatContext *context = nullptr;
    const QByteArray name = path.toLocal8Bit();
    ASSERT_GE(avformat_alloc_output_context2(&context, nullptr, "mov", name.constData()), 0);
    AVStream *stream = avformat_new_stream(context, nullptr);
    stream->time_base = {1, 25};
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = row.dataType.value() == 230   ? AV_CODEC_ID_RAWVIDEO
                                 : row.dataType.value() == 231 ? AV_CODEC_ID_V210
                                 : row.dataType.value() == 250 ? AV_CODEC_ID_R210
                                                               : AV_CODEC_ID_PRORES;
    stream->codecpar->codec_tag = MKTAG(row.fourcc[0], row.fourcc[1], row.fourcc[2], row.fourcc[3]);
    stream->codecpar->width = size.width();
    stream->codecpar->height = size.height();
    if (row.dataType.value() == 230) stream->codecpar->format = AV_PIX_FMT_UYVY422;
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

const char *programFormat(QmxPicture::Format format)
{
    return format == QmxPicture::Format::Rgb444P10   ? "gbrp10le"
           : format == QmxPicture::Format::Yuv444P10 ? "yuv444p10le"
                                                     : "yuv422p10le";
}

namespace {
/// The program knows those of RGB as G, B, R.
int programPlane(QmxPicture::Format format, int index)
{
    return format == QmxPicture::Format::Rgb444P10 ? (index + 1) % 3 : index;
}
} // namespace

QmxPicture decodeByProgram(const TestDir &dir, const QString &movie, QmxPicture::Format format,
                           const QSize &size)
{
    const QString raw = dir.file(QStringLiteral("raw"));
    const ProgramResult result =
        runProgram(QStringLiteral("ffmpeg"),
                   {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-i"),
                    movie, QStringLiteral("-f"), QStringLiteral("rawvideo"), QStringLiteral("-pix_fmt"),
                    QLatin1String(programFormat(format)), raw});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, QByteArray());
    const QByteArray bytes = readAll(raw);
    QmxPicture picture = QmxPicture::allocate(format, size);
    qsizetype offset = 0;
    for (int i = 0; i < 3; ++i) {
        const int plane = programPlane(format, i);
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
