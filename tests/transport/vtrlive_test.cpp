// SPDX-License-Identifier: GPL-3.0-or-later
// One recorder plays what the other one is still recording.
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxroomtogrow.h"
#include "platform/qmx/stream/qmxplaylist.h"
#include "platform/qmx/stream/qmxstream.h"
#include "tests/transport/transportrig.h"

namespace {

class LivePlay : public ::testing::Test
{
protected:
    void SetUp() override
    {
        allowLog("vtrobject", "but pending cue at");
        recorder.startUp();
        player.startUp();
        recorder.beginTake("take_001.mov", 150);
        player.playbackDesc = recorder.recordDesc;
    }

    void order(QmxStartOrder::Place place, double seconds = 0)
    {
        QmxStartOrder order;
        order.clip = player.playbackDesc.toString().section('/', -1);
        order.place = place;
        order.seconds = seconds;
        player.environment.deck->startOrders.give(order);
    }
    bool runUntilFrame(qint64 frame)
    {
        return Stepper::runUntil([&] { return onOutput() >= frame; });
    }
    qint64 onOutput() const { return player.counter(QmxCounters::FrameOnOutput); }
    /// What the output shows at each of the next ticks of a frame.
    QList<qint64> show(int ticks)
    {
        QList<qint64> frames;
        for (int i = 0; i < ticks; ++i) {
            Stepper::runMs(40); // two fields
            frames.append(onOutput());
        }
        return frames;
    }
    /// Each tick shows the next frame, none is counted as missing, and the newest is not far.
    void expectRunning(int ticks, int furthest)
    {
        Stepper::runMs(405); // a run begins with what is decoded, and takes a tick or two for the rest
        const qint64 begin = show(1).constFirst();
        qint64 before = begin;
        for (const qint64 frame : show(ticks)) {
            ASSERT_EQ(frame, before + 1) << "after " << frame - begin << " frames";
            before = frame;
        }
        EXPECT_EQ(player.counter(QmxCounters::FramesDroppedPlayback), 0);
        EXPECT_LE(recorder.framesRecorded() - 1 - onOutput(), furthest);
        EXPECT_GE(player.counter(QmxCounters::LiveDistance), 0);
    }
    /// What is left of the clip when `one` of the two has lost the medium is played to its end.
    void expectEndWithout(OneTransport &one, const QString &why, bool isRepaired = false)
    {
        allowLog("", "take_001.mov");
        order(QmxStartOrder::Place::Live);
        player.vtr().play(1.0);
        ASSERT_TRUE(runUntilFrame(120));
        one.files->vanish(recorder.media.path());
        bool repaired = !isRepaired;
        const QString clip = player.playbackDesc.toString();
        ASSERT_TRUE(Stepper::runUntil([&] {
            return repaired || (QmxClipReader::repair(clip, repaired, player.environment), repaired);
        }));
        ASSERT_TRUE(Stepper::runUntil([&] { return isStill(); }));
        EXPECT_EQ(player.counter(QmxCounters::MaterialGrows), 0);
        EXPECT_EQ(onOutput(), player.counter(QmxCounters::MaterialFrames) - 1);
        EXPECT_TRUE(std::any_of(player.alarms.begin(), player.alarms.end(), [&](const QmxAlarm &alarm) {
            return alarm.id() == QmxIds::alarmMediaReadFailed &&
                   alarm.message().contains("safe frames: " + why);
        }));
        one.files->comeBack();
    }
    bool isStill() { return player.reported().speedFlags().isStill(); }

    OneTransport recorder, player;
};

constexpr int oneSecond = 25;

} // namespace

TEST_F(LivePlay, runsOnBehindTheNewestFrameFromWhereverItBegins)
{
    order(QmxStartOrder::Place::Live);
    player.vtr().play(1.0);
    ASSERT_TRUE(runUntilFrame(100));
    expectRunning(200, oneSecond);

    // Held, and let go later: where it goes on is told by where it stood.
    player.vtr().still();
    Stepper::runMs(2000);
    player.vtr().play(1.0);
    ASSERT_TRUE(runUntilFrame(onOutput() + 2));
    expectRunning(50, 4 * oneSecond);

    // From the newest frame it waits until it can run on; the wait is no drop.
    player.vtr().cue(1'000'000);
    Stepper::runMs(500);
    EXPECT_GE(onOutput(), recorder.framesRecorded() - oneSecond) << "a picture is there at once";
    player.vtr().play(1.0);
    ASSERT_TRUE(runUntilFrame(onOutput() + 1));
    expectRunning(100, oneSecond);
    EXPECT_EQ(player.counter(QmxCounters::LiveWaits), 0);

    // Steps and reverse work up to it.
    player.vtr().step(-1);
    Stepper::runMs(300);
    const qint64 stepped = onOutput();
    player.vtr().play(-1.0);
    ASSERT_TRUE(Stepper::runUntil([&] { return onOutput() <= stepped - 20; }));

    // Faster runs up to it and goes on frame by frame.
    player.vtr().cue(0);
    Stepper::runMs(300);
    player.vtr().play(4.0);
    ASSERT_TRUE(Stepper::runUntil([&] { return recorder.framesRecorded() - onOutput() < oneSecond + 5; }));
    show(20);
    expectRunning(100, oneSecond + 5);
}

TEST_F(LivePlay, aFlushIsWaitedForWithoutADropHoweverLateItIsAndJoinedAgain)
{
    order(QmxStartOrder::Place::Live);
    player.vtr().play(1.0);
    ASSERT_TRUE(runUntilFrame(120));
    recorder.files->stallNth(FaultyFiles::Fdatasync, 1, 2 * QmxClock::nsPerSecond);
    Stepper::runMs(5000);
    EXPECT_EQ(player.counter(QmxCounters::LiveWaits), 1);
    expectRunning(50, oneSecond);
    for (int late = 20; late <= 640; late += 36) { // at many places in a frame
        recorder.files->stallNth(FaultyFiles::Fdatasync, 1, late * QmxClock::nsPerMillisecond);
        for (int read = 1; read <= 100; ++read) // what is read takes its time, too
            player.files->stallNth(FaultyFiles::Pread, read, 4 * QmxClock::nsPerMillisecond);
        Stepper::runMs(1800);
        player.files->clear();
        ASSERT_EQ(player.counter(QmxCounters::FramesDroppedPlayback), 0) << late << " ms";
    }
    EXPECT_GT(player.counter(QmxCounters::LiveWaits), 1);
}

TEST_F(LivePlay, whenItsRecorderIsKilledItEndsWithItsLastSafeFrameAndSaysSo)
{
    allowLog("vtrobject", "STREAM: Cache Error");
    allowLog("vtrobject", "stopping record");
    EXPECT_EQ(player.counter(QmxCounters::TakesOpened), 0) << "each has a deck of its own";
    expectEndWithout(recorder, "whoever recorded it has gone");
    EXPECT_EQ(player.counter(QmxCounters::FramesDroppedPlayback), 0);
    EXPECT_EQ(recorder.environment.deck->playhead.origin(), 0U);
    ASSERT_TRUE(recorder.runUntilMode(VtrMode::StandbyOff));
    for (const OneTransport *one : {&recorder, &player}) {
        const bool isWarned = std::any_of(one->alarms.begin(), one->alarms.end(), [](const QmxAlarm &alarm) {
            return alarm.id() == QmxIds::alarmMediaWriteFailed && alarm.isActive();
        });
        EXPECT_EQ(isWarned, one == &recorder);
        EXPECT_EQ(one->counter(QmxCounters::WriteErrors), one == &recorder ? 1 : 0);
        EXPECT_EQ(one->count(1904, QmxAlarm::Error, "Recording stopped due to hardware error"),
                  one == &recorder ? 1 : 0);
    }
}

TEST_F(LivePlay, whatAKilledRecorderLeftSaysSoAlsoWhenItIsClosedAtOnce)
{
    allowLog("vtrobject");
    expectEndWithout(recorder, "whoever recorded it has gone, and it has been closed", true);
    const auto clear = QmxAlarm(QmxIds::alarmMediaReadFailed, QmxAlarm::Clear, {}, {}, 0);
    const qsizetype cleared = player.alarms.count(clear);
    player.vtr().reopenPlaybackStream();
    Stepper::runMs(1000);
    EXPECT_EQ(player.alarms.count(clear), cleared) << "it stays up when the clip is opened again";
}

TEST_F(LivePlay, whenItsMediumIsPulledItEndsAndSaysSo)
{
    expectEndWithout(player, {});
}

TEST_F(LivePlay, theEndOfTheTakeIsTheEndAndARolloverIsNot)
{
    const QString second = recorder.media.file("take_001_R2.mov");
    player.environment.deck->takeSequel.setFinder(
        [second](const QString &path) { return path == second ? QStringList() : QStringList(second); });
    order(QmxStartOrder::Place::Live);
    player.vtr().play(1.0);
    ASSERT_TRUE(runUntilFrame(120));
    recorder.recordDesc = second;
    ASSERT_TRUE(recorder.vtr().reopenRecordStream());
    Stepper::runMs(100);
    const int first = int(player.counter(QmxCounters::MaterialFrames));
    expectRunning(4 * oneSecond, 1'000'000);
    EXPECT_GT(player.counter(QmxCounters::MaterialFrames), first + 2 * oneSecond);
    EXPECT_EQ(player.counter(QmxCounters::LiveWaits), 0);

    recorder.stop();
    ASSERT_TRUE(Stepper::runUntil([&] { return isStill(); }));
    EXPECT_EQ(player.counter(QmxCounters::MaterialGrows), 0);
    EXPECT_EQ(onOutput(), player.counter(QmxCounters::MaterialFrames) - 1);
    EXPECT_EQ(player.counter(QmxCounters::FramesDroppedPlayback), 0);

    // Opened again, as when its medium has been listed anew, it is as long as it was.
    const qint64 last = onOutput();
    player.vtr().reopenPlaybackStream();
    player.vtr().cue(int(last));
    Stepper::runMs(1000);
    EXPECT_EQ(onOutput(), last);
    player.playbackDesc = second;
    player.vtr().reopenPlaybackStream();
    Stepper::runMs(1000);
    EXPECT_LT(player.counter(QmxCounters::MaterialFrames), last) << "another clip is itself alone";
}

TEST_F(LivePlay, aTakeThatEndsWhileItsClipIsBeingOpenedIsPlayedToItsEnd)
{
    // Alone and in a list: its length has been read, and the question whether somebody records it waits.
    for (const bool isList : {false, true}) {
        QmxPlayListEntry entry;
        entry.setName("take");
        entry.setDesc(recorder.recordDesc);
        entry.setLength(qmxRoomToGrow);
        QmxPlayList list;
        list.append(entry);
        player.playbackDesc = isList ? QVariant::fromValue(list) : recorder.recordDesc;
        player.files->stallNth(FaultyFiles::Flock, 1, QmxClock::nsPerSecond);
        player.vtr().play(1.0);
        Stepper::runMs(300);
        recorder.stop();
        QmxClipInfo info;
        ASSERT_FALSE(QmxClipReader::probe(recorder.recordDesc.toString(), info).isError());
        ASSERT_TRUE(
            Stepper::runUntil([&] { return onOutput() >= 0 && isStill(); }, 60 * QmxClock::nsPerSecond));
        EXPECT_EQ(onOutput(), info.frames - 1);
        EXPECT_EQ(player.counter(QmxCounters::MaterialFrames), info.frames);
        player.stop();
        if (isList) break;
        recorder.beginTake("take_002.mov", 150);
    }
}

TEST_F(LivePlay, inAListAnEntryGrowsAndTheNextOneFollowsAtItsEnd)
{
    player.recordClip("closed.mov", 2 * oneSecond);
    QmxClipInfo info;
    ASSERT_FALSE(QmxClipReader::probe(player.media.file("closed.mov"), info).isError());
    const int closed = int(info.frames);
    QmxPlayList list;
    for (const auto &[path, length] : {std::pair(player.media.file("closed.mov"), closed),
                                       std::pair(recorder.media.file("take_001.mov"), qmxRoomToGrow),
                                       std::pair(player.media.file("closed.mov"), closed)}) {
        QmxPlayListEntry entry;
        entry.setName(path.section('/', -1));
        entry.setDesc(path);
        entry.setLength(length);
        list.append(entry);
    }
    player.playbackDesc = QVariant::fromValue(list);
    const auto entry = [this] { return player.counter(QmxCounters::ListEntryOnOutput); };
    const auto cue = [&](int frame) {
        player.vtr().cue(frame);
        Stepper::runMs(500);
    };

    // From the entry before into it, and up to its newest frame.
    player.vtr().play(1.0);
    ASSERT_TRUE(runUntilFrame(closed + 5));
    EXPECT_EQ(entry(), 1);
    player.vtr().play(4.0);
    ASSERT_TRUE(Stepper::runUntil(
        [&] { return player.counter(QmxCounters::LiveDistance) < oneSecond && onOutput() > closed + 50; }));
    player.vtr().play(1.0);
    ASSERT_TRUE(runUntilFrame(onOutput() + 2));
    expectRunning(100, closed + oneSecond);
    EXPECT_EQ(player.counter(QmxCounters::MaterialGrows), 1);

    // Behind its newest frame nothing comes but what is recorded; the next entry is where the list says.
    cue(list.firstFrameOfEntry(1) + 1'000'000);
    player.vtr().step(5);
    Stepper::runMs(500);
    EXPECT_EQ(entry(), 1);
    EXPECT_GE(onOutput(), closed + recorder.framesRecorded() - 2 * oneSecond);
    cue(list.firstFrameOfEntry(2) + 2);
    EXPECT_EQ(entry(), 2);
    EXPECT_EQ(player.counter(QmxCounters::MaterialGrows), 0);
    EXPECT_GT(onOutput(), closed + 5 * oneSecond) << "as operators count";
    EXPECT_LT(onOutput(), closed + recorder.framesRecorded() + 3);
    player.vtr().step(-4);
    Stepper::runMs(500);
    EXPECT_EQ(entry(), 1) << "from its first frame back to the newest one";
    cue(list.firstFrameOfEntry(2) + 10);
    player.vtr().play(-1.0);
    ASSERT_TRUE(Stepper::runUntil([&] { return entry() == 1; }));
    player.vtr().reopenPlaybackStream();
    Stepper::runMs(1000);
    EXPECT_EQ(entry(), 1);

    // At its end the list goes on, without a tick that shows anything else.
    cue(list.firstFrameOfEntry(1) + 1'000'000);
    player.vtr().play(1.0);
    ASSERT_TRUE(runUntilFrame(onOutput() + 2));
    Stepper::runMs(1000);
    recorder.vtr().standbyOff();
    qint64 before = show(1).constFirst();
    while (entry() == 1 || onOutput() < player.counter(QmxCounters::MaterialFrames) - 1) {
        const qint64 now = show(1).constFirst();
        ASSERT_EQ(now, before + 1) << "in entry " << entry();
        before = now;
    }
    ASSERT_TRUE(Stepper::runUntil([&] { return isStill(); }));
    ASSERT_FALSE(QmxClipReader::probe(recorder.media.file("take_001.mov"), info).isError());
    EXPECT_EQ(player.counter(QmxCounters::MaterialFrames), info.frames + 2 * closed);
    EXPECT_EQ(player.counter(QmxCounters::FramesDroppedPlayback), 0);
}
