// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/sqliteschema.h"

#include "platform/qmx/core/qmxsafefile.h"
#include "platform/store/paramdescriptor.h"
#include "platform/store/storefiles.h"

#include <cstring>
#include <fstream>

#include <boost/crc.hpp>
#include <fcntl.h>
#include <unistd.h>

namespace {

const char *const tableStatements[] = {
    "CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID",
    "CREATE TABLE param(id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, value, version INTEGER NOT NULL, "
    "source TEXT NOT NULL, time INTEGER NOT NULL, crc INTEGER NOT NULL)",
    "CREATE TABLE log(version INTEGER PRIMARY KEY AUTOINCREMENT, id INTEGER NOT NULL, kind INTEGER NOT NULL, "
    "value, source TEXT NOT NULL, time INTEGER NOT NULL, crc INTEGER NOT NULL)",
    "CREATE TABLE alarm_history(number INTEGER PRIMARY KEY AUTOINCREMENT, id INTEGER NOT NULL, value BLOB, "
    "source TEXT NOT NULL, time INTEGER NOT NULL)",
};

/// CRC-32 as in IEEE 802.3; numbers count with their eight bytes, the lowest first.
class Crc32
{
public:
    void add(const void *data, std::size_t size) { _crc.process_bytes(data, size); }
    void addNumber(quint64 number)
    {
        for (int bit = 0; bit < 64; bit += 8)
            _crc.process_byte(static_cast<unsigned char>(number >> bit));
    }
    std::uint32_t value() const { return _crc.checksum(); }

private:
    boost::crc_32_type _crc;
};

bool makeDurable(const std::string &path)
{
    const int fd = QmxSafeFile::open(path.c_str(), O_RDONLY);
    if (fd < 0) return false;
    const bool done = ::fsync(fd) == 0;
    ::close(fd);
    return done;
}

} // namespace

std::string SqliteSchema::bootId()
{
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string id;
    std::getline(file, id);
    return id;
}

std::uint32_t SqliteSchema::rowChecksum(std::uint32_t id, const StoreValue &value, quint64 version)
{
    Crc32 crc;
    crc.addNumber(id);
    crc.addNumber(static_cast<quint64>(value.kind));
    crc.addNumber(version);
    crc.addNumber(value.number);
    crc.add(value.text.data(), value.text.size());
    return crc.value();
}

bool SqliteSchema::putParameter(SqliteDatabase &database, std::uint32_t id, const StoredValue &stored)
{
    return SqliteStatement(database,
                           "INSERT OR REPLACE INTO param(id, kind, value, version, source, time, crc) "
                           "VALUES(?, ?, ?, ?, ?, ?, ?)")
        .bind(1, qint64(id))
        .bind(2, qint64(stored.value.kind))
        .bind(3, stored.value)
        .bind(4, qint64(stored.version))
        .bind(5, stored.source)
        .bind(6, stored.time)
        .bind(7, qint64(rowChecksum(id, stored.value, stored.version)))
        .run();
}

bool SqliteSchema::addToAlarmHistory(SqliteDatabase &database, std::uint32_t id, const StoredValue &stored)
{
    return SqliteStatement(database, "INSERT INTO alarm_history(id, value, source, time) VALUES(?, ?, ?, ?)")
        .bind(1, qint64(id))
        .bindBlob(2, stored.value.text)
        .bind(3, stored.source)
        .bind(4, stored.time)
        .run();
}

bool SqliteSchema::create(SqliteDatabase &database, const StoreImage &image, quint64 top,
                          const std::string &epoch)
{
    bool done = database.exec("BEGIN IMMEDIATE");
    for (const char *statement : tableStatements)
        done = done && database.exec(statement);
    done = done && SqliteStatement(database, "INSERT INTO meta(key, value) "
                                             "VALUES('epoch', ?), ('format', ?), ('boot', ?)")
                       .bind(1, epoch)
                       .bind(2, std::to_string(formatVersion))
                       .bind(3, bootId())
                       .run();
    for (const auto &[id, stored] : image) {
        const ParamDescriptor *descriptor = GetDescriptor(eParam_t(id));
        done = done && putParameter(database, id, stored);
        // Since when an alarm is up is all that is known of the history.
        if (descriptor && descriptor->isAlarm() && !(stored.value == descriptor->defaultValue()))
            done = done && addToAlarmHistory(database, id, stored);
    }
    done = done && SqliteStatement(database, "INSERT INTO sqlite_sequence(name, seq) VALUES('log', ?)")
                       .bind(1, qint64(top))
                       .run();
    return done && database.exec("COMMIT");
}

StoreResult SqliteSchema::createFile(const std::string &path, const StoreImage &image, quint64 top,
                                     const std::string &epoch)
{
    SqliteDatabase file;
    const int fd = StoreFiles::createNew(path);
    if (fd < 0) {
        const StoreResult::Code code = errno == ENOSPC  ? StoreResult::Full
                                       : errno == EROFS ? StoreResult::ReadOnly
                                                        : StoreResult::Unreachable;
        return {code, "cannot create the configuration store " + path + ": " + std::strerror(errno)};
    }
    ::close(fd);
    StoreFiles::shareWithGroup(path);
    if (!file.open(path, SqliteDatabase::ReadWrite) || !create(file, image, top, epoch)) {
        StoreResult result = file.result("cannot create");
        file.close();
        ::unlink(path.c_str());
        return result;
    }
    file.close();
    if (makeDurable(path)) return {};
    const std::string reason = std::strerror(errno);
    ::unlink(path.c_str());
    return {StoreResult::Unreachable, "cannot create the configuration store " + path + ": " + reason};
}

int SqliteSchema::readParameters(SqliteDatabase &database, StoreImage &image)
{
    int broken = 0;
    SqliteStatement rows(database, "SELECT id, kind, value, version, source, time, crc FROM param");
    while (rows.step()) {
        const auto id = static_cast<std::uint32_t>(rows.integer(0));
        StoredValue stored{rows.value(1, 2), static_cast<quint64>(rows.integer(3)), rows.bytes(4),
                           rows.integer(5)};
        if (rowChecksum(id, stored.value, stored.version) == static_cast<std::uint32_t>(rows.integer(6)))
            image[id] = std::move(stored);
        else
            ++broken;
    }
    return broken;
}

quint64 SqliteSchema::newestVersion(SqliteDatabase &database)
{
    return static_cast<quint64>(database.number("SELECT seq FROM sqlite_sequence WHERE name = 'log'", 0));
}
