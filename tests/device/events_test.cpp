// SPDX-License-Identifier: GPL-3.0-or-later
// Who tells what, and when: open, set-up, input, reference, end.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/device/lumenengine.h"
#include "tests/device/devicebench.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"

#include <gtest/gtest.h>

TEST(Events, nothingIsToldFromInsideACall)
{
    for (const bool present : {true, false}) {
        DeviceBench bench;
        if (!present) bench.edges->script = [](const QmxTick &) { return QmxSourceFrame(); };
        EXPECT_EQ(bench.device->framesWritable(), 0);
        EXPECT_TRUE(bench.device->setup(DeviceBench::captureSetup()).isError());
        EXPECT_TRUE(bench.device->open(QStringLiteral("lumen")));
        EXPECT_TRUE(bench.takeSignals().isEmpty());
        EXPECT_FALSE(bench.device->setup(DeviceBench::captureSetup()).isError());
        EXPECT_TRUE(bench.takeSignals().isEmpty());
        EXPECT_TRUE(bench.device->isInSetup());
        EXPECT_EQ(bench.device->currentSetup(), DeviceBench::captureSetup());
        EXPECT_EQ(QmxEnvironment::current().deck->operations.inProgress(), 1);
        // The input found at open is told on the first turn of the loop, good or not.
        Stepper::deliver();
        EXPECT_EQ(bench.takeSignals(), QStringList({present ? "input valid" : "input gone", "setup"}));
        EXPECT_FALSE(bench.device->isInSetup());
        EXPECT_EQ(QmxEnvironment::current().deck->operations.inProgress(), 0);
        Stepper::runTicks(2);
        EXPECT_EQ(bench.takeSignals(true), QStringList({"started", "vbi", "vbi"}));
    }
}

TEST(Events, aSetupWithoutFormatIsRefusedAndASetupNeverChangesTheInput)
{
    DeviceBench bench;
    bench.device->open(QStringLiteral("lumen"));
    bench.setup(DeviceBench::captureSetup());
    bench.takeSignals();
    EXPECT_TRUE(bench.device->setup(QmxVideoDeviceSetup()).isError());
    EXPECT_FALSE(bench.device->isInSetup());
    EXPECT_EQ(bench.device->currentSetup(), DeviceBench::captureSetup());
    // Every format, the internal generator, playback and back: no word about the input.
    QmxVideoDeviceSetup internal = DeviceBench::captureSetup(50);
    internal.setVideoInputSource(QmxId(695));
    for (const QmxVideoDeviceSetup &setup : {DeviceBench::captureSetup(50), internal,
                                             DeviceBench::playbackSetup(24), DeviceBench::captureSetup()}) {
        bench.setup(setup);
        Stepper::runTicks(30);
    }
    EXPECT_EQ(bench.takeSignals().filter(QStringLiteral("input")), QStringList());
    EXPECT_EQ(bench.edges->created, 1); // and the input was watched all the time
    // The generator's picture fits its set-up, whatever the input has.
    bench.setup(internal);
    bench.takeShown();
    Stepper::runTicks(3, 50);
    EXPECT_GT(bench.takeShown().last(), 9000);

    // Another source: one report, when its state is known.
    QmxVideoDeviceSetup other = DeviceBench::captureSetup();
    other.setVideoInputSource(QmxId(602));
    bench.setup(other);
    Stepper::runTicks(50);
    bench.setup(DeviceBench::captureSetup());
    Stepper::runTicks(50);
    // One that no tick has taken: it may take its time to end, and does so elsewhere.
    bench.setup(other);
    bench.setup(DeviceBench::captureSetup());
    EXPECT_NE(bench.edges->ended, std::thread::id());
    EXPECT_NE(bench.edges->ended, std::this_thread::get_id());
    EXPECT_EQ(bench.takeSignals().filter(QStringLiteral("input")),
              QStringList({"input gone", "input valid"}));
}

TEST(Events, anInputThatWasNoGoodAtTheSetupIsNotShownBeforeTheNext)
{
    DeviceBench bench;
    bench.device->open(QStringLiteral("lumen"));
    QmxVideoDeviceSetup setup = DeviceBench::captureSetup();
    for (const bool blacking : {true, false}) {
        for (const bool internal : {false, true}) {
            setup.setBlackingEnabled(blacking);
            setup.setVideoInputSource(QmxId(internal ? 695 : 601));
            bench.setup(setup);
            Stepper::runTicks(3);
            EXPECT_EQ(bench.takeShown().last() == 0, blacking && !internal);
            const QList<QmxFrame> frames = bench.readAll();
            EXPECT_TRUE(frames.last().vids().first().isValid()) << "it is captured all the same";
        }
    }
}

TEST(Events, theInputsTimecodeComesAfterItsReport)
{
    DeviceBench bench;
    bench.edges->script = [](const QmxTick &tick) {
        QmxSourceFrame frame;
        if (tick.index < 10 || tick.index > 20) frame = DeviceBench::good(tick);
        frame.metadata.insert(QmxId(705), tick.index > 50);
        return frame;
    };
    bench.device->open(QStringLiteral("lumen"));
    bench.setup(DeviceBench::captureSetup());
    bool valid = true;
    bool seenAfterReport = false;
    bool seenGone = false;
    QmxTimecode last;
    bench.onInput = [&] { valid = bench.states.last().isValid(); };
    bench.onVbi = [&] {
        // One that has gone stands still for a moment; then there is none until the input has been told.
        const QmxTimecode now = bench.vbis.last().inputTimecode();
        EXPECT_TRUE(now.isValid() == valid || (!valid && now == last)) << now.toString().toStdString();
        seenGone |= !now.isValid();
        last = now;
        seenAfterReport |= valid && bench.states.size() > 2;
        // Every call is allowed from inside a slot.
        bench.device->setProperty(QmxId(19), QStringLiteral("x"));
        bench.readAll();
    };
    EXPECT_TRUE(Stepper::runUntil([&] { return seenAfterReport && seenGone; }));
    Stepper::runTicks(20);
    EXPECT_EQ(bench.takeSignals(),
              QStringList({"input valid", "setup", "anc", "started", "input gone", "input valid", "anc"}));
}

TEST(Events, theReferenceIsThatOfTheChosenSource)
{
    DeviceBench bench(QStringLiteral("[device]\nreference=missing\n"));
    bench.device->open(QStringLiteral("lumen"));
    QmxVideoDeviceSetup setup = DeviceBench::captureSetup();
    for (const auto &[source, present] : {std::pair(501, false), {502, true}, {503, true}}) {
        setup.setInputRefSource(QmxId(source));
        bench.setup(setup);
        EXPECT_EQ(bench.device->refInputState(0).isPresent(), present) << source;
    }
    setup.setInputRefSource(QmxId(502));
    bench.setup(setup);
    bench.edges->script = [](const QmxTick &) { return QmxSourceFrame(); };
    Stepper::runTicks(3);
    EXPECT_FALSE(bench.device->refInputState(0).isLocked());
}

TEST(Events, nothingIsLeftBehindAtTheEnd)
{
    DeviceBench bench;
    bench.device->open(QStringLiteral("lumen"));
    bench.setup(DeviceBench::captureSetup());
    bench.setRecord(true);
    Stepper::runTicks(5);
    bench.device->setup(DeviceBench::playbackSetup());
    bench.device->flush();
    bench.onVbi = [&] { bench.device.reset(); };
    EXPECT_EQ(QmxEnvironment::current().deck->operations.inProgress(), 2);
    Stepper::runTicks(3);
    EXPECT_EQ(bench.device, nullptr); // destroyed from inside its own signal
    EXPECT_EQ(QmxEnvironment::current().deck->operations.inProgress(), 0);
}

TEST(Events, aStallOfTheClockLosesNoFrameOfATakeAndNeverBursts)
{
    DeviceBench bench; // for its edges; the engine ticks by hand
    DeviceEvents events([] {});
    LumenEngine engine(bench.options(), QmxEnvironment::current(), events);
    engine.begin();
    engine.setup(DeviceBench::captureSetup());
    engine.setProperty(QmxId(22), 1606);
    TickSchedule schedule(0, QmxVideoRate(25));
    qint64 now = 0;
    const auto tick = [&](int periods) {
        now += periods * QmxClock::nsPerSecond / 25;
        engine.tick(schedule.advance(now), schedule.rate());
        Stepper::deliver(); // the coders
    };
    const auto take = [&](DeviceEvent::Type type) {
        QList<DeviceEvent> taken;
        for (DeviceEvent event; events.pop(event);)
            if (event.type == type) taken.append(event);
        return taken;
    };
    for (int i = 0; i < 5; ++i)
        tick(1);
    EXPECT_EQ(take(DeviceEvent::Vbi).size(), 5);
    tick(4);
    EXPECT_EQ(take(DeviceEvent::Vbi).size(), 1); // one tick for the four
    EXPECT_EQ(bench.takeShown(), QList<int>({1, 2, 3, 4, 5, 9}));
    QmxFrame frame;
    for (int i = 1; i <= 9; ++i) {
        ASSERT_FALSE(engine.readFrame(frame).isError());
        EXPECT_EQ(DeviceBench::numberOf(frame), i); // and every frame is in the take
    }
    // A stall beyond what a source keeps is a loss, and an alarm until the clock has been good for a while.
    const auto dropped = [] {
        return QmxEnvironment::current().deck->counters.value(QmxCounters::FramesDroppedCapture);
    };
    const qint64 before = dropped();
    tick(30);
    EXPECT_EQ(take(DeviceEvent::CaptureDropped).size(), 1);
    EXPECT_EQ(dropped() - before, 29 - 12) << "frames that no source has any more";
    for (int i = 0; i < 25 * 6; ++i) {
        tick(1);
        while (!engine.readFrame(frame).isError()) {}
    }
    const QList<DeviceEvent> alarms = take(DeviceEvent::Alarm);
    ASSERT_EQ(alarms.size(), 1);
    EXPECT_EQ(alarms.first().alarm, QmxAlarm(QmxId(1912), QmxAlarm::Clear, {}, {}, 0));
}
