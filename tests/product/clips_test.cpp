// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipfinder.h"
#include "platform/product/clipnames.h"
#include "platform/product/clipscan.h"
#include "platform/product/file.h"
#include "platform/product/mediacache.h"
#include "platform/product/mediumhelper.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/store/configfactoryimpl.h"
#include "tests/clip/cliptake.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/logcollector.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <atomic>
#include <future>
#include <memory>
#include <thread>

using namespace std::chrono_literals;

namespace {

std::string local(const QString &text)
{
    return text.toStdString();
}

/// A medium, a rollover medium and the settings that name them.
class Clips : public testing::Test
{
protected:
    Clips()
    {
        QDir().mkpath(medium);
        QDir().mkpath(rollover);
        config->setString(eParam_ActiveMediaPath, local(medium));
        config->setString(eParam_RolloverMediaPath, local(rollover));
    }

    void make(const QString &name, int frames)
    {
        content.make(medium + "/" + name, frames, true);
        // The file system's clock has steps of milliseconds: two clips made at once would be of one time.
        setTime(name, QDateTime::currentDateTime().addSecs(-100 + ++made));
    }
    void setTime(const QString &name, const QDateTime &time) const
    {
        QFile clip(medium + "/" + name);
        ASSERT_TRUE(clip.open(QIODevice::ReadWrite));
        EXPECT_TRUE(clip.setFileTime(time, QFileDevice::FileModificationTime));
    }
    std::string names(bool playListOnly = false, bool sorted = true)
    {
        std::string text;
        for (const Clip &clip : finder.findClips(true, playListOnly, sorted))
            text += (text.empty() ? "" : " ") + clip.getName() + ":" + std::to_string(clip.frames());
        return text;
    }
    std::string nextName(std::list<Clip> *existing = nullptr, int expected = 0)
    {
        std::string name;
        EXPECT_EQ(finder.buildClipName(name, existing), expected);
        return name;
    }

    TestDir dir;
    const QString medium = dir.file("A");
    const QString rollover = dir.file("B");
    const ClipTake content{{}};
    int made = 0; ///< clips
    const std::unique_ptr<Config> config{
        ConfigFactoryImpl::GetInstance()->create("sqlite:" + local(dir.file("store.db")), "", true)};
    ClipFinder finder{config.get()};
};

TEST_F(Clips, areListedInTheOrderOfRecordingAndStayInIt)
{
    make("b.mov", 3);
    make("a.mov", 2);
    writeAll(medium + "/notes.txt", "no clip");
    writeAll(medium + "/broken.mov", "no clip either");
    writeAll(medium + "/.hidden.mov", "x");
    EXPECT_EQ(names(), "b.mov:3 a.mov:2");
    EXPECT_EQ(names(false, false), "a.mov:2 b.mov:3");
    // A clip that a copy has made younger keeps its place, a new one comes last.
    setTime("b.mov", QDateTime::currentDateTime().addDays(1));
    make("0.mov", 1);
    EXPECT_EQ(names(), "b.mov:3 a.mov:2 0.mov:1");

    // The play list: in its own order, a name twice, what is missing is left out.
    config->setString(eParam_PlayList, "0.mov\nb.mov\ngone.mov\n0.mov\n");
    EXPECT_EQ(names(true), "0.mov:1 b.mov:3 0.mov:1");
    QFile::remove(medium + "/a.mov");
    EXPECT_EQ(names(), "b.mov:3 0.mov:1");
    config->setString(eParam_ActiveMediaPath, local(rollover));
    EXPECT_EQ(names(), "");
    EXPECT_TRUE(ClipFinder(nullptr).findClips(true, false, true).empty());
}

TEST_F(Clips, beingRecordedElsewhereAreListedAndOwnOnesCanBeAskedFor)
{
    const QString path = medium + "/growing.mov";
    QmxClipWriter writer;
    ASSERT_FALSE(writer.create(path, content.info).isError());
    EXPECT_FALSE(content.write(writer, 0, 4, 1).isError());
    EXPECT_EQ(names(), "growing.mov:4");
    EXPECT_FALSE(finder.findClips(true, false, true).front().isClosed());
    EXPECT_EQ(finder.findClips(true, false, true).front().getFrameCount(), qmxRoomToGrow);
    QmxEnvironment::current().deck->recordTable.streamOpening(path);
    EXPECT_EQ(names(), "") << "what this process records is not in its own lists";
    QmxEnvironment::current().deck->recordTable.streamClosed(path);
    Clip clip;
    EXPECT_TRUE(kel::media::MediaCache::GrokClip(clip, local(path), false));
    EXPECT_EQ(clip.getFrameCount(), 4);
    EXPECT_EQ(clip.getName(), "growing.mov");
    // Given once, it is refused until the next listing.
    EXPECT_FALSE(kel::media::MediaCache::GrokClip(clip, local(path), false));
    EXPECT_TRUE(kel::media::MediaCache::GrokClip(clip, local(path), true));
    EXPECT_FALSE(writer.close().isError());
    EXPECT_EQ(names(), "growing.mov:4");
    EXPECT_TRUE(kel::media::MediaCache::GrokClip(clip, local(path), false));

    // One that this process records: the frames accepted so far, whatever the file holds.
    const QString own = medium + "/own.mov";
    QmxEnvironment::current().deck->recordTable.streamOpening(own);
    QmxEnvironment::current().deck->recordTable.frameWritten(own, QmxTimecode(), true);
    QmxEnvironment::current().deck->recordTable.frameWritten(own, QmxTimecode(), false);
    ASSERT_TRUE(kel::media::MediaCache::GrokClip(clip, local(own), false));
    EXPECT_EQ(clip.getFrameCount(), QmxEnvironment::current().deck->recordTable.entry(own)->frames);
    QmxEnvironment::current().deck->recordTable.streamClosed(own);
    EXPECT_FALSE(kel::media::MediaCache::GrokClip(clip, local(medium + "/none.mov"), false));
}

TEST_F(Clips, getNamesThatAreFree)
{
    EXPECT_EQ(nextName(), "take_001.mov");
    EXPECT_EQ(nextName(), "take_001.mov"); // not given yet
    finder.incrementTakeIfAppropriate();
    EXPECT_EQ(nextName(), "take_002.mov");
    // Taken on the medium, and in the list of clips.
    writeAll(medium + "/take_002.mov", "x");
    std::list<Clip> existing = {Clip("take_003.mov", "", 1)};
    EXPECT_EQ(nextName(&existing), "take_004.mov");
    finder.incrementTakeIfAppropriate();
    unsigned take = 0;
    config->getUInt(eParam_TakeNumber, take);
    EXPECT_EQ(take, 5U);

    // Fixed by the operator: refused when taken, and the take stays.
    config->setUInt(eParam_AutomaticTake, 0);
    config->setUInt(eParam_TakeNumber, 2);
    EXPECT_EQ(nextName(nullptr, -1), "take_002.mov");
    config->setUInt(eParam_TakeNumber, 9);
    EXPECT_EQ(nextName(), "take_009.mov");
    finder.incrementTakeIfAppropriate();
    config->getUInt(eParam_TakeNumber, take);
    EXPECT_EQ(take, 9U);
    config->setUInt(eParam_AutomaticTake, 1);
    config->setString(eParam_ClipNamePattern, "{reel}-{name}");
    config->setString(eParam_ClipBaseName, "one");
    EXPECT_EQ(nextName(), "001-one.mov");
    writeAll(medium + "/001-one.mov", "x");
    EXPECT_EQ(nextName(nullptr, -1), "001-one.mov");
    std::string name;
    EXPECT_EQ(ClipFinder(nullptr).buildClipName(name, nullptr), -1);
}

TEST_F(Clips, getNamesWhileTheMediumIsStillBeingListed)
{
    expectLog("mediumhelper", "does not answer");
    std::promise<void> listed;
    EXPECT_FALSE(
        MediumHelper::instance().ask(local(medium), [end = listed.get_future().share()] { end.wait(); }));
    EXPECT_EQ(nextName(), "take_001.mov");
    listed.set_value();
}

TEST_F(Clips, continueUnderAnIndexThatIsFreeOnTheRolloverMedium)
{
    std::string current = "take_001.mov";
    std::string next;
    writeAll(medium + "/take_001_R2.mov", "does not count");
    EXPECT_FALSE(finder.getClipNameWithIncrementedRolloverIndex(current, next));
    EXPECT_EQ(next, "take_001_R2.mov");
    writeAll(rollover + "/take_001_R2.mov", "x");
    EXPECT_FALSE(finder.getClipNameWithIncrementedRolloverIndex(current, next));
    EXPECT_EQ(next, "take_001_R3.mov");
    current = "a_R9.mov";
    EXPECT_FALSE(finder.getClipNameWithIncrementedRolloverIndex(current, next));
    EXPECT_EQ(next, "a_R10.mov");
    config->setString(eParam_RolloverMediaPath, "");
    EXPECT_TRUE(finder.getClipNameWithIncrementedRolloverIndex(current, next)); // true is failure
}

TEST_F(Clips, thatGoOnAheadNeedNoAnswerOfTheMediumAnyMore)
{
    allowLog("mediumhelper");
    const auto files = FaultyFiles::install();
    const QmxNextClip *ahead = &QmxEnvironment::current().deck->nextClip;
    EXPECT_EQ(ahead->after(medium + "/a.mov"), "") << "no rollover is wanted";
    config->setUInt(eParam_RolloverEnabled, 1);
    EXPECT_EQ(ahead->after(rollover + "/a.mov"), "") << "it is there already";
    EXPECT_EQ(ahead->after(medium + "/a.mov"), rollover + "/a_R2.mov");
    // Making a file keeps its folder busy, and with it all who ask for names there.
    files->hang(FaultyFiles::Stat);
    std::string current = "a.mov", next;
    EXPECT_FALSE(finder.getClipNameWithIncrementedRolloverIndex(current, next));
    EXPECT_EQ(next, "a_R2.mov");
    current = "b.mov";
    EXPECT_TRUE(finder.getClipNameWithIncrementedRolloverIndex(current, next));
    files->release();
}

TEST(ClipNames, holdOnlyWhatAFileNameCan)
{
    struct Case
    {
        const char *pattern;
        ClipNameWords words;
        const char *expected;
    };
    const Case cases[] = {
        {"{name}_{take}", {"scene", 7, "001", 0}, "scene_007.mov"},
        {"{take}{take}", {"", 1234, "", 0}, "12341234.mov"},
        {"{reel}/{name}", {"a", 1, "r/\n", 0}, "r___a.mov"},
        {"{name}", {".b", 1, "", 0}, "_.b.mov"},
        {"{name}", {"", 1, "", 0}, "_.mov"},
    };
    for (const Case &test : cases)
        EXPECT_EQ(clipNameFromPattern(test.pattern, test.words), test.expected);
    // Cut between characters, the take stays.
    std::string umlauts;
    for (int i = 0; i < 100; ++i)
        umlauts += "\xC3\xA4";
    const std::string name = clipNameFromPattern("{reel}x{name}_{take}", {umlauts, 5, umlauts, 0});
    EXPECT_EQ(name, umlauts.substr(0, 50) + "x" + umlauts.substr(0, 100) + "_005.mov");
}

TEST(ClipNames, ofACameraLeadNowhereElseAndAreFound)
{
    EXPECT_EQ(clipNameFromOutside(QByteArray(300, 'a').append(".mov").toStdString()).size(), 204U);
    EXPECT_EQ(clipNameFromOutside("A001_C002.mov"), "A001_C002.mov");
    for (const char *name : {"../../etc/x.mov", ".hidden.mov", "A001", "", "a\x1b]0;x\n.mov", "..", "/"}) {
        const std::string made = clipNameFromOutside(name);
        EXPECT_TRUE(isClipName(made) && made.find('/') == std::string::npos) << made;
    }
}

TEST(HangingMedium, isAskedOnceAndThenNotAgainUntilItIsBack)
{
    expectLog("mediumhelper", "does not answer");
    const TestDir dir;
    const std::string medium = local(dir.path());
    writeAll(dir.file("a"), "x");
    EXPECT_TRUE(kel::utils::file::File::file_exists(medium + "/a"));
    EXPECT_FALSE(kel::utils::file::File::file_exists(medium));
    std::promise<void> back;
    const auto asked = std::make_shared<std::atomic<int>>(0);
    EXPECT_FALSE(MediumHelper::instance().ask(medium, [asked, end = back.get_future().share()] {
        ++*asked;
        end.wait();
    }));
    EXPECT_FALSE(MediumHelper::instance().ask(medium, [asked] { ++*asked; }));
    EXPECT_FALSE(kel::utils::file::File::file_exists(medium + "/a"));
    back.set_value();
    EXPECT_TRUE(Stepper::waitFor([&] { return kel::utils::file::File::file_exists(medium + "/a"); }));
    EXPECT_EQ(*asked, 1) << "what was refused has been asked after all";
}

TEST(HangingMedium, isNotOneThatSomebodyElseIsAskingJustNow)
{
    const TestDir dir;
    const std::string medium = local(dir.path());
    std::atomic<bool> isBack = false;
    bool second = false;
    std::thread other;
    const auto question = [&] {
        other = std::thread([&] {
            second = MediumHelper::instance().ask(
                medium, [] {}, 5s);
            isBack = true;
        });
        for (int i = 0; i < 50 && !isBack; ++i) // refused, it is back at once
            std::this_thread::sleep_for(1ms);
    };
    EXPECT_TRUE(MediumHelper::instance().ask(medium, question, 5s));
    other.join();
    EXPECT_TRUE(second);
}

TEST_F(Clips, thatCouldNotBeListedInTimeAreAskedForWhenTheMediumAnswers)
{
    expectLog("mediumhelper", "does not answer");
    const auto files = FaultyFiles::install();
    struct Wanted : ConfigEventListener
    {
        using ConfigEventListener::ParamChanged;
        void ParamChanged(eParam_t id, unsigned, timeval) override { times += id == eParam_ListingWanted; }
        void ParamChanged(eParam_t, std::string, timeval) override {}
        std::atomic<int> times = 0;
    } wanted;
    const std::unique_ptr<Config> other(
        ConfigFactoryImpl::GetInstance()->create("sqlite:" + local(dir.file("store.db")), "operator", true));
    other->addListener(&wanted);
    ClipFinder late(config.get());
    make("a.mov", 5);
    files->hang(FaultyFiles::Stat);
    EXPECT_TRUE(late.findClips(true, false, true).empty());
    ClipFinder later(config.get());
    EXPECT_FALSE(later.knowsMedium()) << "not empty: unknown";
    EXPECT_EQ(wanted.times, 0);
    files->release();
    EXPECT_TRUE(Stepper::waitFor([&] { return wanted.times > 0; })) << "nobody makes the list again";
    EXPECT_EQ(late.findClips(true, false, true).size(), 1U);
    EXPECT_EQ(later.findClips(true, false, true).size(), 1U);
    EXPECT_TRUE(later.knowsMedium());
}

} // namespace
