// SPDX-License-Identifier: GPL-3.0-or-later
// Counters, alarms, lock file, options, record table, operations, profile.
#include "platform/qmx/core/qmx.h"
#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxgetopts.h"
#include "platform/qmx/core/qmxlatency.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxlog.h"
#include "platform/qmx/core/qmxprofileclock.h"
#include "platform/qmx/core/qmxsharedmemory.h"
#include "tests/support/print.h"
#include "tests/support/sendsignal.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <random>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

TEST(Counters, AreReadByNameFromOutside)
{
    const QString name = QStringLiteral("/xp_test_counters_%1").arg(getpid());
    QmxCounters *const counters = &QmxEnvironment::current().deck->counters;
    counters->set(QmxCounters::Ticks, 5);
    QmxCountersReader reader;
    EXPECT_FALSE(reader.open(name));
    ASSERT_TRUE(counters->publish(name));
    counters->add(QmxCounters::Ticks, 2);
    counters->set(QmxCounters::RecordedUpTo, -1);
    counters->raise(QmxCounters::WriteLatencyMax, 1'000'000'000);
    counters->raise(QmxCounters::WriteLatencyMax, 10);
    ASSERT_TRUE(reader.open(name));
    EXPECT_EQ(reader.value("ticks"), 7) << "what was counted before is kept";
    EXPECT_EQ(reader.value("recorded_up_to"), -1);
    EXPECT_EQ(reader.value("write_latency_max"), 1'000'000'000);
    EXPECT_EQ(reader.value("tick"), 0);
    EXPECT_EQ(reader.pid(), getpid());
    const auto rows = reader.counters();
    EXPECT_EQ(rows.size(), QmxCounters::RowCount);
    EXPECT_TRUE(std::all_of(rows.begin(), rows.end(),
                            [](const auto &row) { return !row.name.isEmpty() && !row.unit.isEmpty(); }));

    // A second recorder does not take the name of a living one, but that of a dead one.
    const auto publishInChild = [&name] {
        const pid_t child = fork();
        if (child == 0) {
            // Locks of an open file description pass to a child: let go, as after an exec.
            for (int fd = 3; fd < 256; ++fd)
                close(fd);
            _exit(QmxEnvironment::current().deck->counters.publish(name + "_other") &&
                  !QmxEnvironment::current().deck->counters.publish(name));
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    };
    EXPECT_EQ(publishInChild(), 1);
    EXPECT_EQ(publishInChild(), 1) << "the first child is dead";
    shm_unlink(qPrintable(name + "_other"));

    // Something else under the name, or a table cut short.
    for (const int size : {0, 8, 40, 200}) {
        shm_unlink(qPrintable(name));
        const int fd = shm_open(qPrintable(name), O_CREAT | O_RDWR, 0600);
        ASSERT_EQ(ftruncate(fd, size), 0);
        const quint32 header[] = {0x43505831, 24, 64, 1000, 1, 0};
        const size_t part = qMin(sizeof(header), size_t(size));
        ASSERT_EQ(pwrite(fd, header, part, 0), ssize_t(part));
        close(fd);
        EXPECT_FALSE(reader.open(name)) << size;
        EXPECT_EQ(reader.value("ticks"), 0);
    }
    shm_unlink(qPrintable(name));
}

TEST(SharedMemory, IsThereWhenItIsMadeOrIsRefused)
{
    constexpr qsizetype bytes = 1 << 20;
    const QString name = QStringLiteral("/xp_test_%1").arg(getpid());
    const auto make = [&](qsizetype size, QmxSharedMemory::Existing existing) {
        return QmxSharedMemory::make(name, size, 0640, existing);
    };
    using Existing = QmxSharedMemory::Existing;
    const auto first = make(bytes, Existing::Keep);
    ASSERT_TRUE(first);
    first->data()[7] = 42;
    EXPECT_EQ(make(bytes, Existing::Keep)->data()[7], 42);
    EXPECT_EQ(make(2 * bytes, Existing::Keep)->data()[7], 0) << "never resized under others";
    EXPECT_EQ(first->data()[7], 42);
    EXPECT_EQ(make(2 * bytes, Existing::Replace)->size(), 2 * bytes);
    EXPECT_FALSE(QmxSharedMemory::open(name, QmxSharedMemory::Access::Read, 3 * bytes));
    shm_unlink(qPrintable(name));
    ASSERT_EQ(symlink("/dev/zero", qPrintable(QStringLiteral("/dev/shm") + name)), 0);
    EXPECT_FALSE(QmxSharedMemory::open(name, QmxSharedMemory::Access::Read, 1));
    EXPECT_TRUE(make(bytes, Existing::Keep)) << "in place of a link";
    shm_unlink(qPrintable(name));
    if (geteuid() != 0) GTEST_SKIP() << "other accounts and a small /dev/shm need root";
    // What others can cut short is nothing to go on with, or to look into.
    const QByteArray file = QmxSharedMemory::fileOf(name).toLocal8Bit();
    const std::vector<std::function<int()>> harms = {
        [&] { return chmod(file.constData(), 0666); },
        [&] { return chown(file.constData(), 65534, 65534); },
        [&] { return link(file.constData(), (file + "_2").constData()); },
    };
    for (const auto &harm : harms) {
        make(bytes, Existing::Replace)->data()[7] = 42;
        ASSERT_EQ(harm(), 0);
        const auto seen = QmxSharedMemory::open(name, QmxSharedMemory::Access::Read, bytes);
        EXPECT_EQ(bool(seen), &harm == &harms[0]);
        EXPECT_EQ(make(bytes, Existing::Keep)->data()[7], 0);
        unlink((file + "_2").constData());
    }
    shm_unlink(qPrintable(name));
    const pid_t child = fork();
    if (child == 0) {
        const bool small = unshare(CLONE_NEWNS) == 0 &&
                           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                           mount("tmpfs", "/dev/shm", "tmpfs", 0, "size=256k") == 0;
        if (small) _exit(make(bytes, Existing::Keep) || errno != ENOSPC ? 1 : 0);
        _exit(2);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WIFEXITED(status) ? WEXITSTATUS(status) : -1, 0);
}

TEST(Counters, TheLongestTurnOfTheLoopIsMeasured)
{
    Stepper::runMs(5000); // waiting is no turn
    const auto longest = [] {
        return QmxEnvironment::current().deck->counters.value(QmxCounters::EventLoopLongest);
    };
    EXPECT_EQ(longest(), 0);
    QTimer::singleShot(
        1, [] { Stepper::clock()->sleepUntil(Stepper::now() + 40 * QmxClock::nsPerMillisecond); });
    Stepper::runMs(100);
    EXPECT_EQ(longest(), 40'000);
}

TEST(Latency, PercentilesAreWithinAnEighth)
{
    QmxLatency latency;
    EXPECT_EQ(latency.percentile(0.5).count(), 0);
    std::mt19937_64 random(1);
    std::lognormal_distribution<double> distribution(13, 2);
    QList<qint64> all;
    for (int i = 0; i < 20'000; ++i) {
        all.append(qint64(distribution(random)));
        latency.add(std::chrono::nanoseconds(all.last()));
    }
    std::sort(all.begin(), all.end());
    for (const double fraction : {0.01, 0.5, 0.99, 0.999}) {
        const double exact = double(all[qsizetype(double(all.size()) * fraction)]);
        EXPECT_NEAR(double(latency.percentile(fraction).count()), exact, exact / 7) << fraction;
    }
    EXPECT_EQ(latency.percentile(1).count(), all.last());
    EXPECT_EQ(latency.maximum().count(), all.last());
    latency.add(std::chrono::nanoseconds::max());
    latency.add(std::chrono::nanoseconds(-1));
    EXPECT_EQ(latency.percentile(1).count(), std::numeric_limits<qint64>::max());
}

TEST(Alarms, ChangesAreToldOnceLaterAndFromAnyThread)
{
    QmxAlarmController::post(QmxAlarm(QmxId(1908), QmxAlarm::Warning, "before anybody listened", "t", 1));
    QmxAlarmController controller;
    QStringList told;
    QObject::connect(&controller, &QmxAlarmController::alarmTriggered, [&](const QmxAlarm &alarm) {
        told.append(
            QStringLiteral("%1/%2/%3").arg(alarm.id().value()).arg(alarm.level()).arg(alarm.message()));
    });
    Stepper::deliver();
    EXPECT_EQ(told, QStringList{"1908/1/before anybody listened"});
    told.clear();
    controller.setAlarm(QmxAlarm(QmxId(1910), QmxAlarm::Clear, "", "t", 1));
    controller.setAlarm(QmxAlarm(QmxId(1910), QmxAlarm::Error, "", "t", 2));
    EXPECT_TRUE(told.isEmpty()) << "never from inside the call";
    controller.setAlarm(QmxAlarm(QmxId(1910), QmxAlarm::Error, "", "other", 3));
    controller.setAlarm(QmxAlarm(QmxId(1910), QmxAlarm::Error, "text", "t", 2));
    Stepper::deliver();
    std::thread([] { QmxAlarmController::post(QmxAlarm(QmxId(1910), QmxAlarm::Clear, "", "t", 4)); }).join();
    Stepper::deliver();
    EXPECT_EQ(told, (QStringList{"1910/2/", "1910/2/text", "1910/0/"}));
}

TEST(LockFile, OneHolderAndADeadOneIsTakenOver)
{
    TestDir dir;
    const QString path = dir.file("lock");
    int ready[2], done[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(done), 0);
    const pid_t child = fork();
    if (child == 0) {
        QmxLockFile lock(path);
        const char ok = lock.lock() && lock.lock() ? 'y' : 'n';
        char byte = 0;
        if (write(ready[1], &ok, 1) != 1 || read(done[0], &byte, 1) != 1) _exit(2);
        _exit(0); // without releasing
    }
    char ok = 0;
    ASSERT_EQ(read(ready[0], &ok, 1), 1);
    EXPECT_EQ(ok, 'y');
    {
        QmxLockFile lock(path);
        EXPECT_FALSE(lock.lock());
        EXPECT_EQ(lock.whoHasLock(), int(child));
        sendSignal(child, SIGKILL);
        waitpid(child, nullptr, 0);
        EXPECT_EQ(lock.whoHasLock(), 0) << "its pid is still inside, but it is dead";
        EXPECT_TRUE(lock.lock());
        EXPECT_EQ(lock.whoHasLock(), int(getpid()));
        EXPECT_EQ(QmxLockFile(path).whoHasLock(), int(getpid()));
        EXPECT_FALSE(QmxLockFile(path).lock()) << "nor a second time in one process";
        EXPECT_EQ(QmxLockFile(path).whoHasLock(), int(getpid()));
        writeAll(path, ""); // as where there was no room for the pid
        EXPECT_EQ(QmxLockFile(path).holder(), QmxLockFile::unknownHolder);
        EXPECT_EQ(QmxLockFile(path).whoHasLock(), 0);
        EXPECT_FALSE(QmxLockFile(path).lock());
    }
    EXPECT_EQ(QmxLockFile(path).whoHasLock(), 0);
    EXPECT_FALSE(QmxLockFile(dir.file("no/such")).lock());
    for (const int fd : {ready[0], ready[1], done[0], done[1]})
        close(fd);
}

TEST(GetOpts, WalksLettersAndKeepsTheFirstError)
{
    const auto walk = [](const QStringList &words) {
        QmxGetOpts options(QStringList{"xpd"} + words);
        QStringList result;
        while (options.getopt("phbsdDlc:"))
            result.append(QChar(options.opt()) + (options.arg().isNull() ? QString() : '=' + options.arg()));
        return result.join(' ') + (options.hasError() ? "!" : "");
    };
    EXPECT_EQ(walk({}), "");
    EXPECT_EQ(walk({"-d", "-lD", "-c", "/media/A/clip.mov", "-s"}), "d l D c=/media/A/clip.mov s");
    EXPECT_EQ(walk({"-lc/a", "-p"}), "l c=/a p");
    EXPECT_EQ(walk({"-c", ""}), "c=");
    EXPECT_EQ(walk({"-x", "-l"}), "? l!");
    EXPECT_EQ(walk({"-:"}), "?!");
    EXPECT_EQ(walk({"-c"}), "?!");
    EXPECT_EQ(walk({"-l", "--", "-d"}), "l");
    EXPECT_EQ(walk({"word", "-d"}), "");
    EXPECT_EQ(walk({"-", "-d"}), "");
    QmxGetOpts options({"xpd", "-x", "-c"});
    while (options.getopt("c:")) {}
    EXPECT_EQ(options.errorString(), "unknown option -x");
}

TEST(RecordTable, RemembersWhatWasWrittenNotWhatWasCaptured)
{
    QmxRecordTable *const table = &QmxEnvironment::current().deck->recordTable;
    const auto tc = [](int frame) { return QmxTimecode(frame, 25, false); };
    EXPECT_FALSE(table->memory().last.isValid());
    table->frameHandedOut(tc(100));
    table->streamOpening("/m/a.mov");
    EXPECT_EQ(table->entry("/m/a.mov")->frames, 1) << "the pending first one counts";
    EXPECT_EQ(table->memory().last, tc(100));
    EXPECT_FALSE(table->memory().lastNotFirst.isValid());
    table->frameHandedOut(tc(101)); // captured, never written
    table->frameWritten("/m/a.mov", tc(100), true);
    EXPECT_EQ(table->entry("/m/a.mov")->frames, 1) << "it was counted already";
    table->frameWritten("/m/a.mov", tc(101), false);
    table->frameWritten("/m/a.mov", tc(102), false);
    EXPECT_EQ(table->entry("/m/a.mov")->frames, 3);
    EXPECT_EQ(table->memory().written, 3u);
    table->streamClosed("/m/a.mov");
    EXPECT_FALSE(table->entry("/m/a.mov"));
    EXPECT_EQ(table->memory().last, tc(102)) << "outlives the stream";

    table->frameHandedOut(tc(103));
    table->streamOpening("/m/b.mov");
    table->streamOpenFailed("/m/b.mov");
    EXPECT_EQ(table->memory().last, tc(102)) << "the pending frame of a failed open was not written";
    EXPECT_EQ(table->memory().written, 3u);
    EXPECT_TRUE(table->entries().isEmpty());
    // A rollover: the second clip opens while the first still takes frames.
    table->streamOpening("/m/c.mov");
    table->frameWritten("/m/c.mov", tc(103), true);
    table->streamOpening("/m/d.mov");
    table->frameWritten("/m/c.mov", tc(104), false);
    table->streamOpenFailed("/m/d.mov");
    EXPECT_EQ(table->memory().last, tc(104));
}

TEST(Profile, TheClockIsReadFromTheDeviceSection)
{
    TestDir dir;
    const auto speed = [&dir](const char *text) {
        writeAll(dir.file("p.ini"), text);
        return qmxProfileSpeed(dir.file("p.ini"));
    };
    EXPECT_EQ(speed("[device]\n clock = fast:10 \r\n"), 10.0);
    EXPECT_EQ(speed("[device]\nclock=real\n"), 0.0);
    EXPECT_EQ(speed("[inputs]\nclock=fast:10\n"), 0.0);
    for (const char *bad :
         {"", "clock=fast:10", "[device]\nclock=fast:\n", "[device]\nclock=fast:-3\n", "[device]\nclock\n"})
        EXPECT_EQ(speed(bad), 0.0) << bad;
    EXPECT_EQ(qmxProfileSpeed(dir.file("none.ini")), 0.0);
}

namespace {

/// The program of a child process: quits after 100 ms while an operation is in progress that takes
/// `duration`.
[[noreturn]] void quitDuringOperation(qint64 duration)
{
    qmxLogOpenDisplay();
    const qint64 start = Stepper::now();
    QmxOperations::Token operation = QmxEnvironment::current().deck->operations.begin("closing /m/a.mov");
    const QmxOperations::Token flush = QmxEnvironment::current().deck->operations.addEmergencyFlush(
        [] { qmxLogOutput(3, "test", 1, "made durable\n"); });
    Qmx::addQuitStep([] { qmxLogOutput(3, "test", 2, "quit step\n"); });
    QTimer::singleShot(int(duration / QmxClock::nsPerMillisecond), [&operation] { operation.reset(); });
    QTimer::singleShot(100, qApp, &QCoreApplication::quit);
    QObject::connect(qApp, &QCoreApplication::aboutToQuit, [start] {
        qmxLogOutput(3, "test", 3, "others at %d ms\n", int((Stepper::now() - start) / 1'000'000));
    });
    qApp->exec();
    QmxLog::defaultLog()->flush();
    while (QmxEnvironment::current().deck->operations.inProgress() > 0)
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    QmxLog::defaultLog()->flush();
    _exit(0);
}

} // namespace

TEST(ProgramEnd, WaitsForWhatWasBegunAndEndsWhatHangs)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a fresh process: no thread of another test is in it
    constexpr qint64 second = QmxClock::nsPerSecond;
    EXPECT_EXIT(quitDuringOperation(0), testing::ExitedWithCode(0), "quit step\n.*others at 70[0-9] ms");
    EXPECT_EXIT(quitDuringOperation(3 * second), testing::ExitedWithCode(0),
                "quit step\n.*others at 36[01][0-9] ms");
    EXPECT_EXIT(quitDuringOperation(15 * second), testing::ExitedWithCode(0), "others at 101[01][0-9] ms");
    EXPECT_EXIT(quitDuringOperation(3600 * second), testing::ExitedWithCode(1),
                "Forced end: closing /m/a.mov has been in progress for 2[0-9] s.*\n.*made durable");
}
