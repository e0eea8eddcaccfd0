// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchpictures.h"
#include "bench/figures.h"
#include "bench/threadcpu.h"

#include "platform/qmx/codec/prores/proresframecoder.h"
#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/codec/qmxprores.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/pictureworkers.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <latch>
#include <thread>

extern "C" {
#include <libavutil/opt.h>
}

namespace {
constexpr QSize raster(1920, 1080);
constexpr int frames = 7;
constexpr int profile422 = 2;
constexpr double sameSize = 1.05;

QmxImageDesc descOf(const BenchFilm &film)
{
    QmxImageDesc desc;
    desc.setSize(raster.width(), raster.height());
    desc.setFrameRate(QmxVideoRate(25));
    desc.setScanMode(film.interlaced ? QmxImageDesc::Interlaced : QmxImageDesc::Progressive);
    desc.setDataType(QmxIds::proRes422);
    return desc;
}

template <size_t count>
double median(std::array<double, count> values)
{
    std::nth_element(values.begin(), values.begin() + count / 2, values.end());
    return values[count / 2];
}

/// What a coder made of a film.
struct Result
{
    double bytes = 0; ///< a frame
    double cpu = 0;   ///< milliseconds a frame, the median
    double psnr = 0;  ///< dB over all samples
    double ssim = 0;  ///< of luma, mean of blocks of 8 by 8
};

double ssimOfBlock(const QmxPicture &a, const QmxPicture &b, int x0, int y0)
{
    constexpr double c1 = 0.01 * 1023 * 0.01 * 1023, c2 = 0.03 * 1023 * 0.03 * 1023, n = 64;
    double sa = 0, sb = 0, saa = 0, sbb = 0, sab = 0;
    for (int y = y0; y < y0 + 8; ++y)
        for (int x = x0; x < x0 + 8; ++x) {
            const double va = a.row(0, y)[x], vb = b.row(0, y)[x];
            sa += va, sb += vb, saa += va * va, sbb += vb * vb, sab += va * vb;
        }
    const double ma = sa / n, mb = sb / n;
    const double variances = saa / n - ma * ma + sbb / n - mb * mb, covariance = sab / n - ma * mb;
    return (2 * ma * mb + c1) * (2 * covariance + c2) / ((ma * ma + mb * mb + c1) * (variances + c2));
}

/// As PSNR is: of what is missing to 1.
double ssimInDecibels(const Result &result)
{
    return -10 * std::log10(std::max(1 - result.ssim, 1e-9));
}

/// Codes the film, with a first frame that does not count, and compares what comes back.
Result measure(const BenchFilm &film, const QList<QmxPicture> &pictures,
               const std::function<QmxBuffer(const QmxPicture &)> &encode)
{
    Result result;
    const auto decoder = qmxCreateProResDecoder(descOf(film));
    double squares = 0, samples = 0, blocks = 0;
    encode(pictures.first());
    std::array<double, frames> cpu{};
    for (qsizetype i = 0; i < frames; ++i) {
        const QmxPicture &picture = pictures[i];
        const double before = threadCpu();
        const QmxBuffer coded = encode(picture);
        cpu[size_t(i)] = threadCpu() - before;
        result.bytes += double(coded.size()) / frames;
        QmxPicture decoded;
        if (decoder->decode(coded, decoded).isError()) return {};
        for (int plane = 0; plane < 3; ++plane)
            for (int y = 0; y < raster.height(); ++y)
                for (int x = 0; x < picture.planeWidth(plane); ++x, ++samples)
                    squares += std::pow(picture.row(plane, y)[x] - decoded.row(plane, y)[x], 2);
        for (int y = 0; y + 8 <= raster.height(); y += 8)
            for (int x = 0; x + 8 <= raster.width(); x += 8, ++blocks)
                result.ssim += ssimOfBlock(picture, decoded, x, y);
    }
    result.cpu = median(cpu);
    result.psnr = 10 * std::log10(1023.0 * 1023.0 * samples / std::max(squares, 1e-9));
    result.ssim /= std::max(1.0, blocks);
    return result;
}

/// libavcodec's coder; quantiser 0: with its search.
Result measureKs(const BenchFilm &film, const QList<QmxPicture> &pictures, int quantiser)
{
    const AVCodec *codec = avcodec_find_encoder_by_name("prores_ks");
    const QmxLibav::CodecContext c(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!c) return {};
    c->width = raster.width();
    c->height = raster.height();
    c->pix_fmt = AV_PIX_FMT_YUV422P10;
    c->time_base = {1, 25};
    c->thread_count = 1;
    if (film.interlaced) {
        c->flags |= AV_CODEC_FLAG_INTERLACED_DCT;
        c->field_order = AV_FIELD_TT;
    }
    if (quantiser) {
        c->flags |= AV_CODEC_FLAG_QSCALE;
        c->global_quality = quantiser * FF_QP2LAMBDA;
    }
    av_opt_set_int(c->priv_data, "profile", profile422, 0);
    if (avcodec_open2(c.get(), codec, nullptr) < 0) return {};
    const QmxLibav::Packet packet(av_packet_alloc());
    return measure(film, pictures, [&](const QmxPicture &picture) {
        const QmxLibav::Frame frame = QmxLibav::wrap(picture);
        QmxLibav::setInterlaced(frame.get(), film.interlaced, true);
        QmxBuffer coded;
        if (avcodec_send_frame(c.get(), frame.get()) >= 0 &&
            avcodec_receive_packet(c.get(), packet.get()) >= 0)
            coded = QmxBuffer::copyOf(packet->data, packet->size);
        av_packet_unref(packet.get());
        return coded;
    });
}

ProResPlanes planesOf(const QmxPicture &picture)
{
    ProResPlanes planes;
    for (int plane = 0; plane < 3; ++plane) {
        planes.plane[size_t(plane)] = picture.row(plane, 0);
        planes.stride[size_t(plane)] = picture.stride(plane) / qsizetype(sizeof(quint16));
    }
    return planes;
}

/// Our coder at about this size; `quantiser` 0: held by its rate control.
Result measureOwn(const BenchFilm &film, const QList<QmxPicture> &pictures, double bytes, int quantiser = 0)
{
    ProResFrameCoder coder(qmxProResFormat(descOf(film)));
    coder.setNominalSize(int(bytes));
    coder.setFixedQuantiser(quantiser);
    return measure(film, pictures,
                   [&](const QmxPicture &picture) { return coder.encode(planesOf(picture)); });
}
/// The same below what the rate control aims at, far below any real rate: with the finest quantiser that
/// does.
Result measureOwnSmall(const BenchFilm &film, const QList<QmxPicture> &pictures, double bytes)
{
    Result result = measureOwn(film, pictures, bytes);
    for (int quantiser = 1; result.bytes > sameSize * bytes && quantiser <= ProRes::coarsestQuantiser;
         ++quantiser)
        result = measureOwn(film, pictures, bytes, quantiser);
    return result;
}

/// Wall time of coding and of decoding one frame, in milliseconds, the median of some: with the help of idle
/// workers, and alone.
QList<Figure> latency(const QString &name, const QSize &size)
{
    constexpr int rounds = 15;
    QmxImageDesc desc = descOf(benchFilms().front());
    desc.setSize(size.width(), size.height());
    const QmxPicture picture = benchPicture(benchFilms().front(), size, 0);
    const ProResPlanes planes = planesOf(picture);
    PictureWorkers workers(std::max(2, int(std::thread::hardware_concurrency())), qmxCodec,
                           QmxEnvironment::current());
    enum { CodedTogether, CodedAlone, DecodedTogether, DecodedAlone, Ways };
    std::array<std::array<double, rounds>, Ways> times{};
    std::latch done(1);
    workers.post([&](CodecContexts &contexts) {
        ProResFrameCoder helped(qmxProResFormat(desc)), lonely(qmxProResFormat(desc));
        const auto helpedDecoder = qmxCreateProResDecoder(desc), lonelyDecoder = qmxCreateProResDecoder(desc);
        helped.setHelpers(contexts.helpers());
        helpedDecoder->setHelpers(contexts.helpers());
        const QmxBuffer coded = lonely.encode(planes);
        const auto wall = [](const auto &work) {
            const auto before = std::chrono::steady_clock::now();
            work();
            return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - before)
                .count();
        };
        for (size_t i = 0; i < rounds; ++i) {
            QmxPicture decoded;
            times[CodedTogether][i] = wall([&] { helped.encode(planes); });
            times[CodedAlone][i] = wall([&] { lonely.encode(planes); });
            times[DecodedTogether][i] = wall([&] { helpedDecoder->decode(coded, decoded); });
            times[DecodedAlone][i] = wall([&] { lonelyDecoder->decode(coded, decoded); });
        }
        done.count_down();
    });
    done.wait();
    const auto figure = [&](const char *rest, int together, int alone) {
        return Figure{
            name + rest, median(times[size_t(together)]), "ms", median(times[size_t(alone)]), "ms alone", {}};
    };
    return {figure("_latency", CodedTogether, CodedAlone),
            figure("_decode_latency", DecodedTogether, DecodedAlone)};
}
} // namespace

QList<Figure> benchProRes(int)
{
    constexpr double mostOfFixed = 1.0 / 3, mostLost = 0.1;
    constexpr int fixedQuantiser = 4;
    QList<Figure> figures;
    for (const BenchFilm &film : benchFilms()) {
        QList<QmxPicture> pictures;
        for (int i = 0; i < frames; ++i)
            pictures.append(benchPicture(film, raster, i));
        const QString name = QStringLiteral("prores_%1_").arg(QLatin1String(film.name));
        const Result fixed = measureKs(film, pictures, fixedQuantiser);
        const Result search = measureKs(film, pictures, 0);
        const Result likeFixed = measureOwnSmall(film, pictures, fixed.bytes);
        const Result likeSearch = measureOwn(film, pictures, search.bytes);
        figures.append(
            {name + "cpu", likeFixed.cpu, "ms", fixed.cpu, "ms prores_ks quantiser 4", mostOfFixed});
        figures.append(
            {name + "size", likeFixed.bytes, "bytes", fixed.bytes, "bytes prores_ks quantiser 4", sameSize});
        figures.append({name + "psnr_lost", fixed.psnr - likeFixed.psnr, "dB", {}, {}, 0.2});
        figures.append({name + "search_cpu", likeSearch.cpu, "ms", search.cpu, "ms prores_ks search", {}});
        figures.append({name + "search_size", likeSearch.bytes, "bytes", search.bytes,
                        "bytes prores_ks search", sameSize});
        figures.append({name + "search_psnr_lost", search.psnr - likeSearch.psnr, "dB", {}, {}, mostLost});
        figures.append({name + "search_ssim_lost",
                        ssimInDecibels(search) - ssimInDecibels(likeSearch),
                        "dB",
                        {},
                        {},
                        mostLost});
    }
    return figures;
}

QList<Figure> benchProResLatency(int)
{
    return latency(QStringLiteral("prores_hd"), raster) + latency(QStringLiteral("prores_uhd"), 2 * raster);
}
