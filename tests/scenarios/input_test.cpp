// SPDX-License-Identifier: GPL-3.0-or-later
// What happens at the input while the recorder stands by, records and plays.
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/scenarios/recorderrig.h"

namespace {

/// Set-ups that the transport has sent to the card so far.
qsizetype setups()
{
    return LogCollector::texts(QStringLiteral("vtrobject"))
        .count(QStringLiteral("VIDEO DEVICE: Setup Started"));
}

class InputScenario : public RecorderRig
{
protected:
    explicit InputScenario(const QString &events = QString())
        : RecorderRig(QStringLiteral("generator:?rate=25&size=720x576&scan=i") + events)
    {}
};

struct LossInStandby : InputScenario
{
    LossInStandby() : InputScenario("&loss=100-160") {}
};
struct LossInTake : InputScenario
{
    LossInTake() : InputScenario("&loss=150-187,300-320") {}
};
struct ChangeInTake : InputScenario
{
    ChangeInTake() : InputScenario("&format=1280x720p50@125") {}
};
struct ChangeInPlay : InputScenario
{
    ChangeInPlay() : InputScenario("&format=1280x720p50@250") {}
};
using Generator = InputScenario;

} // namespace

TEST_F(LossInStandby, isToldTwiceAndSetsUpOnce)
{
    begin();
    EXPECT_EQ(number(eParam_InputFormat), 14u);
    const qsizetype before = setups();
    ASSERT_TRUE(until([this] { return !vtr().inputState().isValid(); }));
    EXPECT_TRUE(reads(eParam_InputFormat, 0u));
    EXPECT_TRUE(reads(eParam_RecordFormat, 0u));
    ASSERT_TRUE(until([this] { return vtr().inputState().isValid(); }));
    EXPECT_TRUE(reads(eParam_InputFormat, 14u));
    pass(5000);
    EXPECT_LE(setups() - before, 1) << "a set-up must not look like a new input";
    Take::read(record(800)).expectWhole();
}

TEST_F(LossInTake, endsItWithAnAlarmAndNothingButPictures)
{
    allowLog("alarmhandler");
    expectLog("vtrobject", "Image 0 is invalid");
    expectLog("vtrobject", "Empty frame, stop on LoV is set.  Stopping record");
    begin();
    const QString path = beginTake();
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
    EXPECT_TRUE(reads(eParam_TransportStatus, 1u));
    EXPECT_TRUE(data(eParam_AlarmInputLostInRecord).contains("Recording stopped due to loss of video"));
    Take take = Take::read(path);
    take.expectWhole();
    EXPECT_EQ(take.strips.last(), 149) << "up to the last picture before the loss";
    ASSERT_TRUE(until([this] { return vtr().inputState().isValid(); }));
    pass(1000);
    command(3);
    EXPECT_TRUE(Stepper::waitFor([this] { return data(eParam_AlarmInputLostInRecord).isEmpty(); }));
    ASSERT_TRUE(settles(VtrMode::Record));
    EXPECT_TRUE(until([this] { return vtr().state().mode().isInModeStandbyOff(); }, 15000))
        << "the second loss";
    EXPECT_TRUE(data(eParam_AlarmInputLostInRecord).contains("Recording stopped due to loss of video"));
}

TEST_F(LossInTake, goesOnWithTheStillWhenAsked)
{
    allowLog("alarmhandler");
    expectLog("vtrobject", "Image 0 is invalid");
    const qint64 counted = counter(QmxCounters::FramesIn);
    begin();
    write(eParam_ContinueOnLossOfVideo, "1");
    const QString path = beginTake();
    const qsizetype before = setups();
    ASSERT_TRUE(until([&] { return counter(QmxCounters::FramesIn) > counted + 400; }, 20000));
    EXPECT_TRUE(vtr().state().mode().isInModeRecord());
    EXPECT_TRUE(
        data(eParam_AlarmInputLostInRecord).contains("Loss of video during record, recording continued"));
    EXPECT_EQ(setups(), before) << "nothing is set up anew in a take";
    ASSERT_TRUE(stop());
    const Take take = Take::read(path);
    take.expectOneSequenceOfTimecodes();
    EXPECT_EQ(take.samples, QList<int>(take.frames(), 1920));
    // Under a still there is silence, and the sound of every picture stands with it.
    for (int i = 1; i < take.frames(); ++i)
        ASSERT_EQ(take.marks.at(i),
                  take.strips.at(i) >= 0 && take.strips.at(i) % QmxStrip::markInterval == 0 ? 0 : -1)
            << i;
    // Every frame of the gaps has the still, and no picture is lost or shown
    // twice.
    int stills = 0;
    for (int i = 0; i < take.frames(); ++i) {
        if (take.strips.at(i) < 0)
            ++stills;
        else
            ASSERT_EQ(take.strips.at(i), take.strips.first() + i) << i;
    }
    EXPECT_GE(stills, 38 + 21);
    // It plays without a single further set-up.
    enterStill();
    const qsizetype playing = setups();
    speed("1");
    pass(take.frames() * 40 + 500);
    EXPECT_EQ(setups(), playing);
    EXPECT_EQ(counter(QmxCounters::FramesDroppedPlayback), 0);
    // The format stays the input's while the input is watched behind it.
    command(4);
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
}

TEST_F(ChangeInTake, endsItBeforeTheFirstForeignFrameAndIsFollowed)
{
    allowLog("alarmhandler");
    expectLog("vtrobject", "Image 0 is invalid");
    expectLog("vtrobject", "Empty frame, stop on LoV is set.  Stopping record");
    begin();
    const QString path = beginTake();
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
    const Take take = Take::read(path);
    take.expectWhole();
    EXPECT_EQ(take.strips.last(), 124);
    EXPECT_EQ(take.info.image.height(), 576);
    EXPECT_TRUE(data(eParam_AlarmInputLostInRecord).contains("recording stopped") ||
                data(eParam_AlarmInputLostInRecord).contains("Recording stopped"));
    ASSERT_TRUE(until([this] { return number(eParam_InputFormat) == 12; }));
    pass(1000);
    EXPECT_TRUE(reads(eParam_RecordFormat, 19u));
    const Take next = Take::read(record(600));
    next.expectWhole();
    EXPECT_EQ(next.info.image.width(), 1280);
    EXPECT_EQ(next.info.image.frameRate(), QmxVideoRate(50));
}

TEST_F(ChangeInPlay, doesNotTouchThePicture)
{
    begin();
    const Take take = Take::read(record(4500));
    enterStill();
    takeShown();
    const qsizetype before = setups();
    speed("1");
    passTicks(100);
    EXPECT_EQ(number(eParam_InputFormat), 12u) << "the test has not met the change";
    EXPECT_LE(setups() - before, 1);
    const QList<Shown> seen = takeShown();
    for (qsizetype i = 5; i < seen.size() && seen.at(i).frame < take.frames() - 1; ++i) {
        ASSERT_EQ(seen.at(i).frame, seen.at(i - 1).frame + 1) << i;
        ASSERT_EQ(seen.at(i).strip, take.strips.at(seen.at(i).frame));
    }
    EXPECT_GT(seen.constLast().frame, 80);
    command(4);
    command(4);
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
    pass(1000);
    EXPECT_EQ(Take::read(record(600)).info.image.width(), 1280);
}

TEST_F(Generator, standsInForTheInputAndLeavesIt)
{
    begin();
    write(eParam_SignalGeneratorFormat, "2"); // 720p50
    write(eParam_VideoSignalGenerator, "1");
    EXPECT_TRUE(reads(eParam_InputFormat, 12u));
    tickMs = 20;
    pass(2000);
    const qsizetype before = setups();
    const Take generated = Take::read(record(1000));
    generated.expectOneSequenceOfTimecodes();
    EXPECT_EQ(generated.info.image.width(), 1280);
    for (int i = 1; i < generated.frames(); ++i)
        ASSERT_EQ(generated.strips.at(i), generated.strips.first() + i);
    pass(3000);
    EXPECT_LE(setups() - before, 1) << "the generator is no input that changes";
    write(eParam_VideoSignalGenerator, "0");
    EXPECT_TRUE(reads(eParam_InputFormat, 14u));
    tickMs = 40;
    pass(2000);
    const Take real = Take::read(record(1000));
    real.expectWhole();
    EXPECT_EQ(real.info.image.width(), 720);
}
