// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxuncompressed.h"

#include "platform/qmx/codec/qmxpictureconverter.h"

#include <QtEndian>

#include <algorithm>
#include <cerrno>

namespace {
constexpr int v210RowAlignment = 128;
constexpr int r210RowAlignment = 256;
constexpr int v210Pixels = 6; ///< in one group of four words
constexpr quint32 sampleMask = 0x3ff;
constexpr quint16 maximumIn8Bits = 254 << 2; ///< 0 and 255 are timing references

/// How one row goes into the file and back.
struct Packing
{
    QmxPicture::Format format;
    qsizetype (*rowBytes)(int width);
    uchar *(*pack)(const QmxPicture &picture, int y, uchar *out); ///< gives the end of what it wrote
    void (*unpack)(QmxPicture &picture, int y, const uchar *in);
};

qsizetype rowBytes8(int width)
{
    return qsizetype((width + 1) / 2) * 4;
}

uchar *pack8(const QmxPicture &picture, int y, uchar *out)
{
    const auto to8 = [](quint16 v) { return uchar(std::clamp<int>((v + 2) >> 2, 1, maximumIn8Bits >> 2)); };
    const quint16 *luma = picture.row(0, y);
    const quint16 *cb = picture.row(1, y);
    const quint16 *cr = picture.row(2, y);
    const int pairs = picture.planeWidth(1);
    for (int i = 0; i < pairs; ++i, out += 4) {
        out[0] = to8(cb[i]);
        out[1] = to8(luma[2 * i]);
        out[2] = to8(cr[i]);
        out[3] = to8(luma[2 * i + 1]);
    }
    return out;
}

void unpack8(QmxPicture &picture, int y, const uchar *in)
{
    quint16 *luma = picture.row(0, y);
    quint16 *cb = picture.row(1, y);
    quint16 *cr = picture.row(2, y);
    const int pairs = picture.planeWidth(1);
    for (int i = 0; i < pairs; ++i, in += 4) {
        cb[i] = quint16(in[0] << 2);
        luma[2 * i] = quint16(in[1] << 2);
        cr[i] = quint16(in[2] << 2);
        luma[2 * i + 1] = quint16(in[3] << 2);
    }
}

qsizetype rowBytes10(int width)
{
    const qsizetype bytes = qsizetype((width + v210Pixels - 1) / v210Pixels) * 16;
    return (bytes + v210RowAlignment - 1) / v210RowAlignment * v210RowAlignment;
}

/// The twelve samples of a group in file order: Cb Y Cr Y ...; `i` is the first of its six pixels. The
/// last group of a row may reach into the next row, so rows are unpacked from top to bottom; below the last
/// row of every plane there is room.
uchar *pack10(const QmxPicture &picture, int y, uchar *out)
{
    const quint16 *luma = picture.row(0, y);
    const quint16 *cb = picture.row(1, y);
    const quint16 *cr = picture.row(2, y);
    const auto word = [](quint32 a, quint32 b, quint32 c) {
        return (a & sampleMask) | (b & sampleMask) << 10 | (c & sampleMask) << 20;
    };
    for (int i = 0; i < picture.width(); i += v210Pixels, out += 16) {
        const int c = i / 2;
        qToLittleEndian(word(cb[c], luma[i], cr[c]), out);
        qToLittleEndian(word(luma[i + 1], cb[c + 1], luma[i + 2]), out + 4);
        qToLittleEndian(word(cr[c + 1], luma[i + 3], cb[c + 2]), out + 8);
        qToLittleEndian(word(luma[i + 4], cr[c + 2], luma[i + 5]), out + 12);
    }
    return out;
}

void unpack10(QmxPicture &picture, int y, const uchar *in)
{
    quint16 *luma = picture.row(0, y);
    quint16 *cb = picture.row(1, y);
    quint16 *cr = picture.row(2, y);
    const auto sample = [](quint32 word, int i) { return quint16(word >> (10 * i) & sampleMask); };
    for (int i = 0; i < picture.width(); i += v210Pixels, in += 16) {
        const int c = i / 2;
        const auto w0 = qFromLittleEndian<quint32>(in), w1 = qFromLittleEndian<quint32>(in + 4);
        const auto w2 = qFromLittleEndian<quint32>(in + 8), w3 = qFromLittleEndian<quint32>(in + 12);
        cb[c] = sample(w0, 0), luma[i] = sample(w0, 1), cr[c] = sample(w0, 2);
        luma[i + 1] = sample(w1, 0), cb[c + 1] = sample(w1, 1), luma[i + 2] = sample(w1, 2);
        cr[c + 1] = sample(w2, 0), luma[i + 3] = sample(w2, 1), cb[c + 2] = sample(w2, 2);
        luma[i + 4] = sample(w3, 0), cr[c + 2] = sample(w3, 1), luma[i + 5] = sample(w3, 2);
    }
}

qsizetype rowBytesRgb(int width)
{
    return (qsizetype(width) * 4 + r210RowAlignment - 1) / r210RowAlignment * r210RowAlignment;
}

uchar *packRgb(const QmxPicture &picture, int y, uchar *out)
{
    const quint16 *red = picture.row(0, y);
    const quint16 *green = picture.row(1, y);
    const quint16 *blue = picture.row(2, y);
    for (int x = 0; x < picture.width(); ++x, out += 4)
        qToBigEndian((red[x] & sampleMask) << 20 | (green[x] & sampleMask) << 10 | (blue[x] & sampleMask),
                     out);
    return out;
}

void unpackRgb(QmxPicture &picture, int y, const uchar *in)
{
    quint16 *planes[] = {picture.row(0, y), picture.row(1, y), picture.row(2, y)};
    for (int x = 0; x < picture.width(); ++x, in += 4) {
        const auto word = qFromBigEndian<quint32>(in);
        for (int plane = 0; plane < 3; ++plane)
            planes[plane][x] = quint16(word >> (20 - 10 * plane) & sampleMask);
    }
}

constexpr Packing packing8{QmxPicture::Format::Yuv422P10, rowBytes8, pack8, unpack8};
constexpr Packing packing10{QmxPicture::Format::Yuv422P10, rowBytes10, pack10, unpack10};
constexpr Packing packingRgb{QmxPicture::Format::Rgb444P10, rowBytesRgb, packRgb, unpackRgb};

class UncompressedEncoder : public QmxVideoEncoder
{
public:
    UncompressedEncoder(const QmxImageDesc &desc, const Packing &packing)
        : _size(desc.width(), desc.height()), _packing(packing)
    {}

    QmxError encode(const QmxPicture &picture, QmxBuffer &coded) override
    {
        if (!picture.isValid() || picture.size() != _size)
            return QmxError(EINVAL,
                            QStringLiteral("Picture does not have the size of the stream that it is for"));
        QmxPicture input = picture;
        if (picture.format() != _packing.format) input = _converter.convert(picture, _packing.format);
        const qsizetype rowBytes = _packing.rowBytes(_size.width());
        QmxBuffer buffer = QmxBuffer::allocate(rowBytes * _size.height());
        if (!input.isValid() || !buffer.isValid())
            return QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
        for (int y = 0; y < _size.height(); ++y) {
            uchar *row = buffer.data() + y * rowBytes;
            uchar *end = _packing.pack(input, y, row);
            std::fill(end, row + rowBytes, uchar(0));
        }
        coded = buffer;
        return QmxError();
    }

private:
    QSize _size;
    const Packing &_packing;
    QmxPictureConverter _converter;
};

class UncompressedDecoder : public QmxVideoDecoder
{
public:
    UncompressedDecoder(const QmxImageDesc &desc, const Packing &packing)
        : _size(desc.width(), desc.height()), _packing(packing)
    {}

    QmxError decode(const QmxBuffer &coded, QmxPicture &picture) override
    {
        const qsizetype rowBytes = _packing.rowBytes(_size.width());
        if (coded.size() < rowBytes * _size.height())
            return QmxError(EBADMSG, QStringLiteral("Frame has %1 bytes, its format needs %2")
                                         .arg(coded.size())
                                         .arg(rowBytes * _size.height()));
        QmxPicture result = QmxPicture::allocate(_packing.format, _size);
        if (!result.isValid()) return QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
        for (int y = 0; y < _size.height(); ++y)
            _packing.unpack(result, y, coded.constData() + y * rowBytes);
        picture = result;
        return QmxError();
    }

private:
    QSize _size;
    const Packing &_packing;
};
} // namespace

std::unique_ptr<QmxVideoEncoder> qmxCreateUncompressed8Encoder(const QmxImageDesc &desc)
{
    return std::make_unique<UncompressedEncoder>(desc, packing8);
}

std::unique_ptr<QmxVideoDecoder> qmxCreateUncompressed8Decoder(const QmxImageDesc &desc)
{
    return std::make_unique<UncompressedDecoder>(desc, packing8);
}

std::unique_ptr<QmxVideoEncoder> qmxCreateUncompressed10Encoder(const QmxImageDesc &desc)
{
    return std::make_unique<UncompressedEncoder>(desc, packing10);
}

std::unique_ptr<QmxVideoDecoder> qmxCreateUncompressed10Decoder(const QmxImageDesc &desc)
{
    return std::make_unique<UncompressedDecoder>(desc, packing10);
}

std::unique_ptr<QmxVideoEncoder> qmxCreateUncompressedRgbEncoder(const QmxImageDesc &desc)
{
    return std::make_unique<UncompressedEncoder>(desc, packingRgb);
}

std::unique_ptr<QmxVideoDecoder> qmxCreateUncompressedRgbDecoder(const QmxImageDesc &desc)
{
    return std::make_unique<UncompressedDecoder>(desc, packingRgb);
}
