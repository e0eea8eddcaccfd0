// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/stream/qmxstream.h"
#include "tests/transport/transportrig.h"
#include "xpd/transport/singleframe.h"

namespace {

class RecordTest : public TransportRig
{
protected:
    /// Timecodes of a clip's frames as distances from `first`.
    static QList<int> distances(const QString &path, const QmxTimecode &first)
    {
        QmxClipReader reader;
        EXPECT_FALSE(reader.open(path).isError()) << path.toStdString();
        QList<int> result;
        for (qint64 i = 0; i < reader.info().frames; ++i) {
            QmxFrame frame;
            EXPECT_FALSE(reader.readFrame(i, frame).isError());
            QmxTimecode timecode = std::as_const(frame).meta().value(QmxId(12)).value<QmxTimecode>();
            result.append(timecode.toFrameNumber() - first.toFrameNumber());
        }
        return result;
    }

    void jamAtTen()
    {
        vtr().setTCGSource(QmxId(1500));
        Stepper::runMs(1000);
        vtr().setTimecodeValue(QmxTimecode(10, 0, 0, 0, 0, 0));
        Stepper::runTicks(2);
    }

    const QmxTimecode ten{10, 0, 0, 0, 25, 0};
};

} // namespace

TEST_F(RecordTest, record_writesEveryFrameAndHoldsTheStorageUntilTheClose)
{
    startUp();
    jamAtTen();
    events.clear();
    forgetLog();
    recordClip("clip.mov", 20);
    EXPECT_EQ(events, (QStringList{"mode StandbyOff Record", "storage 1",
                                   "state 0.000 StandbyOff > 1.000 Record", "open", "mode Record StandbyOff",
                                   "closed", "storage 0", "state 1.000 Record > 0.000 StandbyOff"}));
    EXPECT_TRUE(logged().contains("STREAM: Open for Write Started"));
    const QList<int> frames = distances(media.file("clip.mov"), ten);
    ASSERT_GE(frames.size(), 20);
    for (qsizetype i = 0; i < frames.size(); ++i)
        EXPECT_EQ(frames[i], i);
}

TEST_F(RecordTest, intervalRecord_takesTheFramesOfTheStep)
{
    startUp();
    jamAtTen();
    vtr().setIntervalRecordEnable(true);
    vtr().setRecordInterval(10);
    recordClip("interval.mov", 7);
    EXPECT_TRUE(logged().contains("Interval Record.  Interval 10, Time 0, Every 2.500"));
    const QList<int> taken = distances(media.file("interval.mov"), ten);
    EXPECT_EQ(taken.first(6), (QList<int>{2, 4, 7, 9, 12, 14}));
    recordClip("next.mov", 4);
    EXPECT_EQ(distances(media.file("next.mov"), ten.advanced(taken.last() + 1)).first(4),
              (QList<int>{2, 4, 7, 9}));
}

TEST_F(RecordTest, inhibitedRecord_failsWithItsReason)
{
    startUp();
    events.clear();
    expectLog("vtrobject", "Record Inhibited: " + QmxId(2003).name());
    inhibit = QmxId(2003);
    vtr().record();
    inhibit = QmxId();
    EXPECT_EQ(events, QStringList{"inhibited 2003"});

    vtr().setVideoInputSource(QmxId(602)); // nothing is connected there
    ASSERT_TRUE(Stepper::runUntil([this] { return !vtr().inputState().isValid(); }));
    EXPECT_FALSE(vtr().inputVideoIsValid());
    expectLog("vtrobject", "Record Inhibited: " + QmxId(2000).name());
    vtr().record();
    EXPECT_EQ(events.last(), "inhibited 2000");
}

TEST_F(RecordTest, aStreamThatCannotBeOpened_isToldOnceAndReleasesTheStorage)
{
    expectLog("vtrobject", "STREAM: Failed to get a record stream descriptor");
    expectLog("vtrobject", "Open Stream Failed");
    expectLog("vtrobject", "STREAM: Open Error");
    allowLog("", "broken.mov");
    startUp();
    playbackDesc = media.file("broken.mov");
    writeAll(media.file("broken.mov"), QByteArray(5000, 'x'));
    const std::pair<void (VtrObject::*)(), const char *> rows[] = {{&VtrObject::record, "open failed 22"},
                                                                   {&VtrObject::play, "open failed "}};
    for (const auto &[command, told] : rows) {
        events.clear();
        (vtr().*command)();
        ASSERT_TRUE(Stepper::runUntil([&, told = told] { return !events.filter(told).isEmpty(); }));
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
        EXPECT_EQ(events.filter(told).size(), 1);
        EXPECT_EQ(events.filter("storage"), (QStringList{"storage 1", "storage 0"}));
    }
}

TEST_F(RecordTest, theFirstFrameNamesItsClipAndItsRate)
{
    startUp();
    vtr().setReelName("A007");
    recordDesc = QVariant();
    const QString named = media.file("named.mov");
    vtr().debugFrameMetadata(QmxMetadata(QmxId(706), named));
    vtr().record();
    ASSERT_TRUE(Stepper::runUntil([this] { return count("open") == 1; }));
    stop();
    vtr().debugFrameMetadata(QmxMetadata(QmxId(710), 12));
    recordClip("slow.mov", 5);
    const std::pair<QString, QmxVideoRate> clips[] = {{named, QmxVideoRate(25)},
                                                      {media.file("slow.mov"), QmxVideoRate(12)}};
    for (const auto &[path, rate] : clips) {
        QmxClipReader reader;
        ASSERT_FALSE(reader.open(path).isError()) << path.toStdString();
        EXPECT_EQ(reader.info().image.frameRate(), rate);
        EXPECT_EQ(reader.info().reelName, "A007");
    }
}

TEST_F(RecordTest, cameraFlag_startsAndStopsOnChangeOnly)
{
    startUp();
    recordDesc = media.file("camera.mov");
    const auto flag = [this](bool on) { vtr().debugFrameMetadata(QmxMetadata(QmxId(705), on)); };
    flag(true);
    Stepper::runMs(1000);
    EXPECT_TRUE(vtr().state().mode().isInModeStandbyOff()) << "no camera input is chosen";
    flag(false);
    vtr().setCameraInput(QmxId(1000));
    Stepper::runMs(1500);
    EXPECT_TRUE(vtr().state().mode().isInModeStandbyOff());

    inhibit = QmxId(2004);
    flag(true);
    Stepper::runMs(1000);
    EXPECT_TRUE(vtr().state().mode().isInModeStandbyOff()) << "inhibited, and without a word";
    inhibit = QmxId();
    ASSERT_TRUE(Stepper::runUntil([this] { return framesRecorded() >= 10; }));
    EXPECT_EQ(logged().count("Camera has started record."), 1);
    flag(false);
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    EXPECT_EQ(logged().count("Camera has stopped record."), 1);
}

TEST_F(RecordTest, reopenRecordStream_goesOnInTheNextClipWithTheStorageHeld)
{
    startUp();
    jamAtTen();
    expectLog("vtrobject", "STREAM: Can't reopen record stream: Stream is not open");
    EXPECT_FALSE(vtr().reopenRecordStream());
    beginTake("first.mov", 10);
    events.clear();
    recordDesc = media.file("second.mov");
    ASSERT_TRUE(vtr().reopenRecordStream());
    ASSERT_TRUE(Stepper::runUntil([this] { return framesRecorded() >= 10; }));
    EXPECT_EQ(events, (QStringList{"closed", "open"}));
    stop();
    QList<int> frames = distances(media.file("first.mov"), ten) + distances(media.file("second.mov"), ten);
    for (qsizetype i = 0; i < frames.size(); ++i)
        EXPECT_EQ(frames[i], i) << "no frame is lost or doubled between the clips";
}

TEST_F(RecordTest, aStillThatIsForgottenWhileItIsReadStaysForgotten)
{
    startUp();
    recordClip("clip.mov", 5);
    SingleFrame still;
    int ready = 0;
    QObject::connect(&still, &SingleFrame::ready, &still, [&ready] { ++ready; });
    const QString path = media.file("clip.mov");
    ASSERT_TRUE(still.load(0, path));
    ASSERT_TRUE(Stepper::runUntil([&ready] { return ready == 1; })) << path.toStdString();
    // The read has been asked for by then.
    QObject::connect(still.findChild<QmxStream *>(), &QmxStream::openIsDone, &still,
                     [&still] { still.clear(); });
    ASSERT_TRUE(still.load(0, path));
    Stepper::runMs(500);
    EXPECT_TRUE(still.frame().vids().isEmpty());
    EXPECT_EQ(ready, 1);
}
