// SPDX-License-Identifier: GPL-3.0-or-later
// The state machines of the device on their own: schedule, detection, timecode, profile, queues.
#include "platform/qmx/device/capturechain.h"
#include "platform/qmx/device/cardalarms.h"
#include "platform/qmx/device/inputdetector.h"
#include "platform/qmx/device/inputwatch.h"
#include "platform/qmx/device/playbackchain.h"
#include "platform/qmx/device/takegate.h"
#include "platform/qmx/device/tickschedule.h"
#include "platform/qmx/device/timecodegenerator.h"
#include "platform/qmx/edges/lumenprofile.h"

#include "tests/device/devicebench.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

namespace {
constexpr qint64 second = QmxClock::nsPerSecond;

QmxVideoState state(bool valid, int rate = 25)
{
    QmxVideoState made;
    made.setValid(valid);
    QmxImageDesc desc;
    desc.setSize(64, 32);
    desc.setFrameRate(QmxVideoRate(rate));
    if (valid) made.setCaptureImageDesc(desc);
    return made;
}

QmxTimecode tc(const char *text, int fps = 25)
{
    QmxTimecode timecode{QString::fromLatin1(text)};
    timecode.setFPS(fps);
    return timecode;
}

QmxTick tickOf(qint64 index)
{
    QmxTick tick;
    tick.index = index;
    tick.deadline = index * second / 25;
    tick.rate = QmxVideoRate(25);
    return tick;
}

/// What an input gives with a picture.
QmxSourceFrame inputAt(qint64 index)
{
    QmxSourceFrame seen = DeviceBench::good(tickOf(index));
    seen.timecode = QmxTimecode(int(90000 + index), 25, false);
    return seen;
}
} // namespace

TEST(TickSchedule, aStallIsOneTickAndAnotherRateGoesOnFromIt)
{
    TickSchedule schedule(7, QmxVideoRate(30000, 1001));
    // A stall of ten frames and a bit: one tick, the latest one, and nine missed.
    const qint64 due = schedule.nextDeadline();
    const TickSchedule::Step late = schedule.advance(due + 10 * 33'366'667 - 20'000'000);
    EXPECT_EQ(late.missedFrames, 9);
    EXPECT_TRUE(late.late);
    EXPECT_GT(schedule.nextDeadline(), due + 10 * 33'366'667 - 20'000'000);
    // Another rate goes on from the last tick; interlaced formats tick twice a frame.
    schedule.setRate(QmxVideoRate(25), true);
    EXPECT_EQ(schedule.nextDeadline(), late.deadline + second / 50);
    EXPECT_TRUE(schedule.advance(schedule.nextDeadline()).frameStart);
    EXPECT_FALSE(schedule.advance(schedule.nextDeadline()).frameStart);
    EXPECT_TRUE(schedule.advance(schedule.nextDeadline()).frameStart);
}

TEST(TickSchedule, onTheGridAllFramesBeginTogether)
{
    struct Case
    {
        QmxVideoRate rate;
        bool twoFields;
    };
    for (const Case &one :
         {Case{25, false}, Case{{30000, 1001}, false}, Case{25, true}, Case{{60000, 1001}, true}}) {
        TickSchedule early = TickSchedule::onGrid(1'234'567'891'011, one.rate);
        early.setRate(one.rate, one.twoFields);
        // Another process: begun two seconds later, at another rate first.
        TickSchedule late = TickSchedule::onGrid(1'236'999'999'999, QmxVideoRate(24));
        late.advance(late.nextDeadline());
        late.setRate(one.rate, one.twoFields);
        TickSchedule::Step step;
        do
            step = late.advance(late.nextDeadline());
        while (!step.frameStart);
        TickSchedule::Step same;
        do
            same = early.advance(early.nextDeadline());
        while (same.deadline < step.deadline);
        EXPECT_EQ(same.deadline, step.deadline) << one.rate.toDouble();
        EXPECT_TRUE(same.frameStart);
        EXPECT_EQ(step.deadline, one.rate.nanoseconds(one.rate.framesIn(step.deadline)))
            << "a frame of the grid";
    }
}

TEST(TickSchedule, neverGoesBackHoweverOftenTheRateChangesBetweenTwoTicks)
{
    TickSchedule schedule = TickSchedule::onGrid(1'048'600'000'000, QmxVideoRate(50));
    const QmxVideoRate rates[] = {{50}, {24}, {60000, 1001}, {25}};
    for (int i = 0; i < 400; ++i) {
        const qint64 last = schedule.advance(schedule.nextDeadline()).deadline;
        const QmxVideoRate next = rates[i / 100];
        for (const QmxVideoRate &other : rates)
            schedule.setRate(other, i % 2 == 0);
        schedule.setRate(next, false);
        EXPECT_GT(schedule.nextDeadline(), last + next.nanoseconds(1, 2)) << i;
        EXPECT_LE(schedule.nextDeadline(), last + next.nanoseconds(3, 2)) << i;
    }
}

TEST(TickSchedule, keepsItsPaceForADayAtEveryRateAFileMayState)
{
    constexpr qint64 most = std::numeric_limits<int>::max();
    const std::pair<qint64, qint64> rates[] = {
        {10'000'000, 417'083}, {10'000'000, 333'667}, {1'000'000, 41'667}, {most, most - 1},
        {most, 2'147'484},     {90'000, 1},           {1, most},           {most * 4, most},
        {60'000, 1001}};
    for (const auto &[num, den] : rates) {
        const QmxVideoRate rate = QmxVideoRate::stated(num, den);
        ASSERT_TRUE(rate.isValid() && rate.toDouble() >= 1 && rate.toDouble() < 1001) << num;
        for (const bool interlaced : {false, true}) {
            TickSchedule schedule(0, QmxVideoRate(25));
            schedule.setRate(rate, interlaced);
            const long double period = (long double)(rate.den()) * second / rate.num() / (interlaced ? 2 : 1);
            // Every hour some seconds tick by tick; the rest of it is missed at once.
            for (int hour = 1; hour <= 24; ++hour) {
                const qint64 from = schedule.nextDeadline();
                for (int tick = 0; tick < 1000; ++tick) {
                    const TickSchedule::Step step = schedule.advance(schedule.nextDeadline());
                    ASSERT_EQ(step.missedFrames, 0) << num << " in hour " << hour;
                    const long double ticks = (long double)(step.deadline) / period;
                    ASSERT_LT(std::abs(ticks - std::round(ticks)) * period, 2) << num << " in hour " << hour;
                }
                EXPECT_NEAR(double(schedule.nextDeadline() - from), double(period * 1000), 3);
                const qint64 next = schedule.nextDeadline();
                const qint64 now = hour * 3600 * second;
                const double missed = double(now - next) / second * rate.toDouble();
                EXPECT_NEAR(double(schedule.advance(now).missedFrames), missed, 1);
                EXPECT_GT(schedule.nextDeadline(), now);
            }
        }
    }
}

TEST(InputDetector, countsASignalAsBackAfterASteadyHalfSecond)
{
    for (const int rate : {10, 25, 60}) {
        InputDetector detector;
        detector.begin(state(true, rate));
        qint64 now = 0;
        const auto step = [&](const QmxVideoState &seen) {
            return detector.step(seen, now += second / rate);
        };
        EXPECT_FALSE(step(state(true, rate)));
        ASSERT_TRUE(step(state(false))); // gone: at once
        EXPECT_FALSE(step(state(false)));
        EXPECT_FALSE(step(state(true, rate)));
        EXPECT_FALSE(step(state(false))); // a flicker starts the count again
        const qint64 first = now + second / rate;
        int ticks = 1;
        while (!step(state(true, rate))) {
            ASSERT_FALSE(detector.isGood(state(true, rate)));
            ASSERT_LT(++ticks, 1000);
        }
        EXPECT_GE(ticks, 12) << rate;
        EXPECT_GE(now - first, second / 2) << rate;
        EXPECT_LE(now - first, second / 2 + std::max<qint64>(12 * second / rate, second / rate)) << rate;
        ASSERT_TRUE(step(state(true, 50))); // another format: at once
    }
}

TEST(InputDetector, tellsOneChangeForAnotherSource)
{
    InputDetector detector;
    detector.begin(state(true));
    qint64 now = 0;
    for (const bool valid : {true, false}) {
        detector.sourceChanged();
        int changes = 0;
        for (int i = 0; i < 50; ++i)
            if (const auto told = detector.step(state(valid, 50), now += second / 25)) {
                ++changes;
                EXPECT_EQ(told->isValid(), valid);
            }
        EXPECT_EQ(changes, 1); // the good one without a "gone" in between, an equal one as well
    }
}

TEST(TimecodeGenerator, continuesAfterTheLastFrameWritten)
{
    // What the recorder leaves behind when it jams again, and what must come of it.
    struct Case
    {
        const char *before;   ///< jam before
        const char *value;    ///< jam now
        const char *last;     ///< last frame written; "" none
        const char *notFirst; ///< last one that was not the first of its stream
        quint64 written;      ///< since the jam before
        const char *expected;
    };
    const Case cases[] = {
        // A preset before any take; after a take; after a take of one frame.
        {"", "10:00:00:00", "", "", 0, "10:00:00:00"},
        {"10:00:00:00", "10:00:03:24", "10:00:03:24", "10:00:03:24", 100, "10:00:04:00"},
        {"10:00:00:00", "10:00:00:00", "10:00:00:00", "", 1, "10:00:00:01"},
        // One frame after a longer take; one frame, and nothing written since the jam before.
        {"10:00:01:00", "10:00:01:00", "10:00:01:01", "10:00:01:00", 1, "10:00:01:02"},
        {"09:00:00:00", "09:00:00:00", "10:00:00:00", "", 0, "09:00:00:00"},
        // A second take of one frame; another preset after a take.
        {"10:00:00:00", "10:00:00:00", "10:00:00:01", "", 1, "10:00:00:02"},
        {"10:00:00:00", "11:00:00:00", "10:00:03:24", "10:00:03:24", 100, "11:00:00:00"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.expected);
        TimecodeGenerator generator;
        generator.setSource(QmxId(1500), 25);
        QmxRecordTable::Memory memory;
        memory.written = 5;
        if (*c.before) generator.jam(tc(c.before), memory);
        memory.written += c.written;
        if (*c.last) memory.last = tc(c.last);
        if (*c.notFirst) memory.lastNotFirst = tc(c.notFirst);
        for (int jams = 0; jams < 2; ++jams) // a jam again, as after a set-up, changes nothing
            EXPECT_EQ(generator.jam(tc(c.value), memory), tc(c.expected)) << jams;
    }
}

TEST(TimecodeGenerator, countsInDropFrameAndAtAnotherRate)
{
    TimecodeGenerator generator;
    generator.setSource(QmxId(1500), 30);
    QmxTimecode preset(10, 0, 59, 29, 30, 1);
    generator.setNext(generator.jam(preset, {}));
    EXPECT_EQ(generator.step({}, true).toString(), QStringLiteral("10:00:59;29"));
    EXPECT_EQ(generator.step({}, true).toString(), QStringLiteral("10:01:00;02"));
    // A digit that a new rate does not have is no timecode of that rate.
    generator.setNext(generator.jam(QmxTimecode(10, 0, 0, 29, 30, 0), {}));
    generator.setSource(QmxId(1500), 25);
    generator.step({}, true);
    EXPECT_EQ(generator.step({}, true), tc("10:00:01:00"));
    // The input's timecode; without a picture it is continued.
    generator.setSource(QmxId(1520), 25);
    EXPECT_EQ(generator.step(tc("02:00:00:00"), true), tc("02:00:00:00"));
    EXPECT_EQ(generator.step({}, false), tc("02:00:00:01"));
    EXPECT_FALSE(generator.step({}, true).isValid());
}

TEST(RunningTimecode, knowsTheFirstFrameOfARun)
{
    RunningTimecode running;
    const int values[] = {-1, 0, 0, 0, 1, 2, 2, 3, 3, 3}; // -1: none
    const int since[] = {-1, -1, -1, -1, 4, 4, 4, 4, 4, -1};
    for (int i = 0; i < 10; ++i) {
        running.step(i, values[i] < 0 ? QmxTimecode() : QmxTimecode(values[i], 25, false));
        EXPECT_EQ(running.runningSince().value_or(-1), since[i]) << i;
    }
}

TEST(LumenProfile, passesOverGarbageWithASentence)
{
    EXPECT_EQ(LumenProfile::parse({}, {}).input(601), QStringLiteral("generator:?rate=25&size=1920x1080"));
    EXPECT_EQ(LumenProfile::parse({}, {}).input(602), QStringLiteral("none:"));
    expectLog(QStringLiteral("lumen"), QStringLiteral("p.ini line 2 ignored"));
    expectLog(QStringLiteral("lumen"), QStringLiteral("reference takes locked, present or missing"));
    expectLog(QStringLiteral("lumen"), QStringLiteral("p.ini line 9 ignored"));
    expectLog(QStringLiteral("lumen"), QStringLiteral("p.ini line 10 ignored"));
    const LumenProfile profile = LumenProfile::parse(QStringLiteral("; a profile\n"
                                                                    "\x01\xff=3\n"
                                                                    "[device]\n"
                                                                    "reference=perhaps\n"
                                                                    "clock = fast:10\n"
                                                                    "reference = present\r\n"
                                                                    "workers=3\n"
                                                                    "[inputs]\n"
                                                                    "sdi1=none:\n"
                                                                    "602\n"
                                                                    "601=srt://h:1?mode=listener#x;y\n"
                                                                    "[outputs]\n"
                                                                    "wall=udp://h:2\n"),
                                                     QStringLiteral("p.ini"));
    EXPECT_EQ(profile.input(601), QStringLiteral("srt://h:1?mode=listener#x;y"));
    EXPECT_EQ(profile.workers, 3);
    EXPECT_EQ(profile.reference, QmxVideoRefState(true, false));
    ASSERT_EQ(profile.outputs.size(), 1);
    EXPECT_EQ(profile.outputs.first().second, QStringLiteral("udp://h:2"));
}

TEST(PlaybackQueue, aFlushATickDoesNotFreezeTheOutput)
{
    // A player that steps at every tick on a machine that takes two ticks and a half to decode.
    PlaybackQueue queue;
    QList<std::pair<int, DecodedPicturePtr>> decoding;
    QList<int> shown;
    for (int tick = 0; tick < 30; ++tick) {
        for (auto &[ready, picture] : decoding)
            if (tick >= ready) picture->state = DecodedPicture::Done;
        if (queue.tick(tick * second / 25).newFrame)
            shown.append(queue.shown().frame.meta().value(QmxId(1)).toInt());
        queue.flush();
        QmxFrame frame;
        frame.meta().insert(QmxId(1), tick);
        frame.meta().insert(QmxId(14), true);
        auto picture = std::make_shared<DecodedPicture>();
        decoding.append({tick + 3, picture});
        queue.write(frame, picture, tick * second / 25);
        EXPECT_EQ(queue.current()->meta().value(QmxId(1)).toInt(), tick);
        EXPECT_LE(queue.frames(), 3);
    }
    EXPECT_GE(shown.size(), 6);
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
}

TEST(PlaybackQueue, aFrameThatIsDecodedTooLateIsDroppedOnce)
{
    PlaybackQueue queue;
    QList<DecodedPicturePtr> pictures;
    for (int i = 0; i < 6; ++i) {
        pictures.append(std::make_shared<DecodedPicture>());
        if (i < 4) pictures.last()->state = DecodedPicture::Done;
        QmxFrame frame;
        frame.meta().insert(QmxId(1), i);
        EXPECT_FALSE(queue.write(frame, pictures.last(), 0));
    }
    for (int i = 0; i < 4; ++i)
        EXPECT_FALSE(queue.tick(0).dropped) << i;
    EXPECT_TRUE(queue.tick(0).dropped);
    EXPECT_FALSE(queue.tick(0).dropped); // the same gap
    pictures.at(4)->state = DecodedPicture::Done;
    EXPECT_FALSE(queue.tick(0).dropped);
    EXPECT_TRUE(queue.tick(0).dropped); // the next one
}

TEST(InputWatch, holdsATimecodeThatGoesForAWhileAndNoneWhileATakeWaits)
{
    InputWatch watch(QmxVideoRefState(true, false));
    watch.begin(inputAt(0));
    watch.step(inputAt(1), tickOf(1), false, false);
    EXPECT_TRUE(watch.timecode().isValid());
    // While a take waits for its first picture after a loss it stands still like one that has gone.
    int held = 0;
    for (qint64 i = 2; watch.timecode().isValid() && i < 100; ++i, ++held)
        watch.step(inputAt(i), tickOf(i), false, true);
    EXPECT_EQ(held, 15);
    EXPECT_TRUE(watch.step(QmxSourceFrame(), tickOf(100), false, false).state) << "lost: told at once";
}

TEST(CaptureChain, countsTakesAndHoldsTheTimecodeAfterALoss)
{
    CaptureChain chain;
    const QmxVideoDeviceSetup setup = DeviceBench::captureSetup();
    chain.begin(setup);
    chain.setBounds(40, qint64(1) << 30);
    const auto capture = [&](qint64 index, bool present) {
        const CardInput seen{present ? inputAt(index) : QmxSourceFrame(), {}};
        EXPECT_FALSE(chain.push(chain.step(seen, tickOf(index), setup, present, {})));
    };
    const auto code = [&] {
        for (const CapturedFramePtr &frame : chain.takeUncoded())
            EXPECT_FALSE(chain.coded(frame, QmxBuffer::allocate(16)));
    };
    capture(1, true);
    EXPECT_TRUE(chain.setRecord(true, 1));
    EXPECT_FALSE(chain.setRecord(true, 1));
    EXPECT_EQ(chain.take(), 1U);
    code();
    EXPECT_TRUE(chain.read().beginsTake);
    EXPECT_FALSE(chain.holdsTimecode());
    capture(2, false);
    EXPECT_TRUE(chain.holdsTimecode()) << "lost";
    capture(3, true);
    EXPECT_TRUE(chain.holdsTimecode()) << "back, and nobody can read it yet";
    code();
    EXPECT_FALSE(chain.holdsTimecode());
    EXPECT_FALSE(chain.read().beginsTake);
}

TEST(PlaybackChain, whatWaitsIsBoundedInBytesButForOneFrame)
{
    constexpr int bytes = 5 << 20;
    PlaybackChain chain;
    chain.setup(DeviceBench::playbackSetup());
    const auto write = [&chain](int size) {
        QmxFrame frame;
        frame.vids().append(QmxImage(DeviceBench::format(), {QmxBuffer::allocate(size)}));
        chain.write(frame, {}, 0);
    };
    EXPECT_EQ(chain.room(40, bytes), 40);
    write(2 * bytes);
    EXPECT_EQ(chain.room(40, bytes), 0);
    chain.clear();
    for (int i = 0; i < 4; ++i)
        write(bytes / 5);
    EXPECT_EQ(chain.room(40, bytes), 36);
    write(bytes / 5);
    EXPECT_EQ(chain.room(40, bytes), 0);
    const DecodedPicturePtr first = chain.undecoded().first();
    first->state = DecodedPicture::Done;
    chain.tick(PlaybackQueue::startTime.count());
    EXPECT_EQ(chain.room(40, bytes), 36) << "one came onto the output";
}

TEST(CaptureQueue, remembersNoMoreThanItMayAndATakeBeginsWithTheNewestOfIt)
{
    CaptureQueue queue;
    queue.setBounds(40, 1 << 20);
    const qint64 bytes = QmxBuffer::allocate(4096).capacity();
    constexpr int may = 10;
    queue.setMemory({1000, may * bytes}); // more seconds than there is memory for
    const auto pass = [&](int from, int to) {
        for (int number = from; number < to; ++number) {
            const auto frame = std::make_shared<CapturedFrame>();
            frame->number = number;
            frame->hasPicture = true;
            queue.push(frame);
            EXPECT_EQ(queue.takeUncoded().size(), 1);
            EXPECT_FALSE(queue.coded(frame, QmxBuffer::allocate(4096)));
            queue.skip();
            EXPECT_LE(queue.memory().bytes(), may * bytes);
        }
    };
    pass(1, 200);
    EXPECT_EQ(queue.memory().size(), may);
    queue.beginRecord(199, {{}, 1000});
    EXPECT_EQ(queue.size(), may);
    for (int number = 200 - may; number < 200; ++number)
        EXPECT_EQ(queue.take()->number, number);
    // Nothing of it again.
    queue.endRecord();
    pass(200, 203);
    queue.beginRecord(202, {{}, 1000});
    EXPECT_EQ(queue.take()->number, 200);
}

TEST(TakeGate, countsForTheTakeAroundItsFirstFrameAndForNoOther)
{
    TakeGate gate;
    quint32 serial = 0;
    const auto window = [&serial](qint64 in, qint64 out = 0) {
        return QmxTakeWindow::Window{serial += 2, in, out};
    };
    // A take that begins before, one that begins after its first frame: the same frames are held.
    for (const qint64 begins : {1002, 1007}) {
        const auto set = window(1005);
        CaptureQueue queue;
        queue.setBounds(40, qint64(1) << 30);
        QList<qint64> held;
        for (qint64 now = 1000; now < 1012; ++now) {
            gate.look(set, now, queue.isRecording());
            queue.setRunningSince(gate.in(), now);
            if (now == begins) queue.beginRecord(now, {gate.in(), 0});
            if (queue.isRecording() && gate.keepsOut(now)) continue;
            auto frame = std::make_shared<CapturedFrame>();
            frame->number = now;
            queue.push(frame);
            // In standby every frame is read at once and dropped.
            while (queue.readable() > 0)
                if (const qint64 number = queue.take()->number; queue.isRecording()) held.append(number);
        }
        EXPECT_EQ(held.value(0), 1005) << begins;
        EXPECT_EQ(held.size(), 7) << begins;
        gate.takeEnds();
    }
    // Of a take that runs only its own end can be set.
    gate.look(window(2000), 1995, true);
    EXPECT_FALSE(gate.in());
    gate.look(window(2000), 1995, false);
    EXPECT_FALSE(gate.look(window(2010), 1999, true));
    EXPECT_EQ(gate.in(), 2000);
    const auto ended = window(2000, 2100);
    EXPECT_FALSE(gate.look(ended, 2050, true));
    EXPECT_FALSE(gate.keepsOut(2099));
    EXPECT_TRUE(gate.keepsOut(2100));
    // Whoever should end it has gone: it goes on. A window that nothing came of is none.
    EXPECT_TRUE(gate.look(ended, 2100 + TakeGate::latestEnd + 1, true));
    EXPECT_FALSE(gate.keepsOut(2100));
    const auto stale = window(3000);
    gate.look(stale, 2990, false);
    gate.look(stale, 3001 + TakeGate::latestStart, false);
    EXPECT_FALSE(gate.in());
    // A take that began without one can be given its end by who knows its first frame, and nothing else.
    gate.takeBegins(4000);
    for (const auto &refused : {window(3999, 4100), window(4000, 4010), window(4000)}) {
        gate.look(refused, 4010, true);
        EXPECT_FALSE(gate.keepsOut(4200)) << refused.in << " " << refused.out;
    }
    const auto end = window(4000, 4025);
    gate.look(end, 4010, true);
    EXPECT_FALSE(gate.keepsOut(4024));
    EXPECT_TRUE(gate.keepsOut(4025));
    EXPECT_FALSE(gate.look(end, 4025 + TakeGate::latestEndByClock, true)) << "whoever ends it is slow";
    EXPECT_TRUE(gate.look(end, 4026 + TakeGate::latestEndByClock, true));
}

TEST(CardAlarms, tellOfALateClockUntilNoSecondHasSeveralLateTicks)
{
    QStringList told;
    CardAlarms alarms([&told](const QmxAlarm &alarm) {
        told.append(alarm.level() == QmxAlarm::Clear ? QStringLiteral("clear") : alarm.message());
    });
    TickSchedule::Step step;
    const auto run = [&](int ticks, int lateEvery) {
        for (int i = 1; i <= ticks; ++i) {
            step.deadline += second / 25;
            step.late = lateEvery > 0 && i % lateEvery == 0;
            alarms.tick(step);
        }
    };
    const QString raised = "The machine is too slow: 5 ticks of the video clock were late";
    run(250, 7);
    EXPECT_EQ(told, QStringList()) << "four a second";
    run(25, 0);
    run(50, 5);
    EXPECT_EQ(told, QStringList({raised}));
    run(250, 13);
    EXPECT_EQ(told, QStringList({raised})) << "two a second keep it";
    run(150, 30);
    EXPECT_EQ(told, QStringList({raised, "clear"})) << "single ones do not";
    run(26, 0);
    step.missedFrames = 12;
    run(1, 1);
    step.missedFrames = 0;
    EXPECT_EQ(told.last(), "The machine is too slow: 12 ticks of the video clock were late");
    run(125, 0);
    EXPECT_EQ(told.last(), "clear");
}

TEST(CardAlarms, sayOnceThatTheRateOfACameraIsMissing)
{
    CardAlarms alarms([](const QmxAlarm &) {});
    EXPECT_TRUE(alarms.variableRate(true));
    EXPECT_FALSE(alarms.variableRate(true));
    EXPECT_TRUE(alarms.variableRate(false));
}
