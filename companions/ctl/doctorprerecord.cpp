// SPDX-License-Identifier: GPL-3.0-or-later
// What pre_record costs, before it is spent: memory by what the codec aims at, processor time by coding some
// pictures here.
#include "companions/ctl/doctor.h"

#include "platform/product/nominalrate.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/edges/qmxgeneratorpicture.h"
#include "platform/store/eparam.h"

#include <cmath>
#include <ctime>
#include <thread>

namespace {
constexpr double megabyte = 1e6;

double threadSeconds()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

/// Processor time that a second of pictures takes to code, in processors; nothing when they cannot be coded.
std::optional<double> codingLoad(const QmxImageDesc &desc)
{
    const QmxCodecRow *row = qmxCodec(desc.dataType());
    if (!row) return std::nullopt;
    const auto encoder = row->createEncoder(desc);
    QmxImageDesc drawn = desc;
    const bool isRgb = row->pictureFormat == QmxPicture::Format::Rgb444P10;
    drawn.setDataType(isRgb ? QmxIds::uncompressedRgb : QmxIds::uncompressed10);
    QmxGeneratorPicture generator(drawn, QmxIds::movingPattern);
    constexpr int pictures = 4;
    double used = 0;
    for (int i = 0; i <= pictures; ++i) {
        const QmxPicture picture = generator.render(i);
        QmxBuffer coded;
        const double before = threadSeconds();
        if (!picture.isValid() || encoder->encode(picture, coded).isError()) return std::nullopt;
        if (i > 0) used += threadSeconds() - before; // the first makes tables
    }
    return used / pictures * desc.frameRate().toDouble();
}

QString shown(double bytes)
{
    return bytes < 1e9 ? QStringLiteral("%1 MB").arg(std::ceil(bytes / megabyte))
                       : QStringLiteral("%1 GB").arg(bytes / 1e9, 0, 'f', 1);
}
} // namespace

Finding checkPreRecord(Recorder &recorder)
{
    const int seconds = int(recorder.number(eParam_PreRecord));
    const unsigned codec = recorder.number(eParam_RecordCodec);
    const std::string format =
        GetDescriptor(eParam_RecordFormat)->label(int(recorder.number(eParam_RecordFormat)));
    const std::optional<QmxImageDesc> desc = recordedFormat(codec, format);
    const int channels = recorder.number(eParam_AudioChannels) == 0 ? 2 : 8;
    // Sound waits as samples of four bytes.
    const double second = nominalRate(codec, format, channels) + channels * 48000.0;
    const QString setting = seconds > 0 ? QStringLiteral("%1 s").arg(seconds) : QStringLiteral("off");
    if (!desc || second <= channels * 48000.0)
        return {seconds > 0 ? Finding::Hint : Finding::Good,
                setting + ", cost not known: there is no format to record yet",
                {}};
    const QString codecName = QString::fromStdString(GetDescriptor(eParam_RecordCodec)->label(int(codec)));
    QString cost = seconds > 0 ? QStringLiteral("fills %1").arg(shown(second * seconds))
                               : QStringLiteral("each second would fill %1").arg(shown(second));
    const std::optional<double> load = codingLoad(*desc);
    const int processors = int(std::thread::hardware_concurrency());
    if (load)
        cost += QStringLiteral("; coding all the time %1 about %2 % of one of %3 processors, as a take does")
                    .arg(seconds > 0 ? "takes" : "would take")
                    .arg(std::lround(*load * 100))
                    .arg(processors);
    const QString found =
        QStringLiteral("%1 (%2 %3): %4").arg(setting, QString::fromStdString(format), codecName, cost);
    const double limit = double(recorder.counter("pre_record_limit"));
    if (seconds > 0 && limit > 0 && second * seconds > limit)
        return {Finding::Hint,
                QStringLiteral("%1; only %2 may be, so takes begin about %3 s before their command")
                    .arg(found, shown(limit))
                    .arg(std::floor(limit / second)),
                QStringLiteral("xpctl set pre_record %1, or a codec or format that needs less")
                    .arg(std::floor(limit / second))};
    constexpr double most = 0.8;
    if (seconds > 0 && load && *load > most * processors)
        return {Finding::Hint, found + "; that is more than this machine has to spare",
                "a codec or a format that needs less, or xpctl set pre_record 0"};
    return {Finding::Good, found, {}};
}
