// SPDX-License-Identifier: GPL-3.0-or-later
// The end of the program, out of whatever it was doing, and takes that are
// lost.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "tests/scenarios/recorderrig.h"

namespace {
using LifeScenario = RecorderRig;
}

TEST_F(LifeScenario, endsFromEveryModeWithClosedClips)
{
    QString clip;
    const struct
    {
        const char *name;
        std::function<void()> doing;
    } modes[] = {
        {"stopped", [] {}},
        {"recording",
         [&] {
             clip = beginTake();
             pass(1000);
         }},
        {"playing",
         [&] {
             enterStill();
             speed("1");
             pass(300);
         }},
        {"shuttling", [&] { speed("-16"); }},
        {"a take that has just been asked for", [&] { command(3); }},
        {"a take whose clip is being opened",
         [&] {
             command(3);
             clip = clipOpened();
         }},
        {"a clip that is being closed",
         [&] {
             clip = record(600);
             clip = beginTake();
             pass(500);
             command(4);
         }},
    };
    for (const auto &mode : modes) {
        SCOPED_TRACE(mode.name);
        clip.clear();
        begin();
        mode.doing();
        quit();
        EXPECT_TRUE(reads(eParam_TransportStatus, 20u));
        EXPECT_TRUE(reads(eParam_TransportRunning, 0u));
        EXPECT_EQ(QmxEnvironment::current().deck->operations.inProgress(), 0);
        if (!clip.isEmpty()) Take::read(clip).expectWhole();
    }
}

TEST_F(LifeScenario, aHangingDiskEndsTheTakeLoudlyAndInTime)
{
    allowLog(QString(), QString()); // of these there are many
    begin();
    const QString lost = beginTake();
    pass(1500);
    files->hang(FaultyFiles::Pwrite);
    pass(500);
    command(4);
    const qint64 asked = Stepper::now();
    EXPECT_TRUE(until([this] { return isIdle() && vtr().state().mode().isInModeStandbyOff(); }, 11000));
    EXPECT_LE(Stepper::now() - asked, 10'500 * QmxClock::nsPerMillisecond);
    EXPECT_TRUE(data(eParam_AlarmMediaWriteFailed).contains("/media/A")) << "a lost take is loud";
    EXPECT_TRUE(reads(eParam_StorageState, 2u));
    EXPECT_GE(files->hanging(), 1);
    files->release();
    files->clear();
    pass(2000);
    // The next take has a writer of its own, and what was durable of the first
    // one is there.
    Take::read(record(1000)).expectWhole();
    const Take rest = Take::read(lost);
    EXPECT_GT(rest.frames(), 10);
    rest.expectOneSequenceOfTimecodes();
}

TEST_F(LifeScenario, aMediumThatVanishesOrFillsIsAnAlarmAtOnce)
{
    allowLog(QString(), QString());
    begin();
    for (const int error : {ENOSPC, EIO}) {
        SCOPED_TRACE(error);
        command(3);
        ASSERT_TRUE(settles(VtrMode::Record));
        pass(1200);
        EXPECT_TRUE(data(eParam_AlarmMediaWriteFailed).isEmpty()) << "the new take has cleared it";
        files->failNth(FaultyFiles::Pwrite, 1, error, true);
        EXPECT_TRUE(until([this] { return vtr().state().mode().isInModeStandbyOff() && isIdle(); }, 3000));
        EXPECT_TRUE(data(eParam_AlarmMediaWriteFailed).contains("/media/A"));
        EXPECT_TRUE(data(eParam_AlarmFrameDropped).contains("Recording stopped due to hardware error"));
        EXPECT_TRUE(reads(eParam_TransportStatus, 1u));
        files->clear();
        pass(500);
    }
    Take::read(record(1000)).expectWhole();
}

TEST_F(LifeScenario, theEndDoesNotWaitForAHangingDisk)
{
    allowLog(QString(), QString());
    begin();
    command(3);
    ASSERT_TRUE(settles(VtrMode::Record));
    pass(1500);
    files->hang(FaultyFiles::Fdatasync);
    pass(500);
    const qint64 asked = Stepper::now();
    quit();
    EXPECT_LE(Stepper::now() - asked, 20'000 * QmxClock::nsPerMillisecond);
    EXPECT_TRUE(reads(eParam_TransportStatus, 20u));
    // The writer that was left behind comes back and ends before the test does.
    files->release();
    files->clear();
    EXPECT_TRUE(Stepper::waitFor([this] { return files->hanging() == 0; }));
    Stepper::runMs(2000);
}
