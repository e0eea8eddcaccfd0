// SPDX-License-Identifier: GPL-3.0-or-later
// The card's input watch, capture chain, playback chain and alarms, each stepped without thread and clock.
#include "platform/qmx/device/capturechain.h"
#include "platform/qmx/device/cardalarms.h"
#include "platform/qmx/device/inputwatch.h"
#include "platform/qmx/device/playbackchain.h"
#include "tests/device/devicebench.h"

#include <gtest/gtest.h>

namespace {
constexpr qint64 frameTime = QmxClock::nsPerSecond / 25;

QmxTick tickOf(qint64 index)
{
    QmxTick tick;
    tick.index = index;
    tick.deadline = index * frameTime;
    tick.rate = QmxVideoRate(25);
    return tick;
}

/// What an input gives with a picture, or (`present` false) while it is lost.
CardInput inputAt(qint64 index, bool present = true)
{
    CardInput seen;
    if (!present) return seen;
    seen.input = DeviceBench::good(tickOf(index));
    seen.input.timecode = QmxTimecode(int(90000 + index), 25, false);
    return seen;
}
} // namespace

TEST(InputWatch, holdsATimecodeThatGoesForAWhileAndNoneWhileATakeWaits)
{
    InputWatch watch(QmxVideoRefState(true, false));
    watch.begin(inputAt(0).input);
    watch.step(inputAt(1).input, tickOf(1), false, false);
    EXPECT_TRUE(watch.timecode().isValid());
    // While a take waits for its first picture after a loss it stands still like one that has gone.
    int held = 0;
    for (qint64 i = 2; watch.timecode().isValid() && i < 100; ++i, ++held)
        watch.step(inputAt(i).input, tickOf(i), false, true);
    EXPECT_EQ(held, 15);
    EXPECT_TRUE(watch.step(CardInput().input, tickOf(100), false, false).state) << "lost: told at once";
}

TEST(CaptureChain, countsTakesAndHoldsTheTimecodeAfterALoss)
{
    CaptureChain chain;
    const QmxVideoDeviceSetup setup = DeviceBench::captureSetup();
    chain.begin(setup);
    chain.setBounds(40, qint64(1) << 30);
    const auto capture = [&](qint64 index, bool present) {
        const CardInput seen = inputAt(index, present);
        const CapturedFramePtr frame = chain.step(seen, tickOf(index), setup, present, {});
        EXPECT_FALSE(chain.push(frame));
        return frame;
    };
    const auto code = [&] {
        for (const CapturedFramePtr &frame : chain.takeUncoded())
            EXPECT_FALSE(chain.coded(frame, QmxBuffer::allocate(16)));
    };
    capture(1, true);
    EXPECT_TRUE(chain.setRecord(true, 1));
    EXPECT_FALSE(chain.setRecord(true, 1));
    EXPECT_EQ(chain.take(), 1U);
    code();
    EXPECT_TRUE(chain.read().beginsTake);
    EXPECT_FALSE(chain.holdsTimecode());
    capture(2, false);
    EXPECT_TRUE(chain.holdsTimecode()) << "lost";
    capture(3, true);
    EXPECT_TRUE(chain.holdsTimecode()) << "back, and nobody can read it yet";
    code();
    EXPECT_FALSE(chain.holdsTimecode());
    EXPECT_FALSE(chain.read().beginsTake);
}

TEST(PlaybackChain, theCurrentFrameIsThatOfTheCacheFromASeekToTheNextWrite)
{
    PlaybackChain chain;
    chain.setup(DeviceBench::playbackSetup());
    QmxFrame frame;
    frame.vids().append(QmxImage(DeviceBench::format(), {QmxBuffer::allocate(16)}));
    chain.write(frame, {}, 0);
    EXPECT_EQ(chain.undecoded().size(), 1);
    EXPECT_TRUE(chain.current());
    chain.flush();
    chain.expectSought();
    EXPECT_FALSE(chain.current());
    chain.setup(DeviceBench::playbackSetup()); // a set-up in between changes nothing about that
    EXPECT_FALSE(chain.current());
    chain.write(frame, {}, 0);
    EXPECT_TRUE(chain.current());
}

TEST(PlaybackChain, whatWaitsIsBoundedInBytesButForOneFrame)
{
    constexpr int bytes = 5 << 20;
    PlaybackChain chain;
    chain.setup(DeviceBench::playbackSetup());
    const auto write = [&chain](int size) {
        QmxFrame frame;
        frame.vids().append(QmxImage(DeviceBench::format(), {QmxBuffer::allocate(size)}));
        chain.write(frame, {}, 0);
    };
    EXPECT_EQ(chain.room(40, bytes), 40);
    write(2 * bytes);
    EXPECT_EQ(chain.room(40, bytes), 0);
    chain.clear();
    for (int i = 0; i < 4; ++i)
        write(bytes / 5);
    EXPECT_EQ(chain.room(40, bytes), 36);
    write(bytes / 5);
    EXPECT_EQ(chain.room(40, bytes), 0);
    const DecodedPicturePtr first = chain.undecoded().first();
    first->state = DecodedPicture::Done;
    chain.tick(PlaybackQueue::startTime.count());
    EXPECT_EQ(chain.room(40, bytes), 36) << "one came onto the output";
}

TEST(CardAlarms, tellChangesOnceAndALateClockForASecondsWorth)
{
    QStringList told;
    CardAlarms alarms([&](const QmxAlarm &alarm) {
        told << QStringLiteral("%1 %2").arg(alarm.id().value()).arg(alarm.isActive());
    });
    TickSchedule::Step step;
    for (int i = 1; i <= 200; ++i) {
        step.deadline = i * frameTime;
        step.late = i <= 5;
        alarms.tick(step);
    }
    alarms.sound(true);
    alarms.sound(true);
    alarms.sound(false);
    DecodedPicture bad;
    bad.failed = true;
    alarms.picture(&bad);
    alarms.output({});
    alarms.output(QStringLiteral("and the output fails too"));
    alarms.picture(nullptr);
    alarms.output({});
    EXPECT_EQ(told,
              QStringList({"1912 1", "1912 0", "1909 1", "1909 0", "1918 1", "1908 1", "1908 0", "1918 0"}));
    EXPECT_TRUE(alarms.variableRate(true));
    EXPECT_FALSE(alarms.variableRate(true));
}
