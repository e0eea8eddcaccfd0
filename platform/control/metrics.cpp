// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/metrics.h"

#include "platform/control/remotefigures.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QStorageInfo>

#include <algorithm>

namespace {
Metric told(const QmxCountersReader::Counter &counter)
{
    // A daemon of another version may have counters that are not known here: they keep their own name.
    for (const QmxCounters::Description &row : QmxCounters::descriptions()) {
        if (counter.name != QLatin1String(row.name)) continue;
        return {row.metric, row.help, row.kind == QmxCounters::Description::Counter,
                {},         {},       double(counter.value) * row.scale};
    }
    return {"xp_" + counter.name, counter.unit, false, {}, {}, double(counter.value)};
}

void addMedia(QList<Metric> &metrics, const Recorder &recorder)
{
    QStringList paths{recorder.text(eParam_ActiveMediaPath), recorder.text(eParam_RolloverMediaPath),
                      recorder.text(eParam_MirrorMediaPath)};
    paths.removeDuplicates();
    paths.removeIf(
        [&](const QString &path) { return path.isEmpty() || !QFileInfo::exists(recorder.here(path)); });
    for (const QString &path : paths)
        metrics.append({"xp_medium_free_bytes", "Free space of a medium in use", false, "medium", path,
                        double(QStorageInfo(recorder.here(path)).bytesAvailable())});
    for (const QString &path : paths)
        metrics.append({"xp_medium_size_bytes", "Size of a medium in use", false, "medium", path,
                        double(QStorageInfo(recorder.here(path)).bytesTotal())});
}

/// What xpremote counts of each of its peers.
void addRemoteMetrics(QList<Metric> &metrics)
{
    if (!RemoteFigures::isRunning()) return;
    constexpr double micro = 1e-6;
    const QString time = QStringLiteral("reply_us_");
    QList<Metric> all;
    for (const auto &one : RemoteFigures::published()["peers"].toArray()) {
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

QByteArray escaped(const QString &text, bool isLabel)
{
    QByteArray bytes = text.toUtf8().replace('\\', "\\\\").replace('\n', "\\n");
    return isLabel ? bytes.replace('"', "\\\"") : bytes;
}
} // namespace

QList<Metric> collectMetrics(const Recorder &recorder)
{
    const bool isUp = recorder.daemonIsRunning();
    QList<Metric> metrics{{"xp_up", "Whether the daemon runs", false, {}, {}, isUp ? 1.0 : 0.0}};
    if (isUp) {
        metrics.append({"xp_status", "What the transport does", false, "status", recorder.statusLabel(), 1});
        for (const auto &counter : recorder.counters())
            metrics.append(told(counter));
    }
    for (const Recorder::Alarm &alarm : recorder.alarms())
        metrics.append({"xp_alarm", "Alarms that are up: 1 information, 2 warning, 3 error", false, "alarm",
                        alarm.name,
                        alarm.level == "error"     ? 3.0
                        : alarm.level == "warning" ? 2.0
                                                   : 1.0});
    addMedia(metrics, recorder);
    addRemoteMetrics(metrics);
    return metrics;
}

QByteArray metricsText(const QList<Metric> &metrics)
{
    constexpr int digits = 16;
    QByteArray text;
    QString last;
    for (const Metric &metric : metrics) {
        const QByteArray name = metric.name.toLatin1();
        if (metric.name != last)
            text += "# HELP " + name + ' ' + escaped(metric.help, false) + "\n# TYPE " + name +
                    (metric.isCounter ? " counter\n" : " gauge\n");
        last = metric.name;
        text += name;
        if (!metric.label.isEmpty())
            text += '{' + metric.label.toLatin1() + "=\"" + escaped(metric.labelValue, true) + "\"}";
        text += ' ' + QByteArray::number(metric.value, 'g', digits) + '\n';
    }
    return text;
}
