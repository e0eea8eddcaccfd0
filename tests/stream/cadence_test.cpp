// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/qmxstreamcadence.h"

#include <gtest/gtest.h>

TEST(Cadence, doesNotDriftInHoursAndStopsJustPastTheEnds)
{
    QmxStreamCadence cadence;
    cadence.setSpeed(0.1, 1'000'000);
    cadence.reads = 5'000'000;
    EXPECT_EQ(cadence.position(1'000'000), 500'000);

    cadence.seek(7);
    cadence.setSpeed(100.0, 10);
    ++cadence.reads;
    EXPECT_EQ(cadence.position(10), 10);
    EXPECT_TRUE(cadence.upcoming(25, 10).isEmpty());
    EXPECT_EQ(cadence.position(1000), 107) << "an end that moves on while the clip grows";
    cadence.setSpeed(-0.5, 10);
    EXPECT_EQ(cadence.position(10), 10);
    cadence.reads = 2;
    EXPECT_EQ(cadence.position(10), 9);
    cadence.reads = 5000;
    EXPECT_EQ(cadence.position(10), -1);
}

TEST(Cadence, goesOverRoomThatNoFrameFills)
{
    StreamAxis axis(1030);
    axis.append({10, 20, 1000, false});
    EXPECT_EQ(axis.count(1005), 25);
    QmxStreamCadence cadence;
    cadence.seek(18);
    EXPECT_EQ(cadence.upcoming(4, axis), QList<int>({18, 19, 1000, 1001}));
    cadence.setSpeed(3.0, axis);
    EXPECT_EQ(cadence.upcoming(3, axis), QList<int>({18, 1001, 1004}));
    cadence.seek(1001);
    cadence.setSpeed(-1.0, axis);
    EXPECT_EQ(cadence.upcoming(4, axis), QList<int>({1001, 1000, 19, 18}));
    // A step is as long over the room as elsewhere, and comes back to where it began.
    EXPECT_EQ(axis.sought(22), 1002);
    EXPECT_EQ(axis.sought(998), 18);

    StreamAxis grows(1030);
    grows.append({10, 20, 1000, true});
    EXPECT_EQ(grows.advanced(18, 1000), 20) << "where the next frame will be";
    EXPECT_EQ(grows.sought(22), 19);
    EXPECT_EQ(grows.sought(998), 18);
    EXPECT_EQ(grows.edge(5)->at, 20);
    EXPECT_FALSE(grows.edge(1000));
}
