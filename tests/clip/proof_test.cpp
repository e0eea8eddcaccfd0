// SPDX-License-Identifier: GPL-3.0-or-later
// What a clip carries to prove itself: every bit of it counts, a crash leaves it, other programs agree.
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movlayout.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "tests/clip/cliptake.h"
#include "tests/support/rounds.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QtEndian>

#include <cerrno>
#include <random>

namespace {

QmxClipCheck checked(const QString &path, int error = 0)
{
    QmxClipCheck check;
    EXPECT_EQ(QmxClipCheck::run(path, check, QmxEnvironment::current()).value(), error);
    return check;
}

QByteArray bytesOf(const ClipTake &take, qint64 frame)
{
    const QmxFrame whole = take.frame(frame);
    const QmxBuffer picture = whole.vids().first().buffers().first();
    return {reinterpret_cast<const char *>(picture.constData()), picture.size()};
}

void flip(QByteArray &bytes, qsizetype at, int bit = 0)
{
    bytes[at] = char(bytes[at] ^ 1 << bit);
}

class ClipProof : public testing::Test
{
protected:
    ClipProof() { take.jump(17, 500); }
    /// Closed or as a crash leaves it, with a loss before frame 20.
    QByteArray made(bool close)
    {
        QmxClipWriter writer;
        QFile::remove(path);
        EXPECT_FALSE(writer.create(path, take.info).isError());
        EXPECT_FALSE(take.write(writer, 0, 20).isError());
        writer.noteLost(3);
        EXPECT_FALSE(take.write(writer, 20, 21).isError());
        writer.noteLost(1);
        EXPECT_FALSE(take.write(writer, 21, 40).isError());
        EXPECT_FALSE(writer.flush().isError());
        const QByteArray open = readAll(path);
        EXPECT_FALSE(writer.close().isError());
        if (!close) writeAll(path, open);
        return readAll(path);
    }

    TestDir dir;
    const QString path = dir.file("take.mov");
    ClipTake take{{128, 96, 25, 1, 203, 0, 2, false, 90000}};
};

} // namespace

TEST_F(ClipProof, EveryFlippedBitOfAClosedClipIsFoundAndNamed)
{
    const QByteArray bytes = made(true);
    const QmxClipCheck whole = checked(path);
    EXPECT_TRUE(whole.isWhole()) << whole.sentence().toStdString();
    EXPECT_TRUE(whole.hasProof && whole.closed);
    EXPECT_EQ(whole.frames, 40);
    EXPECT_EQ(whole.bytes, bytes.size());

    const QByteArray picture = bytesOf(take, 17);
    const qsizetype at = bytes.indexOf(picture);
    const qsizetype slot = bytes.lastIndexOf("QMXSLOT1", at) - 8;
    const qsizetype sound = bytes.indexOf(take.soundBytes(24).last(take.soundBytes(24).size() / 2).first(64));
    const qsizetype box = bytes.indexOf("QMXPROF1");
    const struct
    {
        const char *name;
        qsizetype at;
        QmxClipCheck::Kind kind;
        qint64 first;
        qint64 last;
    } rows[] = {
        {"first byte of a picture", at, QmxClipCheck::Picture, 17, 17},
        {"last byte of a picture", at + picture.size() - 1, QmxClipCheck::Picture, 17, 17},
        {"behind a picture", at + picture.size(), QmxClipCheck::Padding, 12, 23},
        {"sound", sound, QmxClipCheck::Sound, 12, 23},
        {"timecode that jumps", bytes.indexOf(QByteArray::fromHex("00016195"), sound), QmxClipCheck::Timecode,
         12, 23},
        {"record of a slot", slot + 30, QmxClipCheck::Table, 12, 23},
        {"head of a slot's mdat", slot + MovLayout::slotSize - 8, QmxClipCheck::Table, 12, 23},
        {"first timecode", bytes.indexOf(QByteArray::fromHex("00015f90")) + 3, QmxClipCheck::Timecode, 0, 0},
        {"ftyp", 1, QmxClipCheck::Table, -1, -1},
        {"type of mdat", MovLayout::flipPosition + 5, QmxClipCheck::Table, -1, -1},
        {"length of mdat", MovLayout::flipPosition + 15, QmxClipCheck::Table, -1, -1},
        {"record of the take", bytes.indexOf("\"begun\""), QmxClipCheck::Table, -1, -1},
        {"checksums of the proof", box + 400, QmxClipCheck::Table, -1, -1},
        {"size of the proof", box - 24, QmxClipCheck::Table, -1, -1},
        {"digest of the proof", bytes.size() - 20, QmxClipCheck::Table, -1, -1},
        {"size of the moov", bytes.lastIndexOf("moov") - 1, QmxClipCheck::Table, -1, -1},
        {"sizes of pictures", bytes.lastIndexOf("stsz") + 30, QmxClipCheck::Table, -1, -1},
        {"size at the end of the proof", bytes.size() - 5, QmxClipCheck::Table, -1, -1},
        {"last byte", bytes.size() - 1, QmxClipCheck::Table, -1, -1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        QByteArray flipped = bytes;
        ASSERT_TRUE(row.at > 0 && row.at < bytes.size());
        flip(flipped, row.at);
        writeAll(path, flipped);
        const QmxClipCheck check = checked(path);
        EXPECT_GT(check.counts[row.kind], 0) << check.sentence().toStdString();
        ASSERT_FALSE(check.damage.isEmpty());
        bool found = false;
        for (const auto &one : check.damage)
            found = found || (one.kind == row.kind && one.first == row.first && one.last == row.last);
        EXPECT_TRUE(found) << check.sentence().toStdString();
    }
    std::mt19937 chance(7);
    for (int i = 0; i < testRounds(300, 20000); ++i) {
        QByteArray flipped = bytes;
        const qsizetype where = qsizetype(chance() % quint32(bytes.size()));
        flip(flipped, where, int(chance() % 8));
        writeAll(path, flipped);
        QmxClipCheck check;
        const QmxError error = QmxClipCheck::run(path, check, QmxEnvironment::current());
        EXPECT_TRUE(error.isError() || !check.isWhole()) << where;
    }
    writeAll(path, bytes.first(bytes.size() / 2));
    const QmxClipCheck cut = checked(path);
    EXPECT_FALSE(cut.isWhole());
    writeAll(path, "nothing of ours, but long enough to be looked at more than once");
    EXPECT_TRUE(
        QmxClipCheck::run(path, *std::make_unique<QmxClipCheck>(), QmxEnvironment::current()).isError());
}

TEST_F(ClipProof, ACrashLeavesTheChainAndTheRepairCompletesTheProof)
{
    made(true);
    const QmxClipCheck closed = checked(path);
    const QByteArray open = made(false);
    const QmxClipCheck growing = checked(path);
    EXPECT_TRUE(growing.isWhole()) << growing.sentence().toStdString();
    EXPECT_FALSE(growing.closed);
    EXPECT_EQ(growing.chain, closed.chain);
    EXPECT_EQ(growing.chain.size(), 64);
    QByteArray damaged = open;
    flip(damaged, damaged.indexOf(bytesOf(take, 30)) + 77);
    writeAll(path, damaged);
    const QmxClipCheck found = checked(path);
    ASSERT_EQ(found.damage.size(), 1);
    EXPECT_EQ(found.damage.first().first, 30);

    writeAll(path, open);
    bool repaired = false;
    EXPECT_FALSE(QmxClipReader::repair(path, repaired).isError());
    const QmxClipCheck mended = checked(path);
    EXPECT_TRUE(mended.isWhole() && mended.hasProof) << mended.sentence().toStdString();
    EXPECT_EQ(mended.chain, closed.chain);
    EXPECT_EQ(mended.take["closed_by"], "repair");
    EXPECT_EQ(mended.take["losses"], closed.take["losses"]);
    EXPECT_EQ(closed.take["losses"].toArray().first().toObject(),
              (QJsonObject{{"before_frame", 20}, {"to_frame", 21}, {"frames", 4}}));
    EXPECT_EQ(closed.take["timecode_breaks"].toArray().first().toObject()["timecode"],
              take.timecode(17).toString());
    EXPECT_EQ(closed.take["medium"], dir.path());
}

TEST(ClipChecksum, IsTheSameInOnePieceAndInMany)
{
    EXPECT_EQ(movCrc32c("123456789", 9), 0xE3069283); // RFC 3720 has the polynomial, this is its check value
    QByteArray bytes(20'000, Qt::Uninitialized);
    std::mt19937 chance(3);
    for (char &byte : bytes)
        byte = char(chance());
    for (const qsizetype size : {3071, 3072, 3073, 6144, 9999, 20'000}) {
        quint32 pieces = 0;
        for (qsizetype i = 0; i < size; i += 100)
            pieces = movCrc32c(bytes.constData() + i, size_t(std::min<qsizetype>(100, size - i)), pieces);
        EXPECT_EQ(movCrc32c(bytes.constData(), size_t(size)), pieces) << size;
    }
}

TEST_F(ClipProof, TheChainIsWhatB3sumMakesOfTheFrames)
{
    made(true);
    const auto sum = [this](const QByteArray &bytes) {
        writeAll(dir.file("piece"), bytes);
        return QByteArray::fromHex(runProgram("b3sum", {"--no-names", dir.file("piece")}).out.trimmed());
    };
    const QByteArray sound = take.soundBytes(40);
    QByteArray link = sum(QByteArray::fromHex("00015f90")); // 01:00:00:00
    for (int frame = 0, flushed = 0; frame < 40; ++frame) {
        link = sum(link + sum(bytesOf(take, frame)));
        // Where the takes of made() are flushed.
        if (const int frames = frame + 1; frames % 12 == 0 || frames == 40) {
            QByteArray tail = sound.mid(flushed * 1920 * 6, (frames - flushed) * 1920 * 6);
            if (frames == 24) tail += QByteArray::fromHex("00016195"); // frame 17, 500 further on
            link = sum(link + sum(tail));
            flushed = frames;
        }
    }
    EXPECT_EQ(checked(path).chain, link.toHex());
}

TEST_F(ClipProof, AnotherPictureWithAChecksumThatFitsBreaksTheChain)
{
    QByteArray bytes = made(false);
    const QByteArray picture = bytesOf(take, 5);
    const qsizetype at = bytes.indexOf(picture);
    flip(bytes, at + 9);
    const qsizetype record = bytes.indexOf("QMXSLOT1");
    constexpr int firstCrc = 56;
    char *sums = bytes.data() + record;
    qToBigEndian(movCrc32c(bytes.constData() + at, size_t(picture.size())), sums + firstCrc + 4 * 5);
    const auto size = qFromBigEndian<quint32>(sums + 8);
    qToBigEndian<quint32>(0, sums + 12);
    qToBigEndian(movCrc32c(sums, size), sums + 12);
    writeAll(path, bytes);
    const QmxClipCheck check = checked(path);
    EXPECT_EQ(check.counts[QmxClipCheck::Picture], 0);
    ASSERT_EQ(check.damage.size(), 1) << check.sentence().toStdString();
    EXPECT_EQ(check.damage.first().kind, QmxClipCheck::Chain);
    EXPECT_EQ(check.damage.first().last, 11);
}
