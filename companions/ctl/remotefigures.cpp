// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/remotefigures.h"

#include "platform/product/shmstring.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {
QmxPlaces places()
{
    return *QmxEnvironment::current().places;
}

bool isRunning()
{
    return QmxLockFile(places().remoteLock).holder() != 0;
}

QJsonObject published()
{
    std::string text;
    if (!ShmStringReader(places().remoteFigures.toStdString()).get(text)) return {};
    return QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
}

/// The file names a port.
bool isConfigured()
{
    QFile file(places().remotePorts);
    if (!file.open(QIODevice::ReadOnly)) return false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line.contains('=') && !line.startsWith(';') && !line.startsWith('#')) return true;
    }
    return false;
}
} // namespace

void addRemoteMetrics(QList<Metric> &metrics)
{
    if (!isRunning()) return;
    constexpr double micro = 1e-6;
    const QString time = QStringLiteral("reply_us_");
    QList<Metric> all;
    for (const QJsonValue &one : published()["peers"].toArray()) {
        const QJsonObject peer = one.toObject();
        const QString label = peer["port"].toString() + ' ' + peer["peer"].toString();
        for (auto field = peer.begin(); field != peer.end(); ++field) {
            if (!field.value().isDouble()) continue;
            if (field.key().startsWith(time))
                all.append({"xp_remote_reply_" + field.key().mid(time.size()) + "_seconds",
                            "Time of a reply to this peer: of so many (p50: half), or the longest", false,
                            "peer", label, field.value().toDouble() * micro});
            else
                all.append({"xp_remote_" + field.key() + "_total", "Counted of a peer of xpremote, by kind",
                            true, "peer", label, field.value().toDouble()});
        }
    }
    // Those of one name stand together.
    std::stable_sort(all.begin(), all.end(),
                     [](const Metric &a, const Metric &b) { return a.name < b.name; });
    metrics += all;
}

Finding remoteFinding(Recorder &)
{
    if (!isRunning()) {
        if (!isConfigured()) return {Finding::Good, "no other machine drives this recorder", {}};
        return {Finding::Hint,
                QStringLiteral("not running: the ports of %1 are closed").arg(places().remotePorts),
                "start it: systemctl start xpremote"};
    }
    const QJsonObject all = published();
    const QJsonArray ports = all["ports"].toArray();
    QStringList problems;
    for (const QJsonValue &problem : all["problems"].toArray())
        problems.append(problem.toString());
    for (const QJsonValue &port : ports)
        if (const QString problem = port["problem"].toString(); !problem.isEmpty()) problems.append(problem);
    if (!problems.isEmpty())
        return {Finding::Wrong, problems.join("; "),
                QStringLiteral("correct %1, then: systemctl restart xpremote").arg(places().remotePorts)};
    return {Finding::Good,
            QStringLiteral("%1 port%2 open").arg(ports.size()).arg(ports.size() == 1 ? "" : "s"),
            {}};
}
