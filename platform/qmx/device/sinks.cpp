// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/device/qmxnullsink.h"
#include "platform/qmx/device/qmxpreviewsink.h"

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

const std::array rows = {
    QmxSinkRow{"preview", "picture and meters in shared memory; \"preview:\"", createPreview},
    QmxSinkRow{"null", "shows nothing; \"null:\"", createNull},
};
} // namespace

std::span<const QmxSinkRow> qmxSinks()
{
    return rows;
}

std::unique_ptr<QmxSink> qmxCreateSink(const QString &locator, const QmxEnvironment &environment)
{
    const QString scheme = locator.section(QLatin1Char(':'), 0, 0);
    for (const QmxSinkRow &row : rows)
        if (scheme == QLatin1String(row.scheme)) return row.create(locator, environment);
    const QString sentence =
        QStringLiteral("Output \"%1\" shows nothing: it names no kind of output").arg(locator);
    qmxLogOutput(2, "sinks", __LINE__, "%s\n", qUtf8Printable(sentence));
    return std::make_unique<QmxNullSink>(sentence);
}
