// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxprogramend.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <QCoreApplication>
#include <QList>
#include <QTimer>

#include <unistd.h>

using namespace std::chrono_literals;

namespace {

/// The slowest tick of the recorder, and some more: after it every command given has had its effect.
constexpr auto quietTime = 600ms;
constexpr auto longestWait = 10s;
constexpr auto hangTime = 20s;
constexpr auto flushTime = 5s;
constexpr int forcedStatus = 1;

QList<std::function<void()>> &steps()
{
    static QList<std::function<void()>> list;
    return list;
}

/// Makes open clips durable; a medium that hangs in this, too, is left to its fate after a while.
void flushClips(const std::shared_ptr<QmxClock> &clock)
{
    const auto finished = std::make_shared<QmxInterrupt>();
    const auto flush = [clock, finished, handover = clock->busy()]() mutable {
        const std::shared_ptr<void> sleeper = clock->addSleeper();
        handover.reset();
        QmxEnvironment::current().deck->operations.runEmergencyFlushes();
        finished->interrupt();
    };
    const auto threads = QmxEnvironment::current().threads;
    if (threads->startDetached(QStringLiteral("qmx-last-flush"), std::move(flush)).isError())
        QmxEnvironment::current()
            .deck->operations.runEmergencyFlushes(); // and if that hangs, somebody has to kill us
    clock->sleepFor(flushTime, finished.get());
}

void watch(const std::shared_ptr<QmxClock> &clock, std::shared_ptr<void> started)
{
    const std::shared_ptr<void> sleeper = clock->addSleeper();
    started.reset();
    for (;;) {
        clock->sleepFor(1s);
        QmxClock::Duration age{};
        const QString what = QmxEnvironment::current().deck->operations.oldest(&age);
        if (what.isEmpty() || age < hangTime) continue;
        qmxLogOutput(QmxLogLevel::Error, "qmxprogramend", __LINE__,
                     "Forced end: %s has been in progress for %d s; open clips are made durable\n",
                     qUtf8Printable(what), int(age / 1s));
        flushClips(clock);
        QmxLog::defaultLog()->flush();
        _exit(forcedStatus);
    }
}

void aboutToQuit()
{
    for (const std::function<void()> &step : std::as_const(steps()))
        step();

    const std::shared_ptr<QmxClock> clock = QmxEnvironment::current().clock;
    const qint64 start = clock->now();
    QTimer timer; // so that a wait for events ends
    timer.start(10);
    const auto complete = [&clock, start] {
        if (clock->since(start) >= longestWait) return true;
        const QmxOperations *operations = &QmxEnvironment::current().deck->operations;
        return operations->inProgress() == 0 &&
               clock->since(qMax(start, operations->lastCompletion())) >= quietTime;
    };
    while (!complete())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    const QmxError error = QmxEnvironment::current().threads->startDetached(
        QStringLiteral("qmx-watchdog"),
        [clock, started = clock->busy()]() mutable { watch(clock, std::move(started)); });
    if (error.isError())
        qmxLogOutput(QmxLogLevel::Error, "qmxprogramend", __LINE__,
                     "Nobody watches the end of the program: %s\n", qPrintable(error.toString()));
}

} // namespace

void QmxProgramEnd::addStep(std::function<void()> step)
{
    steps().append(std::move(step));
}

void QmxProgramEnd::connectToApplication()
{
    if (QCoreApplication *application = QCoreApplication::instance())
        QObject::connect(application, &QCoreApplication::aboutToQuit, application, &aboutToQuit);
}
