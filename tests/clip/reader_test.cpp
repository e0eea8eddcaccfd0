// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipwaveform.h"
#include "tests/clip/cliptake.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QFileInfo>

#include <algorithm>
#include <cerrno>

TEST(ClipReader, GivesBackEveryFrameExactly)
{
    struct Case
    {
        ClipTake::Format format;
        qint64 frames;
        QList<QPair<int, int>> jumps;
    };
    const Case cases[] = {
        // Over a minute and over midnight with drop-frame counting; jumps at and within fragments.
        {{1920, 1080, 30000, 1001, 203, 1, 2, true, 1790}, 40, {}},
        {{1920, 1080, 30000, 1001, 202, 1, 8, true, 24 * 107892 - 10}, 40, {{12, 300}, {13, 1}, {30, -2000}}},
        {{720, 486, 30000, 1001, 204, 1, 1, false, 0}, 30, {}},
        {{1280, 720, 60000, 1001, 205, 0, 16, true, 5}, 200, {{0, 7}, {199, 1}}},
        {{2048, 1080, 24, 1, 206, 2, 0, false, 3}, 25, {}},
    };
    for (const Case &now : cases) {
        for (bool close : {false, true}) {
            TestDir dir;
            ClipTake take(now.format);
            take.info.reelName += QString(130, u'\u00e4'); // more bytes than a file has room for
            for (const auto &[frame, by] : now.jumps)
                take.jump(frame, by);
            const QString path = dir.file("a.mov");
            take.make(path, now.frames, close, 1000); // the writer flushes by itself when a slot is full
            QmxClipReader reader;
            ASSERT_FALSE(reader.open(path).isError());
            SCOPED_TRACE(qPrintable(take.info.image.toString()));
            EXPECT_EQ(take.equalFrames(reader), now.frames);
            EXPECT_EQ(reader.info().closed, close);
            EXPECT_EQ(reader.info().reelName, take.info.reelName.left(4 + 125));
            EXPECT_TRUE(reader.info().image == take.info.image && reader.info().audio == take.info.audio);
            QmxFrame frame;
            EXPECT_EQ(reader.readFrame(now.frames, frame).value(), EINVAL);
            EXPECT_EQ(reader.readFrame(-1, frame).value(), EINVAL);
            QmxClipInfo probed;
            ASSERT_FALSE(QmxClipReader::probe(path, probed).isError());
            EXPECT_EQ(probed.frames, now.frames);
            EXPECT_TRUE(probed.image == take.info.image && probed.audio == take.info.audio);
            EXPECT_TRUE(probed.startTimecode == take.timecode(0));
        }
    }
}

TEST(ClipReader, FollowsAClipThatGrowsAndCloses)
{
    TestDir dir;
    ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    take.jump(30, 100);
    QmxClipWriter writer;
    QmxClipReader reader;
    const QString path = dir.file("a.mov");
    ASSERT_FALSE(writer.create(path, take.info).isError());
    EXPECT_EQ(reader.open(path).value(), ENODATA);
    ASSERT_FALSE(take.write(writer, 0, 20).isError());
    ASSERT_FALSE(reader.open(path).isError());
    EXPECT_EQ(reader.info().frames, 12) << "only what has been flushed";
    ASSERT_FALSE(take.write(writer, 20, 50).isError());
    ASSERT_FALSE(reader.refresh().isError());
    EXPECT_EQ(take.equalFrames(reader), 48);
    ASSERT_FALSE(writer.close().isError());
    ASSERT_FALSE(reader.refresh().isError());
    EXPECT_TRUE(reader.info().closed);
    EXPECT_EQ(take.equalFrames(reader), 50);
}

TEST(ClipReader, ShowsWhereAClipIsLoud)
{
    const TestDir dir;
    const QString path = dir.file("loud.mov");
    ClipTake take({});
    QmxClipWriter writer;
    ASSERT_EQ(writer.create(path, take.info), QmxError());
    for (int i = 0; i < 100; ++i) {
        QmxFrame frame = take.frame(i);
        QmxAudio sound = QmxAudio::silence(take.info.audio, 1920);
        QmxBuffer samples = sound.buffer();
        if (i == 70) reinterpret_cast<qint32 *>(samples.data())[5] = -(1 << 30);
        frame.auds() = {sound};
        ASSERT_EQ(writer.writeFrame(frame), QmxError());
    }
    ASSERT_EQ(writer.close(), QmxError());
    QmxClipWaveform::Peaks peaks;
    const auto loud = [&](qint64 first, qint64 end, int columns) {
        EXPECT_EQ(QmxClipWaveform::make(path, first, end, columns, QmxEnvironment::current(), peaks),
                  QmxError());
        EXPECT_EQ(std::count(peaks.columns.begin(), peaks.columns.end(), 0.5F), 1);
        EXPECT_EQ(std::count(peaks.columns.begin(), peaks.columns.end(), 0.0F), peaks.columns.size() - 1);
        return QList<qint64>{peaks.columns.size(), peaks.columns.indexOf(0.5F)};
    };
    EXPECT_EQ(loud(0, 1'000'000, 10), (QList<qint64>{10, 7}));
    EXPECT_EQ(peaks.end, 100);
    EXPECT_EQ(loud(50, 90, 1000), (QList<qint64>{40, 20})) << "no more columns than frames";
    EXPECT_EQ(QmxClipWaveform::make(path, 100, 200, 5, QmxEnvironment::current(), peaks).value(), EINVAL);
}

TEST(ClipWriter, FillsWhatAFrameLacks)
{
    TestDir dir;
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    QmxClipWriter writer;
    ASSERT_FALSE(writer.create(dir.file("a.mov"), take.info).isError());
    QmxFrame noPicture = take.frame(0);
    noPicture.vids()[0].setValid(false);
    EXPECT_EQ(writer.writeFrame(noPicture).value(), EINVAL) << "there is nothing to repeat yet";
    QmxFrame otherType = take.frame(0); // a still of the plain type in a clip of high quality
    QmxImageDesc desc = take.info.image;
    desc.setDataType(QmxId(202));
    desc.setFrameRate(QmxVideoRate(24));
    otherType.vids()[0].setDesc(desc);
    ASSERT_FALSE(writer.writeFrame(otherType).isError());
    ASSERT_FALSE(writer.writeFrame(noPicture).isError());
    QmxFrame noSound = take.frame(2);
    noSound.auds().clear();
    ASSERT_FALSE(writer.writeFrame(noSound).isError());
    QmxFrame otherSize = take.frame(3);
    desc.setSize(64, 64);
    otherSize.vids()[0].setDesc(desc);
    EXPECT_EQ(writer.writeFrame(otherSize).value(), EINVAL);
    EXPECT_FALSE(writer.failed());
    ASSERT_FALSE(writer.close().isError());

    QmxClipReader reader;
    ASSERT_FALSE(reader.open(dir.file("a.mov")).isError());
    ASSERT_EQ(reader.info().frames, 3);
    QmxFrame got[3];
    for (int i = 0; i < 3; ++i)
        ASSERT_FALSE(reader.readFrame(i, got[i]).isError());
    const auto picture = [](const QmxFrame &frame) {
        const QmxBuffer bytes = frame.vids().first().buffers().first();
        return QByteArray(reinterpret_cast<const char *>(bytes.constData()), bytes.size());
    };
    EXPECT_EQ(picture(got[0]), picture(got[1]));
    const QmxFrame &silent = got[2];
    ASSERT_EQ(silent.auds().first().samples(), 1920);
    for (int i = 0; i < 1920 * 2; ++i)
        ASSERT_EQ(silent.auds().first().data()[i], 0);
}

TEST(ClipWriter, KeepsItsFileToItselfAndOthersWhole)
{
    TestDir dir;
    const ClipTake take({128, 96, 25, 1, 203, 0, 2, false, 0});
    const QString path = dir.file("a.mov");
    QmxClipWriter writer;
    ASSERT_FALSE(writer.create(path, take.info).isError());
    ASSERT_FALSE(take.write(writer, 0, 24).isError());
    const QByteArray before = readAll(path);
    bool repaired = true;
    EXPECT_EQ(QmxClipReader::repair(path, repaired).value(), EWOULDBLOCK);
    EXPECT_FALSE(repaired);
    QmxClipWriter second;
    EXPECT_EQ(second.create(path, take.info).value(), EEXIST);
    EXPECT_TRUE(readAll(path) == before);
    ASSERT_FALSE(writer.close().isError());
    ASSERT_FALSE(QmxClipReader::repair(path, repaired).isError());
    EXPECT_FALSE(repaired) << "a closed clip needs none";

    ASSERT_FALSE(second.create(dir.file("empty.mov"), take.info).isError());
    ASSERT_FALSE(second.close().isError());
    EXPECT_FALSE(QFileInfo::exists(dir.file("empty.mov")));
}
