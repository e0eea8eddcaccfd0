// SPDX-License-Identifier: GPL-3.0-or-later
// The list of clips that processes share: whole at any moment, whoever dies.
#include "platform/product/clipcache.h"
#include "platform/product/sharedclipsource.h"
#include "tests/config/privatemachine.h"
#include "tests/support/sendsignal.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>

#include <csignal>
#include <functional>
#include <thread>

#include <utime.h>

namespace {

const PrivateMachine machine; // shared memory of its own

constexpr const char *segment = "/dev/shm/NewCacheSharedClipCache_shm";
constexpr const char *folder = "/media/A";

std::vector<ClipListing> state(int frames, int count = 3)
{
    return {{folder, 1, true, {}, std::vector<Clip>(count, Clip("a.mov", "/media/A/a.mov", frames, 7))}};
}

/// Frames of the first clip that is read; 0: nothing is.
int readBack(ClipCache &cache)
{
    const auto listing = cache.listing(folder);
    return listing ? listing->clips.front().getFrameCount() : 0;
}

std::unique_ptr<QProcess> worker(const char *role)
{
    auto process = std::make_unique<ChildProcess>();
    process->start(QCoreApplication::applicationDirPath() + "/cache_worker", {role, folder});
    EXPECT_TRUE(process->waitForReadyRead());
    return process;
}

TEST(ClipCache, hasItsNamesAndSizesAndGivesBackWhatWasPublished)
{
    for (const auto &[kind, size] :
         {std::pair(ClipCache::AllClips, 26771475), std::pair(ClipCache::PlayList, 54595607)}) {
        ClipCache writer(kind);
        ClipCache reader(kind);
        EXPECT_FALSE(reader.listing(folder));
        std::vector<ClipListing> listings = state(5, 10'000);
        listings.push_back(
            {"/media/B", 2, false, "x.mov\n", {Clip("x.mov", "/media/B/x.mov", 0, -1, false)}});
        std::string error;
        ASSERT_TRUE(writer.publish(listings, &error)) << error;
        EXPECT_EQ(reader.listing(folder), listings[0]);
        EXPECT_EQ(reader.listing("/media/B"), listings[1]);
        EXPECT_FALSE(reader.listing("/media/C"));
        const QString name = kind == ClipCache::AllClips ? "Clip" : "Playlist";
        const QFileInfo memory("/dev/shm/NewCacheShared" + name + "Cache_shm");
        EXPECT_EQ(memory.size(), size);
        EXPECT_FALSE(memory.permission(QFile::ReadOther) || memory.permission(QFile::WriteOther));
        EXPECT_TRUE(QFileInfo::exists("/dev/shm/sem.NewCacheShared" + name + "Cache_mutex"));
        // More than there is room for is refused, and the state before stays.
        const std::vector<Clip> many(60, Clip("a.mov", std::string(1 << 20, 'a'), 6));
        EXPECT_FALSE(writer.publish({{folder, 1, true, {}, many}}, &error));
        EXPECT_NE(error.find("too many clips"), std::string::npos);
        EXPECT_EQ(reader.listing(folder), listings[0]);
    }
}

TEST(ClipCache, isGoodWhileItsPublisherLivesAndMadeAnewWhenItIsOfAnotherForm)
{
    ClipCache reader(ClipCache::AllClips);
    {
        ClipCache writer(ClipCache::AllClips);
        ASSERT_TRUE(writer.publish(state(1)));
        EXPECT_EQ(readBack(reader), 1);
    }
    EXPECT_EQ(readBack(reader), 0);
    ClipCache late(ClipCache::AllClips);
    EXPECT_EQ(readBack(late), 0);
    ClipCache writer(ClipCache::AllClips);
    int frames = 1;
    ASSERT_TRUE(writer.publish(state(frames)));
    EXPECT_EQ(readBack(late), 1) << "first looked while nobody published into what was there";
    const auto overwrite = [](qint64 at, const QByteArray &bytes) {
        QFile file(segment);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite) && file.seek(at) && file.write(bytes) == bytes.size());
    };
    const std::vector<std::function<void()>> harms = {
        [&] { overwrite(0, QByteArray(4096, '\xA5')); }, // another form, a holder that never was
        [&] { overwrite(4096, QByteArray(20'000'000, '\xA5')); },
        [&] { QFile::remove(segment); },
        [&] { QFile::remove(segment), writeAll(segment, "short"); },
    };
    for (const auto &harm : harms) {
        ASSERT_TRUE(writer.publish(state(++frames)));
        EXPECT_EQ(readBack(reader), frames);
        harm();
        const int found = readBack(reader);
        EXPECT_TRUE(found == frames || found == 0) << found;
        EXPECT_EQ(readBack(*std::make_unique<ClipCache>(ClipCache::AllClips)), 0);
        ASSERT_TRUE(writer.publish(state(++frames)));
        EXPECT_EQ(readBack(reader), frames);
    }
}

TEST(ClipCache, processesKilledAtAnyMomentBlockNobodyAndTearNothing)
{
    QRandomGenerator chance(7);
    ClipCache reader(ClipCache::AllClips);
    for (int round = 1; round <= 25; ++round) {
        const auto publisher = worker("publish");
        const auto other = worker("read");
        const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(chance.bounded(4000));
        while (std::chrono::steady_clock::now() < until)
            std::this_thread::yield();
        // Stopped at any moment, perhaps with the mutex: what was there last is still to be had.
        sendSignal(publisher->processId(), SIGSTOP);
        const auto listing = reader.listing(folder, std::chrono::milliseconds(200));
        if (listing) {
            const int frames = listing->clips.front().getFrameCount();
            for (const Clip &clip : listing->clips)
                ASSERT_EQ(clip.getFrameCount(), frames);
        }
        publisher->kill();
        ASSERT_EQ(other->state(), QProcess::Running) << "a torn list";
        other->kill();
        ASSERT_TRUE(publisher->waitForFinished() && other->waitForFinished());
        EXPECT_EQ(readBack(reader), 0); // nobody keeps it current
        ClipCache next(ClipCache::AllClips);
        std::string error;
        ASSERT_TRUE(next.publish(state(round), &error)) << error << " in round " << round;
        EXPECT_EQ(readBack(reader), round);
    }
}

TEST(ClipCache, givesAFoldersClipsOnlyWhileTheFolderIsTheSame)
{
    QmxEnvironment environment = QmxEnvironment::current();
    SharedClipSource source(environment);
    MediumClipSource medium(environment);
    const auto age = [] {
        const utimbuf times{1000, 1000};
        ASSERT_EQ(::utime(folder, &times), 0);
    };
    age();
    auto listing = takeClipListing(folder, medium);
    ASSERT_TRUE(listing && listing->settled && listing->clips.empty());
    listing->clips =
        state(9).front().clips; // which the medium does not hold: seen when it comes from the cache
    ClipCache cache(ClipCache::AllClips);
    ASSERT_TRUE(cache.publish({*listing}));
    EXPECT_EQ(source.clips(folder), listing->clips);
    // A file that comes or goes is seen at once.
    writeAll("/media/A/new.txt", "x");
    EXPECT_EQ(source.clips(folder)->size(), 0U);
    listing = takeClipListing(folder, medium);
    EXPECT_FALSE(listing->settled) << "a second change in the same tick could not be told";
    writeAll("/media/A/take.mov", "");
    age();
    EXPECT_FALSE(takeClipListing(folder, medium)->settled) << "a take on a slow medium begins like that";
    EXPECT_EQ(clipsOfPlayList({Clip("a.mov", "", 1), Clip("b.mov", "", 2)}, "b.mov\ngone\nb.mov\na.mov\n"),
              (std::vector<Clip>{Clip("b.mov", "", 2), Clip("b.mov", "", 2), Clip("a.mov", "", 1)}));
}

} // namespace
