// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/device/qmxgeneratorsource.h"
#include "platform/qmx/device/qmxnonesource.h"

#include <array>

namespace {
std::unique_ptr<QmxSource> withoutSignal(const QString &sentence)
{
    qmxLogOutput(2, "sources", __LINE__, "%s\n", qUtf8Printable(sentence));
    return std::make_unique<QmxNoneSource>(sentence);
}

std::unique_ptr<QmxSource> createGenerator(const QString &locator, const QmxEnvironment &)
{
    QString problem;
    const QString query = locator.section(QLatin1Char('?'), 1);
    const QmxGeneratorScript script = QmxGeneratorScript::fromText(query, &problem);
    if (!problem.isEmpty())
        return withoutSignal(QStringLiteral("Input \"%1\" has no signal: %2").arg(locator, problem));
    return std::make_unique<QmxGeneratorSource>(script, QStringLiteral("Signal generator"));
}

std::unique_ptr<QmxSource> createNone(const QString &, const QmxEnvironment &)
{
    return std::make_unique<QmxNoneSource>(QStringLiteral("Nothing connected"));
}

const std::array rows = {
    QmxSourceRow{"generator", "test picture and tone; \"generator:?rate=25&size=1920x1080&tc=10:00:00:00\"",
                 createGenerator},
    QmxSourceRow{"none", "nothing connected; \"none:\"", createNone},
};
} // namespace

std::span<const QmxSourceRow> qmxSources()
{
    return rows;
}

std::unique_ptr<QmxSource> qmxCreateSource(const QString &locator, const QmxEnvironment &environment)
{
    const QString scheme = locator.section(QLatin1Char(':'), 0, 0);
    for (const QmxSourceRow &row : rows)
        if (locator.contains(QLatin1Char(':')) && scheme == QLatin1String(row.scheme))
            return row.create(locator, environment);
    return withoutSignal(
        QStringLiteral("Input \"%1\" has no signal: it names no kind of source").arg(locator));
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
