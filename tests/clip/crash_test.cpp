// SPDX-License-Identifier: GPL-3.0-or-later
// A power cut on a real file system: its backing file is copied while the writer stands still, and what the
// copy holds is mounted and read. The control writes without syncing and does lose frames.
#include "tests/clip/cliptake.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/rounds.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>

#include <random>
#include <unistd.h>

namespace {

constexpr int imageMegabytes = 96;

bool run(const QString &program, const QStringList &arguments)
{
    const ProgramResult result = runProgram(program, arguments);
    if (result.status != 0) ADD_FAILURE() << qPrintable(program) << ": " << result.err.constData();
    return result.status == 0;
}

/// A file system in a file, mounted while this lives.
class Medium
{
public:
    Medium(const QString &image, const QString &place) : _place(place)
    {
        QDir().mkpath(place);
        _mounted = run("mount", {"-o", "loop", image, place});
    }
    ~Medium()
    {
        if (_mounted) run("umount", {_place});
    }
    bool isMounted() const { return _mounted; }

private:
    QString _place;
    bool _mounted = false;
};

/// Says that everything is durable and does nothing.
class LyingFiles : public QmxFiles
{
public:
    int fdatasync(int) override { return 0; }
    int fsync(int) override { return 0; }
};

/// Acknowledged frames that the crash image of one round lacks.
qint64 lostFrames(const QString &blank, const TestDir &dir, std::mt19937 &chance, bool syncs)
{
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    // Files of each round's own: a loop device that is not yet given up would be used again, with what it
    // holds.
    const TestDir images;
    const QString image = images.file("image"), crashed = images.file("crashed");
    if (!run("cp", {"--sparse=always", blank, image})) return -1;
    qint32 acknowledged = 0;
    {
        const Medium medium(image, dir.file("medium"));
        if (!medium.isMounted()) return -1;
        const std::shared_ptr<QmxFiles> lying = std::make_shared<LyingFiles>();
        acknowledged = recordAndKill(take, dir.file("medium/a.mov"), 1500, 30 + unsigned(chance() % 1600),
                                     syncs ? QmxEnvironment::current() : withFiles(lying), [&] {
                                         run("cp", {"--sparse=always", image, crashed});
                                     });
    }
    EXPECT_GT(acknowledged, 0) << "nothing has been recorded";
    const Medium after(crashed, dir.file("after"));
    if (!after.isMounted()) return -1;
    const QString path = dir.file("after/a.mov");
    QmxClipReader reader;
    const qint64 whole = reader.open(path).isError() ? 0 : take.equalFrames(reader);
    reader.close();
    if (syncs && whole > 0) {
        bool repaired = false;
        EXPECT_FALSE(QmxClipReader::repair(path, repaired).isError());
        EXPECT_EQ(take.wholeFrames(path), whole) << "a repair keeps every frame";
    }
    return std::max<qint64>(0, acknowledged - whole);
}

} // namespace

TEST(ClipCrash, APowerCutLosesNothingThatWasAcknowledgedAndWithoutSyncItWould)
{
    if (geteuid() != 0) GTEST_SKIP() << "mounting a file system needs root";
    const TestDir dir;
    const QString blank = dir.file("blank");
    ASSERT_TRUE(run("truncate", {"-s", QStringLiteral("%1M").arg(imageMegabytes), blank}));
    ASSERT_TRUE(run("mkfs.ext4", {"-q", "-F", blank}));
    std::mt19937 chance(11);
    const int rounds = testRounds(3, 30);
    qint64 control = 0;
    for (int round = 0; round < rounds; ++round) {
        SCOPED_TRACE(round);
        EXPECT_EQ(lostFrames(blank, dir, chance, true), 0);
        if (round % 3 == 0) control += lostFrames(blank, dir, chance, false);
    }
    // The kernel may by chance have written everything just before one of the cuts, not before all.
    constexpr int tries = 10;
    for (int i = 0; i < tries && control == 0; ++i)
        control += lostFrames(blank, dir, chance, false);
    EXPECT_GT(control, 0) << "this test would not notice a loss";
}
