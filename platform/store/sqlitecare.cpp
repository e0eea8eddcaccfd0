// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/alarmvalue.h"
#include "platform/store/eparammedia.h"
#include "platform/store/sqlitebackend.h"
#include "platform/store/sqliteschema.h"

#include <ctime>
#include <utility>

#include <unistd.h>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

constexpr const char *module = "sqlitecare";
constexpr off_t checkpointBytes = 256 * 1024; // size of the write-ahead log that is worth a checkpoint
constexpr quint64 backupChanges = 100;
constexpr qint64 backupSeconds = 600;
constexpr std::size_t backupsKept = 3;
constexpr qint64 nsPerMicrosecond = 1000;

} // namespace

qint64 SqliteBackend::wallMicroseconds() const
{
    return _context.environment.clock->wallTime() / nsPerMicrosecond;
}

std::string SqliteBackend::dateStamp() const
{
    const auto seconds = static_cast<time_t>(_context.environment.clock->wallTime() / QmxClock::nsPerSecond);
    struct tm parts
    {};
    char text[32];
    ::gmtime_r(&seconds, &parts);
    return std::string(text, ::strftime(text, sizeof text, "%Y%m%d-%H%M%S", &parts));
}

void SqliteBackend::care()
{
    if (!connectForReading().isDone()) return;
    std::string reason = checkpoint();
    if (reason.empty()) reason = backUp();
    // Upkeep is tried every second; a reason is told once.
    if (!reason.empty() && reason != _careError)
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__, "%s\n", reason.c_str());
    _careError = reason;
    _files.restoreBallast();
    tellOfRoom();
    if (_context.isRecorder && _careRounds % StoreContext::roundsUntilClear == 0) prepare(false);
}

/// Only who looks more than once: an alarm of a program that is about to end would end with it.
void SqliteBackend::tellOfRoom()
{
    if (_careRounds++ == 0) return;
    std::optional<StoredValue> stored;
    if (!read(eParam_AlarmStoreFull, stored).isDone()) return;
    const bool isTold = stored && !stored->value.text.empty();
    const bool isFull = !_files.hasBallast();
    if (isFull == isTold) return;
    const std::string text = "The disk of " + _files.folder() +
                             ", where the configuration store is, is full: the room "
                             "kept for its last writes is in use";
    std::vector<quint64> versions;
    write({{eParam_AlarmStoreFull,
            StoreValue::fromData(isFull ? alarmValue(AlarmSeverity::Error, text) : std::string())}},
          versions);
}

/// Only when the lock is free: a writer comes first, the next round will do.
std::string SqliteBackend::checkpoint()
{
    struct stat info
    {};
    if (::stat(_files.wal().c_str(), &info) != 0 || info.st_size < checkpointBytes) return {};
    const quint64 newest = SqliteSchema::newestVersion(_database);
    if (newest == _checkpointed || !_lock.acquire({}, nullptr)) return {};
    const StoreLockHolder holder(_lock);
    _checkpointed = newest;
    // PASSIVE waits for nobody; the next writer then begins the write-ahead log anew.
    _database.exec("PRAGMA wal_checkpoint(PASSIVE)");
    std::string reason = _database.result("cannot checkpoint").text;
    _database.clearError();
    return reason;
}

std::string SqliteBackend::backUp()
{
    const auto backups = _files.backups();
    const quint64 newest = SqliteSchema::newestVersion(_database);
    const quint64 last = backups.empty() ? 0 : backups.front().version;
    if (newest <= last) return {};
    const qint64 now = wallMicroseconds() / 1'000'000;
    const bool due = backups.empty() || newest - last >= backupChanges ||
                     now - backups.front().time >= backupSeconds || now < backups.front().time;
    if (!due) return {};
    StoreLock lock(_files.careLock()); // one process at a time
    if (!lock.acquire({}, nullptr)) return {};
    const StoreLockHolder holder(lock);
    StoreImage image;
    StoreCursor cursor;
    StoreResult result = snapshot(image, cursor);
    if (result.code == StoreResult::Damaged) {
        // A backup of it would push out a good one.
        return locked([damage = result]() mutable { return std::exchange(damage, {}); }).text;
    }
    const std::string temporary = _files.database() + ".backup-new";
    if (result.isDone()) result = SqliteSchema::createFile(temporary, image, cursor.version, cursor.epoch);
    // Its age is counted on this program's clock, which need not be the file system's.
    const timespec times[] = {{static_cast<time_t>(now), 0}, {static_cast<time_t>(now), 0}};
    if (result.isDone()) ::utimensat(AT_FDCWD, temporary.c_str(), times, AT_SYMLINK_NOFOLLOW);
    if (result.isDone() && ::rename(temporary.c_str(), _files.backupPath(cursor.version).c_str()) == 0)
        _files.removeOldBackups(backupsKept);
    return result.isDone() ? std::string() : "no backup: " + result.text;
}
