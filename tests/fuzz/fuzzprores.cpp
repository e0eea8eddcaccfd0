// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresframedecoder.h"
#include "platform/qmx/codec/qmxprores.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "tests/fuzz/fuzz.h"

#include <array>
#include <cstring>
#include <vector>

/// Any bytes, decoded as pictures of every codec that a clip may name, whole or smaller. The first byte
/// chooses.

namespace {

QmxImageDesc descOf(const QmxCodecRow &row)
{
    QmxImageDesc desc;
    desc.setSize(64, 48);
    desc.setAspectRatio(4, 3);
    desc.setFrameRate(QmxVideoRate(25));
    desc.setDataType(row.dataType);
    return desc;
}

/// Our ProRes decoder with memory that is watched to the byte, which that of buffers and pictures is not.
void decodeWatched(const unsigned char *data, std::size_t size, ProResInverse::Scale scale)
{
    constexpr int largest = 512 * 512;
    ProResFrameDecoder decoder;
    if (decoder.read(data, qsizetype(size)).isError()) return;
    const QSize raster = decoder.sizeAt(scale);
    if (raster.width() * raster.height() > largest) return;
    std::array<std::vector<quint16>, 4> planes;
    ProResTarget target;
    for (std::size_t plane = 0; plane < planes.size(); ++plane) {
        const bool half = !decoder.frame().fullChroma && (plane == 1 || plane == 2);
        const int width = half ? (raster.width() + 1) / 2 : raster.width();
        planes[plane].resize(std::size_t(width * raster.height()));
        target.plane[plane] = planes[plane].data();
        target.stride[plane] = width;
    }
    decoder.decode(target, scale);
}

} // namespace

void Fuzz::writeSeeds(const QString &folder)
{
    int number = 0;
    for (const QmxCodecRow &row : qmxCodecs()) {
        if (!row.createEncoder) continue;
        const auto encoder = row.createEncoder(descOf(row));
        QmxPicture picture = QmxPicture::allocate(row.pictureFormat, QSize(64, 48));
        for (int plane = 0; plane < 3; ++plane)
            for (int y = 0; y < picture.height(); ++y)
                for (int x = 0; x < picture.planeWidth(plane); ++x)
                    picture.row(plane, y)[x] = quint16(64 + (x * x * 7 + y * 101) % 800);
        QmxBuffer coded;
        if (!encoder || encoder->encode(picture, coded).isError()) continue;
        const QByteArray bytes(reinterpret_cast<const char *>(coded.constData()), coded.size());
        writeSeed(folder, qPrintable(QString::number(number)), char(number) + bytes);
        ++number;
    }
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    if (size < 2) return 0;
    const QmxCodecRow &row = qmxCodecs()[data[0] % qmxCodecs().size()];
    const auto decoder = row.createDecoder ? row.createDecoder(descOf(row)) : nullptr;
    if (!decoder) return 0;
    QmxBuffer coded = QmxBuffer::allocate(qsizetype(size) - 1);
    std::memcpy(coded.data(), data + 1, size - 1);
    QmxPicture picture;
    const int divisor = 1 << (data[0] / qmxCodecs().size()) % 4;
    if (row.createDecoder == qmxCreateProResDecoder)
        decodeWatched(data + 1, size - 1, ProResInverse::Scale(ProRes::blockEdge / divisor));
    if (decoder->decodeSmaller(coded, divisor, picture).isError()) return 0;
    Fuzz::mustHold(picture.isValid(), "what was decoded is a picture");
    return 0;
}
