// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/sqlitebackend.h"

#include "platform/qmx/core/qmxloglevel.h"
#include "platform/store/paramdescriptor.h"
#include "platform/store/sqliteschema.h"

#include <algorithm>
#include <cstring>

#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds
    stopWithin(500); // a stop waits no longer for whoever has locked the store
constexpr unsigned commandStop = 4;
constexpr qint64 logRows = 100'000;   // what the log keeps; an older cursor gets a snapshot
constexpr qint64 alarmRows = 1'000;   // what the alarm history keeps
constexpr quint64 trimInterval = 256; // writes between two looks at the bounds
constexpr const char *overwritten = "its file was overwritten";

bool isPersistent(const StoreWrite &write)
{
    const ParamDescriptor *descriptor = GetDescriptor(write.id);
    return !descriptor || descriptor->keep() == ParamDescriptor::Keep::Persistent;
}

/// What is read between its making and its end belongs to one moment; the end forgets errors.
class ReadTransaction
{
public:
    explicit ReadTransaction(SqliteDatabase &database) : _database(database) { _database.exec("BEGIN"); }
    ~ReadTransaction()
    {
        _database.clearError();
        _database.exec("COMMIT");
        _database.clearError();
    }
    ReadTransaction(const ReadTransaction &) = delete;
    ReadTransaction &operator=(const ReadTransaction &) = delete;

private:
    SqliteDatabase &_database;
};

} // namespace

SqliteBackend::SqliteBackend(const StoreContext &context)
    : _context(context), _files(context.path), _lock(_files.lock()), _wakeup(_files)
{}

SqliteBackend::~SqliteBackend() = default;

StoreResult SqliteBackend::damaged(const std::string &what) const
{
    return {StoreResult::Damaged, "the configuration store " + _files.database() + " is damaged: " + what};
}

void SqliteBackend::disconnect()
{
    _database.close();
    _database.clearError();
    _identity.reset();
}

StoreResult SqliteBackend::openAtPath()
{
    disconnect();
    const auto identity = StoreFiles::identity(_files.database());
    if (!identity)
        return {StoreResult::Unreachable, "the configuration store " + _files.database() +
                                              " does not exist; it is made as soon as it can be written"};
    // Nobody leaves an empty file there; the library would wait for a lock on it.
    if (_files.isEmpty()) return damaged("it is empty");
    if (const std::string obstacle = _files.obstacle(); !obstacle.empty())
        return {StoreResult::Unreachable,
                "the configuration store " + _files.database() + " cannot be opened: " + obstacle};
    if (!_database.open(_files.database(), SqliteDatabase::ReadWrite)) {
        StoreResult result = _database.result("cannot open");
        disconnect();
        return result;
    }
    // In this mode readers never wait for the writer. A file that cannot be written stays as it is.
    if (_database.text("PRAGMA journal_mode = WAL") != "wal" && _database.isFailed()) {
        StoreResult result = _database.result("cannot open");
        disconnect();
        if (result.code != StoreResult::ReadOnly) return result;
        if (!_database.open(_files.database(), SqliteDatabase::ReadOnly))
            return _database.result("cannot open");
    }
    // Its log may still hold everything; the next checkpoint would show that the rest is gone.
    if (!_database.isDatabase()) {
        disconnect();
        return damaged(overwritten);
    }
    _epoch = _database.text("SELECT value FROM meta WHERE key = 'epoch'");
    if (_database.isFailed() || _epoch.empty()) {
        StoreResult result = _database.result("cannot read");
        // A file without our tables is as good as a broken one; one that is locked or cannot be read now is
        // not.
        _database.clearError();
        const bool hasTables = !_database.text("SELECT name FROM sqlite_master WHERE name = 'meta'").empty();
        const bool answered = !_database.isFailed();
        if (result.isDone() || (answered && !hasTables && result.code != StoreResult::Busy))
            result = damaged("it holds no parameters");
        disconnect();
        return result;
    }
    _identity = identity;
    return {};
}

StoreResult SqliteBackend::connectForReading()
{
    _database.clearError();
    if (!_database.isOpen() || _identity != StoreFiles::identity(_files.database())) return openAtPath();
    return _database.isDatabase() ? StoreResult() : damaged(overwritten);
}

StoreResult SqliteBackend::connectForWriting()
{
    _database.clearError();
    const auto there = StoreFiles::identity(_files.database());
    if (!there) return createOrRestore("it was removed");
    if (_database.isOpen() && there == _identity)
        return _database.isDatabase() ? StoreResult() : createOrRestore(damaged(overwritten).text);
    _files.setForeignAside(dateStamp());
    StoreResult result = openAtPath();
    if (result.code == StoreResult::Damaged) result = createOrRestore(result.text);
    return result;
}

StoreResult SqliteBackend::locked(const std::function<StoreResult()> &work, std::chrono::milliseconds within)
{
    bool isLocked = _lock.acquire(within, _context.interrupted.get());
    if (!isLocked && _lock.error() == ENOENT) {
        _files.makeFolders();
        isLocked = _lock.acquire(lockWithin, _context.interrupted.get());
    }
    if (!isLocked) {
        const std::string where = "cannot write the configuration store " + _files.database() + ": ";
        if (_lock.error() == EWOULDBLOCK)
            return {StoreResult::Busy,
                    where + "another process holds its lock; see who with fuser " + _files.lock()};
        return {_lock.error() == EROFS || _lock.error() == EACCES ? StoreResult::ReadOnly
                                                                  : StoreResult::Unreachable,
                where + _files.lock() + ": " + std::strerror(_lock.error()) +
                    "; check the folder, its rights and how its disk is mounted"};
    }
    const StoreLockHolder holder(_lock);
    bool ballastFreed = false;
    bool restored = false;
    for (;;) {
        StoreResult result = connectForWriting();
        if (result.isDone()) result = work();
        if (result.code == StoreResult::Full && !ballastFreed && _files.freeBallast()) {
            ballastFreed = true;
            continue;
        }
        if (result.code == StoreResult::Damaged && !restored) {
            restored = true;
            StoreResult restoring = createOrRestore(result.text);
            if (restoring.isDone()) continue;
            return restoring;
        }
        return result;
    }
}

StoreResult SqliteBackend::write(const std::vector<StoreWrite> &writes, std::vector<quint64> &versions)
{
    const bool isStop = writes.size() == 1 && writes.front().id == eParam_TransportCommand &&
                        writes.front().value == StoreValue::fromUnsigned(commandStop);
    StoreResult result = locked([&] { return commit(writes, versions); }, isStop ? stopWithin : lockWithin);
    if (isStop && result.code == StoreResult::Busy && _wakeup.sendUrgent(writes.front())) {
        // It is no value that anybody reads again, so it is done when it has been heard.
        qmxLogOutput(QmxLogLevel::Warning, "sqlitebackend", __LINE__,
                     "%s; the stop goes to the recorder past it\n", result.text.c_str());
        versions.assign(1, 0);
        return {};
    }
    const quint64 newest = versions.empty() ? 0 : *std::max_element(versions.begin(), versions.end());
    if (!result.isDone() || newest == 0) return result;
    if (writes.size() == 1)
        _wakeup.send(HeardChange{_epoch, _written});
    else
        _wakeup.send(newest);
    return result;
}

StoreResult SqliteBackend::commit(const std::vector<StoreWrite> &writes, std::vector<quint64> &versions)
{
    versions.assign(writes.size(), 0);
    // A power cut takes what was committed with NORMAL.
    const bool durable = std::any_of(writes.begin(), writes.end(), isPersistent);
    bool done = _database.setDurable(durable) && _database.exec("BEGIN IMMEDIATE");
    quint64 newest = SqliteSchema::newestVersion(_database);
    for (std::size_t i = 0; done && i < writes.size(); ++i) {
        const quint64 before = newest;
        done = writeOne(writes[i], _context.source, newest);
        versions[i] = newest > before ? newest : 0;
    }
    done = done && trim(newest) && _database.exec("COMMIT");
    if (done) return {};
    StoreResult result = _database.isFailed() ? _database.result("cannot write") : damaged("a row is broken");
    _database.clearError();
    _database.exec("ROLLBACK");
    _database.clearError();
    versions.assign(writes.size(), 0);
    return result;
}

/// Makes the write the version after `newest`, which becomes it, unless the value is there already. False: an
/// error, or (without one) a broken row in the way.
bool SqliteBackend::writeOne(const StoreWrite &write, const std::string &source, quint64 &newest)
{
    const ParamDescriptor *descriptor = GetDescriptor(write.id);
    const bool isCommand = descriptor && descriptor->keep() == ParamDescriptor::Keep::Command;
    if (!descriptor || !descriptor->everyWriteIsEvent()) {
        std::optional<StoredValue> stored;
        if (!readRow(write.id, stored).isDone()) return false;
        if (stored ? stored->value == write.value : descriptor && descriptor->defaultValue() == write.value)
            return true;
    }
    _written = {write.id, {write.value, ++newest, source, wallMicroseconds()}};
    const StoredValue &row = _written.stored;
    bool done = SqliteStatement(_database, "INSERT INTO log(version, id, kind, value, source, time, crc) "
                                           "VALUES(?, ?, ?, ?, ?, ?, ?)")
                    .bind(1, qint64(row.version))
                    .bind(2, qint64(write.id))
                    .bind(3, qint64(row.value.kind))
                    .bind(4, row.value)
                    .bind(5, row.source)
                    .bind(6, row.time)
                    .bind(7, qint64(SqliteSchema::rowChecksum(write.id, row.value, row.version)))
                    .run();
    if (!isCommand) done = done && SqliteSchema::putParameter(_database, write.id, row);
    if (descriptor && descriptor->isAlarm())
        done = done && SqliteSchema::addToAlarmHistory(_database, write.id, row);
    return done;
}

bool SqliteBackend::trim(quint64 newest)
{
    if (newest - _trimmed < trimInterval) return !_database.isFailed();
    _trimmed = newest;
    return SqliteStatement(_database, "DELETE FROM log WHERE version <= ?")
               .bind(1, qint64(newest) - logRows)
               .run() &&
           SqliteStatement(_database, "DELETE FROM alarm_history WHERE number <= "
                                      "(SELECT max(number) FROM alarm_history) - ?")
               .bind(1, alarmRows)
               .run();
}

StoreResult SqliteBackend::read(eParam_t id, std::optional<StoredValue> &stored)
{
    if (StoreResult result = connectForReading(); !result.isDone()) return result;
    return readRow(id, stored);
}

StoreResult SqliteBackend::readRow(eParam_t id, std::optional<StoredValue> &stored)
{
    stored.reset();
    SqliteStatement row(_database, "SELECT kind, value, version, source, time, crc FROM param WHERE id = ?");
    row.bind(1, qint64(id));
    if (row.step()) {
        StoredValue found{row.value(0, 1), static_cast<quint64>(row.integer(2)), row.bytes(3),
                          row.integer(4)};
        if (SqliteSchema::rowChecksum(id, found.value, found.version) !=
            static_cast<std::uint32_t>(row.integer(5)))
            return damaged("the row of parameter " + std::to_string(id) + " has a wrong checksum");
        stored = std::move(found);
    }
    return _database.result("cannot read");
}

StoreResult SqliteBackend::snapshot(StoreImage &image, StoreCursor &cursor)
{
    if (StoreResult result = connectForReading(); !result.isDone()) return result;
    image.clear();
    const ReadTransaction moment(_database);
    cursor.version = SqliteSchema::newestVersion(_database);
    cursor.epoch = _epoch;
    const int broken = SqliteSchema::readParameters(_database, image);
    StoreResult result = _database.result("cannot read");
    if (result.isDone() && broken > 0) return damaged(std::to_string(broken) + " rows have a wrong checksum");
    return result;
}

StoreResult SqliteBackend::changes(const StoreCursor &cursor, int most, std::vector<StoreChange> &changes,
                                   bool &reload)
{
    changes.clear();
    reload = false;
    if (StoreResult result = connectForReading(); !result.isDone()) return result;
    if (_epoch != cursor.epoch) {
        reload = true;
        return {};
    }
    // The rows and the newest version must be of one moment: a write between two looks is no gap.
    const ReadTransaction moment(_database);
    quint64 expected = cursor.version + 1;
    {
        SqliteStatement rows(_database, "SELECT version, id, kind, value, source, time, crc FROM log "
                                        "WHERE version > ? ORDER BY version LIMIT ?");
        rows.bind(1, qint64(cursor.version)).bind(2, qint64(most));
        while (rows.step()) {
            const auto version = static_cast<quint64>(rows.integer(0));
            const auto id = static_cast<std::uint32_t>(rows.integer(1));
            StoreChange change{eParam_t(id), {rows.value(2, 3), version, rows.bytes(4), rows.integer(5)}};
            // Every version has its row: a gap means that the log was cut before the reader got there.
            if (version != expected++ || SqliteSchema::rowChecksum(id, change.stored.value, version) !=
                                             static_cast<std::uint32_t>(rows.integer(6))) {
                reload = true;
                changes.clear();
                return {};
            }
            changes.push_back(std::move(change));
        }
    }
    if (!_database.isFailed() && changes.empty())
        reload = SqliteSchema::newestVersion(_database) != cursor.version;
    StoreResult result = _database.result("cannot read");
    if (!result.isDone()) changes.clear();
    return result;
}

int SqliteBackend::listen()
{
    if (!_wakeup.isListening()) _files.makeFolders();
    return _wakeup.listen();
}

void SqliteBackend::drain()
{
    // Whoever was woken by it has a socket.
    if (_wakeup.drain()) return;
    _files.makeFolders();
    _wakeup.keepAlive();
}

StoreResult SqliteBackend::alarmHistory(int newest, std::vector<AlarmRecord> &records)
{
    records.clear();
    if (StoreResult result = connectForReading(); !result.isDone()) return result;
    constexpr qint64 microseconds = 1'000'000;
    SqliteStatement rows(_database, "SELECT id, value, source, time FROM (SELECT * FROM alarm_history "
                                    "ORDER BY number DESC LIMIT ?) ORDER BY number");
    rows.bind(1, qint64(newest));
    while (rows.step()) {
        AlarmRecord record;
        record.id = eParam_t(rows.integer(0));
        record.message = rows.bytes(1); // the message as it is stored; StoreConfig takes it apart
        record.source = rows.bytes(2);
        record.time = {static_cast<time_t>(rows.integer(3) / microseconds),
                       static_cast<suseconds_t>(rows.integer(3) % microseconds)};
        records.push_back(std::move(record));
    }
    return _database.result("cannot read");
}

std::vector<StoreWrite> SqliteBackend::takeUrgent()
{
    return _wakeup.takeUrgent();
}
