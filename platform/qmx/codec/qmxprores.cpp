// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/qmxprores.h"

#include "platform/qmx/codec/prores/proresheader.h"
#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/core/qmxids.h"

#include <array>
#include <cerrno>
#include <cstring>

extern "C" {
#include <libavutil/opt.h>
}

namespace {
/// Steps by which the data rate is held. ProRes knows finer ones, but these are near enough to each other.
constexpr std::array quantisers = {1, 2, 3, 4, 5, 6, 8, 10, 12, 16, 20, 24, 32, 48, 64};
constexpr int startQuantiser = 2; ///< index: 3, about right for camera pictures at 422
/// A frame above this share of the nominal size makes the next one coarser, below the other one finer.
/// One step changes the size by a fifth to a half, so the band must be wide enough not to swing.
constexpr double coarserAbove = 1.08;
constexpr double finerBelow = 0.62;
constexpr int macroblocksPerSlice = 8;

// Offsets in a coded frame: size 4, "icpf" 4, header size 2, version 2, encoder 4, width 2, height 2, then
constexpr qsizetype flagsOffset = 20;
constexpr qsizetype rateOffset = 21;
constexpr qsizetype colourOffset = 22;
constexpr uchar interlaceMask = 0x0c;
constexpr int interlaceShift = 2;

/// libavcodec's number of a kind.
int profileOf(const QmxId &dataType)
{
    switch (dataType.value()) {
    case QmxIds::proRes422Hq.value():
        return 3;
    case QmxIds::proRes422Lt.value():
        return 1;
    case QmxIds::proRes422Proxy.value():
        return 0;
    case QmxIds::proRes4444.value():
        return 4;
    default:
        return 2;
    }
}

class ProResEncoder : public QmxVideoEncoder
{
public:
    explicit ProResEncoder(const QmxImageDesc &desc);
    QmxError encode(const QmxPicture &picture, QmxBuffer &coded) override;

private:
    QmxLibav::CodecContext createContext(int quantiser) const;
    AVCodecContext *context(size_t index);
    void warmUp();
    void steer(int size);
    void completeHeader(uchar *frame) const;

    QmxImageDesc _desc;
    ProResFormat _header;
    QSize _size;
    QmxPicture::Format _format;
    int _nominal;
    size_t _current = startQuantiser;
    std::array<QmxLibav::CodecContext, quantisers.size()> _contexts;
    QmxLibav::Packet _packet{av_packet_alloc()};
    QmxPictureConverter _converter;
};

ProResEncoder::ProResEncoder(const QmxImageDesc &desc)
    : _desc(desc),
      _header(qmxProResFormat(desc)),
      _size(_header.size),
      _format(_header.kind->fullChroma ? QmxPicture::Format::Yuv444P10 : QmxPicture::Format::Yuv422P10),
      _nominal(ProRes::nominalSize(*_header.kind, _size))
{
    QmxLibav::quietLog();
    for (size_t i = startQuantiser - 1; i <= startQuantiser + 1; ++i)
        context(i);
    warmUp();
}

/// A context's first frame costs two to three times as much as the others: it shall not be a recorded one.
void ProResEncoder::warmUp()
{
    QmxPicture black = QmxPicture::allocate(_format, _size);
    if (!black.isValid()) return;
    black.fillBlack();
    QmxBuffer coded;
    encode(black, coded);
    _current = startQuantiser;
}

QmxLibav::CodecContext ProResEncoder::createContext(int quantiser) const
{
    const AVCodec *codec = avcodec_find_encoder_by_name("prores_ks");
    if (!codec) return {};
    QmxLibav::CodecContext c(avcodec_alloc_context3(codec));
    if (!c) return {};
    c->width = _size.width();
    c->height = _size.height();
    c->pix_fmt = QmxLibav::pixelFormat(_format);
    c->time_base = {1, 25}; // intra only: the coder asks for one but makes nothing of it
    c->thread_count = 1;
    c->flags |= AV_CODEC_FLAG_QSCALE;
    if (_desc.isInterlaced()) c->flags |= AV_CODEC_FLAG_INTERLACED_DCT;
    c->field_order = !_desc.isInterlaced()            ? AV_FIELD_PROGRESSIVE
                     : QmxLibav::topFieldFirst(_size) ? AV_FIELD_TT
                                                      : AV_FIELD_BB;
    c->global_quality = quantiser * FF_QP2LAMBDA;
    const QmxLibav::Colour colour = QmxLibav::colour(_size);
    c->color_primaries = colour.primaries;
    c->color_trc = colour.transfer;
    c->colorspace = colour.matrix;
    av_opt_set_int(c->priv_data, "profile", profileOf(_desc.dataType()), 0);
    av_opt_set_int(c->priv_data, "mbs_per_slice", macroblocksPerSlice, 0);
    av_opt_set_int(c->priv_data, "alpha_bits", 0, 0);
    av_opt_set(c->priv_data, "vendor", ProResHeader::encoderIdentifier, 0);
    if (avcodec_open2(c.get(), codec, nullptr) < 0) return {};
    return c;
}

AVCodecContext *ProResEncoder::context(size_t index)
{
    if (!_contexts[index]) _contexts[index] = createContext(quantisers[index]);
    return _contexts[index].get();
}

void ProResEncoder::steer(int size)
{
    if (size > _nominal * coarserAbove && _current + 1 < quantisers.size())
        ++_current;
    else if (size < _nominal * finerBelow && _current > 0)
        --_current;
}

void ProResEncoder::completeHeader(uchar *frame) const
{
    frame[flagsOffset] = uchar((frame[flagsOffset] & ~interlaceMask) | _header.scan << interlaceShift);
    frame[rateOffset] = uchar(_header.aspect << 4 | _header.rate);
    frame[colourOffset] = uchar(_header.primaries);
    frame[colourOffset + 1] = uchar(_header.transfer);
    frame[colourOffset + 2] = uchar(_header.matrix);
}

QmxError ProResEncoder::encode(const QmxPicture &picture, QmxBuffer &coded)
{
    QmxPicture input = picture;
    if (!picture.isValid() || picture.size() != _size)
        return QmxError(EINVAL,
                        QStringLiteral("Picture does not have the size of the stream that it is for"));
    if (picture.format() != _format) {
        input = _converter.convert(picture, _format);
        if (!input.isValid()) return QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
    }
    AVCodecContext *c = context(_current);
    const QmxLibav::Frame frame = QmxLibav::wrap(input);
    if (!c || !frame || !_packet)
        return QmxError(ENOMEM, QStringLiteral("Cannot make a ProRes coder of %1").arg(_desc.toString()));
    QmxLibav::setInterlaced(frame.get(), _desc.isInterlaced(), QmxLibav::topFieldFirst(_size));
    int result = avcodec_send_frame(c, frame.get());
    if (result >= 0) result = avcodec_receive_packet(c, _packet.get());
    if (result < 0) return QmxLibav::error(QStringLiteral("code a ProRes frame"), result);
    const int size = _packet->size;
    QmxBuffer buffer = QmxBuffer::allocate(size);
    if (buffer.isValid()) std::memcpy(buffer.data(), _packet->data, size_t(size));
    av_packet_unref(_packet.get());
    if (!buffer.isValid()) return QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
    completeHeader(buffer.data());
    steer(size);
    coded = buffer;
    return QmxError();
}

class ProResDecoder : public QmxVideoDecoder
{
public:
    explicit ProResDecoder(const QmxImageDesc &desc);
    QmxError decode(const QmxBuffer &coded, QmxPicture &picture) override;

private:
    QmxPicture::Format _format;
    QmxLibav::CodecContext _context;
    QmxLibav::Packet _packet{av_packet_alloc()};
    QmxLibav::Frame _frame{av_frame_alloc()};
    QmxPictureConverter _converter;
};

ProResDecoder::ProResDecoder(const QmxImageDesc &desc)
    : _format(desc.dataType() == QmxIds::proRes4444 ? QmxPicture::Format::Yuv444P10
                                                    : QmxPicture::Format::Yuv422P10)
{
    QmxLibav::quietLog();
    const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_PRORES);
    if (!codec) return;
    _context.reset(avcodec_alloc_context3(codec));
    if (!_context) return;
    // With the sample entry of 4444 libavcodec would decode to 12 bits, which nothing here works with; the
    // kind itself stands in every frame.
    _context->codec_tag = MKTAG('a', 'p', 'c', 'h');
    _context->thread_count = 1;
    QmxLibav::decodeIntoPool(_context.get());
    if (avcodec_open2(_context.get(), codec, nullptr) < 0) _context.reset();
}

QmxError ProResDecoder::decode(const QmxBuffer &coded, QmxPicture &picture)
{
    if (!_context || !_packet || !_frame)
        return QmxError(ENOSYS, QStringLiteral("This machine's libavcodec has no ProRes decoder"));
    // The decoder may look a little beyond the data; pool memory is larger than that in all but the rarest
    // case, and then the bytes are copied.
    if (coded.capacity() - coded.size() >= AV_INPUT_BUFFER_PADDING_SIZE) {
        auto *held = new QmxBuffer(coded);
        _packet->buf = av_buffer_create(
            held->data(), size_t(held->size()),
            [](void *opaque, uint8_t *) { delete static_cast<QmxBuffer *>(opaque); }, held,
            AV_BUFFER_FLAG_READONLY);
        if (!_packet->buf) {
            delete held;
            return QmxError(ENOMEM);
        }
        _packet->data = _packet->buf->data;
        _packet->size = int(coded.size());
    } else if (const int made = av_new_packet(_packet.get(), int(coded.size())); made < 0) {
        return QmxLibav::error(QStringLiteral("decode a ProRes frame"), made);
    } else {
        std::memcpy(_packet->data, coded.constData(), size_t(coded.size()));
    }
    int result = avcodec_send_packet(_context.get(), _packet.get());
    av_packet_unref(_packet.get());
    if (result >= 0) result = avcodec_receive_frame(_context.get(), _frame.get());
    if (result < 0) return QmxLibav::error(QStringLiteral("decode a ProRes frame"), result);
    picture = QmxLibav::pooledPicture(_frame.get());
    if (!picture.isValid())
        picture = _converter.convert(_frame.get(), _format, QSize(_frame->width, _frame->height));
    else if (picture.format() != _format)
        picture = _converter.convert(picture, _format);
    av_frame_unref(_frame.get());
    return picture.isValid() ? QmxError() : QmxError(ENOMEM, QStringLiteral("Out of picture memory"));
}
} // namespace

std::unique_ptr<QmxVideoEncoder> qmxCreateLibavProResEncoder(const QmxImageDesc &desc)
{
    return std::make_unique<ProResEncoder>(desc);
}

std::unique_ptr<QmxVideoDecoder> qmxCreateLibavProResDecoder(const QmxImageDesc &desc)
{
    return std::make_unique<ProResDecoder>(desc);
}
