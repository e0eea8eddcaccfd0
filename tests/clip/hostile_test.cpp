// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/movcrc.h"
#include "tests/clip/cliptake.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QtEndian>

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
