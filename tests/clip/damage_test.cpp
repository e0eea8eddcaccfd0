// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movlayout.h"
#include "tests/clip/cliptake.h"
#include "tests/support/rounds.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>
#include <vector>

namespace {

const ClipTake::Format smallPlain{128, 96, 25, 1, 203, 0, 2, false, 0};

} // namespace

TEST(ClipDamage, ACutFileKeepsWhatIsBeforeTheCut)
{
    TestDir dir;
    const ClipTake take(smallPlain);
    take.make(dir.file("open.mov"), 40, false);
    take.make(dir.file("closed.mov"), 40, true);
    std::mt19937 chance(11);
    for (const char *name : {"open.mov", "closed.mov"}) {
        const QByteArray bytes = readAll(dir.file(name));
        QList<qint64> cuts;
        for (qint64 at = 0; at + 8 <= bytes.size(); ++at) {
            static const QByteArrayList types{"ftyp", "wide", "moov", "trak", "stbl",
                                              "mdat", "free", "moof", "traf", "co64"};
            if (types.contains(bytes.mid(at + 4, 4))) cuts << at - 1 << at << at + 4 << at + 8 << at + 9;
        }
        for (int i = 0; i < testRounds(200, 2000); ++i)
            cuts << qint64(chance() % quint32(bytes.size()));
        for (qint64 cut : cuts) {
            SCOPED_TRACE(testing::Message() << name << " cut at " << cut);
            const QString path = dir.file("cut.mov");
            writeAll(path, bytes.left(std::max<qint64>(cut, 0)));
            const qint64 frames = take.wholeFrames(path);
            // A fragment of twelve frames takes about 150 kB here.
            const qint64 fragment = (bytes.size() - MovLayout::headerSize) / 3;
            EXPECT_GE(frames, std::min<qint64>(36, (cut - MovLayout::headerSize) / fragment * 12 - 12));
            if (frames == 0) continue;
            bool repaired = false;
            EXPECT_FALSE(QmxClipReader::repair(path, repaired).isError());
            EXPECT_TRUE(repaired);
            EXPECT_EQ(take.wholeFrames(path), frames);
        }
    }
}

TEST(ClipDamage, FlippedBitsAreFoundOrHarmless)
{
    TestDir dir;
    const ClipTake take(smallPlain);
    take.make(dir.file("open.mov"), 40, false);
    take.make(dir.file("closed.mov"), 40, true);
    std::mt19937 chance(5);
    const QString path = dir.file("flipped.mov");
    for (const char *name : {"open.mov", "closed.mov"}) {
        const QByteArray bytes = readAll(dir.file(name));
        for (int i = 0; i < testRounds(600, 20000); ++i) {
            QByteArray flipped = bytes;
            // Half of them where the structure is: the head, the slots, the final moov.
            qint64 at = chance() % quint32(bytes.size());
            if (i % 4 == 0) at = 20 + chance() % 2000;
            if (i % 4 == 1) at = bytes.size() - 1 - chance() % 2500;
            for (int flips = 1 + int(chance() % 3); flips > 0;
                 --flips, at = std::min<qint64>(at + chance() % 9, bytes.size() - 1))
                flipped[at] = char(flipped[at] ^ 1 << chance() % 8);
            writeAll(path, flipped);
            QmxClipReader reader;
            if (reader.open(path).isError()) continue;
            QmxFrame frame;
            for (qint64 n = 0; n < std::min<qint64>(reader.info().frames, 60); ++n)
                reader.readFrame(n, frame);
            QmxClipInfo info;
            QmxClipReader::probe(path, info);
        }
    }
}

TEST(ClipDamage, AChangedPictureIsFoundInOpenAndClosedClips)
{
    TestDir dir;
    const ClipTake take(smallPlain);
    for (bool close : {false, true}) {
        const QString path = dir.file(close ? "closed.mov" : "open.mov");
        take.make(path, 40, close);
        QByteArray bytes = readAll(path);
        const QmxFrame frame = take.frame(17);
        const QmxBuffer picture = frame.vids().first().buffers().first();
        const QByteArray wanted(reinterpret_cast<const char *>(picture.constData()), picture.size());
        const qsizetype place = bytes.indexOf(wanted);
        ASSERT_GT(place, 0);
        bytes[place + 2000] = char(bytes[place + 2000] ^ 1);
        writeAll(path, bytes);
        QmxClipReader reader;
        ASSERT_FALSE(reader.open(path).isError());
        for (int n = 0; n < 40; ++n) {
            QmxFrame got;
            EXPECT_EQ(reader.readFrame(n, got).value(), n == 17 ? EILSEQ : 0) << n;
        }
    }
}

TEST(ClipDamage, ALostSlotCostsItsOwnFramesOnlyAlsoAfterTheRepair)
{
    const ClipTake take(smallPlain);
    for (const std::vector<int> &lost : {std::vector<int>{1}, {1, 2}, {0}, {0, 1}}) {
        TestDir dir;
        const QString path = dir.file("a.mov");
        take.make(path, 60, false);
        QByteArray bytes = readAll(path);
        qsizetype slot = -1;
        for (int number = 0, of = 0; of < int(lost.size()); ++number) {
            slot = bytes.indexOf("QMXSLOT1", slot + 1);
            if (number == lost[size_t(of)]) ++of, bytes[slot + 20] = char(bytes[slot + 20] ^ 4);
        }
        writeAll(path, bytes);
        const int from = lost.front() * 12;
        const int end = (lost.back() + 1) * 12;
        for (const bool repaired : {false, true}) {
            if (bool done = false; repaired) {
                ASSERT_FALSE(QmxClipReader::repair(path, done).isError());
                EXPECT_TRUE(done);
            }
            QmxClipReader reader;
            ASSERT_FALSE(reader.open(path).isError());
            EXPECT_EQ(reader.info().closed, repaired);
            ASSERT_EQ(reader.info().frames, 60);
            for (int n = 0; n < 60; ++n) {
                QmxFrame got;
                const bool isLost = n >= from && n < end;
                const QmxError error = reader.readFrame(n, got);
                EXPECT_EQ(error.isError(), isLost && !repaired) << n;
                const QmxFrame &is = got;
                if (error.isError()) continue;
                EXPECT_TRUE(is.meta().value(QmxId(12)).value<QmxTimecode>() == take.timecode(n)) << n;
                if (isLost) continue;
                const QmxFrame wanted = take.frame(n);
                const QmxAudio &sound = is.auds().constFirst();
                ASSERT_EQ(sound.samples(), wanted.auds().constFirst().samples()) << n;
                EXPECT_EQ(
                    std::memcmp(sound.data(), wanted.auds().constFirst().data(), size_t(sound.samples()) * 8),
                    0)
                    << n << ", slots from " << lost.front() << " lost, repaired " << repaired;
            }
        }
    }
}
