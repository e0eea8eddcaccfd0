// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/edges/qmxmuxsink.h"
#include "platform/qmx/edges/qmxnullsink.h"
#include "platform/qmx/edges/qmxpreviewsink.h"

#include <QStringList>

#include <array>

namespace {
std::unique_ptr<QmxSink> createPreview(const QString &locator, const QmxEnvironment &environment)
{
    const QString name = locator.section(QLatin1Char(':'), 1);
    return std::make_unique<QmxPreviewSink>(name.isEmpty() ? QmxPreview::defaultName() : name, environment);
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

const std::array rows = {
    QmxSinkRow{"preview", "picture and meters in shared memory; \"preview:\"", createPreview},
    QmxSinkRow{"null", "shows nothing; \"null:\"", createNull},
    QmxSinkRow{"file", "a file, its kind by the ending; \"file:/tmp/out.ts\"", createFile},
    QmxSinkRow{"window", "a window on this machine's desktop; \"window:TITLE\"", createNetwork},
    QmxSinkRow{"udp", "MPEG transport stream; \"udp://HOST:PORT\"", createNetwork},
    QmxSinkRow{"srt", "MPEG transport stream; \"srt://HOST:PORT\"", createNetwork},
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
    qmxLogOutput(2, "sinks", __LINE__, "%s\n", qUtf8Printable(sentence));
    return std::make_unique<QmxNullSink>(sentence);
}
