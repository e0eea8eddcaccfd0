// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/transport/transportrig.h"

#include <algorithm>

namespace {

struct OneOfTwo : OneTransport
{
    void record(const QString &name)
    {
        recordDesc = media.file(name);
        vtr().record();
    }
    /// The medium's failure was told.
    bool isWarned() const
    {
        return std::any_of(alarms.begin(), alarms.end(),
                           [](const QmxAlarm &one) { return one.id() == QmxId(1901) && one.isActive(); });
    }
    bool records() const { return reported().mode().isInModeRecord(); }
};

} // namespace

TEST(TwoRecorders, inOneProcessKnowNothingOfEachOther)
{
    OneOfTwo first, second;
    first.startUp();
    second.startUp();
    second.recordClip("own.mov", 20);
    EXPECT_EQ(first.counter(QmxCounters::TakesOpened), 0);

    // One records while the other plays: neither moves the other's place, nor holds back its flushes.
    second.playClip("own.mov");
    first.record("a.mov");
    ASSERT_TRUE(Stepper::runUntil([&] { return first.framesRecorded() >= 20; }));
    EXPECT_EQ(second.framesRecorded(), 0);
    EXPECT_GT(second.environment.deck->playhead.position(), 0);
    EXPECT_EQ(first.environment.deck->playhead.origin(), 0U);

    // The medium of one fails: its take ends, that of the other goes on.
    second.vtr().standbyOff();
    ASSERT_TRUE(Stepper::runUntil([&] { return second.reported().mode().isInModeStandbyOff(); }));
    second.record("b.mov");
    ASSERT_TRUE(Stepper::runUntil([&] { return second.framesRecorded() >= 5; }));
    allowLog(QString(), QStringLiteral("a.mov"));
    expectLog(QStringLiteral("vtrobject"), QStringLiteral("STREAM: Cache Error @"));
    expectLog(QStringLiteral("vtrobject"), QStringLiteral("Hardware returned error 5, stopping record"));
    first.files->failNth(FaultyFiles::Pwrite, 1, EIO, true);
    ASSERT_TRUE(Stepper::runUntil([&] { return !first.records(); }));
    const int soFar = second.framesRecorded();
    ASSERT_TRUE(Stepper::runUntil([&] { return second.framesRecorded() >= soFar + 20; }));
    EXPECT_TRUE(second.records());
    EXPECT_EQ(first.counter(QmxCounters::WriteErrors), 1);
    EXPECT_EQ(second.counter(QmxCounters::WriteErrors), 0);
    EXPECT_TRUE(first.isWarned() && !second.isWarned());
}
