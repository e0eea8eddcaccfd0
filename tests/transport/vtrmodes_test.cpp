// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/transport/transportrig.h"

namespace {

using ModesTest = TransportRig;

/// Those of `all` that are in `wanted`, in the order of `all`.
QStringList only(const QStringList &all, const QStringList &wanted)
{
    QStringList found;
    for (const QString &line : all)
        if (wanted.contains(line)) found.append(line);
    return found;
}

const QString refusal = QStringLiteral("Can't enter mode %1.  Pending mode change from %2 to %3");

} // namespace

TEST_F(ModesTest, start_entersStandbyOffStepByStep)
{
    startUp();
    const QStringList steps = {"VtrObject is starting...",
                               "** STANDBY OFF",
                               "Begin Mode Standby Off",
                               "VIDEO DEVICE: Setup for record",
                               "VIDEO DEVICE: Setup Started",
                               "VIDEO DEVICE: Setup is Done",
                               "Mode changed from Invalid to StandbyOff"};
    EXPECT_EQ(only(logged(), steps).first(steps.size()), steps);
    EXPECT_EQ(events.first(), "mode Invalid StandbyOff");
    EXPECT_EQ(events.filter("state "), QStringList{"state 0.000 Invalid > 0.000 StandbyOff"});
    EXPECT_EQ(count("input 0 valid"), 1);

    // Silent, and nothing happens.
    forgetLog();
    const QStringList before = events;
    vtr().standbyOff();
    EXPECT_EQ(logged(), QStringList());
    EXPECT_EQ(events, before);
}

TEST_F(ModesTest, anyCommand_isRefusedWhileTheStreamOfTheOldModeCloses)
{
    startUp();
    recordClip("clip.mov", 15);
    playClip("clip.mov");
    events.clear();
    forgetLog();
    vtr().standbyOff();
    ASSERT_TRUE(vtr().hasPendingModeChange());

    expectLog("vtrobject", refusal.arg("Play", "Play", "StandbyOff"));
    expectLog("vtrobject", refusal.arg("Record", "Play", "StandbyOff"));
    expectLog("vtrobject", "Mode change is pending");
    vtr().play(2.0);
    vtr().cue(3);
    vtr().step(1);
    vtr().record();
    vtr().standbyOff(); // asked for already: silent
    vtr().shutdown();
    EXPECT_EQ(logged().filter("Can't enter mode").size(), 4);
    EXPECT_EQ(vtr().state().mode(), VtrMode(VtrMode::StandbyOff));
    EXPECT_EQ(events, QStringList{"mode Play StandbyOff"});

    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    EXPECT_EQ(events.mid(1), (QStringList{"closed", "storage 0", "state 1.000 Play > 0.000 StandbyOff"}));
    const QStringList order = {"STREAM: Close is Done", "Begin Mode Standby Off",
                               "Mode changed from Play to StandbyOff"};
    EXPECT_EQ(only(logged(), order), order);
    vtr().record();
    EXPECT_EQ(vtr().state().mode(), VtrMode(VtrMode::Record));
}
