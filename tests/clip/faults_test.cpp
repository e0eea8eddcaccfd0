// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/clip/cliptake.h"
#include "tests/clip/recordedfiles.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/rounds.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <map>
#include <random>

namespace {

const ClipTake::Format smallPlain{128, 96, 25, 1, 203, 0, 2, false, 0};

} // namespace

TEST(ClipFaults, EveryFailingCallLeavesWhatWasFlushed)
{
    const ClipTake take(smallPlain);
    for (int error : {EIO, ENOSPC}) {
        for (bool always : {false, true}) {
            for (int n = 1;; ++n) {
                TestDir dir;
                const QString path = dir.file("a.mov");
                auto files = std::make_shared<FaultyFiles>();
                files->failNthOfAll(n, error, always);
                QmxClipWriter writer(withFiles(files));
                const QmxError created = writer.create(path, take.info);
                QmxError written;
                if (!created.isError()) written = take.write(writer, 0, 30);
                const qint64 durable = writer.framesDurable();
                const QmxError closed = writer.close();
                const bool allCalls = files->countOfAll() < n;
                files->clear();
                SCOPED_TRACE(testing::Message()
                             << "call " << n << " errno " << error << " always " << always);
                if (created.isError()) {
                    if (!always) {
                        EXPECT_FALSE(QFileInfo::exists(path)) << "an opening that failed leaves nothing";
                    }
                } else {
                    EXPECT_GE(take.wholeFrames(path), durable);
                    if (!written.isError() && !closed.isError()) {
                        EXPECT_EQ(take.wholeFrames(path), 30);
                    }
                    if (written.isError()) {
                        EXPECT_TRUE(written.toString().contains("a.mov"));
                    }
                }
                if (allCalls) break;
            }
        }
    }
}

TEST(ClipFaults, WhatAFailedSyncHasLostWasNeverCountedAsSafe)
{
    const ClipTake take(smallPlain);
    for (int n = 1, syncs = n; n <= syncs; ++n) {
        TestDir dir;
        const QString path = dir.file("a.mov");
        auto files = std::make_shared<FaultyFiles>();
        files->loseOnFailedSync();
        files->failNth(FaultyFiles::Fdatasync, n, EIO);
        QmxClipWriter writer(withFiles(files));
        if (writer.create(path, take.info).isError()) {
            syncs = n + 1;
            continue;
        }
        const bool failed = take.write(writer, 0, 60).isError();
        const qint64 durable = writer.framesDurable();
        const bool closed = !writer.close().isError();
        syncs = files->count(FaultyFiles::Fdatasync);
        files->clear();
        EXPECT_GE(take.wholeFrames(path), durable) << "sync " << n;
        EXPECT_TRUE(failed || !closed || take.wholeFrames(path) == 60) << "sync " << n;
    }
}

TEST(ClipFaults, AFullMediumKeepsAllFramesThatFitted)
{
    TestDir dir;
    const ClipTake take(smallPlain);
    auto files = std::make_shared<FaultyFiles>();
    QmxClipWriter writer(withFiles(files));
    ASSERT_FALSE(writer.create(dir.file("a.mov"), take.info).isError());
    ASSERT_FALSE(take.write(writer, 0, 20, 12).isError());
    files->failNth(FaultyFiles::Pwrite, 1, ENOSPC);
    EXPECT_EQ(writer.writeFrame(take.frame(20)).value(), ENOSPC);
    EXPECT_TRUE(writer.failed());
    EXPECT_EQ(writer.writeFrame(take.frame(20)).value(), ENOSPC) << "nothing more is written";
    EXPECT_EQ(writer.framesDurable(), 20) << "the frames before it, flushed or not";
    writer.close();
    EXPECT_EQ(take.wholeFrames(dir.file("a.mov")), 20);
}

TEST(ClipFaults, RoomAheadIsSmallAndGivenBack)
{
    /// A medium of one gibibyte that notes what is allocated, and which way the bytes go.
    class Medium : public QmxFiles
    {
    public:
        int statfs(const QString &, struct statfs64 *data) override
        {
            data->f_bsize = 4096;
            data->f_blocks = 262144;
            return 0;
        }
        int fallocate(int fd, int mode, off64_t offset, off64_t length) override
        {
            ahead = std::max(ahead, qint64(offset + length) - end);
            return QmxFiles::fallocate(fd, mode, offset, length);
        }
        int open(const QString &path, int flags, mode_t mode) override
        {
            const int fd = QmxFiles::open(path, flags, mode);
            if (flags & O_DIRECT) direct = fd;
            return fd;
        }
        ssize_t pwrite(int fd, const void *data, size_t size, off64_t offset) override
        {
            end = std::max(end, qint64(offset) + qint64(size));
            if (fd != direct) ++buffered;
            return QmxFiles::pwrite(fd, data, size, offset);
        }
        qint64 ahead = 0;
        qint64 end = 0;
        int direct = -1;
        int buffered = 0;
    };
    const ClipTake take(smallPlain);
    // Memory file systems may refuse to go past the page cache; the one of temporary files seldom does.
    const QTemporaryDir disk;
    const TestDir memory;
    for (const QString &path : {disk.filePath("a.mov"), memory.file("a.mov")}) {
        auto medium = std::make_shared<Medium>();
        QmxClipWriter writer(withFiles(medium));
        ASSERT_FALSE(writer.create(path, take.info).isError());
        ASSERT_FALSE(take.write(writer, 0, 300).isError());
        ASSERT_FALSE(writer.close().isError());
        EXPECT_GT(medium->ahead, 0);
        EXPECT_LE(medium->ahead, (qint64(1) << 30) / 400 + (1 << 18));
        if (medium->direct >= 0) {
            EXPECT_EQ(medium->buffered, 0) << "a write was not aligned";
        }
        struct stat64 data = {};
        ASSERT_EQ(medium->stat(path, &data), 0);
        EXPECT_LE(qint64(data.st_blocks) * 512, data.st_size + (1 << 16));
        EXPECT_EQ(take.wholeFrames(path), 300);
    }
}

TEST(ClipFaults, HalfWritesAreCompleted)
{
    const ClipTake take(smallPlain);
    for (int n = 1; n < 45; n += 3) {
        TestDir dir;
        auto files = std::make_shared<FaultyFiles>();
        files->writeHalf(n);
        QmxClipWriter writer(withFiles(files));
        ASSERT_FALSE(writer.create(dir.file("a.mov"), take.info).isError());
        ASSERT_FALSE(take.write(writer, 0, 30).isError());
        ASSERT_FALSE(writer.close().isError());
        EXPECT_EQ(take.wholeFrames(dir.file("a.mov")), 30);
    }
}

TEST(ClipFaults, APowerCutLosesNoAcknowledgedFrame)
{
    TestDir dir;
    const QString path = dir.file("a.mov");
    ClipTake take(smallPlain);
    take.jump(20, 50);
    const auto files = std::make_shared<RecordedFiles>();
    QmxClipWriter writer(withFiles(files));
    std::map<qsizetype, qint64> acknowledged{{0, 0}}; // by what had been done
    ASSERT_FALSE(writer.create(path, take.info).isError());
    for (int frame = 0; frame < 120; ++frame) {
        ASSERT_FALSE(take.write(writer, frame, frame + 1).isError());
        acknowledged[files->acts.size()] = writer.framesDurable();
    }
    ASSERT_FALSE(writer.close().isError());
    std::mt19937 chance(7);
    int images = 0;
    for (const qsizetype cut : std::as_const(files->writes)) {
        const auto [done, safe] = *std::prev(acknowledged.upper_bound(cut));
        // Every write of the close, some of those before.
        if (chance() % 3 && safe < 120) continue;
        const unsigned share = chance() % 101;
        files->leave(
            path, cut, [&] { return chance() % 100 < share; }, false);
        SCOPED_TRACE(testing::Message() << cut << " of " << done);
        ASSERT_GE(take.wholeFrames(path), safe);
        ++images;
        bool repaired = false;
        EXPECT_FALSE(safe > 0 && QmxClipReader::repair(path, repaired).isError());
        ASSERT_GE(take.wholeFrames(path), safe);
    }
    EXPECT_GT(images, 40);
}

TEST(ClipFaults, AKilledWriterLosesNoAcknowledgedFrame)
{
    const ClipTake take(smallPlain);
    std::mt19937 chance(3);
    for (int round = 0; round < testRounds(20, 500); ++round) {
        TestDir dir;
        const QString path = dir.file("a.mov");
        const qint32 acknowledged = recordAndKill(take, path, 200, 1 + unsigned(chance() % 210));
        EXPECT_GE(take.wholeFrames(path), acknowledged);
        if (acknowledged == 0) continue;
        if (round < 4) {
            const auto probe =
                runProgram("ffprobe", {"-v", "error", "-count_packets", "-select_streams", "v",
                                       "-show_entries", "stream=nb_read_packets", "-of", "csv=p=0", path});
            EXPECT_GE(probe.out.trimmed().toInt(), acknowledged);
        }
        bool repaired = false;
        ASSERT_FALSE(QmxClipReader::repair(path, repaired).isError());
        EXPECT_GE(take.wholeFrames(path), acknowledged);
    }
}
