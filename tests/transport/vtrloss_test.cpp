// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxclipreader.h"
#include "tests/transport/transportrig.h"

namespace {

/// An input that is gone for a second and a half, six seconds after the start.
class LossTest : public TransportRig
{
protected:
    LossTest() : TransportRig("generator:?rate=25&size=720x576&scan=i&loss=150-187")
    {
        expectLog("vtrobject", "Image 0 is invalid");
    }

    void recordUntilTheLoss()
    {
        recordDesc = media.file("take.mov");
        vtr().record();
        ASSERT_TRUE(Stepper::runUntil([this] { return framesRecorded() > 10; }));
        ASSERT_TRUE(Stepper::runUntil([this] { return !alarms.isEmpty(); }));
    }
};

class ReferenceTest : public TransportRig
{
protected:
    ReferenceTest() : TransportRig("generator:?rate=25&size=720x576&scan=i", "reference=missing") {}
};

} // namespace

TEST_F(LossTest, stopOnLossOfVideo_endsTheRecordWithItsAlarm)
{
    startUp();
    expectLog("vtrobject", "Empty frame, stop on LoV is set.  Stopping record");
    recordUntilTheLoss();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    EXPECT_EQ(alarms.size(), 1);
    EXPECT_EQ(count(1907, QmxAlarm::Error, "Recording stopped due to loss of video"), 1);
}

TEST_F(LossTest, continueWithoutStill_endsTheRecordToo)
{
    startUp();
    vtr().setStopOnLossOfVideo(false);
    expectLog("vtrobject", "Loss of Video image buffer is not valid.");
    recordUntilTheLoss();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    EXPECT_EQ(alarms.size(), 2);
    EXPECT_EQ(count(1907, QmxAlarm::Warning, "Loss of video during record, recording continued"), 1);
    EXPECT_EQ(count(1905, QmxAlarm::Error, "Invalid Loss Of Video image buffer"), 1);
}

TEST_F(LossTest, continueWithStill_recordsTheStillAndThenTheInputAgain)
{
    startUp();
    recordClip("still.mov", 3);
    vtr().setSuperOut(QmxId(1300)); // any set-up loads the still anew
    vtr().setStopOnLossOfVideo(false);
    Stepper::runMs(1000);
    recordUntilTheLoss();
    ASSERT_TRUE(Stepper::runUntil([this] { return framesRecorded() > 170; }));
    const qsizetype stills = alarms.size();
    EXPECT_GT(stills, 20);
    EXPECT_EQ(count(1907, QmxAlarm::Warning, "Loss of video during record, recording continued"), stills);
    Stepper::runMs(500);
    EXPECT_EQ(alarms.size(), stills) << "the input is back";
    EXPECT_TRUE(vtr().state().mode().isInModeRecord());
    vtr().standbyOff();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));

    // No frame is missing, and those in the gap are one and the same picture.
    QmxClipReader take, still;
    QmxFrame stillFrame;
    ASSERT_FALSE(take.open(media.file("take.mov")).isError());
    ASSERT_FALSE(still.open(media.file("still.mov")).isError());
    ASSERT_FALSE(still.readFrame(0, stillFrame).isError());
    const auto bytes = [](const QmxFrame &frame) {
        const QmxBuffer buffer = frame.vids().first().buffers().first();
        return QByteArray(reinterpret_cast<const char *>(buffer.constData()), buffer.size());
    };
    qsizetype same = 0;
    int before = 0;
    for (qint64 i = 0; i < take.info().frames; ++i) {
        QmxFrame frame;
        ASSERT_FALSE(take.readFrame(i, frame).isError());
        const auto timecode = std::as_const(frame).meta().value(QmxId(12)).value<QmxTimecode>();
        ASSERT_TRUE(i == 0 || timecode.toFrameNumber() == before + 1) << "frame " << i;
        before = timecode.toFrameNumber();
        same += bytes(frame) == bytes(stillFrame);
    }
    EXPECT_EQ(same, stills);
}

TEST_F(ReferenceTest, missingReference_isToldOnceAndClearedByAnotherSyncSource)
{
    startUp();
    Stepper::runMs(3000);
    EXPECT_EQ(alarms.size(), 1);
    EXPECT_EQ(count(1910, QmxAlarm::Error, QString()), 1);
    vtr().setSyncSource(QmxId(503));
    Stepper::runMs(3000);
    EXPECT_EQ(alarms.size(), 2);
    EXPECT_EQ(count(1910, QmxAlarm::Clear, QString()), 1);
}
