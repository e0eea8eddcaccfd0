// SPDX-License-Identifier: GPL-3.0-or-later
// The timecode of the takes is one sequence, whatever ended them.
#include "tests/scenarios/recorderrig.h"

namespace {

class TimecodeScenario : public RecorderRig
{
protected:
    using RecorderRig::RecorderRig;

    void expectStart(const Take &take, const char *timecode)
    {
        ASSERT_GT(take.frames(), 0);
        EXPECT_EQ(take.timecodes.first().toString(), QLatin1String(timecode)) << take.path.toStdString();
        take.expectOneSequenceOfTimecodes();
    }
    static void expectContinues(const Take &before, const Take &take)
    {
        ASSERT_GT(take.frames(), 0);
        ASSERT_GT(before.frames(), 0);
        EXPECT_EQ(take.timecodes.first(), before.timecodes.last().advanced(1)) << take.path.toStdString();
        take.expectOneSequenceOfTimecodes();
    }
    /// A take that ends as soon as its first frame is in.
    QString recordOneFrame()
    {
        command(3);
        QString path = clipOpened();
        EXPECT_TRUE(stop());
        return path;
    }
};

class LossTimecodeScenario : public TimecodeScenario
{
protected:
    LossTimecodeScenario()
        : TimecodeScenario("generator:?rate=25&size=720x576&scan=i&loss=120-150,"
                           "300-310&camera=off@0,on@400,off@430")
    {}
};

class DropFrameScenario : public TimecodeScenario
{
protected:
    DropFrameScenario() : TimecodeScenario("generator:?rate=29.97&size=720x486&scan=i") {}
};

} // namespace

TEST_F(TimecodeScenario, takesOfTheOperatorContinueEachOther)
{
    begin();
    write(eParam_TimecodePresetHour, "10");
    Take before = Take::read(record(1200));
    expectStart(before, "10:00:00:00");
    before.expectWhole();
    // Right after one another, after playing, after settings, after a while.
    const std::function<void()> between[] = {
        [] {},
        [this] {
            speed("1");
            ASSERT_TRUE(settles(VtrMode::Play));
            pass(1000);
            command(4);
            command(4);
            ASSERT_TRUE(settles(VtrMode::StandbyOff));
        },
        [this] {
            write(eParam_Superimpose, "1");
            pass(1200);
        },
        [this] { pass(3000); },
    };
    for (const auto &what : between) {
        what();
        const Take take = Take::read(record(600));
        expectContinues(before, take);
        take.expectWhole();
        before = take;
    }
    for (int i = 0; i < 3; ++i) {
        const Take take = Take::read(recordOneFrame());
        EXPECT_LE(take.frames(), 3);
        expectContinues(before, take);
        before = take;
    }
    write(eParam_TimecodePresetHour, "12");
    before = Take::read(record(400));
    expectStart(before, "12:00:00:00");
    write(eParam_TimecodePresetHour, "12"); // the same once more starts anew
    before = Take::read(record(400));
    expectStart(before, "12:00:00:00");
    expectContinues(before, Take::read(record(400)));
}

TEST_F(LossTimecodeScenario, takesThatTheInputEndedAreContinued)
{
    expectLog("vtrobject", "Image 0 is invalid");
    expectLog("vtrobject", "Empty frame, stop on LoV is set.  Stopping record");
    allowLog("alarmhandler");
    begin();
    write(eParam_TimecodePresetHour, "10");
    QList<Take> takes;
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(until([this] { return vtr().inputState().isValid(); }));
        pass(800);
        const QString path = beginTake();
        ASSERT_TRUE(until([this] { return vtr().state().mode().isInModeStandbyOff() && isIdle(); }, 12000))
            << i;
        takes.append(Take::read(path));
        takes.last().expectWhole();
        EXPECT_TRUE(data(eParam_AlarmInputLostInRecord).contains("Recording stopped due to loss of video"));
    }
    expectStart(takes[0], "10:00:00:00");
    expectContinues(takes[0], takes[1]);
    // The camera's flag does the next one.
    write(eParam_CameraInput, "1");
    const QString path = clipOpened(12000);
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
    const Take camera = Take::read(path);
    camera.expectWhole();
    EXPECT_NEAR(camera.frames(), 30, 4);
    expectContinues(takes[1], camera);
}

TEST_F(DropFrameScenario, leavesOutTwoNumbersAMinuteButTheTenth)
{
    begin();
    write(eParam_TimecodeDropFrame, "1");
    const struct
    {
        int minute;
        const char *start, *before, *after;
    } minutes[] = {{0, "10:00:59;00", "10:00:59;29", "10:01:00;02"},
                   {9, "10:09:59;00", "10:09:59;29", "10:10:00;00"}};
    for (const auto &minute : minutes) {
        vtr().setTimecodeValue(QmxTimecode(10, minute.minute, 59, 0, 0, 0));
        pass(100);
        const Take first = Take::read(record(700)), second = Take::read(record(1300));
        expectStart(first, minute.start);
        expectContinues(first, second);
        second.expectWhole();
        QStringList all;
        for (const QmxTimecode &timecode : second.timecodes)
            all.append(timecode.toString());
        const qsizetype end = all.indexOf(minute.before);
        ASSERT_GE(end, 0);
        EXPECT_EQ(all.at(end + 1), minute.after);
        // Played, it is the same.
        enterStill();
        cueAndWait(int(end) + 1);
        EXPECT_EQ(takeShown().constLast().timecode, minute.after);
        ASSERT_TRUE(stop());
    }
}
