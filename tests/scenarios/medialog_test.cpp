// SPDX-License-Identifier: GPL-3.0-or-later
// Every line that media, rollover and alarms write, with its level and its number, and what makes it come.
#include "tests/scenarios/recorderrig.h"

#include "platform/qmx/core/qmxalarm.h"
#include "platform/qmx/stream/qmxstreaminfo.h"
#include "xpd/alarms/alarmhandler.h"
#include "xpd/config/configinterface.h"
#include "xpd/media/mediamanager.h"

namespace {

using LogScenario = RecorderRig;

struct LineRow
{
    const char *source;
    int level;
    int line; ///< 0: where the message stands in the source
    QString text;
    std::function<void()> provoke;
};

/// Each row's step brings exactly its line, once, after what came before.
void walk(const std::vector<LineRow> &rows)
{
    for (const LineRow &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        if (row.level < 3) expectLog(QString::fromLatin1(row.source), row.text);
        const qsizetype before = LogCollector::records().size();
        row.provoke();
        int found = 0;
        for (const QmxLogRecord &record : LogCollector::records().mid(before)) {
            if (record.source != QLatin1String(row.source) || record.text != row.text) continue;
            ++found;
            EXPECT_EQ(record.level, row.level);
            EXPECT_TRUE(row.line == 0 || record.line == row.line) << record.line;
        }
        EXPECT_EQ(found, 1);
    }
}

QmxAlarm alarm(int id, QmxAlarm::AlarmLevel level, const char *text)
{
    return QmxAlarm(QmxId(id), level, QString::fromLatin1(text), QStringLiteral("here"), 7);
}

} // namespace

TEST_F(LogScenario, everyLineOfTheMediaManager)
{
    files->fakeStatfs([](const QString &path, struct statfs64 &data) {
        data.f_blocks = 100;
        data.f_bfree = 50;
        data.f_fsid.__val[0] = path == QStringLiteral("/") ? 1 : 2;
    });
    MediaManager media(nullptr);
    const char *const source = "mediamanager";
    walk({
        {source, 3, 68, "Rollover Enabled", [&] { media.setRolloverEnabled(true); }},
        {source, 3, 68, "Rollover Disabled", [&] { media.setRolloverEnabled(false); }},
        {source, 3, 76, "Active Media Path: /media/A", [&] { media.setActivePath("/media/A"); }},
        {source, 1, 79, "getPathInfo failed for /media/X",
         [&] {
             files->failNth(FaultyFiles::Statfs, 1, EIO);
             media.setActivePath("/media/X");
         }},
        {source, 3, 89, "Rollover Media Path: /media/B", [&] { media.setRolloverPath("/media/B"); }},
        {source, 1, 113, "Can't mark rollover in progress, rollover is inhibited (1)",
         [&] { EXPECT_FALSE(media.markRolloverInProgress()); }},
        {source, 1, 126, "Can't mark rollover complete, since no rollover is in progress",
         [&] { media.markRolloverComplete(true); }},
        {source, 3, 116, "Rollover from /media/X to /media/B has started",
         [&] {
             media.setRolloverEnabled(true);
             EXPECT_TRUE(media.markRolloverInProgress());
         }},
        {source, 3, 58, "Rollover in progress, ignoring setStorageInUse(true)",
         [&] { media.setStorageInUse(true); }},
        {source, 1, 140, "Rollover from /media/X to /media/B has failed.",
         [&] { media.markRolloverComplete(false); }},
        {source, 3, 139, "Rollover from /media/X to /media/B has completed.",
         [&] {
             EXPECT_TRUE(media.markRolloverInProgress());
             media.markRolloverComplete(true);
         }},
        {source, 3, 89, "Rollover Media Path: ",
         [&] {
             media.setRolloverPath("/media/C");
             media.setRolloverPath({});
         }},
    });
}

TEST_F(LogScenario, everyLineOfTheAlarmHandler)
{
    ConfigInterface config(nullptr);
    AlarmHandler handler(nullptr);
    const char *const source = "alarmhandler";
    const QString dropped = QmxId(1904).name();
    const QString channels = QmxId(1911).name();
    walk({
        {source, 2, 121, QStringLiteral("Unhandled alarm: Warn:%1 (Raised) early here:7").arg(dropped),
         [&] { handler.handleAlarm(alarm(1904, QmxAlarm::Warning, "early")); }},
        {source, 1, 114,
         QStringLiteral("Unable to find alarm for id Err:%1 (Raised) x here:7").arg(QmxId(1922).name()),
         [&] {
             handler.setConfigInterface(&config);
             handler.handleAlarm(alarm(1922, QmxAlarm::Error, "x"));
         }},
        {source, 2, 137, QStringLiteral("Raising ALARM: Warn:%1 (Raised) late here:7").arg(dropped),
         [&] { handler.handleAlarm(alarm(1904, QmxAlarm::Warning, "late")); }},
        {source, 1, 138, QStringLiteral("Raising ALARM: Err:%1 (Raised) late here:7").arg(dropped),
         [&] { handler.handleAlarm(alarm(1904, QmxAlarm::Error, "late")); }},
        {source, 3, 155,
         QStringLiteral("Clearing ALARM (clear_on_play_pressed): Err:%1 (Raised) late here:7").arg(dropped),
         [&] { handler.onPlayPressed(); }},
        {source, 3, 133, QStringLiteral("Delayed ALARM: Err:%1 (Raised)  here:7").arg(channels),
         [&] { handler.handleAlarm(alarm(1911, QmxAlarm::Error, "")); }},
        {source, 2, 160,
         QStringLiteral("Raising ALARM (raise_on_record_pressed): Err:%1 (Raised)  here:7").arg(channels),
         [&] { handler.onRecordPressed(); }},
        {source, 3, 142, QStringLiteral("Clearing ALARM: Err:%1 (Clear)  here:7").arg(channels),
         [&] { handler.handleAlarm(alarm(1911, QmxAlarm::Clear, "")); }},
    });
}

TEST_F(LogScenario, everyLineOfARollover)
{
    // A rollover that is ended by hand leaves the transport with words of its own.
    allowLog("vtrobject");
    allowLog("mediamanager");
    allowLog("alarmhandler");
    allowLog("mainobject", "Generate record stream desc failed");
    begin();
    MediaManager &media = *app->findChild<MediaManager *>();
    const QmxStreamInfo info;
    const auto take = [&] {
        command(3);
        ASSERT_TRUE(
            until([&] { return number(eParam_StorageState) == 1 && vtr().state().mode().isInModeRecord(); }));
        pass(500);
    };
    const auto start = [&] {
        media.setRolloverEnabled(true);
        media.setRolloverPath("/media/B");
        app->startRollover();
        EXPECT_TRUE(media.isRolloverInProgress());
    };
    const char *const source = "mainobject";
    app->startRollover();
    EXPECT_TRUE(logged(source).filter("ollover").filter("mark").isEmpty()) << "out of record nothing happens";
    app->vtrStreamIsClosed();
    app->vtrStreamIsOpen({}, info);
    EXPECT_TRUE(logged(source).filter("Rollover clip").isEmpty()) << "nor without a rollover";
    walk({
        {source, 1, 0, "Failed to mark rollover in progress.  Aborting rollover",
         [&] {
             take();
             app->startRollover();
             EXPECT_TRUE(settles(VtrMode::StandbyOff));
         }},
        {source, 1, 0, "Aborting rollover, reopen record stream failed",
         [&] {
             media.setRolloverEnabled(true);
             media.setRolloverPath("/media/B");
             command(3);
             EXPECT_TRUE(until([&] { return vtr().state().mode().isInModeRecord(); }));
             app->startRollover(); // before the first frame has opened the stream
             EXPECT_FALSE(media.isRolloverInProgress());
             EXPECT_TRUE(settles(VtrMode::StandbyOff));
         }},
        {source, 3, 0, "Rollover clip 1 is closed",
         [&] {
             take();
             start();
             app->vtrStreamIsClosed();
         }},
        {source, 1, 0, "In rollover, got close after clip 1 is already closed!",
         [&] { app->vtrStreamIsClosed(); }},
        {source, 2, 0, "Rollover clip 2 open failed", [&] { app->vtrStreamIsOpen(QmxError(5), info); }},
        {source, 3, 0, "Rollover clip 2 opened",
         [&] {
             EXPECT_FALSE(media.isRolloverInProgress()) << "a failed open completes it too";
             pass(1000);
             media.setActivePath("/media/A");
             start();
             app->vtrStreamIsOpen({}, info);
         }},
        {source, 1, 0, "In rollover, got open after clip 2 is already opened!",
         [&] { app->vtrStreamIsOpen({}, info); }},
        {source, 3, 0, "Media daemon has completed rollover",
         [&] {
             app->vtrStreamIsClosed();
             EXPECT_FALSE(media.isRolloverInProgress());
             media.setRolloverPath({});
         }},
        {source, 3, 0, "Stopping record.",
         [&] {
             pass(1000);
             app->stopRecordNow();
             EXPECT_TRUE(settles(VtrMode::StandbyOff));
         }},
    });
}
