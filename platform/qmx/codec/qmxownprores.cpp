// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/proresframecoder.h"
#include "platform/qmx/codec/prores/proresframedecoder.h"
#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/codec/qmxprores.h"

#include <array>
#include <cerrno>

namespace {
/// Up to here a frame is coded in a part of its time that waking others is not worth.
constexpr int tallestAlone = 1080;

/// Frame rate code of RDD 36; 0 unknown.
int rateCode(const QmxVideoRate &rate)
{
    static const std::array<QmxVideoRate, 8> codes = {
        QmxVideoRate(24000, 1001), QmxVideoRate(24), QmxVideoRate(25),          QmxVideoRate(30000, 1001),
        QmxVideoRate(30),          QmxVideoRate(50), QmxVideoRate(60000, 1001), QmxVideoRate(60)};
    for (size_t i = 0; i < codes.size(); ++i)
        if (codes[i] == rate) return int(i) + 1;
    return 0;
}

class OwnProResEncoder : public QmxVideoEncoder
{
public:
    explicit OwnProResEncoder(const QmxImageDesc &desc)
        : _coder(qmxProResFormat(desc)),
          _format(_coder.format().kind->fullChroma ? QmxPicture::Format::Yuv444P10
                                                   : QmxPicture::Format::Yuv422P10)
    {}

    void setHelpers(QmxHelpers *helpers) override
    {
        if (_coder.format().size.height() > tallestAlone) _coder.setHelpers(helpers);
    }

    QmxError encode(const QmxPicture &picture, QmxBuffer &coded) override
    {
        if (!picture.isValid() || picture.size() != _coder.format().size)
            return QmxError(EINVAL,
                            QStringLiteral("Picture does not have the size of the stream that it is for"));
        const QmxPicture input = picture.format() == _format ? picture : _converter.convert(picture, _format);
        if (!input.isValid()) return QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
        ProResPlanes planes;
        for (int plane = 0; plane < 3; ++plane) {
            planes.plane[size_t(plane)] = input.row(plane, 0);
            planes.stride[size_t(plane)] = input.stride(plane) / qsizetype(sizeof(quint16));
        }
        QmxBuffer buffer = _coder.encode(planes);
        if (!buffer.isValid()) return QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
        coded = buffer;
        return QmxError();
    }

private:
    ProResFrameCoder _coder;
    QmxPicture::Format _format;
    QmxPictureConverter _converter;
};

class OwnProResDecoder : public QmxVideoDecoder
{
public:
    explicit OwnProResDecoder(const QmxImageDesc &desc)
        : _format(ProRes::kind(desc.dataType()).fullChroma ? QmxPicture::Format::Yuv444P10
                                                           : QmxPicture::Format::Yuv422P10)
    {}

    void setHelpers(QmxHelpers *helpers) override { _decoder.setHelpers(helpers); }

    QmxError decode(const QmxBuffer &coded, QmxPicture &picture) override
    {
        return decodeSmaller(coded, 1, picture);
    }

    QmxError decodeSmaller(const QmxBuffer &coded, int divisor, QmxPicture &picture) override
    {
        using ProResInverse::Scale;
        _damaged = 0;
        if (const QmxError error = _decoder.read(coded.constData(), coded.size()); error.isError())
            return error;
        const Scale scale = divisor >= 8   ? Scale::Eighth
                            : divisor >= 4 ? Scale::Quarter
                            : divisor >= 2 ? Scale::Half
                                           : Scale::Full;
        QmxPicture decoded = QmxPicture::allocate(_decoder.frame().fullChroma ? QmxPicture::Format::Yuv444P10
                                                                              : QmxPicture::Format::Yuv422P10,
                                                  _decoder.sizeAt(scale));
        if (!decoded.isValid()) return QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
        ProResTarget target;
        for (int plane = 0; plane < 3; ++plane) {
            target.plane[size_t(plane)] = decoded.row(plane, 0);
            target.stride[size_t(plane)] = decoded.stride(plane) / qsizetype(sizeof(quint16));
        }
        _damaged = _decoder.decode(target, scale);
        picture = decoded.format() == _format ? decoded : _converter.convert(decoded, _format);
        return picture.isValid() ? QmxError() : QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
    }

    int damagedParts() const override { return _damaged; }

private:
    ProResFrameDecoder _decoder;
    QmxPicture::Format _format;
    QmxPictureConverter _converter;
    int _damaged = 0;
};
} // namespace

std::unique_ptr<QmxVideoDecoder> qmxCreateProResDecoder(const QmxImageDesc &desc)
{
    return std::make_unique<OwnProResDecoder>(desc);
}

ProResFormat qmxProResFormat(const QmxImageDesc &desc)
{
    constexpr int firstHdHeight = 720;
    constexpr int squarePixels = 1, picture4To3 = 2, picture16To9 = 3;
    ProResFormat format;
    format.kind = &ProRes::kind(desc.dataType());
    format.size = QSize(desc.width(), desc.height());
    if (desc.isInterlaced())
        format.scan = QmxLibav::topFieldFirst(format.size) ? ProResFormat::TopFieldFirst
                                                           : ProResFormat::BottomFieldFirst;
    format.aspect = desc.height() < firstHdHeight            ? picture4To3
                    : desc.width() * 9 == desc.height() * 16 ? picture16To9
                                                             : squarePixels;
    format.rate = rateCode(desc.frameRate());
    const QmxLibav::Colour colour = QmxLibav::colour(format.size);
    format.primaries = colour.primaries;
    format.transfer = colour.transfer;
    format.matrix = colour.matrix;
    return format;
}

std::unique_ptr<QmxVideoEncoder> qmxCreateProResEncoder(const QmxImageDesc &desc)
{
    return std::make_unique<OwnProResEncoder>(desc);
}

int qmxProResNominalSize(const QmxId &dataType, const QSize &size)
{
    return ProRes::nominalSize(ProRes::kind(dataType), size);
}
