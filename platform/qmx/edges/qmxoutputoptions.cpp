// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxoutputoptions.h"

#include "platform/qmx/codec/qmxlibav.h"

#include <QRegularExpression>
#include <QStringList>

#include <array>

extern "C" {
#include <libavutil/opt.h>
}

namespace {
constexpr qint64 lowestVideoRate = 100'000;
constexpr qint64 highestVideoRate = 400'000'000;
constexpr qint64 lowestAudioRate = 32'000;
constexpr qint64 highestAudioRate = 512'000;
constexpr qint64 thousand = 1000;
constexpr int mostChannels = 16;

const std::array codecs = {
    QmxOutputCodecRow{"h264", "H.264", true, AV_CODEC_ID_H264, "libx264", 0.12}, // about 6 Mb/s for 1080p25
    QmxOutputCodecRow{"mpeg2", "MPEG-2", true, AV_CODEC_ID_MPEG2VIDEO, "mpeg2video", 0.24},
    QmxOutputCodecRow{"aac", "AAC", false, AV_CODEC_ID_AAC, "aac", 192'000},
    QmxOutputCodecRow{"mp2", "MPEG-1 layer 2", false, AV_CODEC_ID_MP2, "mp2", 192'000},
};

const QmxOutputCodecRow *codecNamed(const QString &name, bool isVideo, QString *problem)
{
    QStringList known;
    for (const QmxOutputCodecRow &row : codecs) {
        if (row.isVideo != isVideo) continue;
        if (name != QLatin1String(row.name)) {
            known.append(QLatin1String(row.name));
            continue;
        }
        if (qmxFindEncoder(row)) return &row;
        *problem = QStringLiteral("this machine's libavcodec has no coder for %1").arg(name);
        return nullptr;
    }
    *problem = QStringLiteral("\"%1\" is none of %2").arg(name, known.join(QStringLiteral(", ")));
    return nullptr;
}

/// "8M", "800k", "8000000"; 0 and a problem when it is none or outside of what makes sense.
qint64 rateFrom(const QString &text, qint64 lowest, qint64 highest, QString *problem)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,9}(?:\\.\\d{1,3})?)([kM]?)$"));
    const QRegularExpressionMatch match = form.match(text);
    qint64 factor = 1;
    if (match.captured(2) == QLatin1String("k")) factor = thousand;
    if (match.captured(2) == QLatin1String("M")) factor = thousand * thousand;
    const double rate = match.captured(1).toDouble() * double(factor);
    if (match.hasMatch() && rate >= double(lowest) && rate <= double(highest)) return qint64(rate);
    *problem = QStringLiteral("\"%1\" is no bit rate from %2k to %3k, such as \"800k\" or \"8M\"")
                   .arg(text)
                   .arg(lowest / thousand)
                   .arg(highest / thousand);
    return 0;
}

/// 2 and a problem when it is none that goes into tracks of two.
int channelsFrom(const QString &text, QString *problem)
{
    const int channels = text.toInt();
    if (channels >= 2 && channels <= mostChannels && channels % 2 == 0) return channels;
    *problem = QStringLiteral("\"%1\" is no even number from 2 to %2").arg(text).arg(mostChannels);
    return 2;
}

/// Whether libavformat knows a key of this protocol: others would be passed over without a word.
bool isProtocolKey(const QString &scheme, const QString &key)
{
    const AVClass *known = avio_protocol_get_class(scheme.toLatin1().constData());
    return !known || av_opt_find(&known, key.toLatin1().constData(), nullptr, 0, AV_OPT_SEARCH_FAKE_OBJ);
}
} // namespace

std::span<const QmxOutputCodecRow> qmxOutputCodecs()
{
    return codecs;
}

const AVCodec *qmxFindEncoder(const QmxOutputCodecRow &row)
{
    return avcodec_find_encoder_by_name(row.encoder);
}

QmxOutputOptions QmxOutputOptions::parse(const QString &locator)
{
    QmxOutputOptions options;
    const qsizetype question = locator.indexOf(QLatin1Char('?'));
    const qsizetype scheme = locator.indexOf(QLatin1String("://"));
    options.address = locator;
    if (scheme < 0 || question < scheme) return options;
    QStringList left;
    for (const QString &pair : locator.mid(question + 1).split(QLatin1Char('&'), Qt::SkipEmptyParts)) {
        const QString key = pair.section(QLatin1Char('='), 0, 0), value = pair.section(QLatin1Char('='), 1);
        QString problem;
        if (key == QLatin1String("codec"))
            options.video = codecNamed(value, true, &problem);
        else if (key == QLatin1String("audio"))
            options.audio = codecNamed(value, false, &problem);
        else if (key == QLatin1String("bitrate"))
            options.videoRate = rateFrom(value, lowestVideoRate, highestVideoRate, &problem);
        else if (key == QLatin1String("audio_bitrate"))
            options.audioRate = rateFrom(value, lowestAudioRate, highestAudioRate, &problem);
        else if (key == QLatin1String("channels"))
            options.channels = channelsFrom(value, &problem);
        else if (isProtocolKey(locator.left(scheme), key))
            left.append(pair);
        else
            problem =
                QStringLiteral("it has no such key; it has codec, bitrate, audio, audio_bitrate, channels "
                               "and those of libavformat for %1")
                    .arg(locator.left(scheme));
        if (!problem.isEmpty() && options.problem.isEmpty())
            options.problem = QStringLiteral("%1: %2").arg(key, problem);
        options.isListener = options.isListener || pair == QLatin1String("mode=listener");
    }
    options.address = locator.left(question);
    if (!left.isEmpty()) options.address += QLatin1Char('?') + left.join(QLatin1Char('&'));
    return options;
}
