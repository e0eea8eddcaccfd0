// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/remotefinding.h"

#include "platform/control/remotefigures.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QFile>
#include <QFileInfo>
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

/// Terminals that hold bytes back for longer than a controller can wait.
QStringList slowTerminals(const QJsonArray &open)
{
    QStringList slow;
    for (const QJsonValue &port : open) {
        const QString place = port["port"].toString();
        const QString name = QFileInfo(QFileInfo(place).canonicalFilePath()).fileName();
        QFile timer(QStringLiteral("/sys/class/tty/%1/device/latency_timer").arg(name));
        if (!place.startsWith("/dev/") || !timer.open(QIODevice::ReadOnly)) continue;
        if (const int held = timer.readAll().trimmed().toInt(); held > 1)
            slow.append(QStringLiteral("%1 holds bytes back for %2 ms").arg(place).arg(held));
    }
    return slow;
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
        return {
            Finding::Wrong, problems.join("; "),
            QStringLiteral("a terminal is opened by itself when it is there again; else correct %1, then: "
                           "systemctl restart xpremote")
                .arg(ports())};
    if (const QStringList slow = slowTerminals(open); !slow.isEmpty())
        return {Finding::Hint, slow.join("; ") + ": a controller waits for nine",
                "plug the adapter in anew, or: udevadm trigger --subsystem-match=usb-serial --action=change"};
    return {Finding::Good,
            QStringLiteral("%1 port%2 open").arg(open.size()).arg(open.size() == 1 ? "" : "s"),
            {}};
}
