// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/stream/streamrig.h"

#include <QFile>

class StreamOrder : public testing::Test
{
protected:
    StreamOrder()
    {
        makeClip(clip, 50);
        makeClip(other, 50, 500);
        rig.stream.setDesc(clip);
    }
    bool open(int mode = QmxStream::Read) { return rig.stream.open(mode); }
    void settle() { Stepper::runMs(300); }
    int standing()
    {
        settle();
        return numberOf(rig.cache.peek());
    }
    static QStringList list(const char *text) { return QString::fromLatin1(text).split(", "); }

    const TestDir dir;
    const QString clip = dir.file("clip.mov");
    const QString other = dir.file("other.mov");
    StreamRig rig;
};

TEST_F(StreamOrder, statesChangeInTheEventThatTellsThem)
{
    EXPECT_TRUE(rig.stream.isClosed());
    rig.stream.close();
    ASSERT_TRUE(open());
    EXPECT_TRUE(rig.stream.isOpening() && rig.stream.isReadable() && !rig.stream.isWritable());
    EXPECT_TRUE(rig.events.isEmpty());
    bool openAtSignal = false;
    bool closedAtSignal = false;
    QObject::connect(&rig.stream, &QmxStream::openIsDone, &rig, [&] { openAtSignal = rig.stream.isOpen(); });
    QObject::connect(&rig.stream, &QmxStream::closeIsDone, &rig,
                     [&] { closedAtSignal = rig.stream.isClosed(); });
    settle();
    EXPECT_TRUE(openAtSignal);
    EXPECT_GT(deck().operations.lastCompletion(), 0);
    rig.stream.close();
    rig.stream.close();
    EXPECT_TRUE(rig.stream.isClosing() && !rig.stream.isReadable());
    EXPECT_EQ(deck().operations.inProgress(), 1);
    settle();
    EXPECT_TRUE(closedAtSignal);
    EXPECT_EQ(deck().operations.inProgress(), 0);
    EXPECT_EQ(rig.events, list("open 0, close"));
    EXPECT_TRUE(rig.stream.hasDesc(clip));
    EXPECT_FALSE(rig.stream.hasDesc(other) || rig.stream.hasDesc(QVariant()));

    // What cannot be opened at all is refused at once, and changes nothing.
    for (const QVariant &unusable : {QVariant(), QVariant(QString()), QVariant::fromValue(QmxPlayList())}) {
        rig.stream.setDesc(unusable);
        EXPECT_FALSE(open());
    }
    EXPECT_TRUE(rig.stream.isClosed() && !rig.stream.isReadable());
}

TEST_F(StreamOrder, aFailedOpenEndsClosedWithoutInfo)
{
    expectLog("stream", "missing.mov failed");
    allowLog("streamreader");
    rig.stream.setDesc(dir.file("missing.mov"));
    rig.cache.seek(7);
    ASSERT_TRUE(open());
    settle();
    EXPECT_EQ(rig.events.mid(0, 1), list("open 2"));
    EXPECT_TRUE(rig.events.contains("alarm 1903 1"));
    EXPECT_TRUE(rig.stream.isClosed() && !rig.stream.isReadable());
    EXPECT_EQ(rig.stream.info(), QmxStreamInfo());
    rig.stream.setDesc(clip);
    ASSERT_TRUE(open());
    EXPECT_EQ(standing(), 0) << "a failed open forgets the seek";
    EXPECT_TRUE(rig.events.contains("alarm 1903 0"));
}

TEST_F(StreamOrder, seeksOutsideAnOpenStreamWinOverThoseOfItsReceivers)
{
    QObject::connect(&rig.stream, &QmxStream::openIsDone, &rig, [this] { rig.cache.seek(30); });
    ASSERT_TRUE(open());
    EXPECT_EQ(standing(), 30);
    rig.stream.close();
    rig.cache.seek(5); // closing
    settle();
    rig.cache.seek(6); // closed
    ASSERT_TRUE(open());
    rig.cache.seek(7); // opening: the last one counts
    EXPECT_EQ(rig.cache.position(), 0);
    EXPECT_EQ(standing(), 7);
    EXPECT_EQ(deck().playhead.position(), 7);
    rig.stream.close();
    ASSERT_TRUE(open());
    EXPECT_EQ(standing(), 30) << "it has been used up";

    // A write open forgets it.
    rig.close();
    rig.cache.seek(9);
    rig.events.clear();
    ASSERT_EQ(rig.openForWrite(dir.file("new.mov")), 0);
    EXPECT_EQ(rig.cache.position(), 0);
    rig.record(0, 3);
    rig.close();
    rig.stream.disconnect(&rig);
    ASSERT_EQ(rig.openForRead(clip), 0);
    EXPECT_EQ(standing(), 0);
}

TEST_F(StreamOrder, aFlushHeldBackComesAfterTheOpenAndTheKeptSeek)
{
    int positionAtFlush = -1;
    ASSERT_TRUE(open());
    deck().playhead.whenOpened([&] { positionAtFlush = rig.cache.position(); });
    ASSERT_TRUE(open()); // the end of the first one, which is abandoned, does not count
    rig.cache.seek(12);
    EXPECT_EQ(positionAtFlush, -1);
    settle();
    EXPECT_EQ(positionAtFlush, 12);

    rig.close();
    expectLog("stream", "failed");
    allowLog("streamreader");
    rig.stream.setDesc(dir.file("missing.mov"));
    ASSERT_TRUE(open());
    QString order;
    QObject::connect(&rig.stream, &QmxStream::openIsDone, &rig, [&] { order += QStringLiteral("open "); });
    deck().playhead.whenOpened([&] { order += QStringLiteral("flushed "); });
    settle();
    EXPECT_EQ(order, "flushed open ");
}

TEST_F(StreamOrder, closeWhileOpeningAnswersBoth)
{
    ASSERT_TRUE(open());
    rig.stream.close();
    EXPECT_FALSE(rig.stream.isReadable());
    settle();
    EXPECT_EQ(rig.events, list("open 125, close"));
    EXPECT_FALSE(deck().playhead.isOpening());

    rig.events.clear();
    rig.describe(dir.file("new.mov"));
    ASSERT_TRUE(open(QmxStream::Write));
    rig.stream.close();
    ASSERT_TRUE(open(QmxStream::Write)) << "an open while closing waits";
    ASSERT_TRUE(Stepper::runUntil([this] { return !rig.events.isEmpty(); }));
    EXPECT_EQ(rig.stream.info().vids().value(0), imageDesc()) << "the failed open takes nothing from it";
    rig.stream.close();
    settle();
    EXPECT_EQ(rig.events, list("open 125, close, open 125, close"));
    EXPECT_FALSE(QFile::exists(dir.file("new.mov"))) << "a clip without frames does not stay";
    EXPECT_TRUE(deck().recordTable.entries().isEmpty());
    EXPECT_EQ(deck().operations.inProgress(), 0);
}

TEST_F(StreamOrder, openOverAnOpenOrOpeningStreamAbandonsItSilently)
{
    ASSERT_TRUE(open());
    rig.stream.setDesc(other);
    ASSERT_TRUE(open());
    settle();
    EXPECT_EQ(numberOf(rig.cache.peek()), 500);
    EXPECT_GT(rig.stream.read(3, nullptr), 0);
    rig.stream.setDesc(clip);
    ASSERT_TRUE(open());
    EXPECT_EQ(standing(), 0);
    EXPECT_EQ(rig.events, list("open 0, open 0"));

    rig.stream.close();
    rig.stream.setDesc(other);
    ASSERT_TRUE(open()) << "while closing it waits";
    EXPECT_TRUE(rig.stream.isClosing() && rig.stream.isReadable());
    settle();
    EXPECT_EQ(rig.events, list("open 0, open 0, close, open 0"));
    EXPECT_EQ(standing(), 500);

    // A take that is abandoned is nevertheless whole.
    rig.close();
    const QString take = dir.file("take.mov");
    ASSERT_EQ(rig.openForWrite(take), 0);
    rig.record(0, 20);
    rig.stream.setDesc(clip);
    ASSERT_TRUE(open());
    settle();
    rig.close();
    ASSERT_EQ(rig.openForRead(take), 0);
    EXPECT_EQ(rig.stream.info().length(), 20);
}

TEST_F(StreamOrder, aReceiverMayDoAnything)
{
    // Loads one still after the other, each from inside the signals of the one before, as a single-frame
    // loader does; at the end the stream is destroyed from inside its own signal.
    auto *stream = new QmxStream(nullptr);
    int loaded = 0;
    bool gone = false;
    QObject::connect(stream, &QmxStream::openIsDone, &rig,
                     [&] { EXPECT_GT(stream->read(loaded, nullptr), 0); });
    QObject::connect(stream, &QmxStream::readIsDone, &rig,
                     [&](int, const QmxFrame &frame, const QmxError &error) {
                         EXPECT_EQ(error, QmxError());
                         EXPECT_EQ(numberOf(frame), loaded);
                         stream->close();
                         ++loaded;
                         if (loaded < 5 && !stream->open(QmxStream::Read)) ADD_FAILURE() << loaded;
                     });
    QObject::connect(stream, &QmxStream::closeIsDone, &rig, [&] {
        if (loaded < 5) return;
        delete stream;
        gone = true;
    });
    stream->setDesc(clip);
    ASSERT_TRUE(stream->open(QmxStream::Read));
    EXPECT_TRUE(Stepper::runUntil([&] { return gone; }));
    settle();
    EXPECT_EQ(loaded, 5);
}
