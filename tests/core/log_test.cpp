// SPDX-License-Identifier: GPL-3.0-or-later
// The log: one line a record, folded, rotated, and never in anybody's way.
#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxlogexpected.h"
#include "platform/qmx/core/qmxlogfold.h"
#include "platform/qmx/core/qmxlogstream.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QMap>

#include <algorithm>
#include <thread>

namespace {

QByteArrayList lines(const QString &path)
{
    QmxLog::defaultLog()->flush();
    QByteArrayList result = readAll(path).split('\n');
    EXPECT_TRUE(result.last().isEmpty()) << "a line that does not end";
    result.removeLast();
    return result;
}

void logged(int level, const char *text)
{
    qmxLogOutput(level, "test", 7, "%s", text);
}

} // namespace

TEST(Log, WritesOneLineARecordUpToItsLevel)
{
    allowLog("test");
    TestDir dir;
    qmxLogOpenFile(dir.file("log"));
    qmxLogSetLevel(3);
    Stepper::clock()->setWallTime(86400 * QmxClock::nsPerSecond + 5'000'000);
    qmxLogOutput(3, "test", 12, "FAILED: %s %d\n", "a\nb\x1b]0;x\a", 5);
    qmxLogOutput(4, "test", 13, "too detailed\n");
    QmxLogStream("test", 14, 1, QmxLog::defaultLog()) << QString("Mode %1").arg("Play") << ' ' << 3 << true;
    QmxLogStream("test", 15, 4, QmxLog::defaultLog()) << "too detailed";
    const QByteArrayList got = lines(dir.file("log"));
    ASSERT_EQ(got.size(), 2);
    EXPECT_TRUE(got[0].contains(".005 I test:12 FAILED: a b?]0;x? 5")) << got[0].constData();
    EXPECT_TRUE(got[1].endsWith("E test:14 Mode Play 3true")) << got[1].constData();
    qmxLogSetLevel(4);
}

TEST(Log, FoldsEqualRecordsEvenWhenTheyAlternate)
{
    // A lost input: two lines a frame, ten seconds long; then, two minutes long, one each second.
    const auto lostInput = [](const auto &log, const auto &passMs) {
        for (int frame = 0; frame < 250; ++frame) {
            log(1, "first");
            log(2, "second");
            passMs(40);
        }
        for (int second = 0; second < 120; ++second) {
            log(1, "first");
            passMs(1000);
        }
    };

    QmxLogFold fold;
    qint64 now = 0;
    QMap<QString, QList<int>> seconds;
    int sum = 0;
    const auto take = [&](const QList<QmxLogRecord> &list) {
        for (const QmxLogRecord &record : list) {
            seconds[record.text] << int(now / QmxClock::nsPerSecond);
            sum += 1 + record.more;
        }
    };
    lostInput(
        [&](int level, const char *text) {
            QmxLogRecord record;
            record.wallTime = now;
            record.level = level;
            record.text = QString::fromLatin1(text);
            take(fold.add(record, now));
        },
        [&](int ms) {
            now += ms * QmxClock::nsPerMillisecond;
            take(fold.due(now));
        });
    take(fold.due(now, true));
    EXPECT_EQ(seconds["first"], (QList<int>{0, 1, 3, 7, 15, 31, 63, 123, 130}));
    EXPECT_EQ(seconds["second"], (QList<int>{0, 1, 3, 7, 12})) << "it is over two seconds after the last one";
    EXPECT_EQ(sum, 620) << "every record is accounted for";

    // In the file, written by a thread that is as late as it likes.
    allowLog("test");
    TestDir dir;
    qmxLogOpenFile(dir.file("log"));
    lostInput(logged, Stepper::runMs);
    const QByteArrayList got = lines(dir.file("log"));
    EXPECT_LT(got.size(), 62);
    sum = 0;
    for (const QByteArray &line : got) {
        const qsizetype at = line.indexOf("(and ");
        sum += 1 + (at < 0 ? 0 : line.mid(at + 5).split(' ').first().toInt());
    }
    EXPECT_EQ(sum, 620) << "every record is accounted for";
    EXPECT_TRUE(std::is_sorted(got.begin(), got.end(), [](const auto &a, const auto &b) {
        return a.left(23) < b.left(23); // to the millisecond
    })) << "in the order of time";
}

TEST(Log, whatIsExpectedEverywhereIsNoErrorThatOneSees)
{
    allowLog("test");
    TestDir dir;
    qmxLogExpect("test", "Failed to find", "Uncompressed");
    qmxLogOpenFile(dir.file("log"));
    const auto log = [&](int level) {
        qmxLogSetLevel(level);
        logged(1, "Failed to find a still for Uncompressed");
        logged(1, "Failed to find a still for ProRes");
        return lines(dir.file("log")).size();
    };
    EXPECT_EQ(log(2), 1);
    EXPECT_EQ(log(3), 3) << "the other one is folded";
    qmxLogSetLevel(4);
}

TEST(Log, RotatesAndKeepsThreeOldFiles)
{
    allowLog("test");
    TestDir dir;
    const QString path = dir.file("log");
    QmxLog::defaultLog()->openFile(path, 2000);
    for (int i = 0; i < 300; ++i)
        logged(3, qPrintable(QStringLiteral("line %1").arg(i)));
    QmxLog::defaultLog()->flush();
    EXPECT_TRUE(readAll(path).endsWith("line 299\n"));
    for (const QString &name : {path, path + ".1", path + ".2", path + ".3"})
        EXPECT_TRUE(QFileInfo(name).size() > 0 && QFileInfo(name).size() <= 2000) << name.toStdString();
    EXPECT_FALSE(QFile::exists(path + ".4"));
}

TEST(Log, AFailingDiskIsAnAlarmAndNothingElse)
{
    allowLog("test");
    TestDir dir;
    const auto files = FaultyFiles::install();
    QmxAlarmController controller;
    QList<QmxAlarm> alarms;
    QObject::connect(&controller, &QmxAlarmController::alarmTriggered,
                     [&](const QmxAlarm &alarm) { alarms.append(alarm); });
    qmxLogOpenFile(dir.file("log"));
    files->writeHalf(2); // goes on where it stopped
    logged(3, "one");
    logged(3, "two");
    EXPECT_TRUE(lines(dir.file("log")).last().endsWith("two"));

    files->failNth(FaultyFiles::Pwrite, 1, ENOSPC, true);
    for (int i = 0; i < 100; ++i)
        logged(3, qPrintable(QStringLiteral("lost %1").arg(i)));
    QmxLog::defaultLog()->flush();
    Stepper::deliver();
    ASSERT_EQ(alarms.size(), 1);
    EXPECT_EQ(alarms[0].id(), QmxId(1916));
    EXPECT_TRUE(alarms[0].message().contains(dir.file("log")) &&
                alarms[0].message().contains("No space left"));

    files->clear();
    logged(3, "too early"); // tried again after a while only
    QmxLog::defaultLog()->flush();
    Stepper::run(6 * QmxClock::nsPerSecond);
    logged(3, "again");
    const QByteArrayList got = lines(dir.file("log"));
    EXPECT_TRUE(got[got.size() - 2].endsWith("again"));
    EXPECT_EQ(got.last(), "(101 lines were lost: the log file could not be written)");
    Stepper::deliver();
    ASSERT_EQ(alarms.size(), 2);
    EXPECT_FALSE(alarms[1].isActive());
}

TEST(Log, AHangingDiskHoldsNobodyUpAndLossesAreCounted)
{
    allowLog("test");
    TestDir dir;
    const auto files = FaultyFiles::install();
    qmxLogOpenFile(dir.file("log"));
    QmxLog::defaultLog()->flush();
    files->hang(FaultyFiles::Pwrite);
    logged(3, "hangs");
    EXPECT_TRUE(Stepper::waitFor([&] { return files->hanging() == 1; }));
    std::thread other([] {
        for (int i = 0; i < 10'000; ++i)
            qmxLogOutput(3, "test", i, "other\n");
    });
    for (int i = 0; i < 10'000; ++i)
        qmxLogOutput(3, "test", i, "mine\n");
    other.join(); // comes to an end although nothing can be written
    const qint64 dropped = QmxLog::defaultLog()->dropped();
    EXPECT_EQ(dropped, 20'000 - 4096);
    EXPECT_EQ(QmxEnvironment::current().deck->counters.value(QmxCounters::LogDropped), dropped);
    files->release();
    const QByteArrayList got = lines(dir.file("log"));
    EXPECT_TRUE(got.join('\n').contains(QByteArray::number(dropped) + " records were lost"));
}
