// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchpictures.h"
#include "bench/figures.h"
#include "bench/threadcpu.h"

#include "platform/qmx/codec/prores/proresparser.h"
#include "platform/qmx/codec/qmxprores.h"

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <random>

namespace {
constexpr int pictures = 3;
constexpr int rounds = 9;

QmxImageDesc descOf(int dataType, const QSize &size)
{
    QmxImageDesc desc;
    desc.setSize(size.width(), size.height());
    desc.setFrameRate(QmxVideoRate(25));
    desc.setDataType(QmxId(dataType));
    return desc;
}

/// CPU of one frame in milliseconds by each of the ways, in turn, so that a machine that changes its pace
/// changes it for all: the median of the rounds.
template <size_t count>
std::array<double, count> compare(const std::array<std::function<void()>, count> &ways)
{
    std::array<std::array<double, rounds>, count> times{};
    for (const auto &way : ways)
        way();
    for (size_t round = 0; round < rounds; ++round)
        for (size_t i = 0; i < count; ++i) {
            const double before = threadCpu();
            ways[i]();
            times[i][round] = (threadCpu() - before) / pictures;
        }
    std::array<double, count> medians{};
    for (size_t i = 0; i < count; ++i) {
        std::nth_element(times[i].begin(), times[i].begin() + rounds / 2, times[i].end());
        medians[i] = times[i][rounds / 2];
    }
    return medians;
}

QList<Figure> measure(const BenchFilm &film, int dataType, const QSize &size, const QString &name,
                      bool byLibav)
{
    const QmxImageDesc desc = descOf(dataType, size);
    const auto encoder = byLibav ? qmxCreateLibavProResEncoder(desc) : qmxCreateProResEncoder(desc);
    QList<QmxBuffer> coded;
    for (int i = 0; i < pictures; ++i) {
        coded.append(QmxBuffer());
        if (encoder->encode(benchPicture(film, size, i), coded.last()).isError()) return {};
    }
    const auto own = qmxCreateProResDecoder(desc);
    const auto libav = qmxCreateLibavProResDecoder(desc);
    const auto all = [&coded](QmxVideoDecoder &decoder, int divisor) {
        return [&coded, &decoder, divisor] {
            QmxPicture picture;
            for (const QmxBuffer &frame : coded)
                divisor == 1 ? decoder.decode(frame, picture)
                             : decoder.decodeSmaller(frame, divisor, picture);
        };
    };
    const auto cpu = compare<5>({all(*own, 1), all(*libav, 1), all(*own, 2), all(*own, 4), all(*own, 8)});
    constexpr double wholeTarget = 0.6, eighthTarget = 0.1;
    QList<Figure> figures;
    figures.append(
        {name, cpu[0], QStringLiteral("ms a frame"), cpu[1], QStringLiteral("libavcodec"), wholeTarget});
    const QString whole = QStringLiteral("the whole");
    figures.append({name + QStringLiteral("_half"), cpu[2], QStringLiteral("ms a frame"), cpu[0], whole, {}});
    figures.append(
        {name + QStringLiteral("_quarter"), cpu[3], QStringLiteral("ms a frame"), cpu[0], whole, {}});
    figures.append({name + QStringLiteral("_eighth"), cpu[4], QStringLiteral("ms a frame"), cpu[0], whole,
                    eighthTarget});
    return figures;
}
/// A frame some bytes of whose slices are wrong, beside the same one as it was. It may cost a little more:
/// what was flat in a drawn picture is not flat any more, as in a richer one of as many bytes.
Figure measureDamaged(const BenchFilm &film, int dataType, const QSize &size, const QString &name)
{
    const QmxImageDesc desc = descOf(dataType, size);
    QmxBuffer whole;
    if (qmxCreateProResEncoder(desc)->encode(benchPicture(film, size, 0), whole).isError()) return {};
    QmxBuffer broken = QmxBuffer::copyOf(whole.constData(), whole.size());
    ProResCodedFrame frame;
    if (frame.parse(whole.constData(), whole.size()).isError()) return {};
    std::minstd_rand random(1);
    for (const ProResCodedSlice &slice : frame.slices)
        for (int i = 0; i < 3; ++i)
            broken.data()[slice.bytes - whole.constData() + random() % unsigned(slice.size)] =
                uchar(random());
    const auto decoder = qmxCreateProResDecoder(desc);
    const auto of = [&decoder](const QmxBuffer &coded) {
        return [&decoder, &coded] {
            QmxPicture picture;
            for (int i = 0; i < pictures; ++i)
                decoder->decode(coded, picture);
        };
    };
    const auto cpu = compare<2>({of(broken), of(whole)});
    constexpr double most = 1.25;
    return {name, cpu[0], QStringLiteral("ms a frame"), cpu[1], QStringLiteral("the same undamaged"), most};
}
} // namespace

QList<Figure> benchProResDecode(int)
{
    constexpr QSize hd(1920, 1080), uhd(3840, 2160);
    const auto name = [](const BenchFilm &film, const char *rest) {
        return QStringLiteral("prores_decode_%1_%2").arg(QLatin1String(film.name), QLatin1String(rest));
    };
    QList<Figure> figures;
    for (const BenchFilm &film : benchFilms()) {
        if (film.interlaced) continue;
        figures += measure(film, 202, hd, name(film, "422"), false);
        figures += measure(film, 203, hd, name(film, "hq"), false);
        figures += measure(film, 206, hd, name(film, "4444"), false);
        figures.append(measureDamaged(film, 203, hd, name(film, "hq_damaged")));
    }
    figures += measure(benchBars(), 202, hd, name(benchBars(), "422"), false);
    figures += measure(benchBars(), 203, hd, name(benchBars(), "hq"), false);
    figures += measure(benchBars(), 206, hd, name(benchBars(), "4444"), false);
    const BenchFilm &first = benchFilms().front();
    figures += measure(first, 203, hd, name(first, "hq_of_libavcodec"), true);
    figures += measure(first, 203, uhd, name(first, "hq_uhd"), false);
    return figures;
}
