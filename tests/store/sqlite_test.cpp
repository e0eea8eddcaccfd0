// SPDX-License-Identifier: GPL-3.0-or-later
// What happens to a store in one file when the file, its folder or its disk go wrong.
#include "platform/store/eparammedia.h"
#include "platform/store/sqlitedatabase.h"
#include "platform/store/storefiles.h"
#include "platform/store/storelock.h"
#include "platform/store/storesource.h"
#include "tests/store/storetesting.h"
#include "tests/support/logcollector.h"
#include "tests/support/sendsignal.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <csignal>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Runs SQL from outside, as a person with a tool would.
void sql(const QString &path, const char *statements)
{
    sqlite3 *handle = nullptr;
    ASSERT_EQ(sqlite3_open(path.toLocal8Bit().constData(), &handle), SQLITE_OK);
    char *error = nullptr;
    EXPECT_EQ(sqlite3_exec(handle, statements, nullptr, nullptr, &error), SQLITE_OK) << error;
    sqlite3_close(handle);
}

class SqliteStore : public testing::Test
{
protected:
    QString path() const { return dir.file("store.db"); }
    QStringList files(const QString &pattern) const
    {
        return QDir(dir.path()).entryList({pattern}, QDir::Files);
    }

    TestDir dir;
    const std::string uri = "sqlite:" + path().toStdString();
};

TEST_F(SqliteStore, takenAwayUnderARunningProcessComesBackFromItsMemoryAndNoCommandIsLost)
{
    expectLog("sqliterepair", "has been restored: it was removed");
    allowLog("sqliterepair", "has been restored");
    allowLog("storestate");
    const auto remove = [this] { QFile::remove(path()); };
    const auto removeAll = [this] {
        for (const QString &name : files("store.db*"))
            QFile::remove(dir.file(name));
    };
    // In place, as cp and shell redirections do: every open file goes on being the store's.
    const auto overwrite = [this](const QByteArray &bytes) {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(file.write(bytes), bytes.size());
    };
    const std::vector<std::function<void()>> harms = {remove, removeAll, [&] { overwrite({}); },
                                                      [&] { overwrite(QByteArray(200'000, 'x')); }};
    const auto daemon = openStore(uri, "", true);
    RecordingListener listener;
    daemon->addListener(&listener);
    Stepper::deliver();
    unsigned round = 0;
    for (const auto &harm : harms)
        for (const bool anotherMakesIt : {true, false}) {
            const std::string reel = std::to_string(++round);
            Stepper::runMs(10); // what is restored is told apart by its time
            ASSERT_TRUE(daemon->setString(eParam_ReelNumber, reel));
            ASSERT_TRUE(Stepper::waitFor([&] { return daemon->pendingWrites() == 0; }));
            harm();
            // Either somebody who knows nothing finds it first, or the one who knows everything.
            if (!anotherMakesIt) {
                ASSERT_TRUE(daemon->setUInt(eParam_CameraDataMode, round));
                ASSERT_TRUE(Stepper::waitFor([&] { return daemon->pendingWrites() == 0; }));
            }
            const auto fresh = openStore(uri, "fresh");
            ASSERT_TRUE(fresh->setUInt(eParam_GoToClipIndex, round)) << fresh->lastError();
            EXPECT_TRUE(listener.waitForLast(eParam_GoToClipIndex, reel)) << "harm " << round;
            EXPECT_TRUE(Stepper::waitFor([&] { return textOf(*fresh, eParam_ReelNumber) == reel; })) << round;
            EXPECT_TRUE(anotherMakesIt || isToldRestored(*fresh));
        }
    EXPECT_EQ(listener.values(eParam_GoToClipIndex).size(), round);
}

TEST_F(SqliteStore, brokenFileIsSetAsideAndRestoredFromTheNewestGoodBackup)
{
    expectLog("sqliterepair", "has been restored");
    expectLog("sqliterepair", "is damaged too");
    const QByteArray garbage(20000, 'x');
    {
        const auto config = openStore(uri, "", true);
        ASSERT_TRUE(config->setString(eParam_ReelNumber, "042"));
        ASSERT_TRUE(Stepper::waitFor([&] { return !files("store.db.backup-*").isEmpty(); }, 15000));
    }
    // A younger backup that is no good must not win.
    writeAll(dir.file("store.db.backup-999"), garbage);
    for (const char *name : {"store.db-wal", "store.db-shm"})
        QFile::remove(dir.file(name));
    writeAll(path(), garbage);
    {
        const auto config = openStore(uri, "again", false);
        EXPECT_EQ(textOf(*config, eParam_ReelNumber), "042");
        EXPECT_TRUE(isToldRestored(*config));
        EXPECT_TRUE(config->setUInt(eParam_LoopPlayback, 1)) << config->lastError();
    }
    const QStringList aside = files("store.db.broken-*");
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(readAll(dir.file(aside.front())), garbage);
}

/// The library's own file system, whose reads fail on demand as those of a disk that does.
struct FailingReads
{
    FailingReads()
    {
        real = sqlite3_vfs_find(nullptr);
        own = *real;
        own.zName = "failing-reads";
        own.xOpen = [](sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *out) {
            const int code = real->xOpen(real, name, file, flags, out);
            // (The library gives other kinds of files other methods.)
            if (code != SQLITE_OK || (flags & SQLITE_OPEN_MAIN_DB) == 0) return code;
            methods = *file->pMethods;
            readReally = methods.xRead;
            methods.xRead = [](sqlite3_file *opened, void *bytes, int size, sqlite3_int64 from) {
                return fails ? SQLITE_IOERR_READ : readReally(opened, bytes, size, from);
            };
            file->pMethods = &methods;
            return code;
        };
        sqlite3_vfs_register(&own, 1);
    }
    ~FailingReads() { sqlite3_vfs_register(real, 1), sqlite3_vfs_unregister(&own); }
    static inline bool fails = false;

private:
    static inline sqlite3_vfs *real = nullptr;
    static inline sqlite3_vfs own = {};
    static inline sqlite3_io_methods methods = {};
    static inline int (*readReally)(sqlite3_file *, void *, int, sqlite3_int64) = nullptr;
};

TEST_F(SqliteStore, aStopReachesTheRecorderWhileSomebodyKeepsTheStoreLocked)
{
    allowLog("storestate");
    expectLog("sqlitebackend", "the stop goes to the recorder past it");
    const auto daemon = openStore(uri, "", true);
    RecordingListener listener;
    daemon->addListener(&listener);
    Stepper::deliver();
    const auto person = openStore(uri);
    StoreLock lock(StoreFiles(path().toStdString()).lock());
    ASSERT_TRUE(lock.acquire(std::chrono::seconds(1), nullptr));
    constexpr unsigned stop = 4;
    EXPECT_TRUE(person->setUInt(eParam_TransportCommand, stop)) << person->lastError();
    EXPECT_TRUE(listener.waitForLast(eParam_TransportCommand, "4"));
    EXPECT_FALSE(person->setUInt(eParam_LoopPlayback, 1)) << "all else waits and is refused";
    lock.release();
    EXPECT_EQ(listener.values(eParam_TransportCommand).size(), 1U);
}

TEST_F(SqliteStore, aDiskThatFailsForAMomentCostsNothing)
{
    allowLog("storestate");
    ASSERT_TRUE(openStore(uri)->setString(eParam_ReelNumber, "042"));
    FailingReads disk;
    FailingReads::fails = true;
    unsigned value = 0;
    EXPECT_FALSE(openStore(uri)->setUInt(eParam_LoopPlayback, 1) ||
                 openStore(uri)->getUInt(eParam_LoopPlayback, value));
    FailingReads::fails = false;
    EXPECT_EQ(textOf(*openStore(uri), eParam_ReelNumber), "042");
    EXPECT_TRUE(files("store.db.broken-*").isEmpty());
}

TEST_F(SqliteStore, linksInItsFolderReachNobodyElsesFile)
{
    expectLog("sqliterepair", "has been restored");
    allowLog("sqliterepair");
    allowLog("storestate");
    const QString victim = dir.file("victim");
    writeAll(victim, "secret");
    ::chmod(victim.toLocal8Bit().constData(), 0600);
    for (const char *suffix : {".lock", ".care", ".new", ".backup-new", ".ballast", ""})
        for (const auto &put : {::symlink, ::link}) {
            const QString name = path() + suffix;
            writeAll(path(), "damaged");
            QFile::remove(name);
            ASSERT_EQ(put(victim.toLocal8Bit().constData(), name.toLocal8Bit().constData()), 0);
            const auto config = openStore(uri);
            textOf(*config, eParam_ReelNumber);
            config->setUInt(eParam_LoopPlayback, 1);
            StoreLock(name.toStdString()).acquire({}, nullptr);
            StoreFiles::shareWithGroup(name.toStdString());
            if (const int fd = StoreFiles::createNew(path().toStdString() + suffix); fd >= 0) ::close(fd);
            struct stat info = {};
            ::stat(victim.toLocal8Bit().constData(), &info);
            EXPECT_EQ(info.st_mode & 07777, 0600U) << suffix;
            EXPECT_EQ(readAll(victim), "secret") << suffix;
            QFile::remove(name);
        }
}

TEST_F(SqliteStore, whatIsNoFileBesideItIsNeitherWaitedForNorInTheWay)
{
    allowLog("storefiles");
    allowLog("storestate");
    using Put = int (*)(const char *, mode_t);
    ASSERT_TRUE(openStore(uri)->setString(eParam_ReelNumber, "041"));
    unsigned count = 0;
    for (const char *suffix : {"-journal", "-wal", "-shm"})
        for (const Put put : {Put(::mkfifo), Put(::mkdir)}) {
            const QString name = path() + suffix;
            sql(path(), "PRAGMA wal_checkpoint(TRUNCATE)");
            QFile::remove(name);
            ASSERT_EQ(put(name.toLocal8Bit().constData(), 0777), 0) << suffix;
            SqliteDatabase past; // whoever has not looked before it opens
            if (past.open(path().toStdString(), SqliteDatabase::ReadWrite)) past.exec("SELECT * FROM param");
            past.close();
            const auto config = openStore(uri);
            EXPECT_TRUE(config->setUInt(eParam_LoopPlayback, ++count % 2)) << suffix;
            EXPECT_EQ(textOf(*config, eParam_ReelNumber), "041") << suffix;
            EXPECT_EQ(StoreFiles(path().toStdString()).obstacle(), "");
        }
    StoreFiles(dir.file("made/store.db").toStdString()).makeFolders();
    struct stat made = {};
    ASSERT_EQ(::stat(dir.file("made").toLocal8Bit().constData(), &made), 0);
    EXPECT_EQ(made.st_mode & 01777, 01770U) << "nobody else's file is removed there";
}

TEST_F(SqliteStore, flippedBitIsFoundAndCostsOnlyItsRow)
{
    expectLog("sqliterepair", "checksum");
    ASSERT_TRUE(openStore(uri)->setString(eParam_ReelNumber, "041")); // the first write is backed up at once
    ASSERT_EQ(files("store.db.backup-*").size(), 1);
    {
        const auto config = openStore(uri);
        ASSERT_TRUE(config->setString(eParam_ReelNumber, "042"));
        ASSERT_TRUE(config->setString(eParam_RolloverReelName, "roll"));
    }
    sql(path(), "UPDATE param SET value = '043' WHERE value = '042'");
    const auto config = openStore(uri);
    EXPECT_EQ(textOf(*config, eParam_ReelNumber), "041"); // an old value, not a wrong one
    EXPECT_EQ(textOf(*config, eParam_RolloverReelName), "roll");
    EXPECT_TRUE(isToldRestored(*config));
}

TEST_F(SqliteStore, logAndBackupsAreBounded)
{
    expectLog("storereader", "has dropped changes"); // by the rows that are put in by hand
    const auto config = openStore(uri, "", true);
    ASSERT_TRUE(config->setUInt(eParam_CameraDataMode, 1));
    ASSERT_TRUE(Stepper::waitFor([&] { return config->pendingWrites() == 0; }));
    sql(path(),
        "WITH RECURSIVE n(v) AS (SELECT 2 UNION ALL SELECT v + 1 FROM n WHERE v < 150000) "
        "INSERT INTO log(version, id, kind, value, source, time, crc) SELECT v, 1, 1, 1, '', 0, 0 FROM n");
    for (unsigned i = 1; i <= 500; ++i)
        ASSERT_TRUE(config->setUInt(eParam_GoToClipIndex, i));
    ASSERT_TRUE(Stepper::waitFor([&] { return config->pendingWrites() == 0; }));
    sqlite3 *handle = nullptr;
    ASSERT_EQ(sqlite3_open(path().toLocal8Bit().constData(), &handle), SQLITE_OK);
    sqlite3_stmt *count = nullptr;
    sqlite3_prepare_v2(handle, "SELECT count(*) FROM log", -1, &count, nullptr);
    ASSERT_EQ(sqlite3_step(count), SQLITE_ROW);
    EXPECT_LE(sqlite3_column_int64(count, 0), 100'000 + 512);
    sqlite3_finalize(count);
    sqlite3_close(handle);

    for (int backup = 0; backup < 5; ++backup)
        writeAll(dir.file("store.db.backup-" + QString::number(backup)), "x");
    EXPECT_TRUE(Stepper::waitFor([&] { return files("store.db.backup-*").size() == 3; }, 15000));
}

TEST_F(SqliteStore, queuedWritesNeverWaitForALockedStoreNorDoesTheEnd)
{
    expectLog("storewriter", "1 changes of settings or status are lost");
    allowLog("storestate");
    auto config = openStore(uri, "", true);
    ASSERT_TRUE(config->setUInt(eParam_LoopPlayback, 1));
    ASSERT_TRUE(Stepper::waitFor([&] { return config->pendingWrites() == 0; }));
    const int lock = ::open((uri.substr(7) + ".lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    ASSERT_TRUE(config->setUInt(eParam_LoopPlayback, 0));
    EXPECT_EQ(numberOf(*config, eParam_LoopPlayback), 0U);
    EXPECT_EQ(config->pendingWrites(), 1);
    // A full queue refuses and says so.
    unsigned accepted = 0;
    while (accepted < 10000 && config->setUInt(eParam_GoToClipIndex, accepted))
        ++accepted;
    EXPECT_EQ(accepted, 4095U);
    EXPECT_NE(config->lastError().find("wait already"), std::string::npos);
    ASSERT_EQ(::flock(lock, LOCK_UN), 0);
    EXPECT_TRUE(Stepper::waitFor([&] { return config->pendingWrites() == 0; }, 30000));
    EXPECT_EQ(numberOf(*openStore(uri), eParam_LoopPlayback), 0U);

    // The end waits two seconds for what cannot be committed.
    ASSERT_EQ(::flock(lock, LOCK_EX), 0);
    ASSERT_TRUE(config->setUInt(eParam_LoopPlayback, 1));
    const qsizetype told = LogCollector::texts("storestate").size();
    const qint64 before = QmxRealClock().now();
    config.reset();
    EXPECT_LT(QmxRealClock().now() - before, 3 * QmxClock::nsPerSecond);
    // Its thread, which nobody waited for, ends in this test.
    EXPECT_TRUE(Stepper::waitFor([told] { return LogCollector::texts("storestate").size() > told; }, 30000));
    ::close(lock);
    EXPECT_EQ(numberOf(*openStore(uri), eParam_LoopPlayback), 0U);
}

TEST_F(SqliteStore, forgetsTheSocketOfADeadListener)
{
    const auto config = openStore(uri);
    Worker dead({"listen", QString::fromStdString(uri)});
    ASSERT_TRUE(dead.waitForLines(1));
    const QString socket = dir.file("store.db.listener-" + QString::number(dead.pid()) + "-0");
    ASSERT_TRUE(QFileInfo::exists(socket));
    dead.kill();
    ASSERT_TRUE(config->setUInt(eParam_LoopPlayback, 1));
    EXPECT_FALSE(QFileInfo::exists(socket));
}

TEST_F(SqliteStore, unreachableAtFirstAnswersWithDefaultsAndCatchesUp)
{
    expectLog("storestate", "cannot write");
    const QString folder = dir.file("medium");
    writeAll(folder, "a file where the folder should be");
    const std::string later = "sqlite:" + folder.toStdString() + "/store.db";
    const auto daemon = openStore(later, "", true);
    ASSERT_NE(daemon, nullptr);
    RecordingListener listener;
    daemon->addListener(&listener);
    Stepper::deliver();
    unsigned value = 0;
    EXPECT_FALSE(daemon->getUInt(eParam_RecordOnRunningTimecode, value));
    EXPECT_EQ(value, 1U);
    EXPECT_FALSE(daemon->storeState().empty());
    const auto direct = openStore(later, "operator");
    EXPECT_FALSE(direct->setUInt(eParam_LoopPlayback, 1));
    EXPECT_NE(direct->lastError().find(folder.toStdString()), std::string::npos) << direct->lastError();

    QFile::remove(folder);
    EXPECT_TRUE(direct->setUInt(eParam_LoopPlayback, 1)) << direct->lastError();
    EXPECT_TRUE(listener.waitForLast(eParam_LoopPlayback, "1"));
    EXPECT_TRUE(daemon->getUInt(eParam_RecordOnRunningTimecode, value));
}

TEST_F(SqliteStore, readOnlyStoreIsReadAndRefusesWrites)
{
    if (::geteuid() != 0) GTEST_SKIP() << "needs root, to become somebody without rights";
    {
        const auto config = openStore(uri);
        ASSERT_TRUE(config->setUInt(eParam_CameraDataMode, 5));
    }
    for (const QString &name : files("*"))
        ::chmod(dir.file(name).toLocal8Bit().constData(), 0444);
    ::chmod(dir.path().toLocal8Bit().constData(), 0555);
    Worker nobody({"nobody-write", QString::fromStdString(uri), "camera_data_mode", "6", "1"});
    ASSERT_TRUE(nobody.waitForEnd());
    ASSERT_EQ(nobody.lines().size(), 1);
    EXPECT_TRUE(nobody.lines().front().startsWith("refused cannot write"))
        << nobody.lines().front().toStdString();
    EXPECT_EQ(numberOf(*openStore(uri), eParam_CameraDataMode), 5U);
}

TEST_F(SqliteStore, powerCutTakesNothingThatWasAcknowledged)
{
    // Of a file system in a file, the file holds what a disk would hold when the power goes.
    const QString disk = dir.file("disk");
    const auto mount = [this](const QString &file, const QString &folder) {
        QDir().mkpath(dir.file(folder));
        return runProgram("mount", {"-o", "loop", file, dir.file(folder)}).status == 0;
    };
    const auto unmount = [this](const QString &folder) {
        EXPECT_EQ(runProgram("umount", {"-l", dir.file(folder)}).status, 0);
    };
    QFile file(disk);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(32 << 20));
    file.close();
    if (runProgram("mkfs.ext4", {"-q", "-F", disk}).status != 0 || !mount(disk, "medium"))
        GTEST_SKIP() << "needs the right to mount";
    unsigned last = 0;
    for (int round = 0; round < 6; ++round) {
        Worker writer({"write", "sqlite:" + dir.file("medium/store.db"), "camera_data_mode",
                       QString::number(last + 1), "1000000"});
        EXPECT_TRUE(writer.waitForLines(3 + 17 * round));
        sendSignal(writer.pid(), SIGSTOP);
        QFile::remove(dir.file("cut"));
        EXPECT_TRUE(QFile::copy(disk, dir.file("cut")));
        const unsigned acknowledged = writer.lines().back().toUInt();
        writer.kill();
        ASSERT_TRUE(mount(dir.file("cut"), "after"));
        const unsigned found =
            numberOf(*openStore("sqlite:" + dir.file("after/store.db").toStdString()), eParam_CameraDataMode);
        // The write under way may have been committed and not told any more.
        EXPECT_TRUE(found == acknowledged || found == acknowledged + 1) << found << " of " << acknowledged;
        unmount("after");
        last = acknowledged + 1;
    }
    unmount("medium");
}

TEST_F(SqliteStore, allItsFilesBelongToTheGroupOnly)
{
    const auto daemon = openStore(uri, "", true);
    RecordingListener listener;
    daemon->addListener(&listener);
    for (unsigned i = 1; i <= 150; ++i)
        ASSERT_TRUE(daemon->setUInt(eParam_CameraDataMode, i));
    ASSERT_TRUE(Stepper::waitFor(
        [&] { return !files("store.db.backup-*").isEmpty() && QFile::exists(dir.file("store.db.ballast")); },
        15000));
    const struct group *group = ::getgrnam("xp");
    const auto all = QDir(dir.path()).entryInfoList({"store.db*"}, QDir::Files | QDir::System);
    EXPECT_GE(all.size(), 7); // database, log and index, two locks, backup, ballast, a socket
    for (const QFileInfo &info : all) {
        struct stat status
        {};
        ASSERT_EQ(::lstat(info.filePath().toLocal8Bit().constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07, 0U) << info.fileName().toStdString();
        EXPECT_TRUE(!group || status.st_gid == group->gr_gid) << info.fileName().toStdString();
    }
}

TEST_F(SqliteStore, fullDiskIsAnErrorThatLeavesRoomForTheLastWrites)
{
    const QString medium = dir.file("medium");
    QDir().mkpath(medium);
    if (::mount("tmpfs", medium.toLocal8Bit().constData(), "tmpfs", 0, "size=24m") != 0)
        GTEST_SKIP() << "needs the right to mount";
    allowLog("storestate");
    allowLog("sqlitecare");
    {
        const std::string small = "sqlite:" + medium.toStdString() + "/store.db";
        const auto direct = openStore(small);
        const auto daemon = openStore(small, "", true); // keeps the ballast
        ASSERT_TRUE(Stepper::waitFor([&] { return QFile::exists(medium + "/store.db.ballast"); }, 15000));
        QFile filler(medium + "/filler");
        ASSERT_TRUE(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (filler.write(QByteArray(65536, 'x')) > 0) {}
        while (filler.write("x") > 0) {}
        // The ballast lasts for many writes; when it is used up there is a clean error and nothing changes.
        unsigned written = 0;
        while (written < 2000 &&
               direct->setString(eParam_RolloverReelName, std::string(8000, 'a') + std::to_string(written)))
            ++written;
        EXPECT_GT(written, 20U);
        EXPECT_LT(written, 2000U);
        EXPECT_FALSE(QFile::exists(medium + "/store.db.ballast"));
        EXPECT_NE(direct->lastError().find("disk is full"), std::string::npos) << direct->lastError();
        EXPECT_EQ(textOf(*direct, eParam_RolloverReelName),
                  std::string(8000, 'a') + std::to_string(written - 1));
        const auto isTold = [&] {
            std::string alarm;
            return direct->getData(eParam_AlarmStoreFull, alarm) && !alarm.empty();
        };
        filler.resize(filler.size() - 4'000'000); // less than what the ballast comes back for
        EXPECT_TRUE(Stepper::waitFor(isTold, 15000));
        filler.resize(0);
        EXPECT_TRUE(direct->setUInt(eParam_LoopPlayback, 1)) << direct->lastError();
        EXPECT_TRUE(Stepper::waitFor([&] { return QFile::exists(medium + "/store.db.ballast"); }, 15000));
        EXPECT_TRUE(Stepper::waitFor([&] { return !isTold(); }, 15000));
    }
    ::umount2(medium.toLocal8Bit().constData(), MNT_DETACH);
}

TEST(StoreSource, aProcessThatCannotBeSeenIsNotDead)
{
    const std::string self = storeSource("me");
    EXPECT_TRUE(storeSourceIsAlive(self));
    EXPECT_FALSE(storeSourceIsAlive(self.substr(0, self.find('.')) + ".1" + self.substr(self.find('-'))));
    EXPECT_TRUE(storeSourceIsAlive("me@1.1-1")) << "its number is of another name space";
    EXPECT_FALSE(storeSourceIsAlive("me@0.1") || storeSourceIsAlive("me@-7.1"));
    EXPECT_TRUE(storeSourceIsReplaced("xpd@7.8-9", "xpd@8.9-9") &&
                !storeSourceIsReplaced("xpctl@7.8-9", "xpd@8.9-9"));
    if (::geteuid() != 0) GTEST_SKIP() << "hiding processes needs root";
    const pid_t child = ::fork();
    if (child == 0) {
        const bool hidden = ::unshare(CLONE_NEWNS) == 0 &&
                            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                            ::mount("proc", "/proc", "proc", 0, "hidepid=2") == 0 && ::setgid(65534) == 0 &&
                            ::setuid(65534) == 0;
        ::_exit(hidden ? (storeSourceIsAlive(self) ? 0 : 1) : 2);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
