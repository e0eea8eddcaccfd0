// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movcrc.h"
#include "tests/clip/cliptake.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QtEndian>

#include <sys/stat.h>
#include <unistd.h>

// Files that damage alone does not make: their checksums are right and their numbers are not.

namespace {

void put32(QByteArray &bytes, qsizetype at, quint32 value)
{
    qToBigEndian(value, bytes.data() + at);
}

/// Gives the slot whose record stands at `record` another sequence and first frame, and valid checksums.
void claim(QByteArray &bytes, qsizetype record, quint32 sequence, quint64 decodeTime)
{
    const qsizetype moof = record - 8 + qFromBigEndian<quint32>(bytes.constData() + record - 8);
    const qsizetype moofSize = qFromBigEndian<quint32>(bytes.constData() + moof);
    ASSERT_EQ(bytes.mid(moof + 4, 4), "moof");
    qToBigEndian(decodeTime, bytes.data() + bytes.indexOf("tfdt", moof) + 8);
    put32(bytes, record + 16, sequence);
    put32(bytes, record + 20, movCrc32c(bytes.constData() + moof, size_t(moofSize)));
    put32(bytes, record + 12, 0);
    const quint32 size = qFromBigEndian<quint32>(bytes.constData() + record + 8);
    put32(bytes, record + 12, movCrc32c(bytes.constData() + record, size));
}

} // namespace

TEST(ClipHostile, AFragmentCannotClaimMoreLostFramesThanTheFileHadRoomFor)
{
    TestDir dir;
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    const QString path = dir.file("a.mov");
    take.make(path, 36, false);
    QByteArray bytes = readAll(path);
    const qsizetype second = bytes.indexOf("QMXSLOT1", bytes.indexOf("QMXSLOT1") + 1);
    const qsizetype third = bytes.indexOf("QMXSLOT1", second + 1);
    ASSERT_GT(third, second);
    bytes[second + 20] = char(bytes[second + 20] ^ 4);
    claim(bytes, third, 4'000'000'000u, quint64(1) << 46);
    writeAll(path, bytes);

    QmxClipReader reader;
    ASSERT_FALSE(reader.open(path).isError());
    EXPECT_EQ(reader.info().frames, 24) << "the third fragment is read, but not where it claims to be";
    bool repaired = false;
    ASSERT_FALSE(QmxClipReader::repair(path, repaired).isError());
    EXPECT_TRUE(repaired);
    ASSERT_FALSE(reader.open(path).isError());
    EXPECT_EQ(reader.info().frames, 24);
}

TEST(ClipHostile, WaymarksThatLeadAstrayChangeNothing)
{
    const TestDir dir;
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    const QString path = dir.file("a.mov");
    take.make(path, 120, false, 4);
    const QByteArray good = readAll(path);
    const qsizetype record = good.indexOf("QMXMARKS");
    ASSERT_GT(record, 0);
    const quint32 count = qFromBigEndian<quint32>(good.constData() + record + 12);
    ASSERT_EQ(count, 30u);
    const auto place = [&good, record](quint32 i) {
        return qFromBigEndian<quint64>(good.constData() + record + 16 + 8 * i);
    };
    const quint64 wrong[] = {
        0, 4096, place(3) + 4096, place(7), quint64(good.size()) * 2, ~quint64(0) & ~4095};
    for (const quint64 value : wrong) {
        for (const quint32 which : {0u, 3u, 4u, count - 1}) {
            QByteArray bytes = good;
            qToBigEndian(value, bytes.data() + record + 16 + 8 * which);
            put32(bytes, record + 8, movCrc32c(bytes.constData() + record + 16, 8 * count));
            writeAll(path, bytes);
            EXPECT_EQ(take.wholeFrames(path), 120) << value << " at " << which;
        }
    }
}

TEST(ClipHostile, ASlotThatTellsWrongThingsOfThoseBeforeItChangesNothing)
{
    const TestDir dir;
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    const QString path = dir.file("a.mov");
    take.make(path, 120, false, 4);
    const QByteArray good = readAll(path);
    const qsizetype record = good.lastIndexOf("QMXEARLY");
    ASSERT_GT(record, 0);
    const quint32 size = qFromBigEndian<quint32>(good.constData() + record + 8);
    ASSERT_LE(size, 4096u);
    for (qsizetype at = 16; at + 4 <= qsizetype(size); at += 4) {
        for (const quint32 by : {1u, 4096u, 0x10000u, 0x80000000u}) {
            QByteArray bytes = good;
            put32(bytes, record + at, qFromBigEndian<quint32>(good.constData() + record + at) + by);
            put32(bytes, record + 12, 0);
            put32(bytes, record + 12, movCrc32c(bytes.constData() + record, size));
            writeAll(path, bytes);
            QmxClipReader reader;
            ASSERT_FALSE(reader.open(path).isError());
            ASSERT_EQ(reader.info().frames, 120) << at << " by " << by;
            for (int n = 0; n < 120; ++n) {
                QmxFrame got;
                // A picture that is said to be longer than it is does not fit its checksum.
                if (reader.readFrame(n, got).isError()) continue;
                const QmxFrame is = got, was = take.frame(n);
                ASSERT_EQ(is.vids().first().buffers().first().size(),
                          was.vids().first().buffers().first().size())
                    << at;
                ASSERT_TRUE(is.meta().value(QmxId(12)).value<QmxTimecode>() == take.timecode(n)) << at;
            }
        }
    }
}

TEST(ClipHostile, WhatIsNoFileIsNoClipAndIsNeverWaitedFor)
{
    TestDir dir;
    const ClipTake take(ClipTake::Format{});
    take.make(dir.file("whole.mov"), 4, false);
    const auto path = [&dir](const char *name) { return dir.file(name).toLocal8Bit(); };
    ASSERT_EQ(::mkfifo(path("pipe.mov").constData(), 0600), 0);
    ASSERT_EQ(::symlink(path("whole.mov").constData(), path("link.mov").constData()), 0);
    ASSERT_EQ(::symlink("/dev/zero", path("device.mov").constData()), 0);
    ASSERT_EQ(::mkdir(path("folder.mov").constData(), 0700), 0);
    const QByteArray before = readAll(dir.file("whole.mov"));
    for (const char *name : {"pipe.mov", "link.mov", "device.mov", "folder.mov"}) {
        QmxClipInfo info;
        bool repaired = false;
        EXPECT_TRUE(QmxClipReader::probe(dir.file(name), info).isError()) << name;
        EXPECT_TRUE(QmxClipReader().open(dir.file(name)).isError()) << name;
        QmxClipReader::repair(dir.file(name), repaired);
        EXPECT_FALSE(repaired) << name;
        EXPECT_TRUE(QmxClipWriter().create(dir.file(name), take.info).isError()) << name;
    }
    EXPECT_EQ(readAll(dir.file("whole.mov")), before);
}

TEST(ClipHostile, AFewBytesWithHolesCostNoMoreThanTheyHold)
{
    TestDir dir;
    const ClipTake take({128, 96, 25, 1, 203, 0, 0, false, 0});
    const QString path = dir.file("a.mov");
    take.make(path, 24, false);
    QByteArray bytes = readAll(path);
    const qsizetype second = bytes.indexOf("QMXSLOT1", bytes.indexOf("QMXSLOT1") + 1);
    const qsizetype slot = second / 4096 * 4096;
    // The second fragment lies behind a hole of a gigabyte and says that all of it held frames.
    claim(bytes, second, 200'000, quint64(12'000'000) * 1000);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes.first(slot));
    ASSERT_TRUE(file.resize(qint64(1) << 30));
    ASSERT_TRUE(file.seek((qint64(1) << 30) / 4096 * 4096));
    file.write(bytes.mid(slot));
    file.close();
    QmxClipReader reader;
    ASSERT_FALSE(reader.open(path).isError());
    EXPECT_GE(reader.info().frames, 24) << "it is read";
    EXPECT_LE(reader.info().frames, 12 + (1 << 18) + 12);
}
