// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/edges/qmxfilesource.h"
#include "platform/qmx/edges/qmxgeneratorsource.h"
#include "platform/qmx/edges/qmxlivesource.h"
#include "platform/qmx/edges/qmxnonesource.h"

#include <QRegularExpression>
#include <QStringList>

#include <array>

namespace {
std::unique_ptr<QmxSource> withoutSignal(const QString &locator, const QString &why)
{
    const QString sentence = QStringLiteral("Input \"%1\" has no signal: %2").arg(locator, why);
    qmxLogOutput(2, "sources", __LINE__, "%s\n", qUtf8Printable(sentence));
    return std::make_unique<QmxNoneSource>(sentence);
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

std::unique_ptr<QmxSource> createLive(const QString &locator, const QmxEnvironment &environment)
{
    static const QRegularExpression audio(QStringLiteral("[?&]audio=([^&]*)"));
    const QRegularExpressionMatch match = audio.match(locator);
    if (!match.hasMatch()) return std::make_unique<QmxLiveSource>(locator, QString(), environment);
    const QLatin1String card("alsa:");
    const QString device = match.captured(1);
    if (!device.startsWith(card) || device.size() == card.size())
        return withoutSignal(locator,
                             QStringLiteral("write its sound as \"audio=alsa:DEVICE\", such as alsa:hw:1"));
    // What is left may still have keys: the first of them stands behind the "?".
    QString address = locator;
    const bool isFirst = match.captured().startsWith(QLatin1Char('?'));
    address.remove(match.capturedStart(), match.capturedLength());
    if (isFirst && match.capturedStart() < address.size()) address[match.capturedStart()] = QLatin1Char('?');
    return std::make_unique<QmxLiveSource>(address, device.mid(card.size()), environment);
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

std::unique_ptr<QmxSource> qmxCreateSource(const QString &locator, const QmxEnvironment &environment)
{
    static const QRegularExpression address(QStringLiteral("^[a-z][a-z0-9+.]*://."));
    const bool isAddress = address.match(locator).hasMatch();
    QStringList known;
    for (const QmxSourceRow &row : rows) {
        const QString start = QLatin1String(row.scheme) + QLatin1Char(':');
        if (row.scheme[0] ? locator.startsWith(start) : isAddress) return row.create(locator, environment);
        if (row.scheme[0]) known.append(start);
    }
    return withoutSignal(locator,
                         QStringLiteral("it is neither an address such as \"srt://host:9000\" nor one of %1")
                             .arg(known.join(QStringLiteral(", "))));
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
