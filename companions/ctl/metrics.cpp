// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/metrics.h"

#include "companions/ctl/remotefigures.h"

#include <QFileInfo>
#include <QStorageInfo>

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
    QStringList paths{recorder.text(eParam_ActiveMediaPath), recorder.text(eParam_RolloverMediaPath)};
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
