// SPDX-License-Identifier: GPL-3.0-or-later
// The operator's commands by what they do to clips, lists, speeds and media.
#include "tests/scenarios/recorderrig.h"

namespace {

using CommandScenario = RecorderRig;

/// Speeds as the transport's lines tell them.
QStringList played(const QStringList &lines)
{
    QStringList speeds;
    for (const QString &line : lines.filter(QStringLiteral("** PLAY ")))
        speeds << line.mid(8);
    return speeds;
}

QString nameOf(const QString &path)
{
    return path.section('/', -1);
}

} // namespace

TEST_F(CommandScenario, aTakeIsRecordedNamedListedAndPlayed)
{
    allowLog("vtrobject", QStringLiteral("Flushed at ")); // a flush that was under way before the cue
    begin();
    const QString first = nameOf(record(400));
    const QString second = nameOf(record(4000)); // long enough not to end while a status is awaited
    EXPECT_NE(second, first);
    const QmxPlayList clips = app->playListInUse();
    ASSERT_EQ(clips.size(), 2);
    EXPECT_EQ(clips.at(1).name(), second);
    EXPECT_EQ(clips.at(1).desc().toString(), QStringLiteral("/media/A/") + second);
    EXPECT_GE(clips.at(1).length(), 8);
    EXPECT_TRUE(reads(eParam_CurrentPlayListIndex, 1));

    // All clips begin with the one just recorded, once.
    write(eParam_PlaybackSource, QStringLiteral("1"));
    command(1);
    const int start = clips.at(0).length();
    EXPECT_TRUE(logs("mainobject", QStringLiteral("Playback Stream Desc: All Clips at frame %1").arg(start)));
    EXPECT_TRUE(reads(eParam_TransportStatus, 3));
    ASSERT_TRUE(until([&] { return vtr().currentFrameNumber() >= start; }));
    command(4);
    pass(600); // told by the next step that nothing holds up
    EXPECT_TRUE(reads(eParam_TransportStatus, 15)) << "the first stop pauses";
    command(4);
    ASSERT_TRUE(settles(VtrMode::StandbyOff)) << "the second stops";
    command(1);
    EXPECT_TRUE(logs("mainobject", QStringLiteral("Playback Stream Desc: All Clips at frame 0")));
    ASSERT_TRUE(settles(VtrMode::Play));
}

TEST_F(CommandScenario, shuttleCommandsClimbALadderOfExactSpeeds)
{
    allowLog("vtrobject", QStringLiteral("Flushed at ")); // a flush that was under way before the cue
    begin();
    record(400);
    const auto after = [this](double speed, unsigned cmd) {
        vtr().play(speed);
        EXPECT_TRUE(settles(VtrMode::Play));
        command(cmd);
        EXPECT_TRUE(settles(VtrMode::Play));
        return played(logged());
    };
    for (const double sign : {1.0, -1.0}) {
        const unsigned cmd = sign > 0 ? 5 : 6;
        const std::pair<double, QStringList> rows[] = {{0.0, {"2"}},  {1.0, {"2"}}, {3.0, {"2"}},
                                                       {-1.0, {"2"}}, {2.0, {"4"}}, {4.0, {"8"}},
                                                       {8.0, {"16"}}, {16.0, {}}};
        for (const auto &[speed, next] : rows) {
            QStringList expected;
            for (const QString &s : next)
                expected << QString::number(sign * s.toDouble(), 'f', 3);
            EXPECT_EQ(after(sign * speed, cmd), expected) << sign * speed;
        }
    }
    const std::pair<double, unsigned> status[] = {{0.5, 3},   {1.0, 3},   {1.5, 4},   {4.0, 5},  {8.0, 6},
                                                  {16.0, 7},  {0.0, 15},  {-0.5, 9},  {-1.0, 9}, {-1.5, 10},
                                                  {-4.0, 11}, {-8.0, 12}, {-16.0, 13}};
    for (const auto &[speed, value] : status) {
        write(eParam_TransportSpeed, QString::number(speed));
        ASSERT_TRUE(settles(VtrMode::Play));
        EXPECT_TRUE(reads(eParam_TransportStatus, value)) << speed;
    }
    // The store does not take these; whoever else sends them is ignored.
    const VtrState before = vtr().state();
    for (const int ignored : {-1, 0, 2, 11, 12, 13, 14, 16})
        app->configParamChanged(eParam_TransportCommand, ignored, QmxTimeStamp());
    EXPECT_FALSE(vtr().state() != before);
    EXPECT_FALSE(vtr().hasPendingModeChange());
    command(7);
    EXPECT_TRUE(logs("vtrobject", QStringLiteral("Step 1 from ")));
    EXPECT_EQ(vtr().state().speed(), 0.0);
    ASSERT_TRUE(settles(VtrMode::Play));
    write(eParam_CueToFrame, QStringLiteral("3"));
    EXPECT_TRUE(until([&] { return vtr().currentFrameNumber() == 3; }));
}

TEST_F(CommandScenario, clipsAreFoundByNameIndexAndNeighbour)
{
    begin();
    QStringList names;
    for (int i = 0; i < 3; ++i)
        names << nameOf(record(300));
    // After the stream has been opened anew.
    const auto current = [&](int index) {
        EXPECT_TRUE(
            until([&] { return !logged().filter(QStringLiteral("STREAM: Open is Done")).isEmpty(); }));
        return reads(eParam_CurrentClip, names[index]) && reads(eParam_CurrentPlayListIndex, unsigned(index));
    };
    allowLog("mainobject", QStringLiteral("Go to playlist index"));
    write(eParam_GoToClipName, names[0]);
    EXPECT_TRUE(current(0));
    command(10);
    EXPECT_TRUE(current(2)) << "wraps around";
    command(9);
    EXPECT_TRUE(current(0));
    command(9);
    EXPECT_TRUE(current(1));
    write(eParam_GoToClipIndex, QStringLiteral("2"));
    EXPECT_TRUE(current(2));
    expectLog("mainobject", QStringLiteral("Go to playlist index 7 failed: Entry invalid"));
    write(eParam_GoToClipIndex, QStringLiteral("7"));
    EXPECT_TRUE(reads(eParam_CurrentClip, names[2]));
    expectLog("mainobject", QStringLiteral("Can't goto clip: 'absent.mov' not found"));
    write(eParam_GoToClipName, QStringLiteral("absent.mov"));
    write(eParam_GoToClipName, QStringLiteral("N/A"));
    EXPECT_TRUE(settles(VtrMode::StandbyOff));

    write(eParam_ActiveMediaPath, QString());
    EXPECT_FALSE(app->playListInUse().isEmpty()) << "without a medium the lists are as they were made last";
}

TEST_F(CommandScenario, aRecordIsRefusedWithoutRoomAndByCameraData)
{
    allowLog("alarmhandler");
    allowLog("vtrobject", QStringLiteral("Record Inhibited: "));
    begin();
    int free = 10;
    files->fakeStatfs([&](const QString &path, struct statfs64 &d) {
        d.f_fsid.__val[0] = path == QStringLiteral("/") ? 1 : 2;
        d.f_blocks = 100;
        d.f_bfree = unsigned(free);
    });
    command(3);
    EXPECT_TRUE(shows(eParam_AlarmRecordInhibited, "Media Full"));
    files->failNth(FaultyFiles::Statfs, 1, EIO);
    command(3);
    EXPECT_TRUE(shows(eParam_AlarmRecordInhibited, "No Media"));
    free = 50;
    write(eParam_CameraInput, QStringLiteral("1"));
    expectLog("mainobject", QStringLiteral("Ignoring record command due to camera data input"));
    command(3);
    EXPECT_TRUE(vtr().state().mode().isInModeStandbyOff());
    pass(1000);
    vtr().record();
    ASSERT_TRUE(settles(VtrMode::Record));
    expectLog("mainobject", QStringLiteral("Ignoring stop command while in record due to camera data input"));
    command(4);
    EXPECT_TRUE(vtr().state().mode().isInModeRecord());
    pass(500);
    free = 10;
    EXPECT_TRUE(settles(VtrMode::StandbyOff)) << "the medium is full";
}

TEST_F(CommandScenario, aFullMediumContinuesOnTheNext)
{
    begin();
    std::map<QString, int> free = {{"/media/A", 50}, {"/media/B", 50}};
    files->fakeStatfs([&](const QString &path, struct statfs64 &d) {
        if (const auto medium = free.find(path); medium != free.end()) {
            d.f_blocks = 100;
            d.f_bfree = unsigned(medium->second);
        }
    });
    write(eParam_RolloverEnabled, QStringLiteral("1"));
    write(eParam_RolloverMediaPath, QStringLiteral("/media/B"));
    command(3);
    pass(800);
    ASSERT_TRUE(reads(eParam_StorageState, 1));
    const QString first = text(eParam_CurrentClip);
    EXPECT_NE(first, QStringLiteral("N/A"));
    free["/media/A"] = 10;
    ASSERT_TRUE(until([&] { return number(eParam_StorageState) == 3; }));
    EXPECT_TRUE(vtr().state().mode().isInModeRecord());
    EXPECT_EQ(text(eParam_CurrentClip), first) << "until the media daemon has taken note";

    write(eParam_ActiveMediaPath, QStringLiteral("/media/B"));
    write(eParam_RolloverMediaPath, QString());
    EXPECT_TRUE(Stepper::waitFor([&] { return text(eParam_CurrentClip) != first; }));
    const QString second = text(eParam_CurrentClip);
    pass(600);
    ASSERT_TRUE(stop());
    EXPECT_TRUE(reads(eParam_StorageState, 2));
    EXPECT_TRUE(readAll(QStringLiteral("/media/B/") + second).size() > 0);
    EXPECT_TRUE(readAll(QStringLiteral("/media/A/") + first).size() > 0);
}
