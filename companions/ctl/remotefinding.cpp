// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/remotefinding.h"

#include "platform/control/remotefigures.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>

namespace {
QString ports()
{
    return QmxEnvironment::current().places->remotePorts;
}

/// The file names a port.
bool isConfigured()
{
    QFile file(ports());
    if (!file.open(QIODevice::ReadOnly)) return false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line.contains('=') && !line.startsWith(';') && !line.startsWith('#')) return true;
    }
    return false;
}
} // namespace

Finding remoteFinding(Recorder &)
{
    if (!RemoteFigures::isRunning()) {
        if (!isConfigured()) return {Finding::Good, "no other machine drives this recorder", {}};
        return {Finding::Hint, QStringLiteral("not running: the ports of %1 are closed").arg(ports()),
                "start it: systemctl start xpremote"};
    }
    const QJsonObject all = RemoteFigures::published();
    const QJsonArray open = all["ports"].toArray();
    QStringList problems;
    for (const QJsonValue &problem : all["problems"].toArray())
        problems.append(problem.toString());
    for (const QJsonValue &port : open)
        if (const QString problem = port["problem"].toString(); !problem.isEmpty()) problems.append(problem);
    if (!problems.isEmpty())
        return {Finding::Wrong, problems.join("; "),
                QStringLiteral("correct %1, then: systemctl restart xpremote").arg(ports())};
    return {Finding::Good,
            QStringLiteral("%1 port%2 open").arg(open.size()).arg(open.size() == 1 ? "" : "s"),
            {}};
}
