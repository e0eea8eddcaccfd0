// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/stream/streamrig.h"

#include <algorithm>

namespace {

QList<int> row(int first, int count, int step = 1)
{
    QList<int> numbers;
    for (int i = 0; i < count; ++i)
        numbers.append(first + i * step);
    return numbers;
}

} // namespace

TEST(RecordAndPlay, everyFrameOfATakeComesBackWithItsKeysAndItsSound)
{
    const TestDir dir;
    const QString path = dir.file("take_1.mov");
    StreamRig rig;
    ASSERT_EQ(rig.openForWrite(path), 0);
    for (int tick = 0; tick < 100; ++tick) {
        rig.record(tick, 1);
        Stepper::runTicks(1);
        if (tick == 50) {
            EXPECT_EQ(rig.cache.position(), 51);
            EXPECT_EQ(deck().recordTable.entry(path)->frames, 51);
            EXPECT_GE(deck().counters.value(QmxCounters::RecordedUpTo), 51 - 14)
                << "a flush each half second by itself";
        }
    }
    rig.close();
    EXPECT_FALSE(deck().recordTable.entry(path).has_value());
    const ProgramResult probe = runProgram("ffprobe", {"-v", "error", "-select_streams", "v", "-show_entries",
                                                       "stream=nb_frames", "-of", "csv=p=0", path});
    EXPECT_EQ(probe.out.trimmed(), QByteArray("100"));

    ASSERT_EQ(rig.openForRead(path), 0);
    EXPECT_EQ(rig.stream.info().length(), 100);
    for (int frame = 0; frame < 100; ++frame) {
        ASSERT_TRUE(Stepper::runUntil([&rig] { return rig.cache.framesInCache() > 0; }));
        const QmxFrame peeked = rig.cache.peek();
        const QmxFrame read = rig.cache.read();
        ASSERT_EQ(peeked, read);
        ASSERT_EQ(numberOf(read), frame);
        ASSERT_EQ(timecodeOf(read), frame);
        ASSERT_EQ(read.meta().value(QmxId(1)).toInt(), frame);
        ASSERT_EQ(read.meta().value(QmxId(9)).toBool(), frame == 0);
        ASSERT_EQ(read.meta().value(QmxId(10)).toBool(), frame == 99);
        ASSERT_FALSE(read.meta().contains(QmxId(18)));
        ASSERT_EQ(read.origin(), deck().playhead.origin());
        ASSERT_EQ(read.vids().constFirst().desc(), imageDesc());
        ASSERT_EQ(read.auds().constFirst().desc(), audioDesc());
        ASSERT_EQ(read.auds().constFirst().data()[0], (frame + 1) << 8);
        // Past the end it stands on the last frame.
        ASSERT_EQ(deck().playhead.position(), std::min<int>(frame + 1, rig.stream.info().length() - 1));
    }
    EXPECT_TRUE(rig.cache.atEndOfStream());
    EXPECT_EQ(rig.cache.framesInCache(), 0);
    EXPECT_EQ(rig.cache.peek(), QmxFrame());
    rig.close();
    EXPECT_EQ(rig.cache.framesInCache(), 0);
    EXPECT_EQ(rig.events, QStringList({"open 0", "close", "open 0", "close"}));
}

TEST(RecordAndPlay, speedsDirectionsAndEnds)
{
    const TestDir dir;
    const QString path = dir.file("clip.mov");
    makeClip(path, 60);
    StreamRig rig;
    rig.cache.setSpeed(2.0); // set while closed: in force at the open
    ASSERT_EQ(rig.openForRead(path), 0);
    EXPECT_EQ(rig.play(5), row(0, 5, 2));
    rig.cache.setSpeed(-1.0);
    EXPECT_EQ(rig.play(3), row(10, 3, -1));
    rig.cache.setSpeed(0.5);
    EXPECT_EQ(rig.play(5), QList<int>({7, 7, 8, 8, 9}));
    rig.cache.setSpeed(25.0);
    EXPECT_EQ(rig.play(2), QList<int>({9, 34}));
    EXPECT_EQ(rig.cache.position(), 59);
    EXPECT_EQ(rig.play(1), QList<int>({59}));
    EXPECT_TRUE(rig.cache.atEndOfStream()) << "a stride over the end counts as its end";
    EXPECT_EQ(rig.cache.framesInCache(), 0);

    rig.cache.seekToLastFrame();
    EXPECT_FALSE(rig.cache.atEndOfStream());
    rig.cache.setSpeed(-100.0);
    EXPECT_EQ(rig.play(1), QList<int>({59}));
    EXPECT_TRUE(rig.cache.atStartOfStream());
    rig.cache.seekToFirstFrame();
    EXPECT_FALSE(rig.cache.atStartOfStream());
    rig.cache.seek(-20);
    EXPECT_TRUE(rig.cache.atStartOfStream());
    rig.cache.seek(1000);
    EXPECT_TRUE(rig.cache.atEndOfStream());

    // Nothing loaded yet: the frame's numbers are there at once. And every seek is answered by ready().
    rig.cache.setSpeed(1.0);
    Stepper::deliver();
    rig.cache.seek(20);
    EXPECT_EQ(numberOf(rig.cache.peek()), -2);
    EXPECT_EQ(rig.cache.peek().meta().value(QmxId(1)).toInt(), 20);
    EXPECT_EQ(timecodeOf(rig.cache.peek()), 20);
    const int before = rig.readies;
    ASSERT_TRUE(Stepper::runUntil([&rig] { return rig.cache.framesInCache() > 0; }));
    Stepper::deliver();
    EXPECT_EQ(rig.cache.framesInCache(), 1) << "while it is decoded nothing else is read";
    EXPECT_GT(rig.readies, before);
    const int loaded = rig.readies;
    rig.cache.seek(20);
    EXPECT_EQ(rig.readies, loaded) << "never from inside the call";
    Stepper::deliver();
    EXPECT_EQ(rig.readies, loaded + 1);
    EXPECT_TRUE(Stepper::runUntil([&rig] { return rig.cache.cacheIsFull(); }));
}

TEST(RecordAndPlay, partsOfClipsHaveExactlyTheirFrames)
{
    const TestDir dir;
    const QString path = dir.file("clip.mov");
    makeClip(path, 60);
    QmxPlayList list;
    list.append(listEntry(path + "[10-20)", 10));
    list.append(listEntry(path + "[10:00:02:05-)", 5));
    list.append(listEntry(path, 3));
    const QList<int> forward = row(10, 10) + row(55, 5) + row(0, 3);
    StreamRig rig;
    ASSERT_EQ(rig.openForRead(QVariant::fromValue(list)), 0);
    EXPECT_EQ(rig.stream.info().length(), 18);
    for (int i = 0; i < forward.size(); ++i) {
        ASSERT_TRUE(Stepper::runUntil([&rig] { return rig.cache.framesInCache() > 0; }));
        const QmxFrame frame = rig.cache.read();
        EXPECT_EQ(numberOf(frame), forward[i]);
        EXPECT_EQ(timecodeOf(frame), forward[i]);
        EXPECT_EQ(frame.auds().constFirst().data()[0], (forward[i] + 1) << 8);
        EXPECT_EQ(frame.meta().value(QmxId(1)).toInt(), i);
    }
    rig.cache.seekToLastFrame();
    rig.cache.setSpeed(-1.0);
    QList<int> backward = forward;
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(rig.play(18), backward);
    rig.close();
    rig.cache.setSpeed(1.0);

    ASSERT_EQ(rig.openForRead(path + "[5-8)"), 0);
    EXPECT_EQ(rig.stream.info().length(), 3);
    EXPECT_EQ(rig.play(3), row(5, 3));
    EXPECT_TRUE(rig.cache.atEndOfStream());
    expectLog("streamreader", "cannot be opened");
    expectLog("stream", "failed");
    for (const char *bad : {"[60-80)", "[8-5)", "[8-8)", "[0-61)", "[09:00:00:00-)", "[x-)"})
        EXPECT_NE(rig.openForRead(path + bad), 0) << bad;
}
