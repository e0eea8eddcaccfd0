// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/edges/qmxmuxsink.h"
#include "platform/qmx/edges/qmxnullsink.h"
#include "platform/qmx/edges/qmxpreviewsink.h"
#include "platform/qmx/edges/qmxsoundsink.h"

#include <QRegularExpression>
#include <QStringList>

#include <array>

namespace {
std::unique_ptr<QmxSink> createPreview(const QString &locator, const QmxEnvironment &environment)
{
    const QString name = locator.section(QLatin1Char(':'), 1);
    return std::make_unique<QmxPreviewSink>(name.isEmpty() ? environment.places->preview : name, environment);
}

std::unique_ptr<QmxSink> createNull(const QString &, const QmxEnvironment &)
{
    return std::make_unique<QmxNullSink>(QStringLiteral("Null output"));
}

std::unique_ptr<QmxSink> createFile(const QString &locator, const QmxEnvironment &environment)
{
    return std::make_unique<QmxMuxSink>(locator.section(QLatin1Char(':'), 1), environment);
}

/// What is no file: a network address, a window.
std::unique_ptr<QmxSink> createNetwork(const QString &locator, const QmxEnvironment &environment)
{
    return std::make_unique<QmxMuxSink>(locator, environment);
}

std::unique_ptr<QmxSink> createSound(const QString &locator, const QmxEnvironment &environment)
{
    static const QRegularExpression form(QStringLiteral("^alsa:([^?]+)(?:\\?channels=(\\d{1,2}))?$"));
    const QRegularExpressionMatch match = form.match(locator);
    const int channels = match.captured(2).isEmpty() ? 2 : match.captured(2).toInt();
    if (match.hasMatch() && channels >= 1 && channels <= QmxSoundSink::mostChannels)
        return std::make_unique<QmxSoundSink>(match.captured(1), channels, environment);
    const QString sentence =
        QStringLiteral("Output \"%1\" is not heard: write \"alsa:DEVICE\" or \"alsa:DEVICE?channels=N\", "
                       "1 to %2 channels")
            .arg(locator)
            .arg(QmxSoundSink::mostChannels);
    qmxLogText(QmxLogLevel::Warning, "sinks", __LINE__, sentence);
    return std::make_unique<QmxNullSink>(sentence, true);
}

const std::array rows = {
    QmxSinkRow{"preview", "picture and meters in shared memory; \"preview:\"", createPreview},
    QmxSinkRow{"null", "shows nothing; \"null:\"", createNull},
    QmxSinkRow{"file", "a file, its kind by the ending; \"file:/tmp/out.ts\"", createFile},
    QmxSinkRow{"window", "a window on this machine's desktop; \"window:TITLE\"", createNetwork},
    QmxSinkRow{"alsa", "the sound on a sound device; \"alsa:default\", \"alsa:hw:1?channels=8\"",
               createSound},
    QmxSinkRow{"udp",
               "MPEG transport stream; "
               "\"udp://HOST:PORT?codec=h264&bitrate=8M&audio=aac&audio_bitrate=192k&channels=16\"",
               createNetwork},
    QmxSinkRow{"srt",
               "MPEG transport stream, keys as for udp; \"srt://HOST:PORT\", \"srt://:PORT?mode=listener\"",
               createNetwork},
};
} // namespace

std::span<const QmxSinkRow> qmxSinks()
{
    return rows;
}

std::unique_ptr<QmxSink> qmxCreateSink(const QString &locator, const QmxEnvironment &environment)
{
    const QString scheme = locator.section(QLatin1Char(':'), 0, 0);
    QStringList known;
    for (const QmxSinkRow &row : rows) {
        if (scheme == QLatin1String(row.scheme)) return row.create(locator, environment);
        known.append(QLatin1String(row.scheme) + QLatin1Char(':'));
    }
    const QString sentence = QStringLiteral("Output \"%1\" shows nothing: it is none of %2")
                                 .arg(locator, known.join(QStringLiteral(", ")));
    qmxLogText(QmxLogLevel::Warning, "sinks", __LINE__, sentence);
    return std::make_unique<QmxNullSink>(sentence, true);
}

QString qmxSinkProblem(const QString &locator, const QmxEnvironment &environment)
{
    // (The preview's memory belongs to the recorder that runs.)
    if (locator.startsWith(QLatin1String("preview:"))) return {};
    return qmxCreateSink(locator, environment)->problem();
}
