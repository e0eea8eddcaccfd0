// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/codec/prores/prorestargets.h"

#include "bench/benchpictures.h"
#include "bench/figures.h"
#include "bench/threadcpu.h"

#include "platform/qmx/codec/qmxprores.h"
#include "platform/qmx/core/qmxids.h"

#include <algorithm>
#include <array>
#include <hwy/targets.h>

namespace {
/// Milliseconds of the quickest of some; what else the machine does only adds.
template <class Work>
double quickest(const Work &work)
{
    constexpr int rounds = 7;
    std::array<double, rounds> times{};
    for (double &time : times) {
        const double before = threadCpu();
        work();
        time = threadCpu() - before;
    }
    return *std::ranges::min_element(times);
}
} // namespace

QList<Figure> benchProResTargets(int)
{
    // A vector of half the length, and no shifts that leave the flags alone: no more than that.
    constexpr double mostOfWidest = 3;
    const BenchFilm &film = benchFilms().front();
    QmxImageDesc desc;
    desc.setSize(1920, 1080);
    desc.setFrameRate(QmxVideoRate(25));
    desc.setScanMode(film.interlaced ? QmxImageDesc::Interlaced : QmxImageDesc::Progressive);
    desc.setDataType(QmxIds::proRes422);
    const QmxPicture picture = benchPicture(film, QSize(1920, 1080), 0);
    const auto encoder = qmxCreateProResEncoder(desc);
    const auto decoder = qmxCreateProResDecoder(desc);
    QmxBuffer coded;
    QmxPicture decoded;
    if (encoder->encode(picture, coded).isError()) return {};

    std::array<std::optional<double>, 2> widest;
    QList<Figure> figures;
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        const std::array cpu{quickest([&] { encoder->encode(picture, coded); }),
                             quickest([&] { decoder->decode(coded, decoded); })};
        const QString name = QString::fromLatin1(hwy::TargetName(target)).toLower();
        const bool isVector = target != HWY_SCALAR && target != HWY_EMU128;
        for (size_t i = 0; i < cpu.size(); ++i) {
            Figure figure{QStringLiteral("prores_%1_%2").arg(name, i == 0 ? "code" : "decode"),
                          cpu[i],
                          "ms",
                          widest[i],
                          "ms the widest",
                          {}};
            if (widest[i] && isVector) figure.target = mostOfWidest;
            if (!widest[i]) widest[i] = cpu[i];
            figures.append(figure);
        }
    }
    hwy::SetSupportedTargetsForTest(0);
    return figures;
}
