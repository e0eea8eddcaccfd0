// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/alarmvalue.h"
#include "platform/store/paramdescriptor.h"
#include "platform/store/sqlitebackend.h"
#include "platform/store/sqliteschema.h"
#include "platform/store/storesource.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <utility>

#include <unistd.h>

namespace {

constexpr const char *module = "sqliterepair";

bool isVolatile(const ParamDescriptor &descriptor)
{
    return descriptor.keep() == ParamDescriptor::Keep::Volatile && !descriptor.isAlarm();
}

/// What is not kept over a restart of the machine is no part of a file that was written before it.
void dropWhatARestartEnded(SqliteDatabase &file, StoreImage &image)
{
    if (file.text("SELECT value FROM meta WHERE key = 'boot'") == SqliteSchema::bootId()) return;
    std::erase_if(image, [](const auto &row) {
        const ParamDescriptor *descriptor = GetDescriptor(eParam_t(row.first));
        return descriptor && isVolatile(*descriptor);
    });
}

void mergeNewer(StoreImage &into, const StoreImage &from)
{
    for (const auto &[id, stored] : from) {
        const auto found = into.find(id);
        if (found == into.end() || found->second.version < stored.version) into[id] = stored;
    }
}

} // namespace

StoreImage SqliteBackend::newestGoodBackup(quint64 &top)
{
    for (const StoreFiles::Backup &backup : _files.backups()) {
        SqliteDatabase file;
        StoreImage image;
        if (file.open(backup.path, SqliteDatabase::ReadOnly) && file.text("PRAGMA quick_check") == "ok" &&
            SqliteSchema::readParameters(file, image) == 0 && !file.isFailed()) {
            top = std::max(top, SqliteSchema::newestVersion(file));
            dropWhatARestartEnded(file, image);
            return image;
        }
        qmxLogOutput(QmxLogLevel::Warning, module, __LINE__,
                     "Backup %s of the configuration store is damaged too and is passed over\n",
                     backup.path.c_str());
    }
    return {};
}

/// Every row of the broken store that can still be read and has a right checksum.
void SqliteBackend::salvage(StoreImage &image, quint64 &top)
{
    SqliteDatabase file;
    StoreImage readable;
    if (!file.open(_files.database(), SqliteDatabase::ReadWrite)) return;
    SqliteSchema::readParameters(file, readable);
    file.clearError();
    top = std::max(top, SqliteSchema::newestVersion(file));
    file.clearError();
    dropWhatARestartEnded(file, readable);
    mergeNewer(image, readable);
}

/// With the lock held: a new store from the newest good backup, what can be read of the broken store, and
/// what this process knows. The broken files are kept beside it under another name.
StoreResult SqliteBackend::createOrRestore(const std::string &reason)
{
    disconnect();
    quint64 top = 0;
    StoreImage image = newestGoodBackup(top);
    const bool exists = StoreFiles::identity(_files.database()).has_value();
    if (exists && !_files.isEmpty()) salvage(image, top);
    if (_context.memory) mergeNewer(image, _context.memory());
    for (const auto &[id, stored] : image)
        top = std::max(top, stored.version);
    // Also of a backup that is no good: younger ones must have higher numbers.
    if (const auto backups = _files.backups(); !backups.empty())
        top = std::max<quint64>(top, backups.front().version);

    const bool isNew = image.empty() && !exists;
    const std::string stamp = dateStamp();
    std::string aside;
    if (!isNew) {
        const std::string text =
            "The configuration store " + _files.database() + " has been restored: " + reason;
        image[eParam_AlarmStoreRestored] = {StoreValue::fromData(alarmValue(AlarmSeverity::Warning, text)),
                                            ++top, storeSource("store"), wallMicroseconds()};
        qmxLogOutput(QmxLogLevel::Error, module, __LINE__, "%s. Look at the settings\n", text.c_str());
    }
    static std::atomic<unsigned> count = 0; // a clock may stand still
    const std::string epoch = stamp + "-" + std::to_string(_context.environment.clock->wallTime()) + "-" +
                              std::to_string(::getpid()) + "-" + std::to_string(++count) +
                              StoreCursor::epochSuffix(top);
    const std::string fresh = _files.database() + ".new";
    if (StoreResult made = SqliteSchema::createFile(fresh, image, top, epoch); !made.isDone()) return made;
    const auto setAside = _files.setAside(stamp);
    if (!setAside || ::rename(fresh.c_str(), _files.database().c_str()) != 0) {
        const std::string why = std::strerror(errno);
        ::unlink(fresh.c_str());
        return {StoreResult::Unreachable,
                "cannot replace the configuration store " + _files.database() + ": " + why};
    }
    const StoreResult opened = openAtPath();
    // A second failure in a row is not cured by doing it again.
    return opened.code == StoreResult::Damaged ? StoreResult{StoreResult::Unreachable, opened.text} : opened;
}

/// What earlier processes left behind: alarms that nobody is there to clear, and, after a restart of the
/// machine, everything that is not kept over it. Whose alarms they are the recorder's own programs judge, and
/// who comes in the place of the dead one: a command of a moment, which may not see the process, does not.
StoreResult SqliteBackend::clearLeftovers(bool isStart)
{
    const std::string boot = SqliteSchema::bootId();
    const bool restarted = _database.text("SELECT value FROM meta WHERE key = 'boot'") != boot;
    StoreImage image;
    if (SqliteSchema::readParameters(_database, image) > 0) return damaged("rows have a wrong checksum");
    std::vector<eParam_t> stale;
    for (const auto &[id, stored] : image) {
        const ParamDescriptor *descriptor = GetDescriptor(eParam_t(id));
        if (!descriptor || stored.value == descriptor->defaultValue()) continue;
        // That the store was restored is shown until the daemon starts anew: whoever restored it may have
        // been a command of a moment.
        const bool staysUp = descriptor->id() == eParam_AlarmStoreRestored && !restarted && !isStart;
        if ((restarted && isVolatile(*descriptor)) ||
            (descriptor->isAlarm() && !staysUp &&
             storeSourceHasLeft(stored.source, _context.source, _context.isRecorder, isStart)))
            stale.push_back(eParam_t(id));
    }
    if (_database.isFailed()) return _database.result("cannot read");
    if (stale.empty() && !restarted) return {};
    bool done = _database.exec("BEGIN IMMEDIATE");
    const quint64 before = SqliteSchema::newestVersion(_database);
    quint64 newest = before;
    for (const eParam_t id : stale)
        done = done && writeOne({id, GetDescriptor(id)->defaultValue()}, storeSource("store"), newest);
    done = done && SqliteStatement(_database, "INSERT OR REPLACE INTO meta(key, value) VALUES('boot', ?)")
                       .bind(1, boot)
                       .run();
    done = done && _database.exec("COMMIT");
    if (done) {
        if (newest > before) _wakeup.send(newest);
        return {};
    }
    StoreResult result = _database.result("cannot write");
    _database.clearError();
    _database.exec("ROLLBACK");
    return result;
}

StoreResult SqliteBackend::prepare(bool thorough)
{
    const StoreResult result = locked([this, thorough]() -> StoreResult {
        StoreFiles::shareWithGroup(_files.database());
        if (thorough) {
            const std::string verdict = _database.text("PRAGMA quick_check");
            if (!_database.isFailed() && verdict != "ok") return damaged(verdict);
            if (_database.isFailed()) return _database.result("cannot read");
        }
        return clearLeftovers(thorough && !std::exchange(_wasPrepared, true));
    });
    // A store that cannot be written may still be read.
    const bool mayBeRead = result.code == StoreResult::ReadOnly || result.code == StoreResult::Full;
    return mayBeRead && connectForReading().isDone() ? StoreResult() : result;
}
