// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxvideocodec.h"
#include "tests/fuzz/fuzz.h"

#include <cstring>

/// Any bytes, decoded as pictures of every codec that a clip may name. The first byte chooses.

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

} // namespace

void Fuzz::writeSeeds(const QString &folder)
{
    int number = 0;
    for (const QmxCodecRow &row : qmxCodecs()) {
        if (!row.createEncoder) continue;
        const auto encoder = row.createEncoder(descOf(row));
        QmxPicture picture = QmxPicture::allocate(row.pictureFormat, QSize(64, 48));
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
    if (decoder->decode(coded, picture).isError()) return 0;
    Fuzz::mustHold(picture.isValid(), "what was decoded is a picture");
    return 0;
}
