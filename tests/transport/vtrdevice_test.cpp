// SPDX-License-Identifier: GPL-3.0-or-later
// A device that fails, at each step; and an input whose timecode decides.
#include "companions/stills/stillclips.h"
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstream.h"
#include "tests/transport/transportrig.h"

#include <QFile>
#include <QRegularExpression>

namespace {

using DeviceTest = TransportRig;

class RunningTimecodeTest : public TransportRig
{
protected:
    /// Stands at first, runs, repeats one frame, is lost with the whole input for less than its return
    /// takes, comes back running, stands again, and runs once more.
    RunningTimecodeTest()
        : TransportRig("generator:?rate=25&size=720x576&scan=i&tc=10:00:00:00"
                       "&tcrun=off@0,on@80,off@120,on@121,off@300,on@340,off@400&loss=150-154")
    {}
};

/// A camera that records for sixty frames, eight seconds after the start.
class CameraTest : public TransportRig
{
protected:
    CameraTest() : TransportRig("generator:?rate=25&size=720x576&scan=i&camera=off@0,on@200,off@260") {}
};

class StillsTest : public TransportRig
{
protected:
    static QByteArray bytes(const QmxFrame &frame)
    {
        const QmxBuffer buffer = frame.vids().first().buffers().first();
        return {reinterpret_cast<const char *>(buffer.constData()), buffer.size()};
    }
    static void expectLook(const QmxFrame &frame);
    /// A take of generated pictures in this format, whose picture has just gone.
    void recordAndLose(const QmxImageDesc &format);
};

void StillsTest::recordAndLose(const QmxImageDesc &format)
{
    QmxImageDesc generated = format;
    generated.setFrameRate(25);
    vtr().setEncodeFormat(format.dataType());
    vtr().setVideoSignalGenFormat(generated);
    vtr().setVideoSignalGenMode(QmxId(801));
    Stepper::runMs(560);
    recordDesc = media.file("take.mov");
    alarms.clear();
    vtr().record();
    ASSERT_TRUE(Stepper::runUntil([this] { return framesRecorded() > 0; }));
    board->onRead = loseImage;
}

/// White words in the middle of black, and nothing outside the legal range.
void StillsTest::expectLook(const QmxFrame &frame)
{
    const QmxImage image = frame.vids().first();
    QmxPicture picture;
    const auto decoder = qmxCodec(image.desc().dataType())->createDecoder(image.desc());
    ASSERT_FALSE(decoder->decode(image.buffers().first(), picture).isError());
    ASSERT_EQ(picture.size(), QSize(image.desc().width(), image.desc().height()));
    constexpr int black = 64, white = 940, ringing = 40;
    int bright = 0, darkest = white, brightest = 0, left = picture.width(), right = 0;
    for (int y = 0; y < picture.height(); ++y) {
        const quint16 *row = picture.row(0, y);
        for (int x = 0; x < picture.width(); ++x) {
            if (row[x] > (black + white) / 2) {
                ++bright;
                left = std::min(left, x);
                right = std::max(right, x);
            }
            darkest = std::min<int>(darkest, row[x]);
            brightest = std::max<int>(brightest, row[x]);
        }
    }
    EXPECT_GT(bright, picture.width() * picture.height() / 100);
    EXPECT_NEAR(left, picture.width() - 1 - right, picture.width() / 30.0);
    EXPECT_NEAR(darkest, black, ringing);
    EXPECT_GT(brightest, white * 2 / 3);
    EXPECT_LE(brightest, white + ringing);
    EXPECT_NEAR(picture.row(0, 0)[0], black, ringing);
    constexpr int grey = 512;
    for (const int plane : {1, 2}) {
        const auto [lowest, highest] =
            std::minmax_element(picture.row(plane, picture.height() / 2),
                                picture.row(plane, picture.height() / 2) + picture.width() / 2);
        EXPECT_NEAR(*lowest, grey, 2);
        EXPECT_NEAR(*highest, grey, 2);
    }
}

} // namespace

TEST_F(DeviceTest, aSetupThatFailsLateFallsBackAndTheNextOneWorks)
{
    expectLog("vtrobject", "VIDEO DEVICE: Setup Error 5");
    startUp();
    recordClip("clip.mov", 12);
    int superOut = 1300;
    for (const int failures : {1, 2, 5}) {
        SCOPED_TRACE(failures);
        board->failingSetups = failures;
        forgetLog();
        vtr().setSuperOut(QmxId(superOut++));
        Stepper::runMs(600);
        ASSERT_TRUE(runUntilIdle());
        EXPECT_EQ(logged().count("VIDEO DEVICE: Setup Error 5"), failures);
        EXPECT_EQ(logged().count("VIDEO DEVICE: Setup is Done"), 1) << "the default one, in the end";
        recordClip(QStringLiteral("take%1.mov").arg(failures), 10);
    }
    // In play it is the picture that waits; leaving play sets up anew.
    playbackDesc = media.file("clip.mov");
    board->failingSetups = 1;
    vtr().play(0.0);
    ASSERT_TRUE(Stepper::runUntil([this] { return board->failingSetups == 0 && isIdle() && hasPicture(); }));
    vtr().standbyOff();
    board->failingSetups = 1;
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    // The end does not depend on it.
    board->failingSetups = 2;
    vtr().shutdown();
    EXPECT_TRUE(Stepper::runUntil([this] { return vtr().isShutdownComplete(); }));
}

TEST_F(DeviceTest, aCardThatCannotBeOpenedLeavesATransportThatCanBeEnded)
{
    board->openError = QmxError(ENODEV);
    expectLog("lumen", "cannot be opened");
    expectLog("vtrobject", "Failed to open video device 'lumen'");
    expectLog("vtrobject", "VIDEO DEVICE: Initial Setup Error 19");
    expectLog("vtrobject", "Video device failed to setup.");
    expectLog("vtrobject", "Record Inhibited");
    expectLog("vtrobject", "STREAM: Failed to get a playback stream descriptor");
    expectLog("vtrobject", "Failed to open stream for read");
    expectLog("vtrobject", "shutdown() should have been called before destruction!"); // the one of the rig
    expectLog("vtrobject", "Can't enter mode StandbyOff.  Pending mode change from StandbyOff to Shutdown");
    create();
    vtr().start();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    vtr().record();
    vtr().play();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    vtr().shutdown();
    EXPECT_TRUE(Stepper::runUntil([this] { return vtr().isShutdownComplete(); }));
}

TEST_F(DeviceTest, framesWithoutPictureBeforeTheFirstGoodOneAreNoLoss)
{
    expectLog("vtrobject", "Image 0 is invalid");
    startUp();
    for (const bool stops : {true, false}) {
        vtr().setStopOnLossOfVideo(stops);
        board->onRead = loseImage;
        recordDesc = media.file(QStringLiteral("late%1.mov").arg(stops));
        vtr().record();
        Stepper::runMs(1000);
        EXPECT_TRUE(stream().isClosed());
        board->onRead = nullptr;
        ASSERT_TRUE(Stepper::runUntil([this] { return framesRecorded() > 5; }));
        stop();
    }
    EXPECT_TRUE(alarms.isEmpty());
}

TEST_F(DeviceTest, aDroppedFrameCountsInNormalPlayAndInATakeOnly)
{
    allowLog("vtrobject", "Playback continued after dropped frame");
    allowLog("vtrobject", "Playback stopped due to dropped frame");
    expectLog("vtrobject", "Recording stopped due to dropped frame.  STATE VR ");
    startUp();
    recordClip("long.mov", 100);
    int told = 0;
    QObject::connect(&vtr(), &VtrObject::frameDropped, [&told] { ++told; });
    const auto drop = [&](int expected) {
        alarms.clear();
        told = 0;
        emit vtr().findChild<QmxVideoDevice *>()->frameDropped();
        EXPECT_EQ(told, expected);
        EXPECT_EQ(alarms.size(), expected);
    };
    drop(0);
    vtr().setLooping(true); // so that no end turns it still
    for (const bool stops : {false, true}) {
        vtr().setStopOnFrameDrop(stops);
        for (const double speed : {0.5, 2.0, -1.0, -20.0, 0.0, 1.0}) {
            SCOPED_TRACE(speed);
            events.clear();
            playClip("long.mov", speed);
            Stepper::runMs(200);
            vtr().play(speed);
            ASSERT_TRUE(runUntilIdle());
            drop(speed == 1.0);
            EXPECT_EQ(vtr().state().speed(), stops && speed == 1.0 ? 0.0 : speed);
            vtr().standbyOff();
            drop(0); // between modes
            ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
        }
    }
    beginTake("take.mov", 4);
    drop(1);
    EXPECT_EQ(count(1904, QmxAlarm::Error, "Recording stopped due to dropped frame"), 1);
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
}

TEST_F(DeviceTest, onlyTheFirstInputIsFollowedAndBehindTheGeneratorSilently)
{
    startUp();
    QmxVideoState other = vtr().inputState();
    QmxImageDesc format = other.captureImageDesc();
    format.setSize(192, 120);
    other.setCaptureImageDesc(format);
    const auto change = [this](int input, const QmxVideoState &state) {
        events.clear();
        emit vtr().findChild<QmxVideoDevice *>()->inputChanged(input, state);
        return events.filter("input ");
    };
    const QmxVideoState first = vtr().inputState();
    EXPECT_EQ(change(1, other), QStringList());
    EXPECT_TRUE(vtr().inputState() == first);
    EXPECT_EQ(change(0, first), QStringList());
    EXPECT_EQ(change(0, other), QStringList{"input 0 valid"});
    EXPECT_EQ(change(0, QmxVideoState()), QStringList{"input 0 invalid"});
    emit vtr().findChild<QmxVideoDevice *>()->readFromHardwareFailed(QmxError(EIO)); // not a word: no input
    QmxVideoState present;
    present.setPresent(true);
    EXPECT_EQ(change(0, present), QStringList()) << "still not valid";

    format.setDataType(QmxId(231));
    vtr().setVideoSignalGenFormat(format);
    vtr().setVideoSignalGenMode(QmxId(800));
    EXPECT_EQ(change(0, first), QStringList());
    EXPECT_TRUE(vtr().inputState() == first);
    EXPECT_EQ(change(1, other), QStringList());
    events.clear();
    vtr().setVideoSignalGenMode(QmxId());
    EXPECT_EQ(events, QStringList{"input 0 valid"});
}

TEST_F(DeviceTest, framesThatWaitForAStalledMediumAreInTheClip)
{
    startUp();
    constexpr qint64 stall = 8 * QmxClock::nsPerSecond;
    // In the cache at the end of the take; and, with the cache full, in the device too, until the stall ends.
    const QRegularExpression inCache("^VR \\d+ VW \\d+ SC [1-9]"), inDevice("^VR [1-9]\\d VW \\d+ SC 25 ");
    for (const QRegularExpression &waiting : {inCache, inDevice}) {
        beginTake(QStringLiteral("take%1.mov").arg(waiting == inCache), 6);
        files->stallNth(FaultyFiles::Pwrite, 1, stall);
        const auto waits = [&] { return waiting.match(vtr().stateToString()).hasMatch(); };
        ASSERT_TRUE(Stepper::runUntil(waits, stall)) << vtr().stateToString().toStdString();
        if (waiting == inDevice) {
            ASSERT_TRUE(
                Stepper::runUntil([this] { return vtr().stateToString().startsWith("VR 0 "); }, stall));
        }
        const int accepted = framesRecorded();
        forgetLog();
        vtr().standbyOff();
        // After the stall it is up to the machine how many are left.
        if (waiting == inCache) {
            EXPECT_EQ(logged().filter("frames still in cache, scheduling them for write").size(), 1);
        }
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
        files->clear();
        QmxClipReader reader;
        ASSERT_FALSE(reader.open(recordDesc.toString()).isError());
        EXPECT_GE(reader.info().frames, accepted);
        int before = 0;
        for (qint64 i = 0; i < reader.info().frames; ++i) {
            QmxFrame frame;
            ASSERT_FALSE(reader.readFrame(i, frame).isError());
            const int now = std::as_const(frame).meta().value(QmxId(12)).value<QmxTimecode>().toFrameNumber();
            ASSERT_TRUE(i == 0 || now == before + 1) << i;
            before = now;
        }
    }
}

TEST_F(CameraTest, thatBeginsToRecordEndsThePlay)
{
    startUp();
    recordClip("clip.mov", 20);
    recordDesc = media.file("camera.mov");
    vtr().setCameraInput(QmxId(1000));
    Stepper::runMs(600);
    playClip("clip.mov", 0.0);
    events.clear();
    ASSERT_TRUE(runUntilMode(VtrMode::Record));
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    EXPECT_EQ(events.filter("mode "),
              (QStringList{"mode Play StandbyOff", "mode StandbyOff Record", "mode Record StandbyOff"}));
    QmxClipReader reader;
    ASSERT_FALSE(reader.open(media.file("camera.mov")).isError());
    EXPECT_NEAR(reader.info().frames, 60, 15) << "but for what the way out of the play takes";
}

TEST_F(RunningTimecodeTest, recordsNothingUnlessAsked)
{
    startUp();
    vtr().setTCGSource(QmxId(1520));
    recordDesc = media.file("take.mov");
    const QmxTimecode wellIntoTheRun(10, 0, 1, 0, 25, 0);
    ASSERT_TRUE(Stepper::runUntil([&] { return vtr().lastVBI().inputTimecode() == wellIntoTheRun; }));
    EXPECT_EQ(events.filter(" Record"), QStringList());
}

TEST_F(RunningTimecodeTest, recordsEachRunThroughAGlitchAndAgainAfterALoss)
{
    expectLog("vtrobject", "Image 0 is invalid");
    expectLog("vtrobject", "Empty frame, stop on LoV is set.  Stopping record");
    startUp();
    vtr().setTCGSource(QmxId(1520));
    vtr().setRecordOnRunningTimecode(true);
    Stepper::runMs(700);
    const auto untilTake = [this](VtrMode::Value mode) {
        return Stepper::runUntil([this, mode] { return vtr().state().mode().value() == mode && isIdle(); });
    };
    const int ten = QmxTimecode(10, 0, 0, 0, 25, 0).toFrameNumber();
    QList<qint64> lengths, starts;
    for (const char *name : {"first.mov", "second.mov", "third.mov"}) {
        recordDesc = media.file(name);
        ASSERT_TRUE(untilTake(VtrMode::Record)) << name;
        ASSERT_TRUE(untilTake(VtrMode::StandbyOff)) << name;
        QmxClipReader reader;
        ASSERT_FALSE(reader.open(media.file(name)).isError());
        lengths.append(reader.info().frames);
        QmxFrame first;
        ASSERT_FALSE(reader.readFrame(0, first).isError());
        starts.append(first.meta().value(QmxId(12)).value<QmxTimecode>().toFrameNumber() - ten);
    }
    EXPECT_EQ(starts[0], 1) << "the first frame of the run";
    EXPECT_EQ(starts[2], 220);
    EXPECT_GT(lengths[2], 60) << "to the last";
    EXPECT_NEAR(lengths[0], 70, 4) << "from the start of the run to the loss";
    // Half a second of good input, six frames until it is believed to run; twelve until it is believed to
    // stand.
    EXPECT_GT(lengths[1], 100);
    EXPECT_EQ(count(1907, QmxAlarm::Error, "Recording stopped due to loss of video"), 1);
    EXPECT_EQ(events.filter(QRegularExpression("^open$")).size(), 3);
}

TEST_F(StillsTest, everyRowIsWhatTheTakeHasInPlaceOfALostPicture)
{
    allowLog("vtrobject", "Image 0 is invalid");
    const QList<StillFile> clips = stillFiles();
    startUp();
    vtr().setStopOnLossOfVideo(false);
    for (const StillFile &clip : clips) {
        SCOPED_TRACE(clip.file.toStdString());
        for (int again = 0; again < 2; ++again) // over the old one
            ASSERT_FALSE(writeStillClip(media.file("stills"), clip).isError());
        recordAndLose(clip.desc);
        const int before = framesRecorded();
        ASSERT_TRUE(Stepper::runUntil([&] { return framesRecorded() > before + 1; }));
        stop();
        board->onRead = nullptr;

        QmxClipReader take, still;
        QmxFrame replaced, original;
        qsizetype stills = 0;
        ASSERT_FALSE(take.open(media.file("take.mov")).isError());
        ASSERT_FALSE(still.open(media.file("stills/" + clip.file)).isError());
        EXPECT_EQ(still.info().image.scanMode(), clip.desc.scanMode());
        EXPECT_EQ(still.info().frames, 1);
        ASSERT_FALSE(still.readFrame(0, original).isError());
        for (qint64 i = 0; i < take.info().frames; ++i) {
            ASSERT_FALSE(take.readFrame(i, replaced).isError());
            stills += bytes(replaced) == bytes(original);
        }
        EXPECT_EQ(take.info().image.dataType(), clip.desc.dataType());
        EXPECT_TRUE(bytes(replaced) == bytes(original));
        expectLook(replaced);
        EXPECT_GE(stills, 2);
        EXPECT_EQ(count(1907, QmxAlarm::Warning, "Loss of video during record, recording continued"), stills);
        QFile::remove(media.file("take.mov"));
        QFile::remove(media.file("stills/" + clip.file));
    }
    // A size without a still, after one that had it; a still that is there and no clip; and one that is not.
    allowLog("", "loss_of_video");
    expectLog("vtrobject", "Loss of Video image buffer is not valid.");
    writeAll(media.file("stills/" + clips.first().file), QByteArray(4000, '\x5a'));
    QmxImageDesc odd = clips.first().desc;
    odd.setSize(640, 480);
    for (const QmxImageDesc &desc : {odd, clips.first().desc, clips.last().desc}) {
        recordAndLose(desc);
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
        EXPECT_EQ(alarms.size(), 2);
        EXPECT_EQ(count(1907, QmxAlarm::Warning, "Loss of video during record, recording continued"), 1);
        EXPECT_EQ(count(1905, QmxAlarm::Error, "Invalid Loss Of Video image buffer"), 1);
        board->onRead = nullptr;
        QFile::remove(media.file("take.mov"));
    }
}
