// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/logcollector.h"

#include <mutex>

namespace {

struct Announcement
{
    QString source;
    QString text;
    bool must = false;
    bool came = false;

    bool covers(const QmxLogRecord &record) const
    {
        return (source.isEmpty() || source == record.source) && record.text.contains(text);
    }
};

class Collector : public QmxLogTap, public testing::EmptyTestEventListener
{
public:
    static Collector &instance()
    {
        static Collector *const collector = new Collector;
        return *collector;
    }

    /// A thread that a test left behind on a hanging disk may log until the very end of the program.
    ~Collector() override { QmxLog::defaultLog()->removeTap(this); }

    std::mutex mutex;
    QList<QmxLogRecord> records;
    QList<Announcement> announcements;

    void record(const QmxLogRecord &record) override
    {
        std::lock_guard lock(mutex);
        records.append(record);
    }
    void OnTestStart(const testing::TestInfo &) override
    {
        std::lock_guard lock(mutex);
        records.clear();
        announcements.clear();
    }
    void OnTestEnd(const testing::TestInfo &) override;
};

void Collector::OnTestEnd(const testing::TestInfo &)
{
    std::lock_guard lock(mutex);
    for (const QmxLogRecord &record : std::as_const(records)) {
        bool announced = record.level > 2;
        for (Announcement &announcement : announcements) {
            if (!announcement.covers(record)) continue;
            announcement.came = true;
            announced = true;
        }
        if (!announced)
            ADD_FAILURE() << "unexpected log line of level " << record.level << ": "
                          << record.source.toStdString() << ':' << record.line << ' '
                          << record.text.toStdString();
    }
    for (const Announcement &announcement : std::as_const(announcements))
        if (announcement.must && !announcement.came)
            ADD_FAILURE() << "expected log line did not come: " << announcement.source.toStdString() << ' '
                          << announcement.text.toStdString();
}

void announce(const QString &source, const QString &text, bool must)
{
    Collector &collector = Collector::instance();
    std::lock_guard lock(collector.mutex);
    collector.announcements.append({source, text, must});
}

} // namespace

testing::TestEventListener *LogCollector::createListener()
{
    QmxLog::defaultLog()->addTap(&Collector::instance());
    return &Collector::instance();
}

void LogCollector::expectLog(const QString &source, const QString &text)
{
    announce(source, text, true);
}

void LogCollector::allowLog(const QString &source, const QString &text)
{
    announce(source, text, false);
}

QList<QmxLogRecord> LogCollector::records()
{
    Collector &collector = Collector::instance();
    std::lock_guard lock(collector.mutex);
    return collector.records;
}

QStringList LogCollector::texts(const QString &source)
{
    QStringList result;
    const QList<QmxLogRecord> all = records();
    for (const QmxLogRecord &record : all)
        if (source.isEmpty() || source == record.source) result.append(record.text);
    return result;
}

QStringList LogCollector::lines(const QString &source)
{
    QStringList result;
    const QList<QmxLogRecord> all = records();
    for (const QmxLogRecord &record : all)
        if (source == record.source)
            result.append(QStringLiteral("%1 %2 ").arg(record.level).arg(record.line) + record.text);
    return result;
}

void LogCollector::clear()
{
    Collector &collector = Collector::instance();
    std::lock_guard lock(collector.mutex);
    collector.records.clear();
}
