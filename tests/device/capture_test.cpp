// SPDX-License-Identifier: GPL-3.0-or-later
// Capture: standby, takes, losses, timecode, set-ups in a take.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/deviceevents.h"
#include "tests/device/devicebench.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {
QmxTimecode timecodeOf(const QmxFrame &frame)
{
    return frame.meta().value(QmxId(12)).value<QmxTimecode>();
}

void expectCounting(const QList<QmxFrame> &frames)
{
    for (int i = 1; i < frames.size(); ++i)
        EXPECT_EQ(timecodeOf(frames.at(i)), timecodeOf(frames.at(i - 1)).advanced(1)) << i;
}

class Capture : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(bench.device->open(QStringLiteral("lumen")));
        Stepper::deliver();
        bench.setup(DeviceBench::captureSetup());
        bench.takeSignals();
    }

    void jam(const QmxTimecode &value) { bench.device->setProperty(QmxId(24), QVariant::fromValue(value)); }
    /// Lets ticks pass and reads what is left, so that it does not matter how fast the coder was.
    void run(int ticks, int rate = 25)
    {
        Stepper::runTicks(ticks, rate);
        frames += bench.readAll();
    }
    /// Reads like a recorder: at every vertical interval; the frames go to `frames`.
    void readAtEveryTick()
    {
        bench.onVbi = [this] { frames += bench.readAll(); };
    }
    /// An input without signal in the ticks [from, to).
    void loseInput(qint64 from, qint64 to)
    {
        std::lock_guard lock(bench.edges->mutex);
        bench.edges->script = [from, to](const QmxTick &tick) {
            if (tick.index >= from && tick.index < to) return QmxSourceFrame();
            return DeviceBench::good(tick);
        };
    }
    qint64 tickNow() { return qint64(bench.vbis.last().inputTimecode().toFrameNumber()); }

    DeviceBench bench;
    QList<QmxFrame> frames;
};
} // namespace

TEST_F(Capture, costsNothingInStandbyAndRecordsFromTheOldestUnreadFrame)
{
    run(20); // the input's timecode has been running for long
    frames.clear();
    // Every frame can be read at its own vertical interval, with all but its bytes.
    bench.onVbi = [this] {
        EXPECT_EQ(bench.device->framesReadable(), 1);
        frames += bench.readAll();
    };
    Stepper::runTicks(5);
    ASSERT_EQ(frames.size(), 5);
    EXPECT_TRUE(frames.first().vids().first().isValid());
    EXPECT_EQ(frames.first().auds().first().samples(), 1920);
    EXPECT_TRUE(bench.edges->coded.isEmpty());
    bench.onVbi = nullptr;

    Stepper::runTicks(3);
    const int newest = bench.edges->shown.last().tick.index;
    bench.setRecord(true);
    jam(QmxTimecode(10, 0, 0, 0, 25, 0));
    Stepper::runTicks(3);
    frames = bench.readAll();
    ASSERT_EQ(frames.size(), 6);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(DeviceBench::numberOf(frames.at(i)), newest - 2 + i);
        EXPECT_EQ(timecodeOf(frames.at(i)), QmxTimecode(10, 0, 0, i, 25, 0));
    }
    // The outputs show what is captured, in the same tick.
    EXPECT_EQ(bench.takeShown().last(), newest + 3);
    EXPECT_EQ(bench.vbis.last().tcgTimecode(), QmxTimecode(10, 0, 0, 5, 25, 0));
    EXPECT_EQ(bench.takeSignals(), QStringList({"started"}));
}

TEST_F(Capture, timeOfDayIsThatOfTheNewestFrame)
{
    QmxVideoDeviceSetup setup = DeviceBench::captureSetup();
    setup.setTimecodeInputSource(QmxId(1501));
    bench.setup(setup);
    Stepper::runTicks(3);
    bench.setRecord(true);
    jam(QmxTimecode(12, 0, 0, 0, 25, 0));
    Stepper::deliver();
    frames = bench.readAll();
    ASSERT_EQ(frames.size(), 3);
    EXPECT_EQ(timecodeOf(frames.last()), QmxTimecode(12, 0, 0, 0, 25, 0));
    expectCounting(frames);
}

TEST_F(Capture, losesAFrameOnlyWhenTheQueueIsFullAndSaysSo)
{
    // Standby keeps the newest frames, and its losses are none of the take; nobody counts them as lost.
    const auto dropped = [] {
        return QmxEnvironment::current().deck->counters.value(QmxCounters::FramesDroppedCapture);
    };
    const qint64 before = dropped();
    Stepper::runTicks(50);
    EXPECT_EQ(dropped(), before);
    bench.setRecord(true);
    Stepper::deliver();
    bench.takeSignals();
    const QList<int> numbers = bench.readNumbers();
    ASSERT_EQ(numbers.size(), 40);
    EXPECT_EQ(numbers.last(), int(bench.edges->shown.last().tick.index));
    Stepper::runTicks(42);
    EXPECT_EQ(bench.device->framesReadable(), 40);
    EXPECT_EQ(bench.takeSignals(), QStringList({"dropped", "dropped"}));
    EXPECT_EQ(dropped(), before + 2);
    const QList<int> first = bench.readNumbers();
    Stepper::runTicks(1);
    EXPECT_EQ(bench.readNumbers(), QList<int>({first.last() + 3}));
    EXPECT_EQ(bench.takeSignals(), QStringList());

    // Somebody is busy while frames are lost: told again when the one after the gap has been read.
    Stepper::runTicks(40);
    QmxOperations::Token open = QmxEnvironment::current().deck->operations.begin(QStringLiteral("opening"));
    Stepper::runTicks(1);
    open.reset();
    EXPECT_EQ(bench.takeSignals(), QStringList({"dropped"}));
    EXPECT_EQ(dropped(), before + 2) << "the take may be over";
    bench.readAll();
    EXPECT_EQ(dropped(), before + 3) << "it goes on";
    Stepper::runTicks(1);
    EXPECT_EQ(bench.takeSignals(), QStringList());
    bench.readAll();
    Stepper::deliver();
    EXPECT_EQ(bench.takeSignals(), QStringList({"dropped"}));

    // A picture that cannot be coded is a loss, too.
    expectLog(QStringLiteral("lumen"), QStringLiteral("coding as"));
    bench.edges->failCoding = int(bench.edges->shown.last().tick.index) + 2;
    Stepper::runTicks(3);
    EXPECT_EQ(bench.readNumbers().size(), 2);
    EXPECT_EQ(bench.takeSignals(), QStringList({"dropped"}));
}

TEST_F(Capture, aLossInATakeIsToldByTheFramesAlone)
{
    readAtEveryTick();
    run(30);
    bench.setRecord(true);
    run(5);
    frames.clear();
    const qint64 lost = tickNow() + 5;
    loseInput(lost, lost + 10);
    run(40);
    EXPECT_EQ(bench.takeSignals(), QStringList({"started"}));
    ASSERT_EQ(frames.size(), 40);
    expectCounting(frames);
    int without = 0;
    for (const QmxFrame &frame : std::as_const(frames)) {
        EXPECT_EQ(frame.vids().size(), 1);
        EXPECT_EQ(frame.auds().first().samples(), 1920);
        if (!frame.vids().first().isValid()) ++without;
    }
    EXPECT_EQ(without, 10 + 13); // and the steady half second
    // No running timecode of the input before the first picture can be read again.
    EXPECT_TRUE(frames.last().vids().first().isValid());
    for (int i = 0; i < 40; ++i) {
        const QmxVbiInfo &info = bench.vbis.at(bench.vbis.size() - 40 + i);
        EXPECT_TRUE(!info.inputTimecode().isValid() || i <= 5 || frames.at(i).vids().first().isValid() ||
                    info.inputTimecode() == bench.vbis.at(bench.vbis.size() - 41 + i).inputTimecode())
            << i;
    }
    EXPECT_TRUE(bench.vbis.last().inputTimecode().isValid());

    // Another format is told at once, the return from it is not, what is left at the end is.
    const qint64 other = tickNow() + 1;
    bench.edges->script = [other](const QmxTick &tick) {
        return DeviceBench::good(tick, tick.index < other + 3 ? 50 : 25);
    };
    frames.clear();
    run(30);
    EXPECT_EQ(bench.takeSignals(), QStringList({"input valid"}));
    EXPECT_FALSE(frames.at(1).vids().first().isValid());
    EXPECT_TRUE(frames.last().vids().first().isValid());
    bench.setRecord(false);
    Stepper::deliver();
    EXPECT_EQ(bench.takeSignals(), QStringList({"input valid"}));
    EXPECT_EQ(bench.states.last().captureImageDesc(), DeviceBench::format(25));
}

TEST_F(Capture, setupsInATakeDoNotTouchTheQueue)
{
    readAtEveryTick();
    bench.setRecord(true);
    jam(QmxTimecode(10, 0, 0, 0, 25, 0));
    run(5);
    QmxVideoDeviceSetup outputs = DeviceBench::captureSetup();
    outputs.setSuperOut(QmxId(1300));
    bench.setup(outputs);
    run(5);
    QmxVideoDeviceSetup coded = outputs;
    QmxImageDesc desc = DeviceBench::format(50);
    coded.setImageDesc(desc);
    bench.setup(coded);
    EXPECT_EQ(bench.device->currentSetup(), coded);
    run(5);
    ASSERT_EQ(frames.size(), 15);
    expectCounting(frames);
    EXPECT_EQ(frames.last().vids().first().desc(), DeviceBench::format(25));
    bench.setRecord(false);
    frames.clear();
    run(10, 50);
    EXPECT_EQ(frames.size(), 10);
    EXPECT_EQ(frames.last().vids().first().desc(), desc);
}

TEST_F(Capture, framesInTheCoderBecomeReadableAsTheyAreWhenTheTakeEnds)
{
    Stepper::runTicks(2);
    bench.setRecord(true); // queued for coding; nothing has come back yet, or all has
    bench.setRecord(false);
    EXPECT_EQ(bench.device->framesReadable(), 2);
    Stepper::deliver();
    bench.setRecord(true);
    Stepper::deliver();
    EXPECT_EQ(bench.readNumbers().size(), 2);
}

TEST_F(Capture, aFailedMediumEndsTheTake)
{
    QmxEnvironment::current().deck->recordFailures.report(QStringLiteral("/m/x.mov"), QmxError(EIO));
    Stepper::deliver();
    EXPECT_EQ(bench.takeSignals(), QStringList({"read failed"}));
}

TEST(DeviceEvents, ofALoopThatStandsStillAtMostTenSecondsWait)
{
    DeviceEvents events([] {});
    events.setVbiBound(500);
    for (int i = 0; i < 800; ++i)
        events.push({});
    int waiting = 0;
    for (DeviceEvent event; events.pop(event);)
        ++waiting;
    EXPECT_EQ(waiting, 500);
}

TEST_F(Capture, damageOfTheInputIsCountedMarkedAndToldOnceWithARate)
{
    allowLog(QStringLiteral("lumen"));
    run(20);
    const qint64 from = tickNow() + 10;
    {
        std::lock_guard lock(bench.edges->mutex);
        bench.edges->script = [from](const QmxTick &tick) {
            QmxSourceFrame frame = DeviceBench::good(tick);
            const qint64 bad = std::clamp<qint64>(tick.index - from, 0, 100); // four seconds
            frame.torn = bad / 5;
            frame.missing = bad / 10;
            frame.damage = bad > 0 && bad < 100 && bad % 5 == 0 ? 1 : 0;
            return frame;
        };
    }
    frames.clear();
    readAtEveryTick();
    run(10 + 20);
    EXPECT_TRUE(bench.alarms.isEmpty()) << "no rate is known yet";
    run(80 + 100);
    ASSERT_EQ(bench.alarms.size(), 1);
    EXPECT_EQ(bench.alarms.at(0).id(), QmxIds::alarmInputDamaged);
    EXPECT_TRUE(bench.alarms.at(0).message().contains("6 torn and 3 missing"))
        << bench.alarms.at(0).message().toStdString();
    run(260);
    ASSERT_EQ(bench.alarms.size(), 2);
    EXPECT_EQ(bench.alarms.at(1).level(), QmxAlarm::Clear);
    EXPECT_EQ(QmxEnvironment::current().deck->counters.value(QmxCounters::InputTorn), 20);
    EXPECT_EQ(QmxEnvironment::current().deck->counters.value(QmxCounters::InputMissing), 10);
    int marked = 0;
    for (const QmxFrame &frame : std::as_const(frames))
        marked += frame.meta().value(QmxIds::inputDamage).toInt();
    EXPECT_EQ(marked, 19);
}
