// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/clip/cliptake.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>

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

} // namespace

TEST(LongTake, ClosesAndOpensQuickly)
{
    constexpr int frames = 300000;
    TestDir dir;
    const QString path = dir.file("long.mov");
    const ClipTake take({1920, 1080, 25, 1, 203, 0, 0, false, 0});
    QmxEnvironment environment = QmxEnvironment::current();
    auto files = std::make_shared<HollowFiles>();
    environment.files = files;
    QmxClipWriter writer(environment);
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
