// SPDX-License-Identifier: GPL-3.0-or-later
// Every line that the application writes about a rollover, with its level, and what makes it come.
#include "tests/scenarios/recorderrig.h"

#include "platform/qmx/stream/qmxstreaminfo.h"
#include "xpd/media/mediamanager.h"

namespace {

using LogScenario = RecorderRig;

const QString source = QStringLiteral("mainobject");

struct LineRow
{
    int level;
    QString text;
    std::function<void()> provoke;
};

/// Each row's step brings exactly its line, once, after what came before.
void walk(const std::vector<LineRow> &rows)
{
    for (const LineRow &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        if (row.level < 3) expectLog(source, row.text);
        const qsizetype before = LogCollector::records().size();
        row.provoke();
        int found = 0;
        for (const QmxLogRecord &record : LogCollector::records().mid(before))
            found += record.source == source && record.text == row.text && record.level == row.level;
        EXPECT_EQ(found, 1);
    }
}

} // namespace

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
    app->startRollover();
    EXPECT_TRUE(logged("mainobject").filter("ollover").filter("mark").isEmpty())
        << "out of record nothing happens";
    app->vtrStreamIsClosed();
    app->vtrStreamIsOpen({}, info);
    EXPECT_TRUE(logged("mainobject").filter("Rollover clip").isEmpty()) << "nor without a rollover";
    walk({
        {1, "Failed to mark rollover in progress.  Aborting rollover",
         [&] {
             take();
             app->startRollover();
             EXPECT_TRUE(settles(VtrMode::StandbyOff));
         }},
        {1, "Aborting rollover, reopen record stream failed",
         [&] {
             media.setRolloverEnabled(true);
             media.setRolloverPath("/media/B");
             command(3);
             EXPECT_TRUE(until([&] { return vtr().state().mode().isInModeRecord(); }));
             app->startRollover(); // before the first frame has opened the stream
             EXPECT_FALSE(media.isRolloverInProgress());
             EXPECT_TRUE(settles(VtrMode::StandbyOff));
         }},
        {3, "Rollover clip 1 is closed",
         [&] {
             take();
             start();
             app->vtrStreamIsClosed();
         }},
        {1, "In rollover, got close after clip 1 is already closed!", [&] { app->vtrStreamIsClosed(); }},
        {2, "Rollover clip 2 open failed", [&] { app->vtrStreamIsOpen(QmxError(5), info); }},
        {3, "Rollover clip 2 opened",
         [&] {
             EXPECT_FALSE(media.isRolloverInProgress()) << "a failed open completes it too";
             pass(1000);
             media.setActivePath("/media/A");
             start();
             app->vtrStreamIsOpen({}, info);
         }},
        {1, "In rollover, got open after clip 2 is already opened!", [&] { app->vtrStreamIsOpen({}, info); }},
        {3, "Media daemon has completed rollover",
         [&] {
             app->vtrStreamIsClosed();
             EXPECT_FALSE(media.isRolloverInProgress());
             media.setRolloverPath({});
         }},
        {3, "Stopping record.",
         [&] {
             pass(1000);
             app->stopRecordNow();
             EXPECT_TRUE(settles(VtrMode::StandbyOff));
         }},
    });
}
