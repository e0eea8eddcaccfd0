// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movfragment.h"
#include "platform/qmx/clip/movlayout.h"
#include "platform/qmx/clip/movmovie.h"
#include "tests/clip/cliptake.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

struct Found
{
    QByteArray type;
    quint64 position;
    quint64 size; ///< 0: to the end
    QByteArray content;
    bool wide; ///< a 64-bit size
};

QList<Found> atoms(const QByteArray &bytes, quint64 base = 0)
{
    QList<Found> list;
    qsizetype at = 0;
    while (bytes.size() - at >= 8) {
        quint64 size = qFromBigEndian<quint32>(bytes.constData() + at);
        const bool wide = size == 1;
        if (wide) size = qFromBigEndian<quint64>(bytes.constData() + at + 8);
        const quint64 length = size ? size : quint64(bytes.size() - at);
        const int head = wide ? 16 : 8;
        list.append({bytes.mid(at + 4, 4), base + quint64(at), size,
                     bytes.mid(at + head, qsizetype(length) - head), wide});
        at += qsizetype(length);
    }
    return list;
}

/// Follows a path of atom types into nested atoms; all that match the last one.
QList<Found> inside(const QByteArray &bytes, const QList<QByteArray> &path)
{
    QList<Found> level = atoms(bytes);
    for (qsizetype i = 0; i < path.size(); ++i) {
        QList<Found> next;
        for (const Found &atom : level) {
            if (atom.type != path[i]) continue;
            if (i + 1 == path.size())
                next.append(atom);
            else
                next.append(atoms(atom.content));
        }
        level = next;
    }
    return level;
}

quint32 number(const QByteArray &bytes, int at)
{
    return qFromBigEndian<quint32>(bytes.constData() + at);
}

} // namespace

// Each expectation is a program that once could not play the file.
TEST(ClipLayout, IsTheOneThatEveryProgramReads)
{
    TestDir dir;
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    take.make(dir.file("a.mov"), 30, false);
    const QByteArray bytes = readAll(dir.file("a.mov"));
    const auto top = atoms(bytes);
    QByteArray order;
    for (const Found &atom : top)
        order += atom.type + ' ';
    EXPECT_EQ(order, "ftyp wide moov mdat free free moof mdat free moof mdat free moof mdat free ");
    EXPECT_EQ(top.last().size, 0u) << "the open slot reaches to the end, whatever that will be";
    EXPECT_EQ(inside(bytes, {"moov"}).first().position, 36u);

    qint64 frames = 0;
    for (const Found &atom : top) {
        if (atom.type == "mdat") {
            EXPECT_FALSE(atom.wide);
        }
        if (atom.type != "moof") continue;
        EXPECT_EQ((atom.position + atom.size + 8) % 4096, 0u) << "the head of mdat ends the slot";
        for (const Found &traf : atoms(atom.content).mid(1)) {
            const bool video = number(inside(traf.content, {"tfhd"}).first().content, 4) == 1;
            const auto runs = inside(traf.content, {"trun"});
            EXPECT_EQ(number(runs.first().content, 0), video ? 0x201u : 0x301u);
            if (video) {
                frames += runs.size();
            } else {
                EXPECT_EQ(number(runs.first().content, 4), frames > 24 ? 6u : 12u) << "one entry a frame";
            }
            for (const Found &run : video ? runs : QList<Found>())
                EXPECT_EQ((atom.position + number(run.content, 8)) % 4096, 0u);
        }
    }
    EXPECT_EQ(frames, 30);
    EXPECT_EQ(number(inside(bytes, {"moov", "mvex", "mehd"}).first().content, 8), 30u * 1000);
    EXPECT_TRUE(inside(bytes, {"moov", "trak", "mdia", "minf", "stbl", "stss"}).isEmpty());
    EXPECT_EQ(movCrc32c("123456789", 9), 0xe3069283u) << "the check value of CRC-32C";
}

TEST(ClipLayout, ClosingRewritesNoMedia)
{
    TestDir dir;
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    take.make(dir.file("open.mov"), 30, false);
    take.make(dir.file("closed.mov"), 30, true);
    const QByteArray open = readAll(dir.file("open.mov"));
    const QByteArray closed = readAll(dir.file("closed.mov"));
    const auto top = atoms(closed);
    ASSERT_EQ(top.size(), 3);
    EXPECT_EQ(top[1].type + top[2].type, "mdatmoov");
    EXPECT_TRUE(top[1].wide);
    const qsizetype media = qsizetype(top[2].position) - MovLayout::headerSize;
    EXPECT_TRUE(open.mid(MovLayout::headerSize, media) == closed.mid(MovLayout::headerSize, media));
    const auto tables = inside(closed, {"moov", "trak", "mdia", "minf", "stbl"});
    EXPECT_EQ(tables.size(), 3);
    EXPECT_EQ(inside(closed, {"moov", "trak", "mdia", "minf", "stbl", "co64"}).size(), 3);
    EXPECT_EQ(inside(closed, {"moov", "trak", "edts", "elst"}).size(), 3);
    EXPECT_TRUE(inside(closed, {"moov", "mvex"}).isEmpty());
}

TEST(ClipLayout, KeepsWhatWasLost)
{
    TestDir dir;
    const ClipTake take({128, 96, 30000, 1001, 203, 0, 2, false, 0});
    QmxClipWriter writer;
    ASSERT_FALSE(writer.create(dir.file("a.mov"), take.info).isError());
    writer.noteLost(3);
    ASSERT_FALSE(take.write(writer, 2, 10, 1000).isError());
    EXPECT_EQ(writer.framesDurable(), 0);
    ASSERT_FALSE(writer.flush().isError());
    EXPECT_EQ(writer.framesDurable(), 8);
    const QByteArray bytes = readAll(dir.file("a.mov"));
    const QByteArray slot = bytes.mid(MovLayout::firstSlot, MovLayout::slotSize);
    const std::span<const uchar> view(reinterpret_cast<const uchar *>(slot.constData()), size_t(slot.size()));
    MovFormat format;
    ASSERT_FALSE(MovFormat::fromInfo(take.info, format).isError());
    const auto fragment = MovFragment::fromSlot(view, MovLayout::firstSlot, bytes.size(), format);
    ASSERT_TRUE(fragment);
    EXPECT_EQ(fragment->lost, 3u);
    // A take begins anywhere in the cadence of 1602 and 1601 samples; each frame has its own sound back.
    QmxClipReader reader;
    for (const bool closed : {false, true}) {
        if (closed) {
            ASSERT_FALSE(writer.close().isError());
        }
        ASSERT_FALSE(reader.open(dir.file("a.mov")).isError());
        for (int i = 0; i < 8; ++i) {
            QmxFrame got;
            ASSERT_FALSE(reader.readFrame(i, got).isError());
            const QmxAudio is = got.auds().first();
            const QmxFrame written = take.frame(i + 2);
            const QmxAudio was = written.auds().first();
            ASSERT_EQ(is.samples(), was.samples()) << i;
            EXPECT_EQ(std::memcmp(is.data(), was.data(), size_t(is.samples()) * 8), 0) << i;
        }
    }
}

TEST(ClipLayout, ARunOfTimecodesNeverOutgrowsItsTable)
{
    // Terms as a stream may state them: after 71 frames their sum has more than 32 bits.
    const ClipTake take({128, 96, 1'500'000'001, 60'000'000, 203, 0, 0, false, 0});
    TestDir dir;
    take.make(dir.file("a.mov"), 100, true);
    MovInput input(QmxEnvironment::current());
    ASSERT_FALSE(input.open(dir.file("a.mov")).isError());
    qint64 moov = 0;
    MovMovie movie;
    ASSERT_FALSE(MovMovie::find(input, moov).isError() || MovMovie::read(input, moov, true, movie).isError());
    qint64 length = 0;
    for (const auto &run : movie.firstTrack(atomType("tmcd"))->times)
        length += qint64(run.count) * run.delta;
    EXPECT_EQ(length, 100 * qint64(60'000'000));
    EXPECT_EQ(take.wholeFrames(dir.file("a.mov")), 100);
}
