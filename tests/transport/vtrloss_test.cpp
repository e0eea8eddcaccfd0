// SPDX-License-Identifier: GPL-3.0-or-later
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
};

class ReferenceTest : public TransportRig
{
protected:
    ReferenceTest() : TransportRig("generator:?rate=25&size=720x576&scan=i", "reference=missing") {}
};

} // namespace

TEST_F(LossTest, continueWithoutStill_endsTheRecordToo)
{
    startUp();
    vtr().setStopOnLossOfVideo(false);
    expectLog("vtrobject", "Loss of Video image buffer is not valid.");
    recordDesc = media.file("take.mov");
    vtr().record();
    ASSERT_TRUE(Stepper::runUntil([this] { return framesRecorded() > 10; }));
    ASSERT_TRUE(Stepper::runUntil([this] { return !alarms.isEmpty(); }));
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    EXPECT_EQ(alarms.size(), 2);
    EXPECT_EQ(count(1907, QmxAlarm::Warning, "Loss of video during record, recording continued"), 1);
    EXPECT_EQ(count(1905, QmxAlarm::Error, "Invalid Loss Of Video image buffer"), 1);
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
