// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/prores/proresrig.h"

#include <QtEndian>

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

namespace {
constexpr int greatest = 1023;
constexpr int macroblock = 16;
std::string warnings;

void keepWarning(void *, int level, const char *format, va_list arguments)
{
    if (level > AV_LOG_WARNING) return;
    std::array<char, 256> text;
    std::vsnprintf(text.data(), text.size(), format, arguments);
    warnings += text.data();
}

void listen()
{
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_callback(keepWarning); });
}

/// Reads big-endian numbers and notes when they end too early.
struct Reader
{
    const uchar *at;
    const uchar *end;
    bool failed = false;

    unsigned take(int bytes)
    {
        unsigned value = 0;
        if (end - at < bytes) failed = true;
        for (int i = 0; i < bytes && !failed; ++i)
            value = value << 8 | *at++;
        return value;
    }
};

std::string parsePicture(Reader &reader, ProResParsedFrame &parsed, int picture)
{
    const uchar *begin = reader.at;
    const unsigned headerSize = reader.take(1) >> 3;
    const unsigned size = reader.take(4);
    const unsigned count = reader.take(2);
    const int longest = 1 << (reader.take(1) >> 4 & 3);
    if (headerSize != 8 || reader.end - begin < qsizetype(size)) return "picture header";
    std::vector<unsigned> sizes(count);
    for (unsigned &s : sizes)
        s = reader.take(2);
    const int columns = (parsed.width + macroblock - 1) / macroblock;
    int column = 0, row = 0, length = longest;
    for (const unsigned s : sizes) {
        while (length > columns - column)
            length /= 2;
        Reader slice{reader.at, reader.at + s};
        const unsigned head = slice.take(1) >> 3;
        if (head != (parsed.alpha ? 8U : 6U)) return "slice header";
        ProResParsedFrame::Slice result{picture, column, row, length, int(slice.take(1)), {}};
        const int told = parsed.alpha ? 3 : 2;
        int rest = int(s) - int(head);
        for (int i = 0; i < told; ++i)
            rest -= result.bytes[size_t(i)] = int(slice.take(2));
        result.bytes[size_t(told)] = rest;
        if (slice.failed || rest < 0 || result.quantiser < 1 || result.quantiser > 224) return "slice";
        parsed.slices.push_back(result);
        reader.at += s;
        column += length;
        if (column == columns) column = 0, length = longest, ++row;
    }
    const int fields = parsed.interlace ? 2 : 1;
    const bool bottom = parsed.interlace && (parsed.interlace == 2) != (picture == 1);
    const int lines = (parsed.height + fields - 1 - bottom) / fields;
    if (column != 0 || row != (lines + macroblock - 1) / macroblock) return "number of slices";
    return reader.at == begin + size ? "" : "size of a picture";
}
} // namespace

ProResTestFrame::ProResTestFrame(const ProResFormat &format)
    : size(format.size), chromaWidth(format.kind->fullChroma ? size.width() : (size.width() + 1) / 2)
{
    for (int plane = 0; plane < (format.alpha ? 4 : 3); ++plane)
        samples[size_t(plane)].resize(size_t(width(plane)) * size_t(size.height()));
}

ProResPlanes ProResTestFrame::planes() const
{
    ProResPlanes planes;
    for (size_t plane = 0; plane < samples.size(); ++plane) {
        planes.plane[plane] = samples[plane].empty() ? nullptr : samples[plane].data();
        planes.stride[plane] = width(int(plane));
    }
    return planes;
}

void paint(ProResTestFrame &frame, ProResTestKind kind, std::minstd_rand &random)
{
    const int base = int(random() % (greatest + 1));
    const int u = int(random() % 8), v = int(random() % 8), amplitude = int(random() % 512);
    for (int plane = 0; plane < 4; ++plane) {
        const int width = frame.width(plane);
        auto &samples = frame.samples[size_t(plane)];
        for (size_t i = 0; i < samples.size(); ++i) {
            const int x = int(i) % width, y = int(i) / width;
            double value = 0;
            switch (kind) {
            case ProResTestKind::Black:
                break;
            case ProResTestKind::White:
                value = greatest;
                break;
            case ProResTestKind::Flat:
                value = base;
                break;
            case ProResTestKind::Noise:
                value = random() % (greatest + 1);
                break;
            case ProResTestKind::Extremes:
                value = random() % 2 ? greatest : 0;
                break;
            case ProResTestKind::Texture:
                value = 500 + 250 * std::sin((x + base) / 9.0) * std::cos(y / 7.0 + plane) + random() % 40;
                break;
            case ProResTestKind::SingleCoefficient:
                value = 512 + amplitude * std::cos((2 * x + 1) * u * M_PI / 16) *
                                  std::cos((2 * y + 1) * v * M_PI / 16);
                break;
            case ProResTestKind::Edges:
                value = (x / 5 + y / 3 + base) % 7 < 2 ? 940 : 64;
                break;
            }
            samples[i] = quint16(std::clamp(std::lround(value), 0L, long(greatest)));
        }
    }
}

std::string parse(const QmxBuffer &frame, ProResParsedFrame &parsed)
{
    Reader reader{frame.constData(), frame.constData() + frame.size()};
    if (reader.take(4) != unsigned(frame.size())) return "size of the frame";
    if (reader.take(4) != 0x69637066) return "identifier"; // "icpf"
    if (reader.take(2) != 148) return "size of the frame header";
    parsed.version = int(reader.take(2));
    reader.take(4); // who coded it
    parsed.width = int(reader.take(2));
    parsed.height = int(reader.take(2));
    const unsigned flags = reader.take(1);
    parsed.chroma = int(flags >> 6);
    parsed.interlace = int(flags >> 2 & 3);
    const unsigned aspectAndRate = reader.take(1);
    parsed.aspect = int(aspectAndRate >> 4);
    parsed.rate = int(aspectAndRate & 15);
    parsed.primaries = int(reader.take(1));
    parsed.transfer = int(reader.take(1));
    parsed.matrix = int(reader.take(1));
    parsed.alpha = int(reader.take(1));
    if ((flags & 0x33) != 0 || reader.take(1) != 0 || reader.take(1) != 3) return "reserved bits, matrices";
    for (int i = 0; i < 2; ++i) {
        ProRes::Matrix weights{};
        for (quint8 &weight : weights)
            weight = quint8(reader.take(1));
        if (i == 1 && weights != parsed.weights) return "matrices differ";
        parsed.weights = weights;
    }
    for (int picture = 0; picture < (parsed.interlace ? 2 : 1); ++picture)
        if (std::string error = parsePicture(reader, parsed, picture); !error.empty()) return error;
    return reader.failed || reader.at != reader.end ? "length" : "";
}

std::string decode(const QmxBuffer &frame, ProResTestFrame &decoded)
{
    listen();
    warnings.clear();
    AVCodecContext *context = avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_PRORES));
    context->codec_tag = MKTAG('a', 'p', 'c', 'h'); // 10 bits for 4444 too
    context->thread_count = 1;
    context->width = decoded.size.width();
    context->height = decoded.size.height();
    AVPacket *packet = av_packet_alloc();
    AVFrame *picture = av_frame_alloc();
    std::string error;
    if (avcodec_open2(context, context->codec, nullptr) < 0 || av_new_packet(packet, int(frame.size())) < 0)
        error = "no decoder";
    if (error.empty()) std::memcpy(packet->data, frame.constData(), size_t(frame.size()));
    if (error.empty() &&
        (avcodec_send_packet(context, packet) < 0 || avcodec_receive_frame(context, picture) < 0 ||
         QSize(picture->width, picture->height) != decoded.size))
        error = "does not decode";
    for (size_t plane = 0; plane < decoded.samples.size() && error.empty(); ++plane)
        for (int y = 0; y < decoded.size.height() && !decoded.samples[plane].empty(); ++y)
            std::memcpy(&decoded.at(int(plane), 0, y), picture->data[plane] + y * picture->linesize[plane],
                        size_t(decoded.width(int(plane))) * sizeof(quint16));
    av_frame_free(&picture);
    av_packet_free(&packet);
    avcodec_free_context(&context);
    return error + warnings;
}

QmxBuffer encodeElsewhere(const ProResFormat &format, const ProResTestFrame &frame, std::minstd_rand &random)
{
    listen();
    const char *name = std::array{"prores_ks", "prores_aw", "prores"}[random() % 3];
    AVCodecContext *context = avcodec_alloc_context3(avcodec_find_encoder_by_name(name));
    const int profile = format.kind->fullChroma ? 4 + int(random() % 2) : int(random() % 4);
    context->width = format.size.width();
    context->height = format.size.height();
    context->pix_fmt = format.alpha              ? AV_PIX_FMT_YUVA444P10
                       : format.kind->fullChroma ? AV_PIX_FMT_YUV444P10
                                                 : AV_PIX_FMT_YUV422P10;
    context->time_base = {1, 25};
    context->thread_count = 1;
    context->profile = profile;
    if (format.isInterlaced()) context->flags |= AV_CODEC_FLAG_INTERLACED_DCT;
    if (random() % 2) context->flags |= AV_CODEC_FLAG_QSCALE;
    context->global_quality = FF_QP2LAMBDA * (1 + int(random() % 40));
    if (name == std::string("prores_ks")) {
        av_opt_set_int(context->priv_data, "profile", profile, 0);
        av_opt_set_int(context->priv_data, "mbs_per_slice", 1 << random() % 4, 0);
        av_opt_set_int(context->priv_data, "quant_mat", std::array{-1, 0, 2, 3, 4, 6}[random() % 6], 0);
        av_opt_set_int(context->priv_data, "alpha_bits", format.alpha ? 8 << random() % 2 : 0, 0);
    }
    AVFrame *picture = av_frame_alloc();
    picture->format = context->pix_fmt;
    picture->width = format.size.width();
    picture->height = format.size.height();
    picture->quality = context->global_quality;
    const bool topFirst = format.scan == ProResFormat::TopFieldFirst;
#ifdef AV_FRAME_FLAG_INTERLACED
    if (format.isInterlaced()) picture->flags |= AV_FRAME_FLAG_INTERLACED;
    if (topFirst) picture->flags |= AV_FRAME_FLAG_TOP_FIELD_FIRST;
#else
    picture->interlaced_frame = format.isInterlaced();
    picture->top_field_first = topFirst;
#endif
    AVPacket *packet = av_packet_alloc();
    QmxBuffer coded;
    if (avcodec_open2(context, context->codec, nullptr) >= 0 && av_frame_get_buffer(picture, 0) >= 0) {
        for (size_t plane = 0; plane < frame.samples.size() && !frame.samples[plane].empty(); ++plane)
            for (int y = 0; y < format.size.height(); ++y)
                std::memcpy(picture->data[plane] + y * picture->linesize[plane],
                            &frame.samples[plane][size_t(y * frame.width(int(plane)))],
                            size_t(frame.width(int(plane))) * sizeof(quint16));
        if (avcodec_send_frame(context, picture) >= 0 && avcodec_receive_packet(context, packet) >= 0)
            coded = QmxBuffer::copyOf(packet->data, packet->size);
    }
    av_packet_free(&packet);
    av_frame_free(&picture);
    avcodec_free_context(&context);
    return coded;
}

namespace {
/// Greatest root mean square error of the samples of a block: every coefficient is wrong by at most 5/8 of a
/// step (RDD 36: a step is quantiser times weight quarters in 10-bit samples), and rounding adds a little.
double allowedError(const ProRes::Matrix &weights, int quantiser)
{
    // With the coarsest one a picture that is too large even so loses all but its DC coefficients.
    if (quantiser == 224) return greatest;
    const double scale = quantiser <= 128 ? quantiser : 128 + 4 * (quantiser - 128);
    double squares = 0;
    for (const int weight : weights)
        squares += 0.63 * scale * weight / 4 * (0.63 * scale * weight / 4);
    return std::sqrt(squares / 64) + 0.75;
}

std::string verifySlice(const ProResFormat &format, const ProResParsedFrame &parsed,
                        const ProResParsedFrame::Slice &slice, ProResTestFrame &a, ProResTestFrame &b)
{
    const int fields = format.isInterlaced() ? 2 : 1;
    const int first = format.scan == ProResFormat::BottomFieldFirst ? 1 - slice.picture : slice.picture;
    for (int plane = 0; plane < (format.alpha ? 4 : 3); ++plane) {
        const bool half = !format.kind->fullChroma && (plane == 1 || plane == 2);
        const int unit = half ? macroblock / 2 : macroblock;
        const int right = std::min((slice.column + slice.macroblocks) * unit, a.width(plane));
        double squares = 0;
        for (int line = slice.row * macroblock; line < (slice.row + 1) * macroblock; ++line) {
            const int y = line * fields + first;
            for (int x = slice.column * unit; x < right && y < format.size.height(); ++x) {
                // The lowest and highest four values are no samples (RDD 36): they come back as their
                // neighbours.
                const int lowest = plane == 3 ? 0 : 4;
                const int wanted = std::clamp<int>(a.at(plane, x, y), lowest, greatest - lowest);
                const double error = wanted - b.at(plane, x, y);
                squares += error * error;
            }
        }
        const double samples = slice.macroblocks * unit * macroblock;
        const double wrong = std::sqrt(squares / samples);
        const double allowed = plane == 3 ? 0 : allowedError(parsed.weights, slice.quantiser);
        if (wrong > allowed)
            return "plane " + std::to_string(plane) + " of the slice at " + std::to_string(slice.column) +
                   ", " + std::to_string(slice.row) + " with quantiser " + std::to_string(slice.quantiser) +
                   " is wrong by " + std::to_string(wrong) + ", may by " + std::to_string(allowed);
    }
    return {};
}
} // namespace

std::string verify(const ProResFormat &format, const ProResTestFrame &frame, const QmxBuffer &coded)
{
    ProResParsedFrame parsed;
    ProResTestFrame decoded(format);
    if (const std::string error = parse(coded, parsed); !error.empty()) return "parsing: " + error;
    if (const std::string error = decode(coded, decoded); !error.empty()) return "decoding: " + error;
    if (QSize(parsed.width, parsed.height) != format.size || parsed.interlace != format.scan ||
        parsed.chroma != (format.kind->fullChroma ? 3 : 2) || parsed.alpha != (format.alpha ? 2 : 0) ||
        parsed.version != (format.kind->fullChroma ? 1 : 0) || parsed.aspect != format.aspect ||
        parsed.rate != format.rate || parsed.primaries != format.primaries ||
        parsed.transfer != format.transfer || parsed.matrix != format.matrix)
        return "fields of the frame header";
    ProResTestFrame original = frame;
    for (const ProResParsedFrame::Slice &slice : parsed.slices)
        if (std::string error = verifySlice(format, parsed, slice, original, decoded); !error.empty())
            return error;
    return {};
}

ProResFormat proResTestFormat(int dataType, const QSize &size, ProResFormat::Scan scan, bool alpha)
{
    ProResFormat format;
    format.kind = &ProRes::kind(QmxId(dataType));
    format.size = size;
    format.scan = scan;
    format.aspect = 3;
    format.rate = 4;
    format.primaries = format.transfer = format.matrix = 1;
    format.alpha = alpha;
    return format;
}

ProResFormat randomFormat(std::minstd_rand &random)
{
    random.discard(4);
    const int type = 202 + int(random() % 5);
    const auto scan = ProResFormat::Scan(random() % 3);
    // Fields of one height: of a frame with an odd number of lines the decoder wants rows that are not there.
    const int height = 2 + int(random() % 70);
    const QSize size(1 + int(random() % 170), scan == ProResFormat::Progressive ? height : height & ~1);
    return proResTestFormat(type, size, scan, type == 206 && random() % 2);
}

int picturesWanted()
{
    const char *asked = std::getenv("XP_PRORES_PICTURES");
    return asked ? std::atoi(asked) : 400;
}
