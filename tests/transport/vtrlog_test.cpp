// SPDX-License-Identifier: GPL-3.0-or-later
// Every line that the transport logs: its text, its level, and what makes it come.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/stream/qmxstream.h"
#include "tests/transport/transportrig.h"

#include <QFile>
#include <QRegularExpression>

#include <set>

#include <unistd.h>

namespace {

/// What the real device, stream and cache cannot be brought to; each says why.
constexpr bool never = false;

constexpr char benchmarkFile[] = "/xpd_bench.txt";
/// Who may write there gets the file, anyone else the reason why not.
const bool isWritable = ::access("/", W_OK) == 0;

struct Line
{
    int level;
    const char *text; ///< %1, %d and the like stand for anything
    bool comes = true;
};

// clang-format off
const Line lines[] = {
    {2, "FAILED: %s", never}, // every signal that is connected exists
    {3, "VtrObject is starting..."},
    {3, "VtrObject shutdown requested..."},
    {2, "Can't enter mode %1.  Pending mode change from %2 to %3"},
    {2, "Mode change is pending"},
    {1, "Something is wrong.  Shouldn't ever come out of shutdown mode"},
    {3, "Mode changed from %1 to %2"},
    {3, "Begin Mode Standby Off"},
    {3, "Shutting down VtrObject..."},
    {3, "VtrObject shutdown complete..."},
    {1, "shutdown() should have been called before destruction!"},
    {3, "** PLAY %.3lf"},
    {3, "** STANDBY OFF"},
    {2, "Record Inhibited: %1"},
    {2, "Can't cue to %1.  Value is invalid"},
    {2, "Can't cue to %1.  Value is out of range"},
    {3, "Cue to %1 (%2)"},
    {3, "Step %d from %d"},
    {1, "Failed to open stream for read"},
    {3, "Cache Level %1, Frame %2 (%3) Requires Video Reset"},
    {3, "Begin Mode Record"},
    {2, "Record interval total is zero!"},
    {2, "Interval total is less than 1"},
    {3, "Interval Record.  Interval %d, Time %d, Every %.3f"},
    {2, "Image count (%d) doesn't match the setup (%d)"},
    {2, "Image %d is invalid"},
    {2, "Image %d buffer is invalid"},
    {1, "VIDEO DEVICE: Read Error %1"},
    {3, "Camera has started record."},
    {3, "Camera has stopped record."},
    {1, "Unhandled camera trigger in mode %1", never}, // frames are read in StandbyOff and Record only
    {2, "Empty frame, stop on LoV is set.  Stopping record"},
    {2, "Loss of Video image buffer is not valid."},
    {1, "Frame has invalid timecode"},
    {1, "Pending write when trying to open.  WTF?", never}, // nothing is processed while a stream opens
    {1, "Open Stream Failed"},
    {1, "Stream is still opening.  This shouldn't happen!", never}, // as above
    {1, "Cache didn't get any frames!", never}, // an open stream has had its first frame
    {3, "%d frames still in cache, scheduling them for write"},
    {1, "There is still %d frames in the cache", never}, // the writer takes all there are
    {1, "STREAM: Failed to get a playback stream descriptor"},
    {1, "STREAM: Open for read failed"},
    {3, "STREAM: Open for Read Started"},
    {1, "STREAM: Failed to get a record stream descriptor"},
    {1, "STREAM: Open for write failed"},
    {3, "STREAM: Open for Write Started"},
    {1, "STREAM: Open Error %1"},
    {3, "Starting at prior playback position of %d"},
    {3, "STREAM: Open is Done"},
    {3, "STREAM: Close is Done"},
    {1, "STREAM: Can't reopen record stream: Stream is not open"},
    {1, "STREAM: Can't reopen record stream: Stream isn't writable"},
    {3, "STREAM: Reopen Record Stream"},
    {1, "STREAM: Can't reopen playback stream: Stream is not open"},
    {1, "STREAM: Can't reopen playback stream: Stream is not readable"},
    {3, "STREAM: Reopen Playback Stream"},
    {2, "STREAM: Cache Error @ %1: %2"},
    {1, "Attempting to open the video device after it has already been opened", never}, // opened once
    {1, "Failed to open video device '%1'"},
    {3, "VIDEO DEVICE: Setup for shutdown"},
    {2, "VIDEO DEVICE: Device is already in setup", never}, // nothing sets up while one is in progress
    {3, "VIDEO DEVICE: Setup is current, no need to change it"},
    {3, "VIDEO DEVICE: Setup Started"},
    {1, "VIDEO DEVICE: Initial Setup Error %1"},
    {1, "VIDEO DEVICE: Setup Error %1"},
    {3, "VIDEO DEVICE: Setup is Done"},
    {3, "VIDEO DEVICE: Setup for record"},
    {1, "Video device failed to setup."},
    {3, "VIDEO DEVICE: Setup for playback"},
    {3, "VIDEO DEVICE: Device is busy.  Defer reset in mode %1 - %2"},
    {3, "VIDEO DEVICE: Reset in mode %1"},
    {3, "End of stream reached"},
    {3, "Start of stream reached"},
    {1, "Playback stopped due to dropped frame"},
    {1, "Playback continued after dropped frame"},
    {1, "Recording stopped due to dropped frame.  STATE %1"},
    {1, "Hardware returned error %d, stopping record"},
    {1, "Read from hardware failed with %d"},
    {1, "Write to hardware failed with %d"},
    {2, "Flushed at %d, but pending cue at %d"},
    {3, "VIDEO DEVICE: Flush Complete"},
    {3, "Input %1 Changed to %2 while in %3"},
    {1, "Failed to find loss of video file for %1"},
    {3, "Loss of video clip: %1"},
    {3, "STM: %1, CACHE: %2, RDEV: %3, WDEV: %4"},
    {4, "Frames played %d, recorded %d", never}, // for who debugs
    {3, "Benchmark file opened: %1", isWritable},
    {1, "Failed to open benchmark file: %1", !isWritable},
    {1, "Encode format is invalid"},
    {1, "Video input source is invalid"},
    {1, "Audio input source is invalid"},
    {1, "Audio input level is invalid"},
    {1, "Sync source is invalid"},
    {2, "Failed to set audio channels to %d.  Unsupported number of channels"},
};
// clang-format on

QRegularExpression pattern(const char *text)
{
    QString all = QRegularExpression::escape(QString::fromLatin1(text));
    static const QRegularExpression number(QStringLiteral(R"(\\%d)")),
        any(QStringLiteral(R"(\\%(\\\.\d)?(l?[sf]|\d))"));
    all.replace(number, QStringLiteral("-?\\d+")).replace(any, QStringLiteral(".+"));
    return QRegularExpression(QRegularExpression::anchoredPattern(all));
}

class LogTest : public TransportRig
{
protected:
    LogTest()
    {
        allowLog(QString());
        QFile::remove(benchmarkFile);
    }
    ~LogTest() override { QFile::remove(benchmarkFile); }

    void provokeModes();
    void provokePlay();
    void provokeRecord();
    void provokeStreams();
    void provokeDevice();
    void provokeDrops();
    void provokeEnds();

    void recordUntil(const std::function<bool()> &end)
    {
        recordDesc = media.file(QStringLiteral("take%1.mov").arg(++_takes));
        vtr().record();
        ASSERT_TRUE(Stepper::runUntil(end, 40 * QmxClock::nsPerSecond)) << logged().last().toStdString();
    }
    void untilStopped()
    {
        recordUntil([this] { return vtr().state().mode().isInModeRecord(); });
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    }
    void stop()
    {
        vtr().standbyOff();
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    }
    void playFromStart(const char *name, double speed)
    {
        events.clear();
        playClip(name, 0.0);
        vtr().cue(0);
        ASSERT_TRUE(Stepper::runUntil([this] { return isIdle() && vtr().currentFrameNumber() == 0; }));
        Stepper::runMs(700);
        vtr().play(speed);
    }

private:
    int _takes = 0;
};

void LogTest::provokeModes()
{
    startUp();
    vtr().enableStreamBenchmark();
    recordClip("clip.mov", 12);
    playClip("clip.mov");
    vtr().standbyOff();
    vtr().play();
    vtr().shutdown();
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    for (const auto set :
         {&VtrObject::setEncodeFormat, &VtrObject::setVideoInputSource, &VtrObject::setAudioInputSource,
          &VtrObject::setAudioInputLevel, &VtrObject::setSyncSource})
        (vtr().*set)(QmxId());
    vtr().setAudioChans(4);
    vtr().setAudioChans(8);
    vtr().setAudioChans(2); // by the time of the reset nothing has changed
    Stepper::runMs(600);
    vtr().logStats();
}

void LogTest::provokePlay()
{
    playClip("clip.mov", 0.0);
    vtr().cueToTimecode(QmxTimecode());
    vtr().cueToTimecode(QmxTimecode(0, 0, 0, 0, 0, 0));
    vtr().cueToTimecode(std::as_const(vtr()).currentFrameMetadata().value(QmxId(12)).value<QmxTimecode>());
    ASSERT_TRUE(runUntilIdle());
    vtr().step(1);
    ASSERT_TRUE(runUntilIdle());
    vtr().reopenRecordStream();
    vtr().reopenPlaybackStream();
    ASSERT_TRUE(Stepper::runUntil([this] { return stream().isOpen() && isIdle() && hasPicture(); }));
    vtr().play(1.0);
    ASSERT_TRUE(Stepper::runUntil([this] { return logged().contains("End of stream reached"); }));
    vtr().play(-1.0);
    ASSERT_TRUE(Stepper::runUntil([this] { return logged().contains("Start of stream reached"); }));
    stop();
    // Nothing to play, something that is no clip, and a clip that is not there.
    for (const QVariant &desc : {QVariant(), QVariant(17), QVariant(media.file("none.mov"))}) {
        playbackDesc = desc;
        vtr().play();
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    }
    vtr().reopenPlaybackStream();
}

void LogTest::provokeRecord()
{
    inhibit = QmxId(2003);
    vtr().record();
    inhibit = QmxId();
    for (const QVariant &desc : {QVariant(), QVariant(17)}) {
        recordDesc = desc;
        vtr().record();
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    }
    vtr().reopenRecordStream();
    vtr().setIntervalRecordEnable(true);
    for (const int frames : {0, 60}) {
        vtr().setRecordInterval(frames);
        recordUntil([this] { return framesRecorded() > 1; });
        vtr().reopenPlaybackStream();
        recordDesc = media.file(QStringLiteral("reopened%1.mov").arg(frames));
        vtr().reopenRecordStream();
        ASSERT_TRUE(Stepper::runUntil([this] { return framesRecorded() > 0; }));
        stop();
    }
    vtr().setIntervalRecordEnable(false);

    const std::function<QmxError(QmxFrame &)> faults[] = {
        [](QmxFrame &frame) {
            frame.vids().append(frame.vids().first());
            return QmxError();
        },
        loseImage,
        [](QmxFrame &frame) {
            QmxImage image(frame.vids().first().desc());
            image.setValid(true);
            frame.vids().first() = image;
            return QmxError();
        },
        [](QmxFrame &) { return QmxError(EIO); },
    };
    for (const auto &fault : faults) {
        recordUntil([this] { return framesRecorded() > 2; });
        board->onRead = fault;
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
        board->onRead = nullptr;
    }
    // No still for the lost picture, no timecode.
    vtr().setStopOnLossOfVideo(false);
    recordUntil([this] { return framesRecorded() > 2; });
    board->onRead = loseImage;
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    board->onRead = nullptr;
    vtr().setStopOnLossOfVideo(true);
    vtr().setTCGSource(QmxId(1510));
    Stepper::runMs(700);
    recordUntil([this] { return framesRecorded() > 2; });
    stop();
    vtr().setTCGSource(QmxId());

    vtr().setCameraInput(QmxId(1000));
    recordDesc = media.file("camera.mov");
    for (const bool on : {true, false}) {
        vtr().debugFrameMetadata(QmxMetadata(QmxId(705), on));
        ASSERT_TRUE(runUntilMode(on ? VtrMode::Record : VtrMode::StandbyOff));
    }
    vtr().debugFrameMetadata(QmxMetadata());
    vtr().setCameraInput(QmxId());
    Stepper::runMs(700);
}

void LogTest::provokeDrops()
{
    recordDesc = media.file("long.mov");
    vtr().record();
    Stepper::runMs(4000);
    stop();
    for (const bool stops : {false, true}) {
        vtr().setStopOnFrameDrop(stops);
        playFromStart("long.mov", 1.0);
        Stepper::runMs(400);
        files->stallNth(FaultyFiles::Pread, 1, 6 * QmxClock::nsPerSecond);
        Stepper::runMs(7000);
        files->clear();
        stop();
    }
    // A medium that stalls: what the writer's queue does not hold stays in the cache, then in the device.
    const auto stall = [this](int seconds, const std::function<bool()> &end) {
        recordUntil([this] { return framesRecorded() > 5; });
        files->stallNth(FaultyFiles::Pwrite, 1, seconds * QmxClock::nsPerSecond);
        ASSERT_TRUE(Stepper::runUntil(end, seconds * QmxClock::nsPerSecond));
        vtr().standbyOff();
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
        files->clear();
    };
    stall(8, [this] { return !vtr().stateToString().contains(" SC 0 "); });
    stall(20, [this] { return !vtr().state().mode().isInModeRecord(); });
}

void LogTest::provokeDevice()
{
    // The medium fails in a take, and after it.
    recordUntil([this] { return framesRecorded() > 2; });
    files->failNth(FaultyFiles::Pwrite, 1, EIO, true);
    ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    files->clear();
    QmxEnvironment::current().deck->recordFailures.report("late.mov", QmxError(EIO));
    // A frame that cannot be read, and one that cannot be shown.
    files->failNth(FaultyFiles::Pread, 4, EIO);
    playFromStart("clip.mov", 1.0);
    board->writeError = QmxError(EIO);
    Stepper::runMs(500);
    board->writeError = QmxError();
    stop();
    files->clear();
    // A set-up that nobody could set up, and ones that fail later.
    vtr().setVideoSignalGenMode(QmxId(800));
    Stepper::runMs(600);
    vtr().setVideoSignalGenMode(QmxId());
    Stepper::runMs(600);
    ASSERT_TRUE(runUntilIdle());
    board->failingSetups = 1;
    vtr().setSuperOut(QmxId(1301));
    Stepper::runMs(600);
    vtr().setVideoInputSource(QmxId(602)); // nothing is connected there
    ASSERT_TRUE(Stepper::runUntil([this] { return !vtr().inputState().isValid(); }));
    vtr().setVideoInputSource(QmxId(601));
    ASSERT_TRUE(Stepper::runUntil([this] { return vtr().inputState().isValid(); }));
    Stepper::runMs(600);
    // A reset that comes during a flush is put off.
    events.clear();
    playClip("clip.mov", 0.0);
    vtr().cue(3);
    QMetaObject::invokeMethod(&vtr(), "videoDeviceReset");
    ASSERT_TRUE(runUntilIdle());
    stop();
}

void LogTest::provokeEnds()
{
    vtr().shutdown();
    ASSERT_TRUE(Stepper::runUntil([this] { return vtr().isShutdownComplete(); }));
    vtr().standbyOff();
    ASSERT_TRUE(runUntilIdle());
    abandon();
    board->openError = QmxError(ENODEV);
    create();
    vtr().shutdown();
    abandon();
}

} // namespace

TEST_F(LogTest, everyLineComesAsWrittenAndNoOther)
{
    const std::function<void()> steps[] = {[this] { provokeModes(); },  [this] { provokePlay(); },
                                           [this] { provokeRecord(); }, [this] { provokeDrops(); },
                                           [this] { provokeDevice(); }, [this] { provokeEnds(); }};
    for (const auto &provoke : steps) {
        provoke();
        if (HasFatalFailure()) return;
    }
    std::set<const Line *> seen;
    for (const QmxLogRecord &record : LogCollector::records()) {
        if (record.source != QLatin1String("vtrobject")) continue;
        const bool isSetting = record.level == 3 && record.text.startsWith("Set ");
        const auto line = std::find_if(std::begin(lines), std::end(lines), [&](const Line &known) {
            return known.level == record.level && pattern(known.text).match(record.text).hasMatch();
        });
        EXPECT_TRUE(isSetting || line != std::end(lines))
            << "not a line of the transport: " << record.level << ' ' << record.text.toStdString();
        if (line != std::end(lines)) seen.insert(line);
    }
    for (const Line &line : lines)
        EXPECT_EQ(seen.contains(&line), line.comes) << line.level << ' ' << line.text;
    if (!isWritable) return;
    const QList<QByteArray> rows = readAll(benchmarkFile).trimmed().split('\n');
    EXPECT_GT(rows.size(), 100) << "one for every frame that a disk took or gave";
    for (const QByteArray &row : rows)
        ASSERT_TRUE(QRegularExpression("^\\d+ \\d+\\.\\d{6}$").match(row).hasMatch()) << row.toStdString();
}
