// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxprores.h"
#include "platform/qmx/codec/qmxuncompressed.h"
#include "platform/qmx/codec/qmxvideocodec.h"

#include <array>
#include <cstring>

namespace {
using Format = QmxPicture::Format;

const std::array codecRows = {
    QmxCodecRow{202, "ProRes 422", "apcn", Format::Yuv422P10, qmxCreateProResEncoder, qmxCreateProResDecoder},
    QmxCodecRow{203, "ProRes 422 HQ", "apch", Format::Yuv422P10, qmxCreateProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{204, "ProRes 422 LT", "apcs", Format::Yuv422P10, qmxCreateProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{205, "ProRes 422 Proxy", "apco", Format::Yuv422P10, qmxCreateProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{206, "ProRes 4444", "ap4h", Format::Yuv444P10, qmxCreateProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{230, "Uncompressed 4:2:2 8 bit", "2vuy", Format::Yuv422P10, qmxCreateUncompressed8Encoder,
                qmxCreateUncompressed8Decoder},
    QmxCodecRow{231, "Uncompressed 4:2:2 10 bit", "v210", Format::Yuv422P10, qmxCreateUncompressed10Encoder,
                qmxCreateUncompressed10Decoder},
    QmxCodecRow{250, "Uncompressed RGB 10 bit", "r210", Format::Rgb444P10, qmxCreateUncompressedRgbEncoder,
                qmxCreateUncompressedRgbDecoder},
};

/// Coders kept for comparison: another one of the same kind.
constexpr std::array libavRows = {
    QmxCodecRow{202, "ProRes 422", "apcn", Format::Yuv422P10, qmxCreateLibavProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{203, "ProRes 422 HQ", "apch", Format::Yuv422P10, qmxCreateLibavProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{204, "ProRes 422 LT", "apcs", Format::Yuv422P10, qmxCreateLibavProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{205, "ProRes 422 Proxy", "apco", Format::Yuv422P10, qmxCreateLibavProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{206, "ProRes 4444", "ap4h", Format::Yuv444P10, qmxCreateLibavProResEncoder,
                qmxCreateProResDecoder},
};
} // namespace

QmxVideoEncoder::~QmxVideoEncoder() = default;
QmxVideoDecoder::~QmxVideoDecoder() = default;

void QmxVideoEncoder::setHelpers(QmxHelpers *) {}

std::span<const QmxCodecRow> qmxCodecs()
{
    return codecRows;
}

const QmxCodecRow *qmxCodec(const QmxId &dataType)
{
    for (const QmxCodecRow &row : codecRows)
        if (row.dataType == dataType.value()) return &row;
    return nullptr;
}

const QmxCodecRow *qmxCodecByLibav(const QmxId &dataType)
{
    for (const QmxCodecRow &row : libavRows)
        if (row.dataType == dataType.value()) return &row;
    return qmxCodec(dataType);
}

const QmxCodecRow *qmxCodecByFourcc(const char *fourcc)
{
    for (const QmxCodecRow &row : codecRows)
        if (std::strncmp(row.fourcc, fourcc, 4) == 0) return &row;
    return nullptr;
}
