// SPDX-License-Identifier: GPL-3.0-or-later
// What the media daemon decides: media and parameters in, writes in their order out.
#include "companions/mediad/choicecheck.h"
#include "companions/mediad/mediamachine.h"
#include "companions/mediad/tablecheck.h"
#include "platform/store/eparammedia.h"
#include "platform/store/paramdescriptor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

namespace {

constexpr std::int64_t ms = 1'000'000;

/// The store, two media and a transport that the test moves by hand.
class Machine : public testing::Test
{
protected:
    Machine() : media{medium("/media/A"), medium("/media/B")}
    {
        is.daemonRuns = true;
        is.running = true;
        is.status = TransportStatus::Stopped;
        is.storage = StorageState::Released;
        is.rolloverEnabled = true;
    }

    static Medium medium(const std::string &path)
    {
        return {path, path.substr(path.rfind('/') + 1), 1, true, 90, 0, {}, false};
    }

    /// Runs a step and carries out its writes; what was written, as "name=value".
    std::vector<std::string> step(MediaEvents events = {}, int milliseconds = 250)
    {
        now += milliseconds * ms;
        const MediaOrders orders = machine->step(now, media, is, events);
        repairs = orders.repairs;
        std::vector<std::string> written;
        for (const MediaWrite &write : orders.writes)
            written.push_back(carryOut(write));
        return written;
    }

    std::string carryOut(const MediaWrite &write)
    {
        if (write.id == eParam_AlarmMediumRefused)
            return write.kind == MediaWrite::RaiseAlarm ? "refused" : "not refused";
        switch (write.id) {
        case eParam_ActiveMediaPath:
            return "active=" + (is.active = write.text);
        case eParam_RolloverMediaPath:
            return "rollover=" + (is.rollover = write.text);
        case eParam_MirrorMediaPath:
            return "mirror=" + (is.mirror = write.text);
        case eParam_CurrentClip:
            return "clip=" + (is.currentClip = write.text);
        case eParam_MediaLabel:
            return "label=" + (is.label = write.text);
        case eParam_TransportStatus:
            return "status=" + std::to_string(unsigned(is.status = TransportStatus(write.number)));
        case eParam_StorageState:
            return "storage=" + std::to_string(unsigned(is.storage = StorageState(write.number)));
        case eParam_TransportRunning:
            return "running=" + std::to_string(is.running = write.number != 0);
        case eParam_MediaUpdated:
            return "updated";
        case eParam_MediaLoading:
            return "loading";
        case eParam_AlarmMediaFull:
            return write.kind == MediaWrite::RaiseAlarm ? "full" : "not full";
        default:
            return "?";
        }
    }

    void record()
    {
        is.status = TransportStatus::Recording;
        is.storage = StorageState::InUse;
    }
    void stop()
    {
        is.status = TransportStatus::Stopped;
        is.storage = StorageState::Released;
    }

    /// Into a take whose medium runs full.
    void fill()
    {
        media = {medium("/media/A"), medium("/media/B")};
        is.active = is.rollover = {};
        stop();
        machine.emplace();
        step();
        record();
        media[0].percentFree = 10;
        step();
    }

    using Writes = std::vector<std::string>;
    std::optional<MediaMachine> machine{std::in_place};
    std::vector<Medium> media;
    MediaParameters is;
    std::vector<std::string> repairs;
    std::int64_t now = 1'000'000 * ms;
};

} // namespace

TEST_F(Machine, choosesMediaAtTheStartAndThenKeepsStill)
{
    is.daemonRuns = is.running = false;
    is.status = TransportStatus::ShutDown;
    media.push_back(medium("/media/C"));
    EXPECT_EQ(step(), (Writes{"active=/media/A", "rollover=/media/B", "label=A"}));
    EXPECT_EQ(repairs, (Writes{"/media/A", "/media/B", "/media/C"}));
    EXPECT_EQ(step(), Writes());
    EXPECT_EQ(repairs, Writes());
    // Somebody's choice holds, and the rollover medium is another one.
    is.active = "/media/B";
    EXPECT_EQ(step({0, 0, 0, true}), (Writes{"rollover=/media/C", "label=B"}));
    // A path that is not ours is left alone, wherever it is.
    is.active = "/srv/clips";
    EXPECT_EQ(step({0, 0, 0, true}), Writes());
    // What is too full, read-only or gone is not rolled over to.
    is.active = "/media/A";
    media[1].percentFree = 15;
    EXPECT_EQ(step({0, 0, 0, true}), (Writes{"label=A"}));
    media[2].writable = false;
    EXPECT_EQ(step(), (Writes{"rollover="}));
    // After a restart of the machine: the medium of the clip that was current.
    machine.emplace();
    media = {medium("/media/A"), medium("/media/B")};
    is.active = {};
    is.currentClip = "take.mov";
    media[1].names = {"take.mov"};
    EXPECT_EQ(step().front(), "active=/media/B");
    EXPECT_EQ(is.currentClip, "take.mov");
}

TEST_F(Machine, keepsTheTwoCopiesOfATakeApart)
{
    media = {medium("/media/A"), medium("/media/B"), medium("/media/C"), medium("/media/D")};
    is.mirror = "/media/B";
    step();
    EXPECT_EQ(is.active + is.rollover, "/media/A/media/C");
    // The half that is full moves, rather not to where the other half would go on.
    media[1].percentFree = 10;
    EXPECT_EQ(step(), Writes{"mirror=/media/D"});
    media[3].percentFree = 9;
    EXPECT_EQ(step(), (Writes{"mirror=/media/C", "rollover="}));
    media[2].percentFree = 9;
    EXPECT_EQ(step(), Writes()) << "nowhere to go";
    // A full active medium makes room on another one, on that of the second copy only when none is left.
    media[2].percentFree = media[3].percentFree = 90;
    media[0].percentFree = 8;
    EXPECT_EQ(step().front(), "active=/media/D");
    EXPECT_EQ(is.rollover, "");
    // A take whose first medium is pulled goes on on the second one, which is played from after it.
    is.currentClip = "take.mov";
    record();
    step();
    media[3].percentFree = 15;
    EXPECT_EQ(step(), Writes{"rollover=/media/C"}) << "one copy that goes on is better than an end";
    media.erase(media.begin() + 3);
    EXPECT_EQ(step().front(), "active=");
    media[2].names = {"take.mov"};
    stop();
    step();
    EXPECT_EQ(is.active, "/media/C");
    EXPECT_EQ(is.currentClip, "take.mov");
}

TEST_F(Machine, answersARolloverInTheOrderThatTheTransportWaitsFor)
{
    media.push_back(medium("/media/C"));
    step();
    is.currentClip = "take.mov";
    record();
    EXPECT_EQ(step(), (Writes{"not full"}));
    // From 12 % on the rollover path stays, whatever becomes of its medium.
    media[0].percentFree = 12;
    step();
    media[1].percentFree = 14;
    EXPECT_EQ(step(), Writes());
    media[0].percentFree = 10;
    EXPECT_EQ(step(), Writes());
    is.storage = StorageState::RolloverDone;
    media[1].beingRecorded = true;
    EXPECT_EQ(step({1}), (Writes{"active=/media/B", "rollover=", "updated", "rollover=/media/C", "label=B"}));
    EXPECT_EQ(is.currentClip, "take.mov") << "the transport itself publishes the second clip's name";
    // The second rollover of the take: the state is 3 over 3.
    media[1].percentFree = 9;
    EXPECT_EQ(step(), Writes());
    EXPECT_EQ(step({1}), (Writes{"active=/media/C", "rollover=", "updated", "label=C"}))
        << "A and B are full: nothing comes next";
    // The end of a take that has rolled over is no want of room.
    stop();
    EXPECT_EQ(step({0, 1, 0, false}), Writes());
}

TEST_F(Machine, whetherTheTakeGoesOnTellsWhatARolloverOntoAMediumThatLooksBadHasComeTo)
{
    for (const bool goesOn : {false, true}) {
        fill();
        is.storage = StorageState::RolloverDone;
        media[1].writable = false;
        EXPECT_EQ(step({1}), Writes()) << "it may only be slow to answer";
        if (!goesOn) stop();
        Writes written = step({}, goesOn ? 800 : 250);
        written.resize(3);
        EXPECT_EQ(written, (Writes{goesOn ? "active=/media/B" : "active=/media/A", "rollover=", "updated"}));
    }
}

TEST_F(Machine, aStopInsideARolloverLeavesItToTheNextTake)
{
    fill();
    is.status = TransportStatus::Stopped; // still "in use": the transport hides the release inside a rollover
    EXPECT_EQ(step(), Writes());
    media[1].writable = false;
    EXPECT_EQ(step(), Writes()) << "the rollover path must stay";
    media[1].writable = true;
    EXPECT_EQ(step({}, 2000), (Writes{"active=/media/B", "label=B"})) << "free after two seconds";
}

TEST_F(Machine, restartedInATakeItTouchesNothingButARolloverItHasMissed)
{
    is.active = "/media/A";
    is.rollover = "/media/B";
    is.label = "A";
    is.currentClip = "take.mov";
    media[0].beingRecorded = true;
    media[0].percentFree = 5;
    record();
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(step(), Writes());
        EXPECT_FALSE(std::count(repairs.begin(), repairs.end(), "/media/A")) << "it is being recorded on";
    }
    // A new life: the notice of the rollover came while nobody listened.
    media[0].beingRecorded = false;
    media[1].beingRecorded = true;
    is.storage = StorageState::RolloverDone;
    machine.emplace();
    EXPECT_EQ(step(), (Writes{"active=/media/B", "rollover=", "updated", "label=B"}));
}

TEST_F(Machine, killedAtAnyStepOfItsAnswerTheNextOneGivesTheRest)
{
    const std::vector<Medium> three{medium("/media/A"), medium("/media/B"), medium("/media/C")};
    for (std::size_t written = 0; written <= 4; ++written) {
        SCOPED_TRACE(written);
        media = three;
        is.active = is.rollover = {};
        stop();
        machine.emplace();
        step();
        record();
        media[0].beingRecorded = true;
        media[0].percentFree = 12;
        step();
        // Restarted during the switch, when neither clip is open and the next medium may look bad.
        media[0].beingRecorded = false;
        media[0].percentFree = 13;
        media[1].writable = false;
        machine.emplace();
        step();
        EXPECT_EQ(is.rollover, "/media/B");
        media[1].writable = media[1].beingRecorded = true;
        is.storage = StorageState::RolloverDone;
        const MediaOrders orders = machine->step(now += ms, media, is, {1});
        Writes heard;
        for (std::size_t i = 0; i < written && i < orders.writes.size(); ++i)
            heard.push_back(carryOut(orders.writes[i]));
        machine.emplace();
        for (const std::string &more : step())
            heard.push_back(more);
        const auto cleared = std::find(heard.begin(), heard.end(), "rollover=");
        EXPECT_EQ(std::count(heard.begin(), cleared, "rollover=/media/C"), 0)
            << "the transport waits for the empty one";
        EXPECT_NE(cleared, heard.end());
        EXPECT_EQ(is.active, "/media/B");
        EXPECT_EQ(is.rollover, "/media/C");
        EXPECT_EQ(step(), Writes());
    }
}

TEST_F(Machine, tellsOfChangedClipsOnlyWhileNoPlaybackRuns)
{
    is.active = "/media/A";
    is.rollover = "/media/B";
    is.label = "A";
    EXPECT_EQ(step(), (Writes{"updated"})) << "what happened while nobody watched";
    media[1].clips = 1;
    EXPECT_EQ(step(), Writes()) << "another medium";
    media[0].clips = 1;
    EXPECT_EQ(step(), (Writes{"updated"}));
    is.status = TransportStatus::Playing;
    is.storage = StorageState::InUse;
    media[0].clips = 2;
    EXPECT_EQ(step(), Writes());
    EXPECT_EQ(step({}, 60000), Writes());
    is.status = TransportStatus::Still;
    EXPECT_EQ(step(), Writes()) << "it is still for an instant before it plays";
    EXPECT_EQ(step({}, 1000), (Writes{"updated"}));
    EXPECT_EQ(step({}, 1000), Writes()) << "in still once for each change";
    // Stopped or still, but somebody has just asked for playback.
    for (const auto status : {TransportStatus::Stopped, TransportStatus::Still}) {
        is.status = status;
        step();
        step({}, 1000);
        ++media[0].clips;
        EXPECT_EQ(step({0, 1, 1, false}), Writes()) << unsigned(status);
        is.status = TransportStatus::Playing;
        EXPECT_EQ(step(), Writes());
        stop();
        EXPECT_EQ(step(), (Writes{"updated"}));
    }
    // A take: the clip counts when it is closed.
    record();
    step();
    media[0].beingRecorded = true;
    ++media[0].clips;
    EXPECT_EQ(step(), (Writes{"updated"})) << "in a take it does no harm";
    ++media[0].clips;
    stop();
    EXPECT_EQ(step({0, 1, 0, false}), Writes()) << "the clip is not closed";
    media[0].beingRecorded = false;
    EXPECT_EQ(step(), (Writes{"updated"}));
}

TEST_F(Machine, mediaThatComeAndGo)
{
    step();
    is.currentClip = "take.mov";
    media[0].names = {"take.mov"};
    media[0].clips = 1;
    step();
    // Unplugged and put back between two looks: the transport hears it, the clip is the same.
    media[0].mount = 2;
    EXPECT_EQ(step(), (Writes{"loading", "active=", "active=/media/A"}));
    EXPECT_EQ(repairs, (Writes{"/media/A"}));
    // Gone while it is played from: the other one takes its place, without the clip that it lacks.
    is.status = TransportStatus::Playing;
    is.storage = StorageState::InUse;
    const std::vector<Medium> both = media;
    media.erase(media.begin());
    EXPECT_EQ(step(), (Writes{"clip=N/A", "active=/media/B", "rollover=", "label=B"}));
    media = both;
    EXPECT_EQ(step(), (Writes{"loading", "rollover=/media/A"})) << "the active one stays";
    // Gone in a take: nothing takes its place before the take has ended.
    record();
    step();
    media.pop_back();
    EXPECT_EQ(step(), (Writes{"active=", "label="}));
    stop();
    EXPECT_EQ(step(), (Writes{"active=/media/A", "rollover=", "label=A"}));
    media.clear();
    EXPECT_EQ(step(), (Writes{"active=", "label="}));
}

TEST_F(Machine, aFullMediumMakesRoomWhileTheTransportIsStopped)
{
    step();
    media[0].percentFree = 10;
    record();
    step();
    EXPECT_EQ(is.active, "/media/A") << "never in a take";
    stop();
    EXPECT_EQ(step(), (Writes{"active=/media/B", "rollover=", "label=B"}));
    // Somebody wants the full one, to play it: until the next take.
    is.active = "/media/A";
    EXPECT_EQ(step({0, 0, 0, true}), (Writes{"rollover=/media/B", "label=A"}));
    EXPECT_EQ(step({}, 5000), Writes());
    is.status = TransportStatus::Still;
    is.storage = StorageState::InUse;
    EXPECT_EQ(step(), Writes());
    media[1].percentFree = 10;
    record();
    EXPECT_EQ(step(), (Writes{"not full"}));
    stop();
    step();
    EXPECT_EQ(is.active, "/media/A") << "nothing better";
}

TEST_F(Machine, refusesAMediumThatCannotBeHadAndKeepsThatOfATake)
{
    step();
    const auto choose = [this](const char *path) {
        is.active = path;
        return step({0, 0, 0, true});
    };
    EXPECT_EQ(choose("/media/B"), (Writes{"rollover=/media/A", "label=B"}));
    EXPECT_EQ(choose("/media/C"), (Writes{"active=/media/B", "refused"}));
    EXPECT_EQ(choose("/media/A"), (Writes{"not refused", "rollover=/media/B", "label=A"}));
    const auto chooseNext = [this](const char *path) {
        is.rollover = path;
        return step({0, 0, 0, false, false, false, true});
    };
    for (const char *path : {"/media/C", "/media/A"})
        EXPECT_EQ(chooseNext(path), (Writes{"rollover=/media/B", "refused"})) << path;
    EXPECT_EQ(chooseNext("/media/B"), Writes()) << "what it has written itself";
    record();
    step();
    for (const char *path : {"/media/B", "/srv/clips", ""})
        EXPECT_EQ(choose(path), (Writes{"active=/media/A", "refused"})) << path;
    stop();
    step();
    record();
    EXPECT_EQ(step(), (Writes{"not full", "not refused"}));
}

TEST_F(Machine, saysWhenATakeEndedForWantOfRoom)
{
    struct Case
    {
        bool rollover;
        double lowest;
        int stopPressed;
        bool full;
    };
    for (const Case &take : {Case{false, 10, 0, true}, Case{false, 11, 0, true}, Case{false, 11, 1, false},
                             Case{false, 12, 0, false}, Case{true, 10, 0, false}, Case{true, 8, 1, true}}) {
        SCOPED_TRACE(testing::Message() << take.rollover << ' ' << take.lowest << ' ' << take.stopPressed);
        is.rolloverEnabled = take.rollover;
        media[0].percentFree = 20;
        media[1].writable = false;
        stop();
        step();
        record();
        EXPECT_EQ(step().front(), "not full");
        media[0].percentFree = take.lowest;
        step();
        stop();
        media[0].percentFree = 20; // the closed clip has given back its reserve
        const Writes written = step({0, take.stopPressed, 0, false});
        EXPECT_EQ(std::count(written.begin(), written.end(), "full"), take.full ? 1 : 0);
    }
}

TEST_F(Machine, speaksForARecorderThatWasKilled)
{
    step();
    record();
    step();
    is.daemonRuns = false;
    EXPECT_EQ(step(), (Writes{"storage=2", "running=0", "status=20"})) << "and no word of a full medium";
    EXPECT_EQ(repairs, (Writes{"/media/A", "/media/B"})) << "its clip was left unfinished";
    EXPECT_EQ(step(), Writes());
    // One that ends in order has said it all itself.
    is.status = TransportStatus::ShutDown;
    is.storage = StorageState::Unknown;
    EXPECT_EQ(step(), Writes());
}

TEST_F(Machine, looksAtWhatARecorderLeftThatIsBackAtOnceAndAtWhatATakeCouldNotClose)
{
    const auto looksAt = [this](const char *path) {
        return std::count(repairs.begin(), repairs.end(), path);
    };
    is.recorder = 100;
    step();
    record();
    media[0].beingRecorded = true;
    step();
    EXPECT_FALSE(looksAt("/media/A"));
    // Killed, and back before anybody has looked: the lock is held, by another one.
    is.recorder = 101;
    stop();
    media[0].beingRecorded = false;
    step();
    EXPECT_TRUE(looksAt("/media/A"));
    is.recorder = -1; // it has the lock and has not said who it is
    step();
    is.recorder = 101;
    step();
    EXPECT_FALSE(looksAt("/media/A"));

    record();
    media[0].beingRecorded = true;
    step();
    stop();
    step();
    EXPECT_FALSE(looksAt("/media/A")) << "its clip is being closed";
    media[0].beingRecorded = false;
    step();
    EXPECT_TRUE(looksAt("/media/A"));
    EXPECT_FALSE(looksAt("/media/B"));
    machine->couldNotRepair(now, "/media/A");
    step();
    EXPECT_FALSE(looksAt("/media/A"));
    step({}, 5000);
    EXPECT_TRUE(looksAt("/media/A"));
}

TEST_F(Machine, hasTheListsMadeAnewWhenTheTransportHasMissedAListing)
{
    step();
    step();
    MediaEvents events;
    events.listingWanted = true;
    is.status = TransportStatus::Playing;
    EXPECT_EQ(step(events), Writes()) << "it would end the playback";
    is.status = TransportStatus::Stopped;
    EXPECT_EQ(step(), Writes{"updated"});
    EXPECT_EQ(step(), Writes());
}

TEST(ChoiceCheck, tellsOfWhatIsNotThereOnceTheMediumHasBeenLookedAt)
{
    CreateDescriptors();
    Medium medium{"/media/A", "A", 1, true, 90, 0, {"a.mov", "b.mov"}, true, {"take.mov"}};
    MediaParameters is;
    is.currentClip = "b.mov";
    ChoiceCheck check;
    const auto judge = [&](eParam_t id, const std::string &text, unsigned number = 0, bool begun = false) {
        check.note(id, {text, number, 100});
        const auto early = check.step(100, &medium, 99, is, "a.mov\nb.mov", false);
        EXPECT_TRUE(early.empty()) << "it may have come since";
        const auto told = check.step(101, &medium, 100, is, "a.mov\nb.mov", begun);
        return told.empty() ? std::string() : told.front().text.empty() ? "cleared" : told.front().text;
    };
    for (const char *good : {"a.mov", "b.mov[0-10)", "take.mov", "N/A", ""})
        EXPECT_EQ(judge(eParam_GoToClipName, good), "");
    EXPECT_NE(judge(eParam_GoToClipName, "c.mov").find("no clip c.mov on /media/A"), std::string::npos);
    EXPECT_EQ(judge(eParam_GoToClipName, "a.mov"), "cleared");
    EXPECT_NE(judge(eParam_PlayList, "a.mov\nc.mov").find("c.mov"), std::string::npos);
    EXPECT_EQ(judge(eParam_PlayList, "a.mov\nb.mov\na.mov"), "cleared");
    EXPECT_EQ(judge(eParam_GoToClipIndex, "", 2), "") << "the one that is being recorded";
    EXPECT_NE(judge(eParam_GoToClipIndex, "", 3).find("from 0 to 2"), std::string::npos);
    is.playbackSource = PlaybackSource::PlayList;
    EXPECT_NE(judge(eParam_GoToClipIndex, "", 2).find("from 0 to 1"), std::string::npos);
    // The transport names the clip of a take before it is there, and has gone on from what is heard late.
    is.currentClip = "next.mov";
    EXPECT_EQ(judge(eParam_CurrentClip, "old.mov"), "");
    EXPECT_NE(judge(eParam_CurrentClip, "next.mov"), "");
    is.lastTake = "next";
    EXPECT_EQ(judge(eParam_CurrentClip, "next.mov"), "") << "a take that could not be opened";
    is.status = TransportStatus::Recording;
    EXPECT_EQ(judge(eParam_CurrentClip, "next.mov", 0, true), "cleared") << "by the take";
}

TEST(TableCheck, tellsOfAMissingTableWhenTheTransportHasLookedForItAndClearsOnlyThat)
{
    constexpr std::int64_t second = 1'000'000'000;
    TableCheck check;
    TableCheck::Setting is{true, "/media/A/t.cube", false, {}};
    const auto step = [&](std::int64_t now, int recorder) {
        const auto told = check.step(now, recorder, [&] { return is; });
        if (!told.empty()) is.alarm = told.front().text;
        return told.empty() ? std::string("-") : told.front().text;
    };
    const auto written = [&](int recorder) {
        check.note();
        return step(5 * second, recorder);
    };
    EXPECT_EQ(step(0, 0), "-");
    EXPECT_EQ(step(0, 7), "-") << "it would be taken away with the alarms of the daemon before";
    is.isThere = true; // a medium that comes later has not been read
    EXPECT_NE(step(second, 7).find("/media/A/t.cube is not there"), std::string::npos);
    EXPECT_EQ(step(2 * second, 7), "-");
    EXPECT_EQ(written(7), "") << "set again";
    is.isThere = false;
    EXPECT_NE(written(7), "-");
    is.alarm = "LUT parse error";
    is.isThere = true;
    EXPECT_EQ(written(7), "-") << "the transport's own";
    is = {false, "/media/A/t.cube", false, {}};
    EXPECT_EQ(written(7), "-");
    is = {true, {}, false, {}};
    EXPECT_EQ(written(7), "-");
}
