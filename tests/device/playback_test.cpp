// SPDX-License-Identifier: GPL-3.0-or-later
// Playback: runs, set-ups in the queue, steps, dropped and key frames.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxids.h"
#include "tests/device/devicebench.h"
#include "tests/support/logcollector.h"
#include "tests/support/stepper.h"

#include <gtest/gtest.h>

namespace {
class Playback : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(bench.device->open(QStringLiteral("lumen")));
        Stepper::deliver();
        bench.setup(DeviceBench::playbackSetup());
        bench.vbis.clear();
        // At a tick, whatever the time was: what is counted from it in milliseconds is whole ticks.
        ASSERT_TRUE(Stepper::runUntil([this] { return !bench.vbis.isEmpty(); }));
        Stepper::deliver();
        bench.takeSignals();
        bench.takeShown();
    }

    QList<int> ticks(int count)
    {
        Stepper::runTicks(count);
        return bench.takeShown();
    }
    void flush()
    {
        bench.device->flush();
        EXPECT_TRUE(bench.device->isFlushing());
        EXPECT_TRUE(bench.flushed.isEmpty()); // never from inside the call
        Stepper::deliver();
        EXPECT_FALSE(bench.device->isFlushing());
        ASSERT_EQ(bench.flushed.size(), 1);
        flushedAt = bench.flushed.takeFirst().value(QmxId(1)).toInt();
    }

    DeviceBench bench;
    int flushedAt = -1;
};
} // namespace

TEST_F(Playback, showsEveryFrameForOneTickInOrderAndDecodesItOnce)
{
    bench.play(1, 10);
    EXPECT_EQ(bench.device->framesWritable(), 30);
    EXPECT_EQ(ticks(10), QList<int>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
    EXPECT_EQ(bench.vbis.last().tcgTimecode(), QmxTimecode(10, 25, false));
    bench.play(10, 10, true);
    bench.play(10, 10, true);
    EXPECT_EQ(ticks(3), QList<int>({10, 10, 10}));
    EXPECT_EQ(bench.edges->decoded.count(10), 1);
    EXPECT_TRUE(bench.takeSignals().isEmpty());
    for (int i = 0; i < 40; ++i)
        bench.device->writeFrame(bench.frame(11, true));
    EXPECT_EQ(bench.device->framesWritable(), 0);
    EXPECT_TRUE(bench.device->writeFrame(bench.frame(11)).isError());
    Stepper::deliver();
    EXPECT_EQ(bench.takeSignals(), QStringList({"write failed"}));
}

TEST_F(Playback, fasterPlayIsHeardWhereItFollowsAClipThatGrows)
{
    bench.device->setProperty(QmxIds::direction, QVariant::fromValue(QmxIds::directionFastForward));
    const auto heard = [this](int first, int stride) {
        constexpr int count = 20;
        for (int i = 0; i < count; ++i) {
            QmxFrame frame = bench.frame(first + i * stride, true);
            frame.auds() = {QmxAudio::silence(DeviceBench::playbackSetup().audioDesc(), 1920)};
            bench.device->writeFrame(frame);
        }
        Stepper::runTicks(count);
        const std::lock_guard lock(bench.edges->mutex);
        const auto shown = std::exchange(bench.edges->shown, {});
        EXPECT_EQ(shown.last().metadata.value(QmxId(1)).toInt(), first + (count - 1) * stride);
        return std::count_if(shown.begin(), shown.end(),
                             [](const QmxOutputFrame &frame) { return frame.audio.isValid(); });
    };
    QmxCounters &counters = QmxEnvironment::current().deck->counters;
    EXPECT_EQ(heard(1, 1), 0) << "of a clip that does not grow";
    counters.set(QmxCounters::MaterialGrows, 1);
    EXPECT_EQ(heard(100, 4), 0) << "on its way there";
    EXPECT_EQ(heard(200, 1), 15) << "all but the first of a row, which make it certain";
}

TEST_F(Playback, startsARunWithFourDecodedFramesOrAfterATime)
{
    bench.play(1, 2);
    EXPECT_EQ(ticks(4), QList<int>({0, 0, 0, 0}));
    EXPECT_EQ(ticks(3), QList<int>({1, 2, 2})); // 200 ms after the first was written
    // The run has begun: a tick without a frame is a drop, told once, when the next one comes.
    EXPECT_EQ(bench.takeSignals(), QStringList());
    bench.play(3, 3);
    EXPECT_EQ(ticks(3), QList<int>({3, 3, 3}));
    EXPECT_EQ(bench.takeSignals(), QStringList({"dropped"}));
    flush(); // a new run: the gap is none of its own
    bench.play(4, 7);
    EXPECT_EQ(ticks(1), QList<int>({4}));
    EXPECT_EQ(bench.takeSignals(), QStringList({"flushed"}));
    // After a frame with hold flag nothing is missing.
    flush();
    bench.play(8, 8, true);
    EXPECT_EQ(ticks(3), QList<int>({8, 8, 8}));
    bench.play(9, 9, true);
    ticks(1);
    EXPECT_EQ(bench.takeSignals(), QStringList({"flushed"}));
}

TEST_F(Playback, aSetupWaitsForItsTurnInTheQueue)
{
    bench.play(1, 30);
    ticks(10);
    bench.setup(DeviceBench::playbackSetup(50)); // other rate, as at a cut in a list
    bench.play(31, 40);
    EXPECT_EQ(bench.takeSignals(), QStringList({"setup", "started"}).mid(0, 1));
    QList<int> shown = ticks(20);
    EXPECT_EQ(shown.first(), 11);
    EXPECT_EQ(shown.last(), 30);
    Stepper::runTicks(12, 50);
    shown = bench.takeShown();
    EXPECT_EQ(shown.first(), 31);
    EXPECT_EQ(shown.mid(0, 9), QList<int>({31, 32, 33, 34, 35, 36, 37, 38, 39}));
    EXPECT_FALSE(bench.takeSignals().contains(QStringLiteral("dropped")));

    // Held for half a second around a set-up, and before it waits only what is on the output already.
    flush();
    for (int i = 0; i < 30; ++i)
        bench.device->writeFrame(bench.frame(40, true));
    Stepper::runTicks(2, 50);
    QmxVideoDeviceSetup other = DeviceBench::playbackSetup();
    other.setSuperOut(QmxId(1300));
    bench.setup(other);
    bench.takeShown();
    Stepper::runTicks(2, 50);
    EXPECT_EQ(bench.takeShown(), QList<int>({40, 40})); // the last picture stays, never black
    bench.play(41, 41, true);
    Stepper::runTicks(2, 50);
    EXPECT_EQ(bench.takeShown().mid(0, 1), QList<int>({41}));
    // A capture set-up forgets what waits.
    bench.play(42, 60);
    bench.setup(DeviceBench::captureSetup());
    EXPECT_EQ(bench.device->framesWritable(), 40);
}

TEST_F(Playback, everyStepCounts)
{
    bench.play(10, 10, true);
    ticks(2);
    // As a player steps: flush, take the frame reported plus one, write it until the device is full.
    for (int step = 1; step <= 5; ++step) {
        flush();
        EXPECT_EQ(flushedAt, 9 + step);
        for (int i = 0; i < 5; ++i)
            bench.device->writeFrame(bench.frame(flushedAt + 1, true));
        // Two steps within one tick: the frame that still waits is the current one, and is shown.
        if (step == 2) continue;
        EXPECT_EQ(ticks(1), QList<int>({step < 2 ? 11 : 9 + step}));
    }
    EXPECT_EQ(ticks(1), QList<int>({15}));
    // From still to play: the frame on the output counts as shown, the next one comes with the next tick.
    flush();
    bench.takeSignals();
    bench.device->writeFrame(bench.frame(15, false, true));
    Stepper::deliver();
    bench.play(16, 20);
    EXPECT_EQ(ticks(2), QList<int>({16, 17}));
    EXPECT_EQ(bench.takeSignals(), QStringList({"key 15"}));
    // Back and forth over pictures that have been decoded.
    const qsizetype before = bench.edges->decoded.size();
    flush();
    bench.play(16, 16, true);
    EXPECT_EQ(ticks(1), QList<int>({16}));
    EXPECT_EQ(bench.edges->decoded.size(), before);
}

TEST_F(Playback, keyFramesAreToldOnTheOutputOnceARun)
{
    bench.play(1, 4);
    bench.device->writeFrame(bench.frame(5, true, true));
    EXPECT_TRUE(bench.takeSignals().isEmpty());
    ticks(4);
    EXPECT_TRUE(bench.takeSignals().isEmpty());
    for (int i = 0; i < 5; ++i)
        bench.device->writeFrame(bench.frame(5, true, true));
    ticks(5);
    EXPECT_EQ(bench.takeSignals(), QStringList({"key 5"}));
    // In a new run again.
    flush();
    for (int i = 0; i < 5; ++i)
        bench.device->writeFrame(bench.frame(5, true, true));
    ticks(3);
    EXPECT_EQ(bench.takeSignals(), QStringList({"flushed", "key 5"}));
    // A report that the flush overtakes is void.
    bench.device->writeFrame(bench.frame(6, true, true));
    bench.onVbi = [this] {
        bench.onVbi = nullptr;
        bench.device->flush();
    };
    flush();
    bench.device->writeFrame(bench.frame(6, true, true));
    ticks(2);
    EXPECT_EQ(bench.takeSignals().count(QStringLiteral("key 6")), 1);
}

TEST_F(Playback, currentFrameIsOfTheStreamOpenedLast)
{
    QmxPlayhead *playhead = &QmxEnvironment::current().deck->playhead;
    const quint64 origin = playhead->openBegins();
    playhead->openEnds(origin);
    playhead->setPosition(77);
    QmxFrame own = bench.frame(3, true);
    own.setOrigin(origin);
    bench.device->writeFrame(own);
    ticks(1);
    EXPECT_EQ(bench.device->currentFrameMetadata().value(QmxId(1)).toInt(), 3);
    EXPECT_TRUE(bench.device->currentFrameMetadata().contains(QmxId(12)));
    QmxFrame next = bench.frame(4);
    next.setOrigin(origin);
    flush();
    bench.device->writeFrame(next);
    EXPECT_EQ(bench.device->currentFrameMetadata().value(QmxId(1)).toInt(), 4); // it waits

    // While a stream is being opened a flush is told right after the open (right before it, if it fails).
    const quint64 opening = playhead->openBegins();
    bench.device->flush();
    Stepper::runTicks(3);
    EXPECT_TRUE(bench.device->isFlushing());
    EXPECT_TRUE(bench.flushed.isEmpty());
    playhead->setPosition(12);
    playhead->settle();
    playhead->setPosition(13); // sought together with the flush, which counts from before
    playhead->openEnds(opening);
    ASSERT_EQ(bench.flushed.size(), 1);
    EXPECT_EQ(bench.flushed.first().value(QmxId(1)).toInt(), 12); // frames of the old stream do not count
    EXPECT_EQ(bench.flushed.first().size(), 1);
}

TEST_F(Playback, whatCannotBeDecodedIsBlackWithAnAlarm)
{
    expectLog(QStringLiteral("lumen"), QStringLiteral("cannot be shown"));
    bench.edges->failDecoding = 2;
    bench.play(1, 4);
    EXPECT_EQ(ticks(4), QList<int>({1, 0, 3, 4}));
    ASSERT_EQ(bench.alarms.size(), 2);
    EXPECT_EQ(bench.alarms.at(0).id(), QmxId(1918));
    EXPECT_EQ(bench.alarms.at(0).level(), QmxAlarm::Warning);
    EXPECT_EQ(bench.alarms.at(1).level(), QmxAlarm::Clear);
    // Parts of two pictures are grey: they are shown, and it is told once.
    bench.edges->damagedDecoding = {6, 7};
    bench.play(5, 9);
    EXPECT_EQ(ticks(5), QList<int>({5, 6, 7, 8, 9}));
    ASSERT_EQ(bench.alarms.size(), 4);
    EXPECT_TRUE(bench.alarms.at(2).message().contains("grey"));
    EXPECT_EQ(bench.alarms.at(3).level(), QmxAlarm::Clear);
}
