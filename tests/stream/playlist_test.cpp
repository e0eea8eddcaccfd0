// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/stream/streamrig.h"

#include "platform/qmx/codec/qmxvideocodec.h"

#include <cerrno>

namespace {

QmxPlayList listOf(const QList<QmxPlayListEntry> &entries)
{
    QmxPlayList list;
    for (const QmxPlayListEntry &entry : entries)
        list.append(entry);
    return list;
}

} // namespace

TEST(PlayList, valuesCountAndCompare)
{
    const QmxPlayListEntry a = listEntry("/m/a.mov", 10);
    const QmxPlayListEntry b = listEntry("/m/b.mov", 20);
    QmxPlayList list = listOf({a, b, a});
    EXPECT_EQ(list.firstFrameOfEntry(3), -1);
    EXPECT_EQ(list.firstFrameOfEntry(-1), -1);
    const QVariant asDesc = QVariant::fromValue(list);
    EXPECT_EQ(asDesc, QVariant::fromValue(listOf({a, b, a})));
    QmxPlayListEntry longer = a;
    longer.setLength(11);
    EXPECT_NE(asDesc, QVariant::fromValue(listOf({a, b, longer})));
    list.append(b);
    EXPECT_EQ(asDesc.value<QmxPlayList>().size(), 3) << "a copy is a value of its own";
}

TEST(PlayList, isOneLongStreamOfMixedFormatsInBothDirections)
{
    const TestDir dir;
    QList<QmxPlayListEntry> entries;
    const QmxImageDesc small = imageDesc(1280, 720);
    constexpr int clips = 10; // more than are held open
    constexpr int each = 30;
    for (int clip = 0; clip < clips; ++clip) {
        const QString path = dir.file(QStringLiteral("clip_%1.mov").arg(clip));
        makeClip(path, each, clip * 1000, clip % 2 ? small : imageDesc(), clip % 3 ? 2 : 0);
        entries.append(listEntry(path, each));
    }
    entries.insert(4, listEntry(dir.file("empty.mov"), 0)); // an entry without frames
    StreamRig rig;
    ASSERT_EQ(rig.openForRead(QVariant::fromValue(listOf(entries))), 0);
    EXPECT_EQ(rig.stream.info().length(), clips * each);
    const auto check = [&rig](int position) {
        ASSERT_TRUE(Stepper::runUntil([&rig] { return rig.cache.framesInCache() > 0; }));
        const QmxFrame frame = rig.cache.read();
        const int clip = position / each;
        ASSERT_EQ(numberOf(frame), clip * 1000 + position % each);
        ASSERT_EQ(frame.meta().value(QmxId(1)).toInt(), position);
        ASSERT_EQ(frame.meta().value(QmxId(9)).toBool(), position == 0);
        ASSERT_EQ(frame.meta().value(QmxId(10)).toBool(), position == clips * each - 1);
        const auto index = frame.meta().value(QmxId(18)).value<QmxPlayListIndex>();
        ASSERT_EQ(index.entryIndex(), clip + (clip >= 4 ? 1 : 0));
        ASSERT_EQ(frame.meta().value(QmxId(18)).toInt(), index.entryIndex());
        ASSERT_EQ(index.entryName(), QStringLiteral("clip_%1.mov").arg(clip));
        ASSERT_EQ(frame.vids().constFirst().desc().width(), clip % 2 ? 1280 : 1920);
        ASSERT_EQ(frame.auds().size(), clip % 3 ? 1 : 0);
    };
    for (int position = 0; position < clips * each; ++position)
        check(position);
    EXPECT_TRUE(rig.cache.atEndOfStream());
    rig.cache.seekToLastFrame();
    rig.cache.setSpeed(-1.0);
    for (int position = clips * each - 1; position >= 0; --position)
        check(position);
    EXPECT_TRUE(rig.cache.atStartOfStream());
}

TEST(PlayList, theNextEntryIsOpenBeforeItIsNeeded)
{
    const auto files = FaultyFiles::install();
    const TestDir dir;
    const QString a = dir.file("a.mov");
    const QString b = dir.file("b.mov");
    makeClip(a, 200);
    makeClip(b, 200, 1000);
    StreamRig rig;
    const int opensBefore = files->count(FaultyFiles::Open);
    ASSERT_EQ(rig.openForRead(QVariant::fromValue(listOf({listEntry(a, 200), listEntry(b, 200)}))), 0);
    ASSERT_TRUE(Stepper::runUntil([&] { return files->count(FaultyFiles::Open) == opensBefore + 2; }));
    // An opening that takes long delays no frame of the entry before it.
    rig.close();
    files->stallNth(FaultyFiles::Open, 2, 2 * QmxClock::nsPerSecond);
    ASSERT_EQ(rig.openForRead(QVariant::fromValue(listOf({listEntry(a, 200), listEntry(b, 200)}))), 0);
    const qint64 began = Stepper::now();
    EXPECT_EQ(rig.play(100).size(), 100);
    EXPECT_LT(Stepper::now() - began, QmxClock::nsPerSecond);
    // Once there, the frames of the entry that was late come, all of them.
    rig.cache.seek(195);
    const QList<int> numbers = rig.play(10);
    EXPECT_EQ(numbers, QList<int>({195, 196, 197, 198, 199, 1000, 1001, 1002, 1003, 1004}));
}

TEST(PlayList, brokenAndShortEntriesAreBlackInTheirPlace)
{
    const TestDir dir;
    allowLog("streamreader");
    const QString good = dir.file("good.mov");
    const QString tooShort = dir.file("short.mov");
    const QString garbage = dir.file("garbage.mov");
    makeClip(good, 20, 0, imageDesc(1280, 720));
    makeClip(tooShort, 20, 500);
    writeAll(garbage, QByteArray(50000, 'x'));
    StreamRig rig;
    ASSERT_EQ(rig.openForRead(QVariant::fromValue(
                  listOf({listEntry(dir.file("missing.mov"), 10), listEntry(good, 20), listEntry(garbage, 10),
                          QmxPlayListEntry(), listEntry(tooShort, 30)}))),
              0);
    const QList<int> numbers = rig.play(70);
    ASSERT_EQ(numbers.size(), 70);
    for (int i = 0; i < 70; ++i) {
        int expected = -1;
        if (i >= 10 && i < 30) expected = i - 10;
        if (i >= 40 && i < 60) expected = 500 + i - 40;
        EXPECT_EQ(numbers.at(i), expected) << "at " << i;
    }
    EXPECT_EQ(rig.events.filter("error").size(), 3) << "one a run";
    rig.cache.seek(5);
    ASSERT_TRUE(Stepper::runUntil([&rig] { return rig.cache.framesInCache() > 0; }));
    const QmxFrame frame = rig.cache.peek();
    const QmxImage black = frame.vids().constFirst();
    EXPECT_EQ(black.desc(), imageDesc(1280, 720)) << "as its neighbour";
    // The black picture is a picture.
    const auto decoder = qmxCodec(black.desc().dataType())->createDecoder(black.desc());
    QmxPicture picture;
    ASSERT_EQ(decoder->decode(black.buffers().constFirst(), picture), QmxError());
    EXPECT_NEAR(picture.row(0, 300)[600], 64, 3);
    EXPECT_NEAR(picture.row(1, 300)[300], 512, 3);

    // Nothing readable at all is an error of the open.
    expectLog("stream", "a play list of 2 clips failed");
    rig.close();
    EXPECT_EQ(rig.openForRead(QVariant::fromValue(
                  listOf({listEntry(dir.file("missing.mov"), 10), listEntry(garbage, 5)}))),
              ENOENT);
}
