// SPDX-License-Identifier: GPL-3.0-or-later
// A take on two media: whatever happens to one of them costs no frame.
#include "tests/stream/streamrig.h"

#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/clip/qmxclipreader.h"

#include <QDir>

#include <cerrno>

namespace {

struct Fault
{
    const char *name;
    std::function<void(FaultyFiles &, const QString &folder)> come;
};

class StreamMirror : public testing::Test
{
protected:
    StreamMirror()
    {
        for (const char *folder : {"a", "b", "c"})
            QDir(dir.path()).mkdir(folder);
        files->fakeStatfs([this](const QString &path, struct statfs64 &data) {
            const QString medium = path.mid(dir.path().size() + 1, 1);
            const QChar name = medium == sameAsA ? u'a' : medium.isEmpty() ? u'-' : medium.at(0);
            data.f_fsid = {{path == "/" ? 1 : 2, name.unicode()}};
            data.f_blocks = 1000;
            data.f_bfree = medium == "a" ? aFree : medium == "b" ? bFree : 900;
        });
        for (const char *source : {"stream", "streamwriter", "streamcache"})
            allowLog(source);
        deck->takeOptions.change([this](QmxTakeOptions::Values &v) { v.mirrorMediaPath = dir.file("b"); });
        deck->recordTable.takeBegins();
    }
    ~StreamMirror() override
    {
        deck->takeOptions.change([](QmxTakeOptions::Values &v) { v.mirrorMediaPath.clear(); });
        deck->recordTable.takeEnds();
    }

    /// Frames at their pace, as the transport does: it drops none while the stream takes none.
    void record(int count)
    {
        rig.recordPaced(frame, count);
        frame += count;
    }
    qint64 counter(QmxCounters::Row row) const { return deck->counters.value(row); }
    /// Of a clip in any state; -1: it holds something else than frames from `first` on.
    int framesIn(const QString &name, int first = 0) const
    {
        QmxClipReader reader;
        if (reader.open(dir.file(name)).isError()) return 0;
        for (int i = 0; i < int(reader.info().frames); ++i) {
            QmxFrame read;
            const QmxError error = reader.readFrame(i, read);
            EXPECT_EQ(error, QmxError());
            if (numberOf(read) != first + i) return -1;
        }
        return int(reader.info().frames);
    }
    qsizetype told(const char *event) const { return rig.events.filter(event).size(); }

    const std::shared_ptr<FaultyFiles> files = FaultyFiles::install();
    const std::shared_ptr<QmxDeck> deck = QmxEnvironment::current().deck;
    const TestDir dir;
    QString sameAsA;
    int aFree = 500;
    int bFree = 900;
    int frame = 0;
    StreamRig rig;
    const qint64 droppedBefore = counter(QmxCounters::FramesDroppedCapture);
};

constexpr auto lost = "alarm 1919 1";

} // namespace

TEST_F(StreamMirror, bothCopiesAreTheSameClip)
{
    ASSERT_EQ(rig.openForWrite(dir.file("a/t.mov")), 0);
    EXPECT_EQ(counter(QmxCounters::TakeCopies), 2);
    record(50);
    EXPECT_GE(counter(QmxCounters::SafeOnBoth), 50 - 12);
    rig.close();
    EXPECT_TRUE(Stepper::runUntil([this] { return counter(QmxCounters::SafeOnBoth) == 50; }));
    EXPECT_EQ(counter(QmxCounters::RecordedUpTo), 50);
    EXPECT_EQ(framesIn("a/t.mov"), 50);
    EXPECT_EQ(framesIn("b/t.mov"), 50);
    EXPECT_EQ(told("alarm"), 0);
    QmxClipCheck first, second;
    QmxClipCheck::run(dir.file("a/t.mov"), first, QmxEnvironment::current());
    QmxClipCheck::run(dir.file("b/t.mov"), second, QmxEnvironment::current());
    EXPECT_TRUE(first.isWhole() && second.isWhole()) << "each picture is proved once, for both";
    EXPECT_EQ(first.chain, second.chain);

    // The next one is on one medium, and nobody speaks of a second one any more.
    deck->takeOptions.change([](QmxTakeOptions::Values &v) { v.mirrorMediaPath.clear(); });
    ASSERT_EQ(rig.openForWrite(dir.file("a/u.mov")), 0);
    rig.record(50, 20);
    rig.close();
    EXPECT_EQ(counter(QmxCounters::TakeCopies), 1);
    EXPECT_EQ(counter(QmxCounters::SafeOnBoth), 0);
    EXPECT_EQ(framesIn("b/u.mov"), 0);
}

TEST_F(StreamMirror, whateverHappensToOneMediumCostsNoFrame)
{
    const Fault faults[] = {
        {"pulled", [](FaultyFiles &f, const QString &folder) { f.vanish(folder); }},
        {"full", [](FaultyFiles &f, const QString &) { f.failNth(FaultyFiles::Pwrite, 1, ENOSPC, true); }},
        {"read-only",
         [](FaultyFiles &f, const QString &) { f.failNth(FaultyFiles::Pwrite, 1, EROFS, true); }},
        {"errors", [](FaultyFiles &f, const QString &) { f.failNth(FaultyFiles::Fdatasync, 1, EIO, true); }},
        {"hangs in a write", [](FaultyFiles &f, const QString &) { f.hang(FaultyFiles::Pwrite); }},
        {"hangs in a sync", [](FaultyFiles &f, const QString &) { f.hang(FaultyFiles::Fdatasync); }},
    };
    int take = 0;
    for (const Fault &fault : faults) {
        for (const char *half : {"a", "b"}) {
            SCOPED_TRACE(QStringLiteral("%1 %2").arg(half, fault.name).toStdString());
            const QString name = QStringLiteral("/t%1.mov").arg(++take);
            const QString other = half == QLatin1String("a") ? "b" : "a";
            rig.events.clear();
            frame = 0;
            ASSERT_EQ(rig.openForWrite(dir.file("a" + name)), 0);
            record(50);
            files->only(dir.file(half));
            fault.come(*files, dir.file(half));
            record(200);
            EXPECT_TRUE(rig.deviceQueue.isEmpty());
            EXPECT_EQ(told(lost), 1);
            EXPECT_EQ(counter(QmxCounters::TakeCopies), 1);
            EXPECT_GE(counter(QmxCounters::RecordedUpTo), 250 - 12);
            const qint64 stopped = Stepper::now();
            rig.close();
            EXPECT_LE(Stepper::now() - stopped, 4 * QmxClock::nsPerSecond);
            EXPECT_EQ(framesIn(other + name), 250);
            files->only({});
            files->comeBack();
            files->release();
            Stepper::runMs(200);
            const int prefix = framesIn(half + name);
            EXPECT_GE(prefix, 50 - 12);
            EXPECT_LT(prefix, 250);
            EXPECT_LE(counter(QmxCounters::SafeOnBoth), prefix);
            EXPECT_EQ(told("failure") + told("error") + told("alarm 1901 2"), 0);
            files->forgetRules();
            Stepper::run(10 * QmxClock::nsPerSecond); // what was left behind is forgotten
        }
    }
    EXPECT_EQ(counter(QmxCounters::FramesDroppedCapture), droppedBefore);
    EXPECT_TRUE(deck->recordTable.entries().isEmpty());
}

TEST_F(StreamMirror, aTakeBeginsOnWhatThereIs)
{
    const auto takes = [this](const QString &name, int inA, int inB) {
        SCOPED_TRACE(name.toStdString());
        rig.events.clear();
        frame = 0;
        const qint64 began = Stepper::now();
        EXPECT_EQ(rig.openForWrite(dir.file("a/" + name)), 0);
        EXPECT_LE(Stepper::now() - began, 2 * QmxClock::nsPerSecond);
        record(30);
        rig.close();
        Stepper::runMs(200);
        EXPECT_EQ(framesIn("a/" + name), inA);
        EXPECT_EQ(framesIn("b/" + name), inB);
        EXPECT_EQ(told(lost), 1);
        EXPECT_EQ(told("alarm 1901 2") + told("failure"), 0);
    };
    makeClip(dir.file("b/taken.mov"), 7);
    takes("taken.mov", 30, 7);
    sameAsA = "b";
    takes("same.mov", 30, 0);
    sameAsA.clear();
    files->vanish(dir.file("b"));
    takes("gone.mov", 30, 0);
    files->vanish(dir.file("a"));
    takes("first.mov", 0, 30);
    files->comeBack();
    // A medium that hangs is not waited for, and takes the frames when it is back in time.
    rig.events.clear();
    frame = 0;
    files->only(dir.file("a"));
    files->hang(FaultyFiles::Open);
    ASSERT_EQ(rig.openForWrite(dir.file("a/late.mov")), 0);
    record(50);
    files->release();
    record(50);
    rig.close();
    Stepper::runMs(200);
    EXPECT_EQ(framesIn("a/late.mov"), 100);
    EXPECT_EQ(framesIn("b/late.mov"), 100);
    EXPECT_EQ(told("alarm"), 0);
    EXPECT_EQ(counter(QmxCounters::FramesDroppedCapture), droppedBefore);
}

TEST_F(StreamMirror, withoutAnyMediumTheTakeEndsOnceAndCountsWhatIsLost)
{
    ASSERT_EQ(rig.openForWrite(dir.file("a/t.mov")), 0);
    record(50);
    files->vanish(dir.file("a"));
    record(25);
    EXPECT_EQ(told("failure"), 0);
    files->vanish(dir.path());
    record(50);
    Stepper::deliver();
    EXPECT_EQ(told("failure 5"), 1);
    EXPECT_EQ(told(lost), 1);
    EXPECT_EQ(told("alarm 1901 2"), 1);
    files->comeBack();
    rig.deviceQueue.clear();
    rig.close();
    EXPECT_EQ(counter(QmxCounters::FramesDroppedCapture) - droppedBefore,
              rig.cache.position() - framesIn("b/t.mov"));

    deck->recordTable.takeEnds(); // what follows continues nothing
    files->vanish(dir.path());
    EXPECT_NE(rig.openForWrite(dir.file("a/u.mov")), 0);
    EXPECT_EQ(told("open 0"), 1);
}

TEST_F(StreamMirror, aRolloverMovesThePair)
{
    const QString second = dir.file("c/t_R2.mov");
    const auto namer = deck->nextClip.setNamer([&](const QString &) { return second; });
    aFree = 110;
    ASSERT_EQ(rig.openForWrite(dir.file("a/t.mov")), 0);
    record(50);
    rig.stream.close();
    Stepper::deliver();
    ASSERT_TRUE(rig.stream.isClosed());
    rig.describe(second);
    ASSERT_TRUE(rig.stream.open(QmxStream::Write));
    Stepper::deliver();
    ASSERT_TRUE(rig.stream.isOpen());
    record(60);
    rig.close();
    Stepper::runMs(500);
    for (const char *name : {"a/t.mov", "b/t.mov"})
        EXPECT_EQ(framesIn(name), 50) << name;
    for (const char *name : {"c/t_R2.mov", "b/t_R2.mov"})
        EXPECT_EQ(framesIn(name, 50), 60) << name;
    EXPECT_EQ(counter(QmxCounters::SafeOnBoth), 60);
    EXPECT_EQ(told("alarm"), 0);
}

TEST_F(StreamMirror, theHalfThatIsFullGoesOnOnTheNextMedium)
{
    const auto name = [this](const QString &folder) {
        deck->takeOptions.change([&](QmxTakeOptions::Values &v) { v.mirrorMediaPath = folder; });
    };
    ASSERT_EQ(rig.openForWrite(dir.file("a/t.mov")), 0);
    record(25);
    name(dir.file("c"));
    record(25); // meant for the next take: there is room
    bFree = 100;
    makeClip(dir.file("c/t_part2.mov"), 7);
    record(25);
    EXPECT_EQ(told(lost), 1) << "the name is taken there";
    name(dir.file("a"));
    record(25);
    EXPECT_EQ(told(lost), 2) << "the take itself is there";
    QDir(dir.path()).mkpath("c/d");
    name(dir.file("c/d"));
    record(25);
    const int moved = framesIn("b/t.mov");
    EXPECT_GE(moved, 100);
    EXPECT_EQ(counter(QmxCounters::TakeCopies), 2);
    EXPECT_GE(counter(QmxCounters::SafeOnBoth), 125 - 12);
    files->vanish(dir.file("a"));
    record(50);
    EXPECT_EQ(counter(QmxCounters::TakeCopies), 1);
    EXPECT_GE(counter(QmxCounters::RecordedUpTo), 175 - 12);
    rig.close();
    Stepper::runMs(200);
    EXPECT_EQ(counter(QmxCounters::RecordedUpTo), 175);
    files->comeBack();
    EXPECT_EQ(framesIn("b/t.mov"), moved);
    EXPECT_EQ(framesIn("c/d/t_part4.mov", moved), 175 - moved);
    EXPECT_EQ(framesIn("c/t_part2.mov"), 7);

    // A stop in the moment in which it moves, and a medium that fails before what waits for it is safe.
    for (const bool fails : {false, true}) {
        SCOPED_TRACE(fails);
        const QString clip = fails ? "/u.mov" : "/v.mov";
        frame = 0;
        name(dir.file("b"));
        ASSERT_EQ(rig.openForWrite(dir.file("a" + clip)), 0);
        record(50);
        files->only(dir.file("c"));
        files->hang(FaultyFiles::Open);
        name(dir.file("c"));
        record(25);
        if (fails) {
            files->failNth(FaultyFiles::Pwrite, 20, EIO, true);
            files->release();
        }
        record(25);
        QTimer::singleShot(100, [this] { files->release(); });
        rig.close();
        Stepper::runMs(500);
        files->clear();
        EXPECT_EQ(framesIn("a" + clip), 100);
        EXPECT_EQ(framesIn("b" + clip) < 100, fails);
        EXPECT_LE(counter(QmxCounters::SafeOnBoth), framesIn("b" + clip) + 25);
        const QStringList left = QDir(dir.file("c")).entryList({".*"}, QDir::Files | QDir::Hidden);
        EXPECT_TRUE(left.isEmpty()) << left.join(' ').toStdString();
    }
    EXPECT_EQ(counter(QmxCounters::FramesDroppedCapture), droppedBefore);
}
