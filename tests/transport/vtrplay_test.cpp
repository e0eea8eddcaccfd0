// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstream.h"
#include "tests/transport/transportrig.h"

namespace {

class PlayTest : public TransportRig
{
protected:
    /// A clip of a known timecode to be played.
    void prepare(int frames)
    {
        startUp();
        vtr().setTCGSource(QmxId(1500));
        Stepper::runMs(1000);
        vtr().setTimecodeValue(QmxTimecode(10, 0, 0, 0, 0, 0));
        Stepper::runTicks(2);
        recordClip("clip.mov", frames);
        events.clear();
        forgetLog();
    }

    bool runUntilFrame(int frame)
    {
        return Stepper::runUntil(
            [this, frame] { return isIdle() && hasPicture() && vtr().currentFrameNumber() == frame; });
    }
};

} // namespace

TEST_F(PlayTest, cueAndStep_showTheFrameAskedFor)
{
    prepare(40);
    // Outside play a step only enters still; with nothing to play that does not last.
    expectLog("vtrobject", "STREAM: Failed to get a playback stream descriptor");
    expectLog("vtrobject", "Failed to open stream for read");
    vtr().step(3);
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    EXPECT_EQ(events.filter("mode "), (QStringList{"mode StandbyOff Play", "mode Play StandbyOff"}));
    EXPECT_TRUE(logged().filter("Step ").isEmpty());

    playClip("clip.mov", 0.0);
    vtr().still();
    EXPECT_EQ(logged().count("** PLAY 0.000"), 2) << "the same command again changes nothing";
    expectLog("vtrobject", "but pending cue at");
    vtr().cue(20);
    ASSERT_TRUE(runUntilFrame(20));
    vtr().step(1);
    ASSERT_TRUE(runUntilFrame(21));
    vtr().step(-3);
    ASSERT_TRUE(runUntilFrame(18));
    EXPECT_TRUE(logged().contains("Step -3 from 21"));
    for (const int huge : {std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        vtr().step(huge);
        vtr().step(huge);
        ASSERT_TRUE(runUntilFrame(huge > 0 ? 39 : 0));
    }

    vtr().cueToTimecode(QmxTimecode(10, 0, 0, 7, 0, 0));
    EXPECT_TRUE(logged().contains("Cue to 10:00:00:07 (7)"));
    ASSERT_TRUE(runUntilFrame(7));
    expectLog("vtrobject", "Can't cue to 09:59:59:24.  Value is out of range");
    vtr().cueToTimecode(QmxTimecode(9, 59, 59, 24, 0, 0));
    expectLog("vtrobject", "Can't cue to --:--:--:--.  Value is invalid");
    vtr().cueToTimecode(QmxTimecode());
    Stepper::runMs(500);
    EXPECT_EQ(vtr().currentFrameNumber(), 7);
}

TEST_F(PlayTest, atEitherEndItGoesStill)
{
    prepare(40);
    allowLog("vtrobject", "but pending cue at");
    playClip("clip.mov", 0.0);
    const int last = stream().info().length() - 1;
    const std::pair<double, int> ends[] = {{20.0, last}, {-20.0, 0}, {1.0, last}, {-1.0, 0}};
    for (const auto &[speed, end] : ends) {
        vtr().play(speed);
        EXPECT_TRUE(Stepper::runUntil([this] { return vtr().state().speedFlags().isStill(); })) << speed;
        EXPECT_TRUE(runUntilFrame(end)) << speed;
    }
}

TEST_F(PlayTest, everyStepCountsHoweverFastTheyCome)
{
    prepare(70);
    allowLog("vtrobject", "but pending cue at");
    // One step at each event of the loop, from the moment at which they are taken.
    const auto steps = [this](int count) {
        return Stepper::runUntil([this, count, done = 0]() mutable {
            if (!vtr().hasPendingModeChange() && vtr().state().mode().isInModePlay()) {
                vtr().step(1);
                ++done;
            }
            return done == count;
        });
    };
    playbackDesc = media.file("clip.mov");
    vtr().still();
    ASSERT_TRUE(steps(6));
    EXPECT_TRUE(runUntilFrame(6)) << "before the first picture: " << vtr().currentFrameNumber();
    Stepper::runMs(1000);
    EXPECT_EQ(vtr().currentFrameNumber(), 6);
    vtr().step(1);
    EXPECT_TRUE(runUntilFrame(7)) << "nothing is left over";

    // Where nothing is loaded yet, from a medium that is slower than the operator.
    for (int n = 1; n < 60; ++n)
        files->stallNth(FaultyFiles::Pread, n, 70 * QmxClock::nsPerMillisecond);
    vtr().cue(50);
    ASSERT_TRUE(Stepper::runUntil([this] { return isIdle(); }));
    ASSERT_TRUE(steps(9));
    EXPECT_TRUE(runUntilFrame(59)) << vtr().currentFrameNumber();
    Stepper::runMs(1000);
    EXPECT_EQ(vtr().currentFrameNumber(), 59);
}

TEST_F(PlayTest, backToTheSameClip_resumesWhereTheOutputStood)
{
    prepare(40);
    expectLog("vtrobject", "but pending cue at");
    playClip("clip.mov", 0.0);
    vtr().cue(25);
    ASSERT_TRUE(runUntilFrame(25));
    stop();
    EXPECT_EQ(vtr().currentFrameNumber(), 0) << "outside play";
    events.clear();
    playClip("clip.mov", 0.0);
    EXPECT_TRUE(logged().contains("Starting at prior playback position of 25"));
    ASSERT_TRUE(runUntilFrame(25));

    // Out of a play that runs it is the frame that was seen, not the one read ahead of it.
    vtr().play(-1.0);
    ASSERT_TRUE(Stepper::runUntil([this] { return vtr().currentFrameNumber() <= 20; }));
    vtr().play(1.0);
    ASSERT_TRUE(Stepper::runUntil([this] { return vtr().currentFrameNumber() == 25; }));
    stop();
    playClip("clip.mov", 0.0);
    ASSERT_TRUE(runUntilFrame(25)) << vtr().currentFrameNumber();

    events.clear();
    ASSERT_TRUE(vtr().reopenPlaybackStream());
    ASSERT_TRUE(Stepper::runUntil([this] { return count("open") == 1; }));
    ASSERT_TRUE(runUntilFrame(25));
    expectLog("vtrobject", "STREAM: Can't reopen record stream: Stream isn't writable");
    EXPECT_FALSE(vtr().reopenRecordStream());
}

TEST_F(PlayTest, aClipWithoutTimecodeCountsItsFramesAlsoFromItsStartFrame)
{
    expectLog("vtrobject", "Frame has invalid timecode");
    startUp();
    vtr().setTCGSource(QmxId(1510)); // the input has none
    Stepper::runMs(1000);
    recordClip("clip.mov", 30);
    events.clear();
    expectLog("vtrobject", "but pending cue at 27");
    startFrame = 27;
    playClip("clip.mov", 0.0);
    ASSERT_TRUE(runUntilFrame(27));
    EXPECT_EQ(std::as_const(vtr()).currentFrameMetadata().value(QmxId(12)).value<QmxTimecode>().toString(),
              "00:00:01:02");
}
