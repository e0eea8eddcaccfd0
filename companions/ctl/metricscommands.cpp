// SPDX-License-Identifier: GPL-3.0-or-later
// metrics, and watch --stats: the same figures for a monitoring system and for people.
#include "companions/ctl/commands.h"
#include "companions/ctl/metrics.h"
#include "companions/ctl/metricssocket.h"

#include <QJsonArray>

#include <prometheus/collectable.h>
#include <prometheus/exposer.h>
#include <prometheus/metric_family.h>

#include <mutex>

namespace {
constexpr std::chrono::hours dayLong(24);

std::vector<prometheus::MetricFamily> families(const QList<Metric> &metrics)
{
    std::vector<prometheus::MetricFamily> list;
    for (const Metric &metric : metrics) {
        const std::string name = metric.name.toStdString();
        if (list.empty() || list.back().name != name) {
            list.push_back(
                {name,
                 metric.help.toStdString(),
                 metric.isCounter ? prometheus::MetricType::Counter : prometheus::MetricType::Gauge,
                 {}});
        }
        prometheus::ClientMetric &client = list.back().metric.emplace_back();
        (metric.isCounter ? client.counter.value : client.gauge.value) = metric.value;
        if (!metric.label.isEmpty())
            client.label.push_back({metric.label.toStdString(), metric.labelValue.toStdString()});
    }
    return list;
}

/// Asked on the server's threads, one after the other.
class RecorderFigures : public prometheus::Collectable
{
public:
    explicit RecorderFigures(const Recorder &recorder) : _recorder(recorder) {}
    std::vector<prometheus::MetricFamily> Collect() const override
    {
        const std::lock_guard lock(_mutex);
        return families(collectMetrics(_recorder));
    }

private:
    const Recorder &_recorder;
    mutable std::mutex _mutex;
};

QJsonObject asObject(const QList<Metric> &metrics)
{
    QJsonArray list;
    for (const Metric &metric : metrics) {
        QJsonObject object{{"name", metric.name}, {"value", metric.value}};
        if (!metric.label.isEmpty()) object[metric.label] = metric.labelValue;
        list.append(object);
    }
    return {{"metrics", list}};
}

QString asText(const QList<Metric> &metrics)
{
    QString text;
    for (const Metric &metric : metrics) {
        const QString name = metric.label.isEmpty() ? metric.name : metric.name + " " + metric.labelValue;
        text += QStringLiteral("%1 %2  %3\n").arg(name, -42).arg(metric.value, 14, 'g', 10).arg(metric.help);
    }
    return text;
}

/// The same on a socket of this machine; an error sentence when it cannot.
QString serveSocket(const Recorder &recorder, const QString &path)
{
    MetricsSocket server;
    if (const QString problem = server.listen(path); !problem.isEmpty())
        return QStringLiteral("cannot serve at %1: %2").arg(path, problem);
    server.serve([&recorder] { return metricsText(collectMetrics(recorder)); }, Recorder::wasInterrupted);
    return {};
}

/// Until interrupted; an error sentence when it cannot.
QString serveMetrics(Recorder &recorder, const std::string &address)
{
    if (address.find('/') != std::string::npos) return serveSocket(recorder, QString::fromStdString(address));
    const auto figures = std::make_shared<RecorderFigures>(recorder);
    try { // the library reports by exception; it ends here
        prometheus::Exposer server(address, 1);
        server.RegisterCollectable(figures);
        while (!Recorder::wasInterrupted())
            recorder.waitFor([] { return false; }, dayLong);
    } catch (const std::exception &) { // which cannot tell why
        return QStringLiteral("cannot serve at %1: it is in use, or no address and port of this machine")
            .arg(QString::fromStdString(address));
    }
    return {};
}
} // namespace

ExitCode ctlMetrics(Recorder &recorder, const Report &report, const Arguments &arguments)
{
    if (!arguments.listen.empty()) {
        const QString problem = serveMetrics(recorder, arguments.listen);
        return problem.isEmpty()
                   ? ExitCode::Done
                   : report.error(ExitCode::Refused, problem,
                                  "give a free address, for example 127.0.0.1:9464 or /run/xp/metrics");
    }
    const QList<Metric> metrics = collectMetrics(recorder);
    report.result(QString::fromUtf8(metricsText(metrics)), asObject(metrics));
    return ExitCode::Done;
}

ExitCode watchStats(Recorder &recorder, const Report &report, bool once)
{
    constexpr std::chrono::seconds every(1);
    do {
        const QList<Metric> metrics = collectMetrics(recorder);
        report.page(asText(metrics), asObject(metrics));
    } while (!once && !recorder.waitFor([] { return false; }, every) && !Recorder::wasInterrupted());
    return ExitCode::Done;
}
