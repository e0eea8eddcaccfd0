// SPDX-License-Identifier: GPL-3.0-or-later
// Time: what is due happens in order, at its time, and the time waits for whoever is busy.
#include "platform/qmx/core/qmxeventdispatcher.h"
#include "platform/qmx/core/qmxtaskthread.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <atomic>
#include <fcntl.h>
#include <limits>
#include <thread>
#include <unistd.h>

namespace {

constexpr qint64 ms = QmxClock::nsPerMillisecond;

} // namespace

TEST(SteppedClock, TimersAndThreadsRunInTheOrderOfTheirDeadlines)
{
    QStringList seen;
    QObject receiver;
    const qint64 start = Stepper::now();
    const auto note = [&seen, start](const QString &what) {
        seen.append(QStringLiteral("%1@%2").arg(what).arg((Stepper::now() - start) / ms));
    };
    QTimer slow, fast;
    QObject::connect(&slow, &QTimer::timeout, [&] { note("slow"); });
    QObject::connect(&fast, &QTimer::timeout, [&] { note("fast"); });
    slow.start(50);
    fast.start(20);
    QTimer::singleShot(45, [&] { note("once"); });
    // What a thread posts at its wake is delivered at that very time.
    QmxInterrupt stop;
    std::atomic<bool> registered = false;
    std::thread ticker([&] {
        const std::shared_ptr<void> sleeper = Stepper::clock()->addSleeper();
        registered = true;
        for (qint64 at = start + 30 * ms; Stepper::clock()->sleepUntil(at, &stop); at += 30 * ms)
            QMetaObject::invokeMethod(
                &receiver, [&] { note("tick"); }, Qt::QueuedConnection);
    });
    while (!registered)
        std::this_thread::yield();
    Stepper::run(100 * ms);
    stop.interrupt();
    ticker.join();
    // At 60 and 100 the timers come before threads and in the order in which they were started.
    const QStringList expected{"fast@20", "tick@30", "fast@40", "once@45",  "slow@50", "fast@60",
                               "tick@60", "fast@80", "tick@90", "slow@100", "fast@100"};
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(Stepper::now(), start + 100 * ms);
}

TEST(SteppedClock, WhatIsPostedJustBeforeTheLoopWouldWaitIsNoEndOfTheTime)
{
    QObject home;
    constexpr int rounds = 20000;
    std::atomic<int> returned = 0;
    std::atomic<bool> goesOn = true;
    std::shared_ptr<void> busy = Stepper::clock()->busy();
    std::thread thread([&] {
        for (int round = 0; round < rounds; ++round) {
            while (returned < round && goesOn) {}
            for (volatile int delay = round % 2000; delay > 0;)
                delay = delay - 1; // so that every point of the loop's turn is met
            QMetaObject::invokeMethod(
                &home, [&] { ++returned; }, Qt::QueuedConnection);
        }
        busy.reset();
    });
    const qint64 began = Stepper::now();
    EXPECT_TRUE(Stepper::runUntil([&] { return returned == rounds; })) << returned;
    goesOn = false;
    thread.join();
    EXPECT_EQ(Stepper::now(), began);
}

TEST(SteppedClock, InterruptsEndSleepsAndStayUntilReset)
{
    QmxInterrupt interrupt;
    interrupt.interrupt();
    EXPECT_FALSE(Stepper::clock()->sleepUntil(Stepper::now() + 1000 * ms, &interrupt));
    EXPECT_FALSE(Stepper::clock()->sleepUntil(Stepper::now() + 1000 * ms, &interrupt));
    interrupt.reset();
    const qint64 start = Stepper::now();
    EXPECT_TRUE(Stepper::clock()->sleepUntil(start + 7 * ms, &interrupt)); // the main thread moves the time
    EXPECT_EQ(Stepper::now(), start + 7 * ms);

    std::atomic<int> result{-1};
    std::thread sleeper(
        [&] { result = Stepper::clock()->sleepUntil(Stepper::now() + 3600 * 1000 * ms, &interrupt); });
    interrupt.interrupt();
    sleeper.join();
    EXPECT_EQ(result, 0);
    for (QmxClock *clock : std::initializer_list<QmxClock *>{new QmxRealClock, new QmxFastClock(100)}) {
        const std::unique_ptr<QmxClock> owner(clock);
        EXPECT_FALSE(clock->sleepUntil(std::numeric_limits<qint64>::max(), &interrupt));
        const qint64 until = clock->now() + 20 * ms;
        EXPECT_TRUE(clock->sleepUntil(until));
        EXPECT_GE(clock->now(), until);
    }
}

TEST(SteppedClock, LoopsOfTheCodeUnderTestGetOn)
{
    // A nested wait inside a slot goes beyond the step that the test asked for.
    bool nested = false;
    QTimer::singleShot(1, [&] {
        QEventLoop loop;
        QTimer::singleShot(5000, &loop, &QEventLoop::quit);
        loop.exec();
        nested = true;
    });
    const qint64 start = Stepper::now();
    Stepper::run(10 * ms);
    EXPECT_TRUE(nested);
    EXPECT_EQ(Stepper::now(), start + 5001 * ms);

    // So does a loop that only processes what is pending, as one that shuts down does.
    bool done = false;
    QTimer::singleShot(600, [&] { done = true; });
    while (!done)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1000);
    EXPECT_EQ(Stepper::now(), start + 5601 * ms);
}

TEST(SteppedClock, TimersMayBeStoppedRestartedAndDeletedWhileTheyFire)
{
    auto *victim = new QTimer;
    int victimFired = 0, selfFired = 0;
    QObject::connect(victim, &QTimer::timeout, [&] { ++victimFired; });
    QTimer killer, self;
    QObject::connect(&killer, &QTimer::timeout, [&] {
        delete std::exchange(victim, nullptr);
        killer.stop();
    });
    QObject::connect(&self, &QTimer::timeout, [&] {
        if (++selfFired < 3)
            self.start(10);
        else
            self.stop();
    });
    killer.start(10);
    victim->start(10);
    self.start(10);
    Stepper::run(200 * ms);
    EXPECT_EQ(victimFired, 0);
    EXPECT_EQ(selfFired, 3);
}

TEST(EventLoop, SocketsWakeItInEveryKindOfTime)
{
    int fds[2];
    ASSERT_EQ(pipe2(fds, O_NONBLOCK | O_CLOEXEC), 0);
    QByteArray got;
    bool ended = false;
    QSocketNotifier notifier(fds[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [&] {
        char bytes[16];
        const ssize_t n = read(fds[0], bytes, sizeof(bytes));
        if (n > 0) got.append(bytes, n);
        if (n == 0) {
            ended = true;
            notifier.setEnabled(false);
        }
    });
    const qint64 start = Stepper::now();
    std::thread writer([&] { EXPECT_EQ(write(fds[1], "abc", 3), 3); });
    EXPECT_TRUE(Stepper::waitFor([&] { return got == "abc"; }));
    writer.join();
    EXPECT_EQ(Stepper::now(), start);
    close(fds[1]); // the other end goes: told as readable
    Stepper::run(1 * ms);
    EXPECT_TRUE(ended);
    close(fds[0]);
}

TEST(EventLoop, OnAFastClockTimersKeepTheirProportion)
{
    constexpr double factor = 50;
    std::thread loop([&] { // the dispatcher of this thread, not the test's
        auto clock = std::make_shared<QmxFastClock>(factor);
        QmxEventDispatcher dispatcher(clock);
        const qint64 start = clock->now();
        const QmxRealClock real;
        const qint64 realStart = real.now();
        struct Receiver : QObject
        {
            int fired = 0;
            void timerEvent(QTimerEvent *) override { ++fired; }
        } receiver;
        dispatcher.registerTimer(1, 500, Qt::CoarseTimer, &receiver);
        while (receiver.fired < 4)
            dispatcher.processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        EXPECT_GE(clock->now() - start, 2000 * ms);
        EXPECT_LT(real.now() - realStart, 1500 * ms); // 40 ms on an idle machine
        EXPECT_TRUE(dispatcher.unregisterTimer(1));
    });
    loop.join();
}

TEST(TaskThread, KeepsOrderRefusesWhenFullAndRunsTheRestAtTheEnd)
{
    QList<int> order; // written by the worker only, read after it has ended
    std::atomic<bool> go{false};
    {
        QmxTaskThread worker(QStringLiteral("worker"), 4);
        ASSERT_TRUE(worker.post([&] {
            while (!go)
                std::this_thread::yield();
        }));
        while (worker.pending() != 1)
            std::this_thread::yield();
        int accepted = 0;
        for (int i = 0; i < 10; ++i)
            if (worker.post([&order, i] { order.append(i); })) ++accepted;
        EXPECT_GE(accepted, 3);
        EXPECT_LE(accepted, 4); // the running one may still stand in the queue
        EXPECT_FALSE(worker.post([] {}));
        go = true;
        worker.stop();
        EXPECT_EQ(order.size(), accepted);
        EXPECT_FALSE(worker.post([] {}));
    }
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}
