// SPDX-License-Identifier: GPL-3.0-or-later
// Takes that begin before their command, and takes that begin at an exact frame.
#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/core/qmxtakemoment.h"
#include "platform/qmx/core/qmxtakewindow.h"
#include "tests/scenarios/recorderrig.h"

#include <cmath>

namespace {

constexpr int seconds = 3;

class PreRecordScenario : public RecorderRig
{
protected:
    using RecorderRig::RecorderRig;

    void begin()
    {
        RecorderRig::begin();
        write(eParam_PreRecord, QString::number(seconds));
        pass((seconds + 1) * 1000);
    }
    int earlier() const { return int(std::lround(rate * seconds)); }

    double rate = 25;
};

class PreRecordRates : public PreRecordScenario, public ::testing::WithParamInterface<const char *>
{
protected:
    PreRecordRates() : PreRecordScenario(QStringLiteral("generator:?rate=%1").arg(GetParam()))
    {
        rate = QByteArray(GetParam()).split('&').first().toDouble();
        tickMs = int(1000 / rate);
    }
};

/// The timecode of the input runs from ten o'clock on, whose drop flag its rate decides.
class StartRates : public RecorderRig, public ::testing::WithParamInterface<const char *>
{
protected:
    StartRates() : RecorderRig(QStringLiteral("generator:?rate=%1&tc=10:00:00%2").arg(GetParam(), sign()))
    {
        rate = QByteArray(GetParam()).split('&').first().toDouble();
        tickMs = int(1000 / rate);
    }
    static const char *sign() { return QByteArray(GetParam()).contains(".97") ? ";00" : ":00"; }
    QmxTimecode now() { return vtr().lastVBI().inputTimecode(); }
    QmxTimecode in(double time) { return now().advanced(int(std::lround(time * rate))); }
    /// Commands the take after `wait` seconds, and ends it when it holds `frames`.
    Take take(double wait, int frames)
    {
        pass(int(wait * 1000));
        const QString path = beginTake();
        EXPECT_TRUE(until([&] { return counter(QmxCounters::CurrentClipFrames) >= frames; }));
        EXPECT_TRUE(stop());
        Take take = Take::read(path);
        take.expectWhole();
        return take;
    }

    double rate = 0;
};

class PreRecordLoss : public PreRecordScenario
{
protected:
    PreRecordLoss() : PreRecordScenario("generator:?rate=25&size=720x576&scan=i&loss=150-160") {}
};

class PreRecordChange : public PreRecordScenario
{
protected:
    PreRecordChange() : PreRecordScenario("generator:?rate=25&size=720x576&scan=i&format=1280x720p50@150") {}
};

} // namespace

TEST_P(PreRecordRates, aTakeBeginsSoMuchBeforeItsCommandAndNoFrameIsInTwo)
{
    begin();
    EXPECT_EQ(counter(QmxCounters::PreRecordFrames), earlier());
    EXPECT_GT(counter(QmxCounters::PreRecordBytes), 0);
    const qint64 dropped = counter(QmxCounters::FramesDroppedCapture);
    const qint64 asked = takeShown().last().strip;
    Take before = Take::read(record(1000));
    before.expectWhole();
    // The command takes some frames to arrive.
    EXPECT_NEAR(before.strips.first(), asked + 1 - earlier() + 2, 3);
    EXPECT_GE(before.frames(), earlier() + rate * 0.9);

    // Soon after: what came since the end of the one before, and nothing of that.
    const Take soon = Take::read(record(500));
    soon.expectWhole();
    EXPECT_GT(soon.strips.first(), before.strips.last());
    EXPECT_LE(soon.strips.first(), before.strips.last() + 5);
    EXPECT_EQ(soon.timecodes.first(), before.timecodes.last().advanced(1)) << "the count goes on";

    write(eParam_TimecodeSource, "5");
    pass((seconds + 2) * 1000);
    const int now = QmxTimecode::fromTimeOfDay(int(std::lround(rate)), false).toFrameNumber();
    const Take late = Take::read(record(500));
    late.expectWhole();
    EXPECT_NEAR(late.timecodes.first().toFrameNumber(), now - earlier(), 5);
    EXPECT_EQ(counter(QmxCounters::FramesDroppedCapture), dropped);
}

INSTANTIATE_TEST_SUITE_P(Rates, PreRecordRates,
                         ::testing::Values("24&size=1920x1080", "25&size=720x576&scan=i",
                                           "29.97&size=720x486&scan=i", "50&size=1280x720",
                                           "59.94&size=1280x720"));

TEST_P(StartRates, aTakeBeginsAndEndsWithExactlyTheFramesAskedFor)
{
    begin();
    write(eParam_TimecodeSource, "1");
    pass(1500);
    // The command comes early: the frames before are not taken. It comes late: they are in memory.
    for (const double wait : {0.5, 2.4}) {
        const QmxTimecode start = in(2);
        write(eParam_RecordStart, start.toString());
        EXPECT_EQ(take(wait, 20).timecodes.first(), start) << wait;
        EXPECT_TRUE(until([this] { return text(eParam_RecordStart).isEmpty(); })) << "it is used once";
    }
    const Take usual = take(0, 10);
    EXPECT_NEAR(usual.timecodes.first().toFrameNumber(), now().advanced(-usual.frames()).toFrameNumber(), 20);

    // The end that somebody has set is that take's, also of one with a start; the next one waits without it.
    QmxTakeWindow::Client window;
    for (int i = 0; i < 3; ++i) {
        const QmxTimecode first = in(2);
        write(eParam_RecordStart, first.toString());
        pass(500);
        command(3);
        EXPECT_TRUE(until([&] { return counter(QmxCounters::StartIn) > 0; })) << "it says that it waits";
        const QString path = clipOpened();
        ASSERT_TRUE(until([&] { return counter(QmxCounters::CurrentClipFrames) >= 5; }));
        EXPECT_EQ(counter(QmxCounters::StartIn), 0);
        const auto at = window.now();
        ASSERT_TRUE(at && at->first > 0);
        ASSERT_TRUE(window.set(at->first, at->first + 30));
        pass(3000);
        ASSERT_TRUE(stop());
        const Take ended = Take::read(path);
        EXPECT_EQ(ended.timecodes.first(), first) << i;
        EXPECT_EQ(ended.frames(), 30) << i;
    }

    // A time of day, to the frame; and the end, with frames behind it that are not in the clip.
    const qint64 wall = QmxEnvironment::current().clock->wallTime();
    const qint64 second = QmxClock::nsPerSecond;
    const QmxTimecode seen = now();
    write(eParam_RecordEnd, QmxTakeMoment::toText(wall + 4 * second));
    write(eParam_RecordStart, QmxTakeMoment::toText(wall + 2 * second));
    const QString path = beginTake();
    pass(2300); // the clip has opened with the first frame
    ASSERT_TRUE(stop());
    const Take exact = Take::read(path);
    exact.expectWhole();
    EXPECT_NEAR(exact.frames(), 2 * rate, 0.99); // which of two whole numbers says the phase
    EXPECT_NEAR(exact.timecodes.first().toFrameNumber() - seen.toFrameNumber(), 2 * rate, 2.1);

    // Of the clock: it carries what was asked for.
    write(eParam_TimecodeSource, "5");
    pass(1500);
    const QmxTimecode clock =
        QmxTimecode::fromTimeOfDay(int(std::lround(rate)), false).advanced(3 * int(rate));
    write(eParam_RecordStart, clock.toString());
    EXPECT_TRUE(take(0.2, 20).timecodes.first().timecodeMatches(clock));

    // Later than anything is kept: it begins all the same, and says so wherever one looks.
    allowLog("lumen");
    allowLog("alarmhandler");
    write(eParam_TimecodeSource, "1");
    pass(1500);
    QmxTimecode start = in(1);
    write(eParam_RecordStart, start.toString());
    const Take late = take(5, 20);
    const int frames = late.timecodes.first().toFrameNumber() - start.toFrameNumber();
    EXPECT_GT(frames, 3 * rate);
    EXPECT_EQ(counter(QmxCounters::StartLate), frames);
    EXPECT_TRUE(shows(eParam_AlarmStartLate, qPrintable(QStringLiteral("%1 frames").arg(frames))));
    QmxClipCheck claims;
    QmxClipCheck::claims(late.path, claims, QmxEnvironment::current());
    EXPECT_EQ(claims.take.value("late_start").toObject(),
              (QJsonObject{{"asked", start.toString()}, {"frames", frames}}));
    // Where pre_record keeps so much it is taken from there.
    write(eParam_PreRecord, "6");
    pass(7000);
    start = in(1);
    write(eParam_RecordStart, start.toString());
    EXPECT_EQ(take(5, 20).timecodes.first(), start);
    EXPECT_TRUE(isClear(eParam_AlarmStartLate));
    EXPECT_EQ(counter(QmxCounters::StartLate), 0);
}

INSTANTIATE_TEST_SUITE_P(Rates, StartRates,
                         ::testing::Values("24&size=1920x1080", "25&size=720x576&scan=i",
                                           "29.97&size=720x486&scan=i", "50&size=1280x720",
                                           "59.94&size=1280x720"));

TEST_F(PreRecordLoss, aLossOfInputBeginsItAnew)
{
    allowLog(QString());
    begin();
    ASSERT_TRUE(until([this] { return !vtr().inputState().isValid(); }));
    ASSERT_TRUE(until([this] { return vtr().inputState().isValid(); }));
    pass(1500); // half a second of which passes before the input counts
    const Take take = Take::read(record(500));
    take.expectWhole();
    EXPECT_GT(take.strips.first(), 160);
    EXPECT_GT(take.frames(), 25);
}

TEST_F(PreRecordChange, anotherFormatBeginsItAnew)
{
    begin();
    ASSERT_TRUE(until([this] { return vtr().inputState().captureImageDesc().height() == 720; }));
    pass(1500);
    const Take take = Take::read(record(500));
    take.expectWhole();
    EXPECT_EQ(take.info.image.height(), 720);
    EXPECT_GE(take.strips.first(), 150);
    EXPECT_GT(take.frames(), 50) << "what came since is there";
}

TEST_F(PreRecordScenario, aShortTakeOnASlowMediumIsWhole)
{
    begin();
    // Each write takes as long as five frames: the medium needs long for what the take begins with.
    constexpr int writes = 36;
    for (int n = 1; n <= writes; ++n)
        files->stallNth(FaultyFiles::Pwrite, n, 200 * QmxClock::nsPerMillisecond);
    const QString path = beginTake();
    pass(200);
    ASSERT_TRUE(stop());
    const Take take = Take::read(path);
    take.expectWhole();
    EXPECT_GE(take.frames(), earlier() + 4);
    EXPECT_EQ(counter(QmxCounters::FramesDroppedCapture), 0);
    EXPECT_TRUE(isClear(eParam_AlarmMediaSlow));
}
