// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/media/mediamanager.h"

#include "tests/support/faultyfiles.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <cerrno>

namespace {

constexpr auto activePath = "/media/A";
constexpr auto rolloverPath = "/media/B";

/// A machine with media of which the test says how full they are. Paths not named lie on "/".
class MediaManagerTest : public ::testing::Test
{
protected:
    MediaManagerTest()
    {
        allowLog("mediamanager");
        _files->fakeStatfs([this](const QString &path, struct statfs64 &data) {
            const auto medium = media.find(path);
            data = {};
            data.f_fsid.__val[0] =
                medium == media.end() ? 1 : 2 + static_cast<int>(std::distance(media.begin(), medium));
            data.f_blocks = 1000;
            data.f_bfree = medium == media.end() ? 500 : static_cast<quint64>(medium->second);
            data.f_bavail = 0; // what is left to other users does not count
        });
    }

    /// What the checks of `ticks` half seconds tell.
    QStringList tick(MediaManager &manager, int ticks = 1)
    {
        QStringList told;
        QObject receiver;
        QObject::connect(&manager, &MediaManager::shouldRolloverNow, &receiver, [&] { told << "rollover"; });
        QObject::connect(&manager, &MediaManager::stopRecordNow, &receiver, [&] { told << "stop"; });
        Stepper::runMs(500 * ticks);
        return told;
    }

    std::shared_ptr<FaultyFiles> _files = FaultyFiles::install();
    std::map<QString, int> media = {{activePath, 500}, {rolloverPath, 900}}; ///< free per mille
};

} // namespace

TEST_F(MediaManagerTest, measuresAMediumInRoundedPercent)
{
    const struct
    {
        int freePerMille;
        double percent;
        bool rollover, tooFull, stop;
    } rows[] = {
        {1000, 100, false, false, false}, {160, 16, false, false, false}, {155, 16, false, false, false},
        {154, 15, false, true, false},    {105, 11, false, true, false},  {104, 10, true, true, false},
        {85, 9, true, true, false},       {84, 8, true, true, true},      {0, 0, true, true, true},
    };
    MediaManager manager(nullptr);
    for (const auto &row : rows) {
        media[activePath] = row.freePerMille;
        MediaManager::PathInfo info;
        ASSERT_TRUE(manager.getPathInfo(activePath, info));
        EXPECT_EQ(info.path, QString(activePath));
        EXPECT_TRUE(info.mounted);
        EXPECT_EQ(info.percentFree, row.percent) << row.freePerMille;
        EXPECT_EQ(info.rolloverLevelReached, row.rollover) << row.freePerMille;
        EXPECT_EQ(info.targetTooFull, row.tooFull) << row.freePerMille;
        EXPECT_EQ(info.stopLevelReached, row.stop) << row.freePerMille;
    }
    MediaManager::PathInfo info;
    ASSERT_TRUE(manager.getPathInfo("/home", info));
    EXPECT_FALSE(info.mounted) << "a folder of the system is no medium";

    info.path = "kept";
    EXPECT_FALSE(manager.getPathInfo(QString(), info));
    for (const int nth : {1, 2}) { // "/" first, then the medium
        _files->failNth(FaultyFiles::Statfs, nth, EIO);
        EXPECT_FALSE(manager.getPathInfo(activePath, info)) << nth;
    }
    EXPECT_EQ(info.path, QStringLiteral("kept"));
}

TEST_F(MediaManagerTest, saysWhyARolloverMayNotStartInAFixedOrder)
{
    const auto refuses = [](MediaManager &manager, int reason) {
        EXPECT_EQ(manager.getRolloverInhibit(), static_cast<unsigned>(reason));
        EXPECT_FALSE(manager.markRolloverInProgress());
        EXPECT_EQ(
            LogCollector::lines("mediamanager").last(),
            QStringLiteral("1 113 Can't mark rollover in progress, rollover is inhibited (%1)").arg(reason));
        EXPECT_FALSE(manager.isRolloverInProgress());
    };
    MediaManager manager(nullptr);
    QSignalSpy started(&manager, &MediaManager::rolloverStarted);
    manager.setActivePath(activePath);
    refuses(manager, 3); // no path: cannot be measured, before anything else
    EXPECT_EQ(manager.getRolloverInhibit(MediaManager::PathInfo()), 1u);
    manager.setRolloverEnabled(true);
    EXPECT_EQ(manager.getRolloverInhibit(MediaManager::PathInfo()), 4u);
    manager.setRolloverEnabled(false);
    manager.setRolloverPath(rolloverPath);
    refuses(manager, 1);
    manager.setRolloverEnabled(true);
    manager.setRolloverPath("/home");
    refuses(manager, 5);
    manager.setRolloverPath(rolloverPath);
    media[rolloverPath] = 150;
    refuses(manager, 6);
    media[rolloverPath] = 156;
    EXPECT_EQ(manager.getRolloverInhibit(), 0u);
    EXPECT_TRUE(manager.markRolloverInProgress());
    EXPECT_EQ(manager.getRolloverInhibit(), 2u);
    EXPECT_EQ(started.size(), 1);
    EXPECT_EQ(started.first(), QVariantList({activePath, rolloverPath}));
}

TEST_F(MediaManagerTest, tellsAtEachCheckForAsLongAsTheMediumIsFull)
{
    MediaManager manager(nullptr);
    manager.setActivePath(activePath);
    EXPECT_EQ(tick(manager, 2), QStringList());
    media[activePath] = 100;
    EXPECT_EQ(tick(manager, 3), QStringList({"stop", "stop", "stop"})) << "without rollover at ten percent";

    manager.setRolloverEnabled(true);
    EXPECT_EQ(tick(manager), QStringList()) << "nowhere to go on, but not yet at the end";
    manager.setRolloverPath(rolloverPath);
    EXPECT_EQ(tick(manager, 2), QStringList({"rollover", "rollover"}));
    media[activePath] = 80;
    EXPECT_EQ(tick(manager, 2), QStringList({"stop", "stop"})) << "at eight percent";
    media[activePath] = 100;
    ASSERT_TRUE(manager.markRolloverInProgress());
    EXPECT_EQ(tick(manager), QStringList());
    manager.markRolloverComplete(false);

    _files->failNth(FaultyFiles::Statfs, 1, EIO);
    EXPECT_EQ(tick(manager), QStringList()) << "not measured, not decided";
    EXPECT_EQ(tick(manager), QStringList("rollover"));
}

TEST_F(MediaManagerTest, decidesNothingOnItsFirstLookAtAnotherMedium)
{
    media[activePath] = media[rolloverPath] = 50;
    MediaManager manager(nullptr);
    for (const char *path : {activePath, rolloverPath, activePath}) {
        manager.setActivePath(path);
        EXPECT_EQ(tick(manager), QStringList()) << path;
        EXPECT_EQ(tick(manager), QStringList("stop")) << path;
    }
    manager.setActivePath(QString());
    EXPECT_EQ(tick(manager, 2), QStringList());
}

TEST_F(MediaManagerTest, aRolloverSwapsTheMediaAndWaitsForTheMediaDaemon)
{
    MediaManager manager(nullptr);
    QSignalSpy inUse(&manager, &MediaManager::storageInUse);
    QSignalSpy completed(&manager, &MediaManager::rolloverCompleted);
    QSignalSpy noted(&manager, &MediaManager::rolloverCompletedByMediaDaemon);
    manager.setRolloverEnabled(true);
    manager.setActivePath(activePath);
    manager.setRolloverPath(rolloverPath);
    manager.setStorageInUse(true);

    manager.markRolloverComplete(true);
    ASSERT_TRUE(manager.markRolloverInProgress());
    manager.setStorageInUse(false);
    manager.setRolloverPath(rolloverPath);
    EXPECT_EQ(noted.size(), 0);
    manager.markRolloverComplete(true);
    EXPECT_EQ(completed, QList<QVariantList>({{true, activePath, rolloverPath}}));
    EXPECT_EQ(manager.activePath(), QString(rolloverPath));
    EXPECT_EQ(manager.rolloverPath(), QString());
    manager.setRolloverPath(QString());
    EXPECT_EQ(noted.size(), 1);
    manager.setStorageInUse(false);
    EXPECT_EQ(inUse, QList<QVariantList>({{true}, {false}}));

    // The next one fails: the media stay as they are.
    manager.setRolloverPath(activePath);
    ASSERT_TRUE(manager.markRolloverInProgress());
    manager.markRolloverComplete(false);
    EXPECT_EQ(manager.activePath(), QString(rolloverPath));
    EXPECT_EQ(manager.rolloverPath(), QString(activePath));
    EXPECT_EQ(completed.last(), QVariantList({false, rolloverPath, activePath}));
    manager.setRolloverPath(QString());
    EXPECT_EQ(noted.size(), 1) << "it was not empty before";
    manager.setRolloverPath(QString());
    EXPECT_EQ(noted.size(), 2);

    manager.setRolloverEnabled(false);
    _files->failNth(FaultyFiles::Statfs, 1, EIO);
    manager.setActivePath("/media/C");
    const QStringList lines = {
        "3 68 Rollover Enabled",
        "3 76 Active Media Path: /media/A",
        "3 89 Rollover Media Path: /media/B",
        "1 126 Can't mark rollover complete, since no rollover is in progress",
        "3 116 Rollover from /media/A to /media/B has started",
        "3 58 Rollover in progress, ignoring setStorageInUse(false)",
        "3 139 Rollover from /media/A to /media/B has completed.",
        "3 89 Rollover Media Path: /media/A",
        "3 116 Rollover from /media/B to /media/A has started",
        "1 140 Rollover from /media/B to /media/A has failed.",
        "3 89 Rollover Media Path: ",
        "3 68 Rollover Disabled",
        "3 76 Active Media Path: /media/C",
        "1 79 getPathInfo failed for /media/C",
    };
    EXPECT_EQ(LogCollector::lines("mediamanager"), lines);
}

TEST_F(MediaManagerTest, aHangingMediumCostsOneWaitAndIsNotAskedUntilItIsBack)
{
    allowLog("mediumhelper");
    MediaManager manager(nullptr);
    manager.setActivePath(activePath);
    _files->hang(FaultyFiles::Statfs);
    MediaManager::PathInfo info;
    info.path = "kept";
    EXPECT_FALSE(manager.getActivePathInfo(info));
    EXPECT_EQ(_files->hanging(), 1);
    const int asked = _files->count(FaultyFiles::Statfs);
    EXPECT_FALSE(manager.getActivePathInfo(info));
    EXPECT_EQ(tick(manager, 4), QStringList());
    EXPECT_EQ(_files->count(FaultyFiles::Statfs), asked);
    EXPECT_FALSE(manager.getPathInfo(rolloverPath, info)) << "the other one is asked, by a thread of its own";
    EXPECT_EQ(_files->hanging(), 2);
    EXPECT_EQ(info.path, QStringLiteral("kept"));

    _files->release();
    EXPECT_TRUE(Stepper::waitFor([&] { return manager.getActivePathInfo(info); }));
    EXPECT_TRUE(Stepper::waitFor([&] { return manager.getPathInfo(rolloverPath, info); }));
    media[activePath] = 50;
    EXPECT_EQ(tick(manager, 2), QStringList("stop"));
}
