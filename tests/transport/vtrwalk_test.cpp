// SPDX-License-Identifier: GPL-3.0-or-later
// Ten thousand commands, settings and faults in a random order. Whatever comes, the transport keeps what
// expectSound() and expectRest() ask. The way is the same every time; XP_WALK_SECONDS in the environment
// walks new ones for so long and prints the seed of each, XP_SEED walks one of them again.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxplaylist.h"
#include "platform/qmx/stream/qmxstream.h"
#include "tests/transport/transportrig.h"

#include <QDir>
#include <QElapsedTimer>
#include <QRegularExpression>

#include <random>

namespace {

constexpr unsigned usualSeed = 5;
constexpr int wayLength = 10000;

class WalkTest : public TransportRig
{
protected:
    struct Action
    {
        int weight;
        const char *name;
        std::function<void()> take;
    };

    WalkTest() { allowLog(QString()); }

    void prepare();
    void walk(unsigned seed);
    QList<Action> commands();
    QList<Action> settings();
    QList<Action> faults();
    void expectSound();
    void expectRest();
    void expectProgress();
    void liftFaults();
    void sweep();

    int random(int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(_dice); }
    bool toss() { return random(2) == 1; }
    template <typename T, typename... Others>
    T oneOf(const T &first, const Others &...others)
    {
        const T values[] = {first, T(others)...};
        return values[random(int(std::size(values)))];
    }
    QString clip(int number) const { return media.file(QStringLiteral("clip%1.mov").arg(number)); }
    void newTake() { recordDesc = media.file(QStringLiteral("take%1.mov").arg(++_takes)); }
    QmxVideoDevice &device() { return *vtr().findChild<QmxVideoDevice *>(); }

private:
    std::mt19937 _dice;
    int _takes = 0;
};

void WalkTest::prepare()
{
    startUp();
    for (const int number : {0, 1})
        recordClip(QStringLiteral("clip%1.mov").arg(number), number == 0 ? 3 : 40);
    writeAll(media.file("broken.mov"), QByteArray(5000, 'x'));
}

QList<WalkTest::Action> WalkTest::commands()
{
    return {
        {14, "play", [this] { vtr().play(oneOf(0.0, 0.5, 1.0, 1.0, -1.0, -0.25, 3.5, 20.0, -20.0)); }},
        {6, "cue", [this] { vtr().cue(oneOf(0, 1, 7, 39, 10000, -3)); }},
        {2, "cueToTimecode",
         [this] { vtr().cueToTimecode(oneOf(QmxTimecode(), QmxTimecode(10, 0, 0, 7, 0, 0))); }},
        {8, "step", [this] { vtr().step(oneOf(1, 1, -1, 5)); }},
        {8, "standbyOff", [this] { vtr().standbyOff(); }},
        {14, "record",
         [this] {
             newTake();
             vtr().record();
         }},
        {2, "looping", [this] { vtr().setLooping(toss()); }},
        {2, "reopenRecordStream",
         [this] {
             newTake();
             vtr().reopenRecordStream();
         }},
        {2, "reopenPlaybackStream", [this] { vtr().reopenPlaybackStream(); }},
        {3, "what to play",
         [this] {
             QmxPlayList list;
             for (const int number : {1, 0, 1}) {
                 QmxPlayListEntry entry;
                 entry.setDesc(clip(number));
                 entry.setLength(number == 0 ? 3 : 40);
                 list.append(entry);
             }
             startFrame = oneOf(0, 0, 5);
             playbackDesc = oneOf(QVariant(clip(0)), QVariant(clip(1)), QVariant::fromValue(list), QVariant(),
                                  QVariant(media.file("broken.mov")));
         }},
    };
}

QList<WalkTest::Action> WalkTest::settings()
{
    return {
        {2, "superOut", [this] { vtr().setSuperOut(oneOf(QmxId(0), QmxId(1300), QmxId(1301))); }},
        {1, "encodeFormat", [this] { vtr().setEncodeFormat(oneOf(QmxId(205), QmxId(206), QmxId())); }},
        {1, "audioChans", [this] { vtr().setAudioChans(oneOf(2, 8, 4)); }},
        {1, "syncSource", [this] { vtr().setSyncSource(oneOf(QmxId(501), QmxId(503))); }},
        {1, "videoInputSource",
         [this] { vtr().setVideoInputSource(oneOf(QmxId(601), QmxId(601), QmxId(602))); }},
        {2, "signal generator",
         [this] {
             QmxImageDesc format;
             format.setSize(oneOf(192, 240), 120);
             format.setFrameRate(25);
             format.setDataType(QmxId(231));
             vtr().setVideoSignalGenFormat(format);
             vtr().setVideoSignalGenMode(oneOf(QmxId(), QmxId(800)));
         }},
        {1, "tcgSource", [this] { vtr().setTCGSource(oneOf(QmxId(1500), QmxId(1501), QmxId(1510))); }},
        {1, "timecodeValue", [this] { vtr().setTimecodeValue(QmxTimecode(random(24), 0, 0, 0, 0, 0)); }},
        {1, "dropFrame", [this] { vtr().setTimecodeDropFrame(toss()); }},
        {1, "recordOnRunningTimecode", [this] { vtr().setRecordOnRunningTimecode(random(4) == 0); }},
        {1, "interval",
         [this] {
             vtr().setRecordInterval(oneOf(0, 10, 30));
             vtr().setIntervalRecordEnable(random(3) == 0);
         }},
        {1, "stopOnLossOfVideo", [this] { vtr().setStopOnLossOfVideo(toss()); }},
        {1, "stopOnFrameDrop", [this] { vtr().setStopOnFrameDrop(toss()); }},
        {1, "camera",
         [this] {
             vtr().setCameraInput(oneOf(QmxId(), QmxId(1000)));
             vtr().debugFrameMetadata(oneOf(QmxMetadata(), QmxMetadata(QmxId(705), toss())));
         }},
        {1, "inhibit", [this] { inhibit = oneOf(QmxId(), QmxId(), QmxId(2003)); }},
    };
}

QList<WalkTest::Action> WalkTest::faults()
{
    return {
        {2, "frame dropped", [this] { emit device().frameDropped(); }},
        {1, "read failed", [this] { emit device().readFromHardwareFailed(QmxError(EIO)); }},
        {1, "write failed", [this] { emit device().writeToHardwareFailed(QmxError(EIO), QmxFrame()); }},
        {1, "camera flag",
         [this] {
             QmxMetadataHash meta;
             meta.insert(QmxId(705), true);
             emit device().inputAncDataChanged(meta);
         }},
        {1, "failing set-up", [this] { board->failingSetups = 1 + random(2); }},
        {1, "lost pictures", [this] { board->onRead = loseImage; }},
        {1, "board that cannot be read",
         [this] { board->onRead = [](QmxFrame &) { return QmxError(EIO); }; }},
        {1, "board that cannot be written", [this] { board->writeError = QmxError(EIO); }},
        {2, "slow medium", [this] { setSlowMedium(true); }},
        {1, "failing call",
         [this] {
             files->failNth(
                 oneOf(FaultyFiles::Open, FaultyFiles::Pread, FaultyFiles::Pwrite, FaultyFiles::Fdatasync),
                 1 + random(3), EIO, toss());
         }},
        {3, "all well again", [this] { liftFaults(); }},
        {1, "no record descriptor", [this] { recordDesc = oneOf(QVariant(), QVariant(17)); }},
    };
}

/// Holds at every moment.
void WalkTest::expectSound()
{
    static const QRegularExpression form("^VR (\\d+) VW (\\d+) SC (\\d+) SU (\\d) \\[");
    const QRegularExpressionMatch match = form.match(vtr().stateToString());
    ASSERT_TRUE(match.hasMatch()) << vtr().stateToString().toStdString();
    constexpr int deviceFrames = 6 * 25, cacheFrames = 25;
    EXPECT_LE(match.captured(1).toInt(), deviceFrames);
    EXPECT_LE(match.captured(2).toInt(), deviceFrames);
    EXPECT_LE(match.captured(3).toInt(), cacheFrames);
    EXPECT_LE(match.captured(4).toInt(), 2);
    for (const QmxStream *one : vtr().findChildren<QmxStream *>())
        EXPECT_EQ(one->isOpen() + one->isOpening() + one->isClosing() + one->isClosed(), 1);
    EXPECT_LE(QmxEnvironment::current().deck->operations.inProgress(),
              4); // stream, still, set-up or flush, an old take's close
}

/// Comes by itself, however often and at whatever moment it was disturbed.
void WalkTest::expectRest()
{
    constexpr qint64 longest = 12 * QmxClock::nsPerSecond; // a medium that fails has answered within ten
    ASSERT_TRUE(Stepper::runUntil([this] { return isSettled(); }, longest))
        << vtr().stateToString().toStdString()
        << ", in progress: " << QmxEnvironment::current().deck->operations.oldest(nullptr).toStdString();
    const VtrMode mode = vtr().state().mode();
    const bool usesMedium = mode.isInModePlay() || mode.isInModeRecord();
    EXPECT_EQ(storageInUse(), usesMedium ? 1 : 0);
    EXPECT_TRUE(usesMedium || stream().isClosed());
    constexpr int clipsOfAList = 6;
    Stepper::deliver();
    if (!isSettled() || vtr().state().mode() != mode) return;
    EXPECT_LE(openFiles(), mode.isInModePlay() ? clipsOfAList : mode.isInModeRecord() ? 2 : 0);
}

/// With nothing in the way, what the mode is for goes on.
void WalkTest::expectProgress()
{
    liftFaults();
    expectRest();
    if (HasFailure() || !stream().isOpen()) return;
    const bool records = vtr().state().mode().isInModeRecord() && device().currentSetup().isInCapture() &&
                         vtr().inputVideoIsValid() && !vtr().state().intervalRecordEnable();
    const qint64 before = QmxEnvironment::current().deck->counters.value(QmxCounters::CurrentClipFrames);
    const auto hasGone = [&] {
        if (!isIdle() || !stream().isOpen()) return true;
        if (vtr().state().mode().isInModePlay()) return hasPicture();
        return !records ||
               QmxEnvironment::current().deck->counters.value(QmxCounters::CurrentClipFrames) > before;
    };
    EXPECT_TRUE(Stepper::runUntil(hasGone, 3 * QmxClock::nsPerSecond)) << vtr().stateToString().toStdString();
}

void WalkTest::liftFaults()
{
    files->clear();
    board->failingSetups = 0;
    board->onRead = nullptr;
    board->writeError = QmxError();
    newTake();
}

/// Stops, and makes room on the medium.
void WalkTest::sweep()
{
    liftFaults();
    vtr().setRecordOnRunningTimecode(false);
    vtr().debugFrameMetadata(QmxMetadata());
    const auto stopped = [this] { return vtr().state().mode().isInModeStandbyOff() && isSettled(); };
    expectRest();
    vtr().standbyOff();
    ASSERT_TRUE(Stepper::runUntil(stopped)) << vtr().stateToString().toStdString();
    expectRest();
    for (const QFileInfo &take : QDir(media.path()).entryInfoList({"take*.mov"}))
        QFile::remove(take.filePath());
}

void WalkTest::walk(unsigned seed)
{
    // A transport as new, so that the seed alone tells the way.
    restart();
    vtr().setEncodeFormat(QmxId(205));
    playbackDesc = clip(1);
    inhibit = QmxId();
    startFrame = 0;
    _dice.seed(seed);
    const QList<Action> actions = commands() + settings() + faults();
    int total = 0;
    for (const Action &action : actions)
        total += action.weight;
    QStringList way;
    for (int step = 0; step < wayLength && !HasFailure(); ++step) {
        auto action = actions.begin();
        for (int drawn = random(total); drawn >= action->weight; ++action)
            drawn -= action->weight;
        way.append(QString::fromLatin1(action->name));
        SCOPED_TRACE("seed " + std::to_string(seed) + ", step " + std::to_string(step) + ": " +
                     way.mid(qMax(0, step - 12)).join(QStringLiteral(", ")).toStdString());
        action->take();
        expectSound();
        Stepper::runMs(oneOf(0, 0, 0, 1, 1, 5, 20, 40, 40, 150));
        expectSound();
        if (step % 8 == 7) expectRest();
        if (step % 40 == 39) expectProgress();
        if (step % 400 == 399) sweep();
    }
    sweep();
}

} // namespace

TEST_F(WalkTest, keepsEveryPromiseWhateverComes)
{
    prepare();
    const int seconds = qEnvironmentVariableIntValue("XP_WALK_SECONDS");
    if (seconds == 0 || qEnvironmentVariableIsSet("XP_SEED")) {
        walk(qEnvironmentVariableIsSet("XP_SEED") ? qEnvironmentVariable("XP_SEED").toUInt() : usualSeed);
        return;
    }
    QElapsedTimer elapsed;
    for (elapsed.start(); elapsed.elapsed() < 1000 * seconds && !HasFailure();) {
        const unsigned seed = std::random_device()();
        std::printf("seed %u\n", seed);
        std::fflush(stdout);
        LogCollector::clear();
        walk(seed);
    }
}
