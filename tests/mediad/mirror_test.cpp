// SPDX-License-Identifier: GPL-3.0-or-later
// The second copies of takes: what is missing in one comes from the other.
#include "companions/mediad/bothmedia.h"
#include "companions/mediad/clipcomplete.h"
#include "companions/mediad/mirrorcare.h"
#include "platform/product/clipplaces.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "tests/clip/cliptake.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/print.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <cerrno>

namespace {

class Copies : public testing::Test
{
protected:
    Copies()
    {
        QDir(dir.path()).mkpath("a");
        QDir(dir.path()).mkpath("b");
        take.info.created = 1'700'000'000;
        take.jump(70, 1000);
        environment.files = files;
    }

    QmxError complete(std::function<bool(qint64, qint64)> pace = [](qint64, qint64) { return true; })
    {
        return completeCopy(one.toStdString(), other.toStdString(), environment, pace, text);
    }
    static Medium medium(const std::string &path)
    {
        Medium result;
        result.path = path;
        result.writable = true;
        result.percentFree = 90;
        return result;
    }

    TestDir dir;
    const QString one = dir.file("a/take.mov");
    const QString other = dir.file("b/take.mov");
    ClipTake take{{}};
    std::string text;
    std::shared_ptr<FaultyFiles> files = std::make_shared<FaultyFiles>();
    QmxEnvironment environment = QmxEnvironment::current();
};

} // namespace

TEST_F(Copies, whatIsMissingIsAddedAndNothingElseIsWritten)
{
    take.make(one, 200, true, 11);
    const qint64 whole = QFile(one).size();
    for (const bool closed : {true, false}) { // a copy that was let go of; one whose medium was pulled
        for (const qint64 had : {1, 60, 187}) {
            SCOPED_TRACE(had);
            QFile::remove(other);
            take.make(other, had, closed);
            const qint64 before = take.wholeFrames(other);
            const qint64 written = files->bytesWritten();
            ASSERT_EQ(complete(), QmxError()) << text;
            EXPECT_EQ(take.wholeFrames(other), 200);
            EXPECT_LE(files->bytesWritten() - written, whole * (200 - before) / 200 + 300'000);
            QmxClipReader reader;
            ASSERT_EQ(reader.open(other), QmxError());
            EXPECT_TRUE(reader.info().closed);
            EXPECT_EQ(reader.info().timecodeRuns.size(), 2);
            QmxClipCheck check;
            ASSERT_EQ(QmxClipCheck::run(other, check, environment), QmxError());
            EXPECT_TRUE(check.isWhole() && check.hasProof && check.frames == 200)
                << check.sentence().toStdString();
            EXPECT_EQ(QFileInfo(other).lastModified(), QFileInfo(one).lastModified());
        }
    }
    // Of a medium that does not answer nothing is said.
    files->only(dir.file("b"));
    files->failNth(FaultyFiles::Stat, 1, EIO, true);
    EXPECT_EQ(complete().value(), EIO);
    files->clear();
    ASSERT_EQ(complete(), QmxError());
    EXPECT_NE(text.find("both whole"), std::string::npos) << text;
    // The other way round, and a copy that is not there at all. What went on there in the middle of the take
    // is in it then; what only has that name stays.
    QFile::remove(one);
    const QString parts[] = {dir.file("a/take_part2.mov"), dir.file("a/take_part3.mov")};
    for (const bool mine : {true, false}) {
        ClipTake part = take;
        part.info.startTimecode = take.timecode(130);
        part.info.created += mine ? 0 : 1;
        QmxClipWriter writer;
        ASSERT_EQ(writer.create(parts[mine ? 0 : 1], part.info), QmxError());
        ASSERT_EQ(part.write(writer, 130, 200), QmxError());
        ASSERT_EQ(writer.close(), QmxError());
    }
    ASSERT_EQ(complete(), QmxError());
    EXPECT_EQ(take.wholeFrames(one), 200);
    EXPECT_FALSE(QFile::exists(parts[0])) << text;
    EXPECT_TRUE(QFile::exists(parts[1]));
}

TEST_F(Copies, aCompletionThatIsInterruptedAnywhereLosesNothingAndGoesOnLater)
{
    take.make(one, 60, true);
    for (int call = 1;; call += 3) {
        SCOPED_TRACE(call);
        QFile::remove(other);
        take.make(other, 20, true);
        files->failNthOfAll(call, EIO, true);
        const bool failed = complete().isError();
        files->clear();
        EXPECT_GE(take.wholeFrames(other), 20) << "what was safe is gone";
        if (!failed) break;
        ASSERT_EQ(complete(), QmxError()) << text;
        ASSERT_EQ(take.wholeFrames(other), 60);
    }
    QFile::remove(other);
    take.make(other, 20, true);
    EXPECT_EQ(complete([](qint64 done, qint64 total) { return done < total / 3; }).value(), ECANCELED);
    EXPECT_GT(take.wholeFrames(other), 20) << "what was added is kept";
    EXPECT_LT(take.wholeFrames(other), 60);
}

TEST_F(Copies, aClipOfAnotherTakeStaysAsItIs)
{
    take.make(one, 30, true);
    ClipTake stranger{{}};
    stranger.info.created = take.info.created + 1;
    stranger.make(other, 20, true);
    const QByteArray before = readAll(other);
    EXPECT_EQ(complete(), QmxError());
    EXPECT_NE(text.find("another clip"), std::string::npos) << text;
    EXPECT_EQ(readAll(other), before);

    MediaParameters is;
    is.active = dir.file("a").toStdString();
    is.mirror = dir.file("b").toStdString();
    MediaOrder order{{}, "delete", "take.mov", is.active, {}, true};
    ASSERT_EQ(onEveryMedium(order, is, environment, text), QmxError());
    EXPECT_FALSE(QFile::exists(one));
    EXPECT_TRUE(QFile::exists(other)) << "another clip of that name was deleted";

    // Both copies of one take: named alone both are meant, by its path only that one.
    QFile::remove(other);
    take.make(one, 30, true);
    take.make(other, 20, true);
    EXPECT_EQ(secondPlaces(is.active, is.mirror, {Clip("take.mov", "", 30)}, environment),
              (std::map<std::string, int>{{"take.mov", 20}}));
    EXPECT_TRUE(secondPlaces(is.active, is.active + "/", {Clip("take.mov", "", 30)}, environment).empty());
    order.verb = "protect";
    ASSERT_EQ(onEveryMedium(order, is, environment, text), QmxError());
    EXPECT_NE(text.find("b/take.mov are protected"), std::string::npos) << text;
    order.verb = "delete";
    EXPECT_EQ(onEveryMedium(order, is, environment, text).value(), EPERM);
    order.verb = "unprotect";
    order.everywhere = false;
    ASSERT_EQ(onEveryMedium(order, is, environment, text), QmxError());
    order = {{}, "delete", "take.mov", is.active, {}, true};
    const QmxError half = onEveryMedium(order, is, environment, text);
    EXPECT_EQ(half.value(), EPERM);
    EXPECT_TRUE(half.toString().contains("second copy is as it was")) << half.toString().toStdString();
    EXPECT_FALSE(QFile::exists(one));
    EXPECT_TRUE(QFile::exists(other));
}

TEST_F(Copies, areCompletedWhenNoTakeRunsAndBothMediaAreThere)
{
    std::vector<Medium> media{medium("/media/A"), medium("/media/B")};
    MediaParameters is;
    is.daemonRuns = true;
    is.status = TransportStatus::Recording;
    is.active = "/media/A";
    is.mirror = "/media/B";
    media[0].beingRecorded = true;
    media[0].recorded = {"take.mov"};
    std::optional<MirrorCare> care{std::in_place};
    std::int64_t now = 1;
    EXPECT_FALSE(care->step(now, media, is));
    // Seen to go on elsewhere, it is to be whole there.
    media.push_back(medium("/media/C"));
    media[2].recorded = {"take_part2.mov"};
    is.mirror = "/media/C";
    EXPECT_FALSE(care->step(now, media, is));
    EXPECT_NE(care->print().find("/media/C"), std::string::npos) << care->print();
    EXPECT_EQ(care->print().find("part2"), std::string::npos) << care->print();
    media.pop_back();
    is.mirror = "/media/B";
    care.emplace();
    is.status = TransportStatus::Stopped;
    care->step(now, media, is);
    is.status = TransportStatus::Recording;
    EXPECT_FALSE(care->step(now, media, is));
    // Over a restart, and however long one medium is away.
    const std::string kept = care->print();
    care.emplace();
    care->load(kept);
    is.status = TransportStatus::Stopped;
    media[0].beingRecorded = false;
    const Medium b = media[1];
    media.pop_back();
    EXPECT_FALSE(care->step(now, media, is));
    media.push_back(b);
    const auto order = care->step(now, media, is);
    ASSERT_TRUE(order);
    EXPECT_TRUE(order->verb == "complete" && order->clip == "take.mov" && order->from == "/media/A" &&
                order->to == "/media/B");
    EXPECT_FALSE(care->step(now, media, is)) << "one at a time";
    care->ended(now, *order, false);
    EXPECT_FALSE(care->step(now, media, is)) << "not at once again";
    now += 60'000'000'000;
    EXPECT_TRUE(care->step(now, media, is));
    // Where there is no room it goes to where copies go now.
    care->ended(now, *order, false);
    now += 60'000'000'000;
    media[1].percentFree = 5;
    media.push_back(medium("/media/C"));
    is.mirror = "/media/C";
    const auto moved = care->step(now, media, is);
    ASSERT_TRUE(moved);
    EXPECT_EQ(moved->to, "/media/C");
    care->ended(now, *moved, true);
    EXPECT_TRUE(care->isEmpty());
    EXPECT_EQ(care->print(), "");
}

TEST_F(Copies, ofATakeThatHardlyAnybodySawAreCompletedToo)
{
    const auto begin = [](MirrorCare &care, MediaParameters &is) {
        is.daemonRuns = true;
        is.status = TransportStatus::Stopped;
        is.active = "/media/A";
        is.mirror = "/media/B";
        is.currentClip = "before.mov";
        care.step(1, {medium("/media/A"), medium("/media/B")}, is);
    };
    // The first medium goes before anything has been seen on it, and the other one becomes the active one.
    MirrorCare care;
    MediaParameters is;
    begin(care, is);
    is.status = TransportStatus::Recording;
    is.active = "/media/B";
    std::vector<Medium> media{medium("/media/B")};
    media[0].recorded = {"take.mov"};
    care.step(2, media, is, true);
    is.status = TransportStatus::Stopped;
    is.currentClip = "take.mov";
    media[0].recorded.clear();
    EXPECT_FALSE(care.step(3, media, is));
    media.push_back(medium("/media/A"));
    const auto order = care.step(4, media, is);
    ASSERT_TRUE(order);
    EXPECT_EQ(order->clip + order->from + order->to, "take.mov/media/A/media/B");

    // Begun and ended between two looks: its name is all there is; and no name but that of a take.
    MirrorCare soon;
    begin(soon, is);
    media = {medium("/media/A"), medium("/media/B")};
    media[1].names = {"before.mov", "take.mov"};
    EXPECT_FALSE(soon.step(2, media, is, true)) << "it was there before";
    is.currentClip = "take.mov";
    EXPECT_TRUE(soon.step(3, media, is, true));

    // The take goes on on another medium: its clip is seen beside the second copy first, then it is told
    // where.
    MirrorCare joined;
    begin(joined, is);
    is.status = TransportStatus::Recording;
    media = {medium("/media/A"), medium("/media/B"), medium("/media/C")};
    media[1].recorded = media[2].recorded = {"take_R2.mov"};
    joined.step(2, media, is, true);
    is.active = "/media/C";
    joined.step(3, media, is);
    EXPECT_NE(joined.print().find("/media/C"), std::string::npos) << joined.print();
    EXPECT_EQ(joined.print().find("/media/A"), std::string::npos) << joined.print();
}
