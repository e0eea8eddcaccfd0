// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/stream/streamrig.h"

#include "platform/qmx/clip/qmxclipreader.h"

#include <QElapsedTimer>
#include <QFile>

#include <atomic>
#include <cerrno>
#include <deque>
#include <thread>
#include <utility>

namespace {

int length(const QString &path)
{
    StreamRig rig;
    return rig.openForRead(path) == 0 ? rig.stream.info().length() : -1;
}

void announceFailure()
{
    expectLog("stream", "failed");
    allowLog("streamwriter");
    allowLog("streamcache");
}

class StreamFaults : public testing::Test
{
protected:
    const std::shared_ptr<FaultyFiles> files = FaultyFiles::install();
    const TestDir dir;
    const QString path = dir.file("take.mov"), second = dir.file("take_2.mov");
    StreamRig rig;
};

} // namespace

TEST_F(StreamFaults, onlyMediaAreRecordedOnAndNothingIsOverwritten)
{
    announceFailure();
    // A folder where a medium should be, but is not: it is on the file system of "/".
    files->fakeStatfs([](const QString &, struct statfs64 &data) { data.f_fsid = {{1, 1}}; });
    EXPECT_EQ(rig.openForWrite(path), ENODEV);
    EXPECT_FALSE(QFile::exists(path));
    files->clear();
    EXPECT_EQ(rig.openForWrite(dir.file("no/folder/take.mov")), ENOENT);
    EXPECT_EQ(rig.openForWrite(dir.file("../take.mov")), EINVAL);

    makeClip(path, 10);
    const QByteArray before = readAll(path);
    EXPECT_EQ(rig.openForWrite(path), EEXIST);
    EXPECT_EQ(readAll(path), before);
    EXPECT_TRUE(deck().recordTable.entries().isEmpty());
    Stepper::deliver();
    EXPECT_EQ(rig.events.filter("alarm 1901 2").size(), 4);
}

TEST_F(StreamFaults, aFullMediumEndsTheTakeLoudlyAndOnce)
{
    announceFailure();
    ASSERT_EQ(rig.openForWrite(path), 0);
    rig.recordPaced(0, 50);
    files->failNth(FaultyFiles::Pwrite, 1, ENOSPC, true);
    rig.events.clear();
    const qint64 dropped = deck().counters.value(QmxCounters::FramesDroppedCapture);
    rig.record(50, 30);
    ASSERT_TRUE(Stepper::runUntil([this] { return rig.cache.cacheIsFull(); }));
    Stepper::deliver();
    rig.record(80, 1);
    EXPECT_EQ(rig.events.filter("error ").size(), 1);
    EXPECT_EQ(rig.events.filter("failure 28").size(), 1);
    EXPECT_EQ(rig.events.filter("alarm 1901 2").size(), 1);
    EXPECT_TRUE(rig.stream.isOpen() && rig.stream.isWritable()) << "a stream never closes itself";
    EXPECT_FALSE(rig.deviceQueue.isEmpty());
    EXPECT_EQ(QmxEnvironment::current().deck->counters.value(QmxCounters::WriterQueue), 0)
        << "whoever gives way to what waits for the medium waits no longer";
    files->clear();
    rig.close();
    EXPECT_EQ(rig.events.constLast(), "close");
    EXPECT_EQ(rig.cache.position(), 80);
    EXPECT_EQ(deck().counters.value(QmxCounters::FramesDroppedCapture), dropped + 80 - length(path));
    EXPECT_GE(length(path), 50 - 14);

    // The next take is not the heir of this one.
    rig.deviceQueue.clear();
    ASSERT_EQ(rig.openForWrite(second), 0);
    EXPECT_FALSE(rig.cache.cacheIsFull());
    rig.record(0, 5);
    rig.close();
    EXPECT_EQ(length(second), 5);
}

TEST_F(StreamFaults, aStalledDiskCostsNoFrameAndFillsTheQueueBeforeTheCache)
{
    ASSERT_EQ(rig.openForWrite(path), 0);
    files->stallNth(FaultyFiles::Fdatasync, 1, 7 * QmxClock::nsPerSecond);
    bool slow = false;
    int cacheFullAfter = -1;
    int stallBegan = -1;
    int frame = 0;
    for (; frame < 250; ++frame) {
        rig.recordPaced(frame, 1);
        if (stallBegan < 0 && files->count(FaultyFiles::Fdatasync) > 0) stallBegan = frame;
        slow = slow || rig.events.contains("alarm 1906 1");
        if (cacheFullAfter < 0 && rig.cache.cacheIsFull()) cacheFullAfter = frame - stallBegan;
    }
    EXPECT_TRUE(slow);
    EXPECT_GE(cacheFullAfter, 4 * 25 + 25) << "four seconds in the queue, then the cache";
    EXPECT_TRUE(rig.deviceQueue.isEmpty()) << "the room that came free was told and used";
    EXPECT_TRUE(rig.events.contains("alarm 1906 0"));
    rig.close();
    EXPECT_EQ(length(path), 250);
    StreamRig player;
    ASSERT_EQ(player.openForRead(path), 0);
    const QList<int> numbers = player.play(250);
    for (int i = 0; i < 250; ++i)
        ASSERT_EQ(numbers.value(i, -9), i);
}

TEST_F(StreamFaults, aStopInAStallStillWritesEverythingToItsOwnClip)
{
    for (const bool pushed : {true, false}) { // at a stop; at a rollover
        const QString &own = pushed ? path : second;
        ASSERT_EQ(rig.openForWrite(own), 0);
        files->stallNth(FaultyFiles::Fdatasync, 1, 6 * QmxClock::nsPerSecond);
        int frame = 0;
        for (; rig.cache.framesInCache() < 10 && frame < 300; ++frame)
            rig.recordPaced(frame, 1);
        EXPECT_EQ(rig.cache.framesInCache(), 10);
        if (pushed) {
            rig.cache.pushCachedToPending(0);
            EXPECT_EQ(rig.cache.framesInCache(), 0);
        }
        rig.close();
        EXPECT_EQ(length(own), frame);
    }
}

TEST_F(StreamFaults, aForcedEndMakesDurableWhatWaits)
{
    ASSERT_EQ(rig.openForWrite(path), 0);
    rig.record(0, 40);
    deck().operations.runEmergencyFlushes();
    QFile::copy(path, dir.file("copy.mov"));
    EXPECT_EQ(length(dir.file("copy.mov")), 40);
    rig.record(40, 5);
    rig.close();
    EXPECT_EQ(length(path), 45);
}

TEST_F(StreamFaults, whatHangsInTheKernelIsAnsweredWithinTenSeconds)
{
    announceFailure();
    expectLog("stream", "given up");
    expectLog("stream", "stands still");
    const QString clip = dir.file("clip.mov");
    makeClip(clip, 10);
    files->hang(FaultyFiles::Open);
    const qint64 openBegan = Stepper::now();
    EXPECT_EQ(rig.openForRead(clip), ETIMEDOUT);
    EXPECT_LE(Stepper::now() - openBegan, 10 * QmxClock::nsPerSecond);
    EXPECT_TRUE(rig.stream.isClosed());
    EXPECT_EQ(rig.openForWrite(path), ETIMEDOUT);
    files->release();
    Stepper::runMs(100);
    EXPECT_FALSE(QFile::exists(path)) << "what came too late does not stay";

    ASSERT_EQ(rig.openForWrite(path), 0);
    rig.record(0, 30);
    files->hang(FaultyFiles::Fdatasync);
    Stepper::runMs(1000);
    const qint64 closeBegan = Stepper::now();
    rig.stream.close();
    EXPECT_TRUE(Stepper::runUntil([this] { return rig.stream.isClosed(); }, 20 * QmxClock::nsPerSecond));
    EXPECT_LE(Stepper::now() - closeBegan, 10 * QmxClock::nsPerSecond);
    EXPECT_TRUE(rig.events.contains("alarm 1901 2"));

    // So is a close that comes while the open hangs, or while a frame is being read.
    files->release();
    for (const FaultyFiles::Call call : {FaultyFiles::Open, FaultyFiles::Pread}) {
        rig.stream.setDesc(clip);
        if (call == FaultyFiles::Open) {
            files->hang(call);
            ASSERT_TRUE(rig.stream.open(QmxStream::Read));
        } else {
            ASSERT_EQ(rig.openForRead(clip), 0);
            files->hang(call);
            rig.stream.read(9, nullptr);
        }
        Stepper::runMs(100);
        EXPECT_GE(files->hanging(), 1);
        rig.events.clear();
        if (call == FaultyFiles::Pread) {
            // Whoever plays hears of it while it hangs, and when the medium is back.
            Stepper::runMs(4000);
            EXPECT_EQ(rig.events, QStringList({"alarm 1903 1"}));
            files->release();
            Stepper::runMs(1000);
            EXPECT_EQ(rig.events.filter("alarm").last(), "alarm 1903 0");
            files->hang(call);
            rig.stream.read(8, nullptr);
            Stepper::runMs(100);
            rig.events.clear();
        }
        rig.stream.close();
        Stepper::run(10 * QmxClock::nsPerSecond);
        EXPECT_TRUE(rig.stream.isClosed());
        EXPECT_EQ(rig.events.contains("open 125"), call == FaultyFiles::Open);
        EXPECT_EQ(rig.events.count("close"), 1);
        files->release();
    }

    // The next take has another writer, and the first one's frames are not lost if the disk comes back.
    ASSERT_EQ(rig.openForWrite(second), 0);
    rig.record(0, 7);
    rig.close();
    EXPECT_EQ(length(second), 7);
    EXPECT_EQ(length(path), 30);
}

TEST_F(StreamFaults, theEndOfAStreamDoesNotWaitForAMediumThatHangs)
{
    auto taker = std::make_unique<StreamRig>();
    ASSERT_EQ(taker->openForWrite(path), 0);
    taker->record(0, 30);
    files->hang(FaultyFiles::Fdatasync);
    Stepper::runMs(1000);
    QElapsedTimer real;
    real.start();
    taker.reset();
    EXPECT_LT(real.elapsed(), 6000);
    files->release();
    // The thread that was left behind still finishes its clip.
    EXPECT_TRUE(Stepper::waitFor([this] {
        QmxClipReader reader;
        return !reader.open(path).isError() && reader.info().closed && reader.info().frames == 30;
    }));
}

TEST_F(StreamFaults, unreadableFramesAreBlackWithOneErrorARun)
{
    makeClip(path, 200);
    ASSERT_EQ(rig.openForRead(path), 0);
    EXPECT_EQ(rig.play(10).size(), 10);
    Stepper::deliver();
    files->vanish(dir.path());
    rig.cache.seek(100);
    for (int frame = 100; frame < 110; ++frame) {
        ASSERT_TRUE(Stepper::runUntil([this] { return rig.cache.framesInCache() > 0; }));
        const QmxFrame black = rig.cache.read();
        EXPECT_EQ(numberOf(black), -1) << "a black picture";
        EXPECT_EQ(black.vids().constFirst().desc(), imageDesc());
        EXPECT_EQ(black.auds().constFirst().desc(), audioDesc());
        EXPECT_EQ(black.auds().constFirst().samples(), 1920);
        EXPECT_EQ(black.auds().constFirst().data()[100], 0);
        EXPECT_EQ(black.meta().value(QmxId(1)).toInt(), frame);
        EXPECT_EQ(timecodeOf(black), frame);
    }
    files->comeBack();
    rig.cache.seek(50);
    EXPECT_EQ(rig.play(3), QList<int>({50, 51, 52}));
    Stepper::runMs(1);
    EXPECT_EQ(rig.events, QStringList({"open 0", "error 100 5", "alarm 1903 1", "alarm 1903 0"}));
}

TEST_F(StreamFaults, anEqualFailureOfTheNextOperationIsToldAgain)
{
    allowLog("stream");
    allowLog("streamreader");
    EXPECT_NE(rig.openForRead(dir.file("none.mov")), 0);
    Stepper::deliver();
    EXPECT_EQ(rig.events.filter("alarm 1903 1").size(), 1);
    // The operator has wiped the alarm off with a key; nobody tells the framework.
    EXPECT_NE(rig.openForRead(dir.file("none.mov")), 0);
    Stepper::deliver();
    EXPECT_EQ(rig.events.filter("alarm 1903 1").size(), 2);
}

TEST_F(StreamFaults, halfASecondIsPromisedOnASlowMediumToo)
{
    ASSERT_EQ(rig.openForWrite(path), 0);
    for (int n = 1; n <= 200; ++n)
        files->stallNth(FaultyFiles::Fdatasync, n, 100 * QmxClock::nsPerMillisecond); // two a flush
    qint64 worst = 0;
    for (int frame = 0; frame < 150; ++frame) {
        rig.recordPaced(frame, 1);
        const qint64 safe = deck().counters.value(QmxCounters::RecordedUpTo);
        if (frame > 25) worst = std::max(worst, frame + 1 - safe);
    }
    EXPECT_LE(worst, 12) << "at 25 frames a second";
    EXPECT_GT(worst, 5) << "the medium is slow";
    rig.close();
}

TEST_F(StreamFaults, aClipThatIsDeletedDuringItsTakeIsToldAtOnceAndNotAsRecorded)
{
    announceFailure();
    ASSERT_EQ(rig.openForWrite(path), 0);
    rig.recordPaced(0, 50);
    const qint64 safe = deck().counters.value(QmxCounters::RecordedUpTo);
    EXPECT_GE(safe, 50 - 12) << "half a second is promised";
    ASSERT_TRUE(QFile::remove(path));
    rig.events.clear();
    rig.recordPaced(50, 13);
    Stepper::deliver();
    EXPECT_EQ(rig.events.filter("alarm 1901 2").size(), 1);
    EXPECT_EQ(rig.events.filter("failure 2").size(), 1);
    rig.close();
    EXPECT_EQ(deck().counters.value(QmxCounters::RecordedUpTo), 0);
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(StreamFaults, withoutAThreadForAnotherClipTheRunningTakeGoesOn)
{
    struct FewThreads : QmxThreads
    {
        int make(std::function<void()> run, std::thread &thread) override
        {
            return none ? EAGAIN : QmxThreads::make(std::move(run), thread);
        }
        std::atomic<bool> none = false;
    };
    const auto threads = std::make_shared<FewThreads>();
    QmxEnvironment environment = QmxEnvironment::current();
    environment.threads = threads;
    QmxEnvironment::setCurrent(environment);
    announceFailure();
    allowLog("qmxtaskthread");
    StreamRig take;
    ASSERT_EQ(take.openForWrite(path), 0);
    take.record(0, 10);
    threads->none = true;
    StreamRig next;
    EXPECT_EQ(next.openForWrite(second), 0) << "what a rollover needs is there before";
    std::deque<StreamRig> others; // take what is left, beside what asks the next medium
    do
        others.emplace_back();
    while (others.size() < 16 &&
           others.back().openForWrite(dir.file(QStringLiteral("other_%1.mov").arg(others.size()))) == 0);
    EXPECT_GT(others.size(), 3U);
    EXPECT_EQ(others.back().openForRead(path), EAGAIN);
    take.record(10, 10);
    next.record(0, 5);
    take.close();
    next.close();
    threads->none = false;
    EXPECT_EQ(length(path), 20);
    EXPECT_EQ(length(second), 5);
}
