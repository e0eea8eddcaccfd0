// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movchapters.h"
#include "platform/qmx/clip/movlayout.h"
#include "platform/qmx/clip/movtables.h"
#include "tests/clip/cliptake.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>

#include <set>

namespace {

/// Leaves holes where pictures would be, so that hours of a take cost no medium.
class HollowFiles : public QmxFiles
{
public:
    ssize_t pwrite(int fd, const void *data, size_t size, off64_t offset) override
    {
        return hollow ? ssize_t(size) : QmxFiles::pwrite(fd, data, size, offset);
    }
    int fallocate(int, int, off64_t, off64_t) override { return 0; }
    bool hollow = false;
};

/// A medium that notes how much it has to work on at a time.
class AskedFiles : public QmxFiles
{
public:
    int fadvise(int, off64_t offset, off64_t, int) override
    {
        _announced.insert(offset);
        most = std::max(most, _announced.size());
        return 0;
    }
    ssize_t pread(int fd, void *data, size_t size, off64_t offset) override
    {
        if (_announced.erase(offset) == 0) ++alone;
        if (size == size_t(MovLayout::slotSize)) ++asked;
        return QmxFiles::pread(fd, data, size, offset);
    }
    size_t most = 0; ///< announced and not yet read
    int alone = 0;   ///< reads that nobody announced
    int asked = 0;   ///< reads as long as a slot

private:
    std::set<off64_t> _announced;
};

} // namespace

TEST(LongTake, ClosesAndOpensQuickly)
{
    constexpr int frames = 300000;
    TestDir dir;
    const QString path = dir.file("long.mov");
    const ClipTake take({1920, 1080, 25, 1, 203, 0, 0, false, 0});
    auto files = std::make_shared<HollowFiles>();
    QmxClipWriter writer(withFiles(files));
    ASSERT_FALSE(writer.create(path, take.info).isError());
    QmxFrame frame = take.frame(0);
    for (int i = 0; i < frames; ++i) {
        frame.meta().insert(QmxId(12), QVariant::fromValue(take.timecode(i)));
        files->hollow = true;
        ASSERT_FALSE(writer.writeFrame(frame).isError());
        files->hollow = false;
        if (i % 12 == 11) {
            ASSERT_FALSE(writer.flush().isError());
        }
    }
    QElapsedTimer timer;
    QmxClipReader growing;
    timer.start();
    ASSERT_FALSE(growing.open(path).isError());
    const qint64 walk = timer.restart();
    ASSERT_FALSE(writer.close().isError());
    const qint64 close = timer.restart();
    QmxClipReader reader;
    ASSERT_FALSE(reader.open(path).isError());
    const qint64 open = timer.restart();
    QmxClipInfo info;
    ASSERT_FALSE(QmxClipReader::probe(path, info).isError());
    const qint64 probe = timer.elapsed();
    printf("%d frames: index while growing %lld ms, close %lld ms, open %lld ms, probe %lld ms\n", frames,
           (long long)walk, (long long)close, (long long)open, (long long)probe);
    EXPECT_EQ(growing.info().frames, frames);
    EXPECT_EQ(reader.info().frames, frames);
    EXPECT_EQ(info.frames, frames);
    EXPECT_TRUE(reader.info().timecodeAt(frames - 1) == take.timecode(frames - 1));
}

// To be repaired it is read slot by slot. Each tells where the next one is, and a medium that is asked for
// one after the other takes its time for each.
TEST(LongTake, IsReadFromManyPlacesAtOnceToBeRepaired)
{
    TestDir dir;
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    const auto files = std::make_shared<AskedFiles>();
    for (const int frames : {10, 1500}) {
        const QString path = dir.file(QString::number(frames));
        take.make(path, frames, false, 2);
        files->alone = 0;
        bool repaired = false;
        ASSERT_FALSE(QmxClipReader::repair(path, repaired, withFiles(files)).isError());
        EXPECT_TRUE(repaired);
        EXPECT_LT(files->alone, 16) << "what is not a slot, before and after it is locked";
        EXPECT_EQ(take.wholeFrames(path), frames);
    }
    EXPECT_GE(files->most, 64u);
    EXPECT_LE(files->most, 129u);
}

// A slot also tells of those before it.
TEST(LongTake, IsOpenedByAFewSlotsWhileItGrows)
{
    struct Case
    {
        int frames, flushEvery, jumpEvery, channels, most;
    };
    // The last one leaves no room in its slots for more than where the one before is.
    for (const Case &one :
         {Case{1500, 2, 1000, 2, 16}, {300, 1, 2, 2, 16}, {1500, 12, 50, 0, 10}, {320, 80, 1, 2, 10}}) {
        TestDir dir;
        ClipTake take({128, 96, 25, 1, 203, 0, one.channels, false, 0});
        for (int frame = one.jumpEvery; frame < one.frames; frame += one.jumpEvery)
            take.jump(frame, 3);
        const QString path = dir.file("a.mov");
        take.make(path, one.frames, false, one.flushEvery);
        const auto files = std::make_shared<AskedFiles>();
        QmxClipReader reader(withFiles(files));
        ASSERT_FALSE(reader.open(path).isError());
        EXPECT_LE(files->asked, one.most) << one.flushEvery;
        EXPECT_EQ(files->most, 0u) << "not slot by slot";
        EXPECT_EQ(take.equalFrames(reader), one.frames) << one.flushEvery;
    }
}

// A day and an hour of sound has more samples than a table can count.
TEST(LongTake, TwentySixHoursOfSoundAreHeardToTheEnd)
{
    constexpr int fragmentFrames = 250;
    constexpr qint64 fragments = 26 * 3600 / 10;
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0}, true);
    MovFormat format;
    ASSERT_FALSE(MovFormat::fromInfo(take.info, format).isError());
    const QByteArray sound = take.soundBytes(fragmentFrames);
    const QmxFrame frame = take.frame(0);
    const QmxBuffer picture = frame.vids().first().buffers().first();
    MovFragment fragment;
    fragment.frames.assign(fragmentFrames, {MovLayout::firstSlot, quint32(picture.size()), 0});
    fragment.audioBlocks.assign(fragmentFrames, 1920);
    fragment.audioOffset = 1 << 20;
    MovTables tables;
    for (qint64 i = 0; i < fragments; ++i, fragment.audioOffset += sound.size())
        tables.append(fragment);
    TestDir dir;
    QFile file(dir.file("long.mov")); // with holes for all but the first picture and the last sound
    QByteArray header = MovTables::openHeader(format, tables.frames());
    MovTables::flipHeader(header, fragment.audioOffset);
    header += QByteArray(reinterpret_cast<const char *>(picture.constData()), picture.size());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(header) == header.size());
    ASSERT_TRUE(file.seek(fragment.audioOffset - sound.size()) && file.write(sound) == sound.size());
    const QByteArray moov = tables.finalMoov(format, MovChapters({}, tables.frames(), format), 0);
    ASSERT_EQ(file.write(moov), moov.size());
    file.close();

    const ProgramResult probe = runProgram("ffprobe", {"-v", "error", "-select_streams", "a", "-show_entries",
                                                       "stream=duration", "-of", "csv=p=0", file.fileName()});
    EXPECT_EQ(probe.out.trimmed(), "93600.000000") << probe.err.toStdString();
    const ProgramResult heard = runProgram(
        "ffmpeg", {"-v", "error", "-ss", "93590", "-i", file.fileName(), "-map", "0:a", "-f", "s24le", "-"});
    EXPECT_EQ(heard.out.size(), sound.size()) << heard.err.toStdString();
    EXPECT_TRUE(heard.out == sound);
    QmxClipReader reader;
    ASSERT_FALSE(reader.open(file.fileName()).isError());
    QmxFrame last;
    ASSERT_FALSE(reader.readFrame(tables.frames() - 1, last).isError());
    const QmxFrame written = take.frame(fragmentFrames - 1);
    const QmxAudio is = last.auds().first(), was = written.auds().first();
    ASSERT_EQ(is.samples(), was.samples());
    EXPECT_EQ(std::memcmp(is.data(), was.data(), size_t(is.samples()) * 8), 0);
}
