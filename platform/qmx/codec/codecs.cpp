// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxprores.h"
#include "platform/qmx/codec/qmxuncompressed.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxids.h"

#include <array>
#include <cstring>
#include <vector>

namespace {
using Format = QmxPicture::Format;

const std::array codecRows = {
    QmxCodecRow{QmxIds::proRes422, "ProRes 422", "apcn", Format::Yuv422P10, qmxCreateProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{QmxIds::proRes422Hq, "ProRes 422 HQ", "apch", Format::Yuv422P10, qmxCreateProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{QmxIds::proRes422Lt, "ProRes 422 LT", "apcs", Format::Yuv422P10, qmxCreateProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{QmxIds::proRes422Proxy, "ProRes 422 Proxy", "apco", Format::Yuv422P10, qmxCreateProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{QmxIds::proRes4444, "ProRes 4444", "ap4h", Format::Yuv444P10, qmxCreateProResEncoder,
                qmxCreateProResDecoder},
    QmxCodecRow{QmxIds::uncompressed8, "Uncompressed 4:2:2 8 bit", "2vuy", Format::Yuv422P10,
                qmxCreateUncompressed8Encoder, qmxCreateUncompressed8Decoder},
    QmxCodecRow{QmxIds::uncompressed10, "Uncompressed 4:2:2 10 bit", "v210", Format::Yuv422P10,
                qmxCreateUncompressed10Encoder, qmxCreateUncompressed10Decoder},
    QmxCodecRow{QmxIds::uncompressedRgb, "Uncompressed RGB 10 bit", "r210", Format::Rgb444P10,
                qmxCreateUncompressedRgbEncoder, qmxCreateUncompressedRgbDecoder},
};

/// libavcodec's ProRes coder, kept for comparison, in place of ours.
std::vector<QmxCodecRow> libavRows()
{
    std::vector<QmxCodecRow> rows(codecRows.begin(), codecRows.end());
    for (QmxCodecRow &row : rows)
        if (row.createEncoder == qmxCreateProResEncoder) {
            row.createEncoder = qmxCreateLibavProResEncoder;
            row.createDecoder = qmxCreateLibavProResDecoder;
        }
    return rows;
}

const QmxCodecRow *find(std::span<const QmxCodecRow> rows, const QmxId &dataType)
{
    for (const QmxCodecRow &row : rows)
        if (row.dataType == dataType) return &row;
    return nullptr;
}
} // namespace

QmxVideoEncoder::~QmxVideoEncoder() = default;
QmxVideoDecoder::~QmxVideoDecoder() = default;

void QmxVideoEncoder::setHelpers(QmxHelpers *) {}

void QmxVideoDecoder::setHelpers(QmxHelpers *) {}

QmxError QmxVideoDecoder::decodeSmaller(const QmxBuffer &coded, int, QmxPicture &picture)
{
    return decode(coded, picture);
}

int QmxVideoDecoder::damagedParts() const
{
    return 0;
}

std::span<const QmxCodecRow> qmxCodecs()
{
    return codecRows;
}

const QmxCodecRow *qmxCodec(const QmxId &dataType)
{
    return find(codecRows, dataType);
}

const QmxCodecRow *qmxCodecByLibav(const QmxId &dataType)
{
    static const std::vector<QmxCodecRow> rows = libavRows();
    return find(rows, dataType);
}

const QmxCodecRow *qmxCodecByFourcc(const char *fourcc)
{
    for (const QmxCodecRow &row : codecRows)
        if (std::strncmp(row.fourcc, fourcc, 4) == 0) return &row;
    return nullptr;
}
