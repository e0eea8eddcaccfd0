// SPDX-License-Identifier: GPL-3.0-or-later
// An operator without a plan, at an input that comes and goes, with a card and
// a medium that fail now and then. Whatever happens, the recorder keeps what it
// promises: see expectSound(). The walk is the same every time; XP_WALK_SECONDS
// in the environment walks a new way for so long and prints the seed that
// XP_SEED takes to walk it again.
#include "tests/scenarios/recorderrig.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstream.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>

#include <functional>
#include <random>
#include <tuple>

namespace {

constexpr unsigned usualSeed = 20;
constexpr int usualSteps = 500;

/// Losses every seven seconds, another format every half minute.
QString restlessInput()
{
    QStringList losses, formats;
    for (int frame = 175; frame < 40000; frame += 175)
        losses << QStringLiteral("%1-%2").arg(frame).arg(frame + 20 + frame % 30);
    for (int frame = 750, i = 0; frame < 40000; frame += 750, ++i)
        formats << QStringLiteral("%1@%2").arg(i % 2 ? "720x576i25" : "1280x720p25").arg(frame);
    return QStringLiteral("generator:?rate=25&size=720x576&scan=i&tc=01:00:00:00&"
                          "loss=%1&format=%2")
        .arg(losses.join(','), formats.join(','));
}

/// What the operator may do: a parameter and the values that he gives it.
struct Action
{
    eParam_t param;
    QStringList values;
    int weight;
};

const QList<Action> actions = {
    {eParam_TransportCommand, {"1", "3", "3", "3", "4", "4", "4", "5", "6", "7", "8", "9", "10"}, 30},
    {eParam_TransportSpeed, {"0", "0.5", "1", "-1", "-0.25", "3.5", "20", "-20", "100"}, 10},
    {eParam_CueToFrame, {"0", "7", "25", "10000"}, 5},
    {eParam_Superimpose, {"0", "1", "5"}, 2},
    {eParam_LoopPlayback, {"0", "1"}, 2},
    {eParam_PlaybackSource, {"0", "1", "1"}, 3},
    {eParam_OutputFrameMode, {"0", "1"}, 1},
    {eParam_SyncSource, {"0", "3"}, 1},
    {eParam_RecordCodec, {"0", "2", "3"}, 2},
    {eParam_AudioChannels, {"0", "1"}, 1},
    {eParam_ContinueOnLossOfVideo, {"0", "1"}, 2},
    {eParam_VideoSignalGenerator, {"0", "0", "1"}, 2},
    {eParam_TimecodePresetHour, {"3", "10"}, 1},
    {eParam_TimecodeSource, {"0", "1", "5"}, 1},
    {eParam_IntervalRecord, {"0", "0", "1"}, 1},
    {eParam_MediaUpdated, {"1", "2", "3"}, 2},
    {eParam_StopOnDroppedFrame, {"0", "1"}, 1},
    {eParam_CameraInput, {"0", "0", "1"}, 1},
    {eParam_RecordOnRunningTimecode, {"1", "1", "0"}, 1}, // 0 switches it on
    {eParam_TimecodeDropFrame, {"0", "1"}, 1},
    {eParam_CueToTimecode, {"00:00:00:07", "10:00:00:07"}, 1},
};

/// The status that belongs to a state, by the table of the parameter's values.
unsigned statusOf(const VtrState &state)
{
    if (state.mode().isInModeRecord()) return 2;
    if (!state.mode().isInModePlay()) return 1;
    const double speed = std::abs(state.speed());
    if (speed == 0.0) return 15;
    const unsigned step = speed >= 16 ? 4 : speed >= 8 ? 3 : speed >= 4 ? 2 : speed > 1 ? 1 : 0;
    return (state.speed() > 0 ? 3 : 9) + step;
}

class RandomWalk : public RecorderRig
{
protected:
    RandomWalk() : RecorderRig(restlessInput()) { allowLog(QString(), QString()); }

    int random(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(dice); }

    QmxVideoDevice &device() { return *vtr().findChild<QmxVideoDevice *>(); }

    /// What goes wrong, as often as the first number says.
    QList<std::tuple<int, const char *, std::function<void()>>> faults()
    {
        constexpr qint64 ms = QmxClock::nsPerMillisecond;
        return {
            {2, "frame dropped", [this] { emit device().frameDropped(); }},
            {1, "read failed", [this] { emit device().readFromHardwareFailed(QmxError(EIO)); }},
            {1, "write failed", [this] { emit device().writeToHardwareFailed(QmxError(EIO), QmxFrame()); }},
            {2, "slow medium",
             [this] {
                 for (int n = 1; n <= 40; ++n) {
                     files->stallNth(FaultyFiles::Open, n, 230 * ms);
                     files->stallNth(FaultyFiles::Fdatasync, n, 90 * ms);
                 }
             }},
            {1, "failing call",
             [this] {
                 const auto call = random(2) ? FaultyFiles::Open : FaultyFiles::Pread;
                 files->failNth(call, 1 + random(3), EIO, random(2) == 1);
             }},
            {4, "all well again", [this] { files->clear(); }},
        };
    }

    void act()
    {
        for (const auto &[weight, name, happen] : faults()) {
            if (random(120) >= weight) continue;
            way.append(QString::fromLatin1(name));
            happen();
        }
        int total = 0;
        for (const Action &action : actions)
            total += action.weight;
        int drawn = random(total);
        auto action = actions.begin();
        while (drawn >= action->weight)
            drawn -= (action++)->weight;
        const QString value = action->values.at(random(int(action->values.size())));
        way.append(QString::fromStdString(GetDescriptor(action->param)->name()) + '=' + value);
        write(action->param, value);
    }

    /// Holds at every moment.
    void expectSound()
    {
        for (const QmxStream *stream : vtr().findChildren<QmxStream *>(QString(), Qt::FindDirectChildrenOnly))
            EXPECT_EQ(stream->isOpen() + stream->isOpening() + stream->isClosing() + stream->isClosed(), 1);
        const QString text = vtr().stateToString();
        static const QRegularExpression form("^VR (\\d+) VW (\\d+) SC (\\d+) SU (\\d+) ");
        const QRegularExpressionMatch match = form.match(text);
        ASSERT_TRUE(match.hasMatch()) << text.toStdString();
        constexpr int sixSeconds = 6 * 60;
        EXPECT_LE(match.captured(1).toInt(), sixSeconds);
        EXPECT_LE(match.captured(2).toInt(), sixSeconds);
        EXPECT_LE(match.captured(3).toInt(), 25);
        EXPECT_LE(match.captured(4).toInt(), 2);
    }

    /// Holds as soon as nothing is in progress, and that comes by itself.
    void expectSettled()
    {
        // A short list of two formats in a loop is set up again and again.
        const auto rests = [this] {
            const bool isSetUpAgain =
                vtr().state().isLooping() && vtr().stateToString().endsWith(QStringLiteral("] vdev reset"));
            return isIdle() || (isSetUpAgain && !vtr().hasPendingModeChange());
        };
        constexpr int longestMs = 12000; // a medium that fails has answered within ten seconds
        ASSERT_TRUE(until(rests, longestMs)) << vtr().stateToString().toStdString();
        const bool usesMedium = vtr().state().mode().isInModePlay() || vtr().state().mode().isInModeRecord();
        EXPECT_EQ(vtr().stateToString().section(" SU ", 1).section(' ', 0, 0), usesMedium ? "1" : "0");
        // A change of state is told by the transport's next step, half a second
        // later at most.
        constexpr int slowestStepMs = 600;
        EXPECT_TRUE(until([this] { return number(eParam_TransportStatus) == statusOf(vtr().state()); },
                          slowestStepMs))
            << number(eParam_TransportStatus) << ' ' << vtr().state().mode().name() << ' '
            << vtr().state().speed();
    }

    /// No line that tells of something impossible; keeps the last ones for who looks for the reason.
    void readLog()
    {
        for (const QmxLogRecord &record : LogCollector::records()) {
            for (const char *never : {"Something is wrong", "shouldn't happen", "WTF", "DEVICE: Setup Error"})
                EXPECT_FALSE(record.text.contains(QLatin1String(never))) << record.text.toStdString();
            lastLines.append(record.source + QStringLiteral(": ") + record.text);
        }
        LogCollector::clear();
        constexpr qsizetype kept = 60;
        lastLines = lastLines.mid(qMax<qsizetype>(0, lastLines.size() - kept));
    }

    /// Stopped: every clip can be read and is closed. Old ones go, so that the
    /// medium lasts.
    void checkClips()
    {
        files->clear();
        write(eParam_RecordOnRunningTimecode, "1");
        write(eParam_CameraInput, "0");
        for (int i = 0; i < 3 && !vtr().state().mode().isInModeStandbyOff(); ++i) {
            command(4);
            expectSettled();
        }
        ASSERT_TRUE(settles(VtrMode::StandbyOff));
        QFileInfoList clips = QDir("/media/A").entryInfoList({"*.mov"}, QDir::Files, QDir::Name);
        for (const QFileInfo &clip : clips) {
            QmxClipReader reader;
            const QmxError error = reader.open(clip.filePath());
            EXPECT_FALSE(error.isError()) << error.toString().toStdString();
            EXPECT_TRUE(reader.info().closed) << clip.fileName().toStdString();
        }
        for (; clips.size() > 3; clips.removeFirst())
            QFile::remove(clips.first().filePath());
        write(eParam_MediaUpdated, "9");
    }

    void step(int number)
    {
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(number) + ": " +
                     way.mid(std::max<qsizetype>(0, way.size() - 12)).join(' ').toStdString());
        for (int burst = random(4) == 0 ? 1 + random(4) : 1; burst > 0; --burst)
            act();
        const int ms[] = {0, 10, 40, 150, 500, 900};
        for (int left = ms[random(int(std::size(ms)))]; left > 0; left -= 50) {
            pass(std::min(left, 50));
            expectSound();
        }
        expectSound();
        if (random(3) != 0) expectSettled();
        if (number % 20 == 19) checkClips();
        takeShown();
        readLog();
    }

    unsigned seed = usualSeed;
    std::mt19937 dice;
    QStringList way;
    QStringList lastLines;
};

} // namespace

TEST_F(RandomWalk, keepsEveryPromise)
{
    const int seconds = qEnvironmentVariableIntValue("XP_WALK_SECONDS");
    if (seconds > 0) seed = std::random_device()();
    if (qEnvironmentVariableIsSet("XP_SEED")) seed = qEnvironmentVariable("XP_SEED").toUInt();
    if (seconds > 0) std::printf("seed %u\n", seed);
    std::fflush(stdout);
    dice.seed(seed);
    begin();
    QElapsedTimer elapsed;
    elapsed.start();
    for (int i = 0; seconds > 0 ? !elapsed.hasExpired(1000 * seconds) : i < usualSteps; ++i) {
        step(i);
        if (!HasFailure()) continue;
        std::printf("%s\n", qPrintable(lastLines.join('\n')));
        break;
    }
}
