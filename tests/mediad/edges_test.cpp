// SPDX-License-Identifier: GPL-3.0-or-later
// The mount table, one medium, and clips that a crash left behind.
#include "companions/mediad/cliprepair.h"
#include "companions/mediad/mediumlook.h"
#include "companions/mediad/mounttable.h"
#include "tests/clip/cliptake.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/logcollector.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <cerrno>

namespace {

void write(QmxClipWriter &writer, const QString &path, int frames)
{
    const ClipTake take{{}};
    ASSERT_FALSE(writer.create(path, take.info).isError());
    ASSERT_FALSE(take.write(writer, 0, frames, 1).isError());
}

} // namespace

TEST(MountTable, givesWhatIsBelowTheRoot)
{
    const std::vector<Mount> mounts =
        parseMountTable("22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
                        "30 22 0:30 / /media rw - tmpfs tmpfs rw\n"
                        "32 30 8:33 / /media/B ro,noatime master:2 propagate_from:1 - ext4 /dev/sdc1 rw\n"
                        "31 30 8:17 / /media/My\\040Disk rw,noatime - exfat /dev/sdb1 rw,uid=0\n"
                        "33 30 8:49 / /media/C rw - ext4 /dev/sdd1 ro,errors=remount-ro\n"
                        "34 32 8:65 / /media/B rw - ext4 /dev/sde1 rw\n"
                        "35 22 8:81 / /mediaother rw - ext4 /dev/sdf1 rw\n"
                        "37 30 8:97 / /media/D\\012 rw - ext4 /dev/sdg1 rw\n"
                        "36 30 nonsense\n",
                        "/media");
    ASSERT_EQ(mounts.size(), 3u);
    EXPECT_EQ(mounts[0].path, "/media/B");
    EXPECT_EQ(mounts[0].source, "/dev/sde1") << "the one on top";
    EXPECT_TRUE(mounts[0].writable);
    EXPECT_FALSE(mounts[1].writable) << "read-only for want of health";
    EXPECT_EQ(mounts[2].path, "/media/My Disk");
    // The same device once more, as another mount.
    EXPECT_NE(parseMountTable("40 30 8:65 / /media/B rw - ext4 /dev/sde1 rw\n", "/media")[0].mount,
              mounts[0].mount);
}

TEST(MountTable, labelsComeFromTheDeviceElseFromThePlace)
{
    TestDir dir;
    writeAll(dir.file("device"), "x");
    QDir().mkpath(dir.file("labels"));
    QFile::link(dir.file("device"), dir.file("labels/Day\\x20One\\x09"));
    QFile::link(dir.file("nothing"), dir.file("labels/dangling"));
    const std::string labels = dir.file("labels").toStdString();
    EXPECT_EQ(mediumLabel({"/media/A", dir.file("device").toStdString(), 1, true}, labels), "Day One_");
    EXPECT_EQ(mediumLabel({"/media/A", "tmpfs", 1, true}, labels), "A");
}

TEST(MediumLook, seesTakesAndClipsApart)
{
    TestDir dir;
    MediumLook medium(QmxEnvironment::current());
    const Mount mount{dir.path().toStdString(), "none", 1, true};
    const auto empty = medium.look(mount, true);
    ASSERT_TRUE(empty) << "the tests' directory is on the file system of /";
    EXPECT_GT(empty->percentFree, 0);

    QmxClipWriter writer;
    write(writer, dir.file("b.mov"), 3);
    writeAll(dir.file("notes.txt"), "no clip");
    const auto taking = medium.look(mount, true);
    ASSERT_TRUE(taking);
    EXPECT_TRUE(taking->beingRecorded);
    EXPECT_EQ(taking->clips, empty->clips) << "a take is no clip yet";
    EXPECT_FALSE(writer.close().isError());
    EXPECT_TRUE(medium.look(mount, false)->beingRecorded) << "only the room was asked for";
    const auto closed = medium.look(mount, true);
    EXPECT_FALSE(closed->beingRecorded);
    EXPECT_TRUE(closed->holds("b.mov"));
    EXPECT_NE(closed->clips, empty->clips);
    EXPECT_EQ(medium.look(mount, true)->clips, closed->clips);
    QFile::rename(dir.file("b.mov"), dir.file("a.mov"));
    EXPECT_NE(medium.look(mount, true)->clips, closed->clips);
    EXPECT_FALSE(medium.look({dir.file("gone").toStdString(), "none", 1, true}, true));
    EXPECT_FALSE(MediumLook(QmxEnvironment::current()).look({"/usr", "none", 1, true}, true)) << "no medium";
}

TEST(ClipRepair, closesWhatACrashLeftAndNothingElse)
{
    TestDir dir;
    QmxClipWriter recording;
    write(recording, dir.file("now.mov"), 4);
    const auto readOnly = std::make_shared<FaultyFiles>();
    readOnly->failNth(FaultyFiles::Open, 3, EROFS); // for writing
    EXPECT_TRUE(repairClips(dir.path().toStdString(), withFiles(readOnly)).empty()) << "others record on it";
    // A crash keeps the file as it was at that moment.
    ASSERT_TRUE(QFile::copy(dir.file("now.mov"), dir.file("crashed.mov")));
    writeAll(dir.file("empty.mov"), {});
    writeAll(dir.file("foreign.mov"), "no clip at all");
    expectLog("cliprepair", "crashed.mov was left unfinished and has been repaired: it has 4 frames");
    repairClips(dir.path().toStdString(), QmxEnvironment::current());

    QmxClipInfo info;
    ASSERT_FALSE(QmxClipReader::probe(dir.file("crashed.mov"), info).isError());
    EXPECT_TRUE(info.closed);
    EXPECT_EQ(info.frames, 4);
    ASSERT_FALSE(QmxClipReader::probe(dir.file("now.mov"), info).isError());
    EXPECT_FALSE(info.closed) << "it is being recorded";
    EXPECT_EQ(readAll(dir.file("foreign.mov")), QByteArray("no clip at all"));
    EXPECT_TRUE(QFile::exists(dir.file("empty.mov")));
    // Somebody who looks whether a clip is being recorded has its lock for an instant.
    ASSERT_TRUE(QFile::copy(dir.file("now.mov"), dir.file("looked_at.mov")));
    EXPECT_FALSE(recording.close().isError());
    const auto files = std::make_shared<FaultyFiles>();
    files->failNth(FaultyFiles::Flock, 1, EWOULDBLOCK);
    expectLog("cliprepair", "looked_at.mov was left unfinished and has been repaired: it has 4 frames");
    repairClips(dir.path().toStdString(), withFiles(files));
}
