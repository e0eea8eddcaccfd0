// SPDX-License-Identifier: GPL-3.0-or-later
// A take that goes on in a second clip: its pictures never wait for a medium.
#include "tests/stream/streamrig.h"

#include "platform/qmx/clip/qmxclipreader.h"

#include <QDir>

#include <cerrno>

namespace {

class StreamJoin : public testing::Test
{
protected:
    StreamJoin()
    {
        QDir(dir.path()).mkdir("b");
        files->fakeStatfs([this](const QString &path, struct statfs64 &data) {
            data.f_fsid = {{path == "/" ? 1 : 2, 0}};
            data.f_blocks = 1000;
            data.f_bfree = path.startsWith(dir.file("b")) ? 900 : aFree;
        });
        allowLog("stream");
        allowLog("streamwriter");
        allowLog("streamcache");
        deck().recordTable.takeBegins();
    }
    ~StreamJoin() override { deck().recordTable.takeEnds(); }

    /// Frames at their pace, as the transport does: it drops none while the stream takes none.
    void record(int count)
    {
        for (int i = 0; i < count; ++i) {
            if (rig.stream.isOpen())
                rig.record(frame++, 1);
            else
                rig.deviceQueue.append(numberedFrame(frame++));
            Stepper::runTicks(1);
        }
    }
    /// As a rollover does; whether the second clip was open within two turns of the loop.
    bool join()
    {
        rig.stream.close();
        Stepper::deliver();
        if (!rig.stream.isClosed()) return false;
        rig.describe(second);
        EXPECT_TRUE(rig.stream.open(QmxStream::Write));
        Stepper::deliver();
        return rig.stream.isOpen();
    }
    /// The second clip, on a medium that does not answer.
    void openHanging()
    {
        rig.close();
        files->hang(FaultyFiles::Open);
        rig.describe(second);
        ASSERT_TRUE(rig.stream.open(QmxStream::Write));
        Stepper::deliver();
        ASSERT_TRUE(rig.stream.isOpen());
    }
    QStringList inB() const { return QDir(dir.file("b")).entryList(QDir::Files | QDir::Hidden); }
    QList<int> numbersIn(const QString &path) const
    {
        StreamRig player;
        if (player.openForRead(path) != 0) return {};
        return player.play(player.stream.info().length());
    }

    const std::shared_ptr<FaultyFiles> files = FaultyFiles::install();
    const TestDir dir;
    const QString first = dir.file("a.mov");
    const QString second = dir.file("b/a_R2.mov");
    int aFree = 500;
    int frame = 0;
    StreamRig rig;
};

} // namespace

TEST_F(StreamJoin, aStopRightAfterItLosesNothingHoweverSlowTheMediaAre)
{
    const auto namer =
        deck().nextClip.setNamer([this](const QString &path) { return path == first ? second : QString(); });
    ASSERT_EQ(rig.openForWrite(first), 0);
    record(25);
    EXPECT_TRUE(inB().isEmpty());
    aFree = 110;
    record(25);
    EXPECT_EQ(inB().size(), 1) << "the next clip is not opened ahead";
    EXPECT_TRUE(inB().value(0).startsWith('.')) << "a clip that nobody records is seen";

    files->hang(FaultyFiles::Fdatasync); // of the first clip, of the second one as well
    files->hang(FaultyFiles::Rename);
    ASSERT_TRUE(join());
    const int joined = frame;
    record(60);
    EXPECT_TRUE(rig.deviceQueue.isEmpty());
    rig.stream.close(); // the stop
    files->release();
    EXPECT_TRUE(Stepper::runUntil([this] { return rig.stream.isClosed(); }));
    Stepper::runMs(500);
    EXPECT_EQ(numbersIn(first).size(), joined);
    const QList<int> numbers = numbersIn(second);
    ASSERT_EQ(numbers.size(), 60);
    EXPECT_EQ(numbers.first(), joined);
    EXPECT_EQ(inB(), QStringList{"a_R2.mov"});
    EXPECT_TRUE(deck().recordTable.entries().isEmpty());
    EXPECT_EQ(deck().counters.value(QmxCounters::RecordedUpTo), 60);
}

TEST_F(StreamJoin, whatNobodyOpenedAheadTakesFramesWhileItIsOpened)
{
    ASSERT_EQ(rig.openForWrite(first), 0);
    record(25);
    openHanging();
    record(75);
    rig.stream.close();
    Stepper::deliver();
    EXPECT_TRUE(rig.stream.isClosing());
    files->release();
    EXPECT_TRUE(Stepper::runUntil([this] { return rig.stream.isClosed(); }));
    EXPECT_EQ(numbersIn(second).size(), 75);
}

TEST_F(StreamJoin, aMediumThatRefusesTheSecondClipIsToldWithWhatItCost)
{
    makeClip(second, 1); // somebody was quicker
    QmxAlarm last;
    QmxAlarmController alarms;
    QObject::connect(&alarms, &QmxAlarmController::alarmTriggered, &rig,
                     [&last](const QmxAlarm &alarm) { last = alarm; });
    for (const bool stopped : {false, true}) { // when the answer comes
        ASSERT_EQ(rig.openForWrite(stopped ? dir.file("c.mov") : first), 0);
        record(25);
        openHanging();
        const qint64 dropped = deck().counters.value(QmxCounters::FramesDroppedCapture);
        record(50);
        if (stopped) rig.stream.close();
        rig.events.clear();
        files->release();
        last = QmxAlarm();
        ASSERT_TRUE(Stepper::runUntil([&last] { return last.level() == QmxAlarm::Error; }));
        EXPECT_TRUE(last.message().contains("50 frames")) << last.message().toStdString();
        Stepper::runMs(200);
        EXPECT_EQ(rig.events.filter("failure").size(), stopped ? 0 : 1) << "the device does not end the take";
        EXPECT_EQ(deck().counters.value(QmxCounters::FramesDroppedCapture), dropped + 50);
        rig.close();
    }
    EXPECT_TRUE(deck().recordTable.entries().isEmpty());
}

TEST_F(StreamJoin, whatNobodyAsksForGoesAgain)
{
    const auto namer = deck().nextClip.setNamer([this](const QString &) { return second; });
    aFree = 120;
    ASSERT_EQ(rig.openForWrite(first), 0);
    record(25);
    ASSERT_EQ(inB().size(), 1);
    rig.close(); // the operator's stop
    Stepper::runMs(100);
    EXPECT_TRUE(inB().isEmpty());
}
