// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/print.h"
#include "xpd/transport/timecodetrigger.h"

#include <gtest/gtest.h>

namespace {

/// Feeds timecodes and notes at which observation the trigger spoke.
class TimecodeTriggerTest : public ::testing::Test
{
protected:
    TimecodeTriggerTest()
    {
        QObject::connect(&_trigger, &TimecodeTrigger::timecodeHasStarted,
                         [this] { _log += QStringLiteral("started@%1 ").arg(_fed); });
        QObject::connect(&_trigger, &TimecodeTrigger::timecodeHasStopped,
                         [this] { _log += QStringLiteral("stopped@%1 ").arg(_fed); });
        _trigger.setDelay(4);
    }

    void feed(const QmxTimecode &timecode)
    {
        ++_fed;
        _trigger.setTimecode(timecode);
    }
    void feedFrame(int frame) { feed(QmxTimecode(frame, 25, false)); }
    void feedNone() { feed(QmxTimecode()); }
    QString takeLog()
    {
        _fed = 0;
        return std::exchange(_log, QString()).trimmed();
    }

    TimecodeTrigger _trigger;
    QString _log;
    int _fed = 0;
};

} // namespace

TEST_F(TimecodeTriggerTest, runningTimecode_isReportedAtTheSixthObservationAndOnce)
{
    for (int frame = 100; frame < 130; ++frame)
        feedFrame(frame);
    EXPECT_EQ(takeLog(), "started@7"); // the first timecode has nothing to be compared with

    for (int i = 0; i < 10; ++i)
        feedNone();
    EXPECT_EQ(takeLog(), "") << "a timecode that is gone is seen once: there is no value before the next";
}

TEST_F(TimecodeTriggerTest, eachTimecodeTwice_countsAsRunning)
{
    for (int interval = 0; interval < 40; ++interval)
        feedFrame(interval / 2);
    EXPECT_EQ(takeLog(), "started@13");
}

TEST_F(TimecodeTriggerTest, standingTimecode_isReportedAfterSixPairs)
{
    for (int frame = 0; frame < 10; ++frame)
        feedFrame(frame);
    takeLog();
    for (int i = 0; i < 20; ++i)
        feedFrame(9);
    EXPECT_EQ(takeLog(), "stopped@12"); // every other repetition is taken for the second field
}

TEST_F(TimecodeTriggerTest, oneOddValue_startsTheCountAnew)
{
    for (int frame = 0; frame < 10; ++frame)
        feedFrame(frame);
    takeLog();
    for (int i = 0; i < 10; ++i)
        feedFrame(9); // five observations of a standstill
    feedFrame(10);    // it moved
    for (int i = 0; i < 11; ++i)
        feedFrame(10);
    EXPECT_EQ(_log, "");
    feedFrame(10);
    EXPECT_EQ(takeLog(), "stopped@23");
}
