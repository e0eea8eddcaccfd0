// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/edges/qmxfilesource.h"
#include "platform/qmx/edges/qmxgeneratorsource.h"
#include "platform/qmx/edges/qmxlivesource.h"
#include "platform/qmx/edges/qmxnonesource.h"
#include "platform/qmx/edges/qmxsoundcard.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

extern "C" {
#include <libavformat/avformat.h>
}

#include <array>

namespace {
std::unique_ptr<QmxSource> withoutSignal(const QString &locator, const QString &why)
{
    const QString sentence = QStringLiteral("Input \"%1\" has no signal: %2").arg(locator, why);
    qmxLogText(QmxLogLevel::Warning, "sources", __LINE__, sentence);
    return std::make_unique<QmxNoneSource>(sentence, true);
}

std::unique_ptr<QmxSource> createGenerator(const QString &locator, const QmxEnvironment &)
{
    QString problem;
    const QmxGeneratorScript script =
        QmxGeneratorScript::fromText(locator.section(QLatin1Char('?'), 1), &problem);
    if (!problem.isEmpty()) return withoutSignal(locator, problem);
    return std::make_unique<QmxGeneratorSource>(script, QStringLiteral("Signal generator"));
}

std::unique_ptr<QmxSource> createNone(const QString &, const QmxEnvironment &)
{
    return std::make_unique<QmxNoneSource>(QStringLiteral("Nothing connected"));
}

std::unique_ptr<QmxSource> createFile(const QString &locator, const QmxEnvironment &environment)
{
    static const QRegularExpression form(QStringLiteral("^file:(.+?)(?:\\?loop=([01]))?$"));
    const QRegularExpressionMatch match = form.match(locator);
    if (!match.hasMatch())
        return withoutSignal(locator, QStringLiteral("write \"file:PATH\" or \"file:PATH?loop=1\""));
    return std::make_unique<QmxFileSource>(match.captured(1), match.captured(2) == QLatin1String("1"),
                                           environment);
}

constexpr QLatin1String howSoundIsWritten("write its sound as \"audio=alsa:DEVICE\", such as alsa:hw:1");

/// The key of a live input that names a sound device.
QRegularExpressionMatch soundKey(const QString &locator)
{
    static const QRegularExpression audio(QStringLiteral("[?&]audio=([^&]*)"));
    return audio.match(locator);
}

/// Empty: its value names none.
QString soundDevice(const QRegularExpressionMatch &key)
{
    const QLatin1String card("alsa:");
    return key.captured(1).startsWith(card) ? key.captured(1).mid(card.size()) : QString();
}

std::unique_ptr<QmxSource> createLive(const QString &locator, const QmxEnvironment &environment)
{
    const QRegularExpressionMatch match = soundKey(locator);
    if (!match.hasMatch()) return std::make_unique<QmxLiveSource>(locator, QString(), environment);
    const QString device = soundDevice(match);
    if (device.isEmpty()) return withoutSignal(locator, howSoundIsWritten);
    // What is left may still have keys: the first of them stands behind the "?".
    QString address = locator;
    const bool isFirst = match.captured().startsWith(QLatin1Char('?'));
    address.remove(match.capturedStart(), match.capturedLength());
    if (isFirst && match.capturedStart() < address.size()) address[match.capturedStart()] = QLatin1Char('?');
    return std::make_unique<QmxLiveSource>(address, device, environment);
}

const std::array rows = {
    QmxSourceRow{"generator", "test picture and tone; \"generator:?rate=25&size=1920x1080&tc=10:00:00:00\"",
                 createGenerator},
    QmxSourceRow{"file", "a file, once or looped; \"file:PATH?loop=1\"", createFile},
    QmxSourceRow{"none", "nothing connected; \"none:\"", createNone},
    QmxSourceRow{"v4l2",
                 "a capture device, with the sound of a sound device; \"v4l2:/dev/video0?audio=alsa:hw:1\"",
                 createLive},
    QmxSourceRow{"", "a signal from the network; \"srt://HOST:PORT\", \"udp://:PORT\", \"rtp://...\"",
                 createLive},
};
} // namespace

std::span<const QmxSourceRow> qmxSources()
{
    return rows;
}

namespace {
/// Null when no kind of source has such locators; `known` then gets how they begin.
const QmxSourceRow *rowOf(const QString &locator, QStringList &known)
{
    static const QRegularExpression address(QStringLiteral("^[a-z][a-z0-9+.]*://."));
    const bool isAddress = address.match(locator).hasMatch();
    for (const QmxSourceRow &row : rows) {
        const QString start = QLatin1String(row.scheme) + QLatin1Char(':');
        if (row.scheme[0] ? locator.startsWith(start) : isAddress) return &row;
        if (row.scheme[0]) known.append(start);
    }
    return nullptr;
}

QString soundProblem(const QString &locator)
{
    const QRegularExpressionMatch key = soundKey(locator);
    if (!key.hasMatch()) return {};
    const QString device = soundDevice(key);
    if (device.isEmpty()) return howSoundIsWritten;
    const QString missing = QmxSoundCard::missing(device);
    return missing.isEmpty() ? QString() : QStringLiteral("Its sound %1: %2").arg(device, missing);
}

/// Without opening anything: somebody may be using it.
QString liveProblem(const QString &locator)
{
    const QString scheme = locator.section(QLatin1Char(':'), 0, 0);
    if (scheme == QLatin1String("v4l2")) {
        const QString device = locator.section(QLatin1Char(':'), 1).section(QLatin1Char('?'), 0, 0);
        return QFile::exists(device) ? soundProblem(locator) : QStringLiteral("%1 is not there").arg(device);
    }
    const bool isKnown = avio_find_protocol_name(qUtf8Printable(locator)) != nullptr ||
                         av_find_input_format(qUtf8Printable(scheme)) != nullptr;
    return isKnown ? soundProblem(locator)
                   : QStringLiteral("\"%1\" is no kind of address that can be opened").arg(scheme);
}
} // namespace

std::unique_ptr<QmxSource> qmxCreateSource(const QString &locator, const QmxEnvironment &environment)
{
    QStringList known;
    if (const QmxSourceRow *row = rowOf(locator, known)) return row->create(locator, environment);
    return withoutSignal(locator,
                         QStringLiteral("it is neither an address such as \"srt://host:9000\" nor one of %1")
                             .arg(known.join(QStringLiteral(", "))));
}

QString qmxSourceProblem(const QString &locator, const QmxEnvironment &environment)
{
    QStringList known;
    const QmxSourceRow *row = rowOf(locator, known);
    if (row && row->create == createLive) return liveProblem(locator);
    const std::unique_ptr<QmxSource> source = qmxCreateSource(locator, environment);
    constexpr qint64 openWithin = QmxClock::nsPerSecond;
    constexpr qint64 lookEvery = 20 * QmxClock::nsPerMillisecond;
    QmxTick tick{0, environment.clock->now(), QmxVideoRate(25)};
    const qint64 end = tick.deadline + openWithin;
    // (One that opens a file does so on its thread.)
    while (source->problem().isEmpty() && tick.deadline < end) {
        if (source->take(tick).picture.isValid()) return {};
        ++tick.index;
        environment.clock->sleepUntil(tick.deadline + lookEvery);
        tick.deadline = environment.clock->now();
        if (locator.startsWith(QLatin1String("none:"))) break;
    }
    return source->problem();
}

std::unique_ptr<QmxSource> qmxCreateInternalGenerator(const QmxImageDesc &desc, const QmxId &pattern,
                                                      const QmxId &tone, const QmxEnvironment &)
{
    QmxGeneratorScript script;
    script.formats = {{0, desc}};
    script.pattern = pattern;
    script.tone = tone;
    return std::make_unique<QmxGeneratorSource>(script, QStringLiteral("Internal generator"));
}
