// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/sqlitedatabase.h"

#include <cerrno>
#include <cstring>
#include <mutex>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Our own processes take turns by the lock file; only a foreign program can keep the database locked.
constexpr int busyMilliseconds = 200;

struct ErrorRow
{
    int code;
    StoreResult::Code meaning;
    const char *advice;
};

const ErrorRow errorRows[] = {
    {SQLITE_BUSY, StoreResult::Busy, "another program keeps it locked; end that program"},
    {SQLITE_LOCKED, StoreResult::Busy, "another program keeps it locked; end that program"},
    {SQLITE_FULL, StoreResult::Full, "its disk is full; free some space"},
    {SQLITE_READONLY, StoreResult::ReadOnly, "it is read-only; check the rights and how its disk is mounted"},
    {SQLITE_CORRUPT, StoreResult::Damaged, "it is damaged"},
    {SQLITE_NOTADB, StoreResult::Damaged, "it is damaged"},
    // Every statement is right where the tables are.
    {SQLITE_ERROR, StoreResult::Damaged, "it does not hold what it should"},
    {SQLITE_CANTOPEN, StoreResult::Unreachable, "it cannot be opened; check the folder and its rights"},
    {SQLITE_PERM, StoreResult::Unreachable, "access is refused; check that you are in the group xp"},
};

/// In place of the library's own open(2): others may write in the folder of a database, and whatever they put
/// under the name of one of its files between a look at it and this must not be waited for nor followed.
int openFile(const char *path, int flags, int mode)
{
    const int fd = ::open(path, flags | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, mode);
    struct stat64 status = {};
    // (It opens folders, to make names durable, and a device, for random numbers. No lock of this process is
    // lost by closing a pipe.)
    if (fd < 0 || (::fstat64(fd, &status) == 0 && !S_ISFIFO(status.st_mode))) return fd;
    ::close(fd);
    errno = ENOTSUP;
    return -1;
}

void useOwnOpen()
{
    static std::once_flag once;
    std::call_once(once, [] {
        sqlite3_initialize();
        sqlite3_vfs *const files = sqlite3_vfs_find(nullptr);
        if (files && files->iVersion >= 3 && files->xSetSystemCall)
            files->xSetSystemCall(files, "open", reinterpret_cast<sqlite3_syscall_ptr>(openFile));
    });
}

} // namespace

SqliteStatement::SqliteStatement(SqliteDatabase &database, std::string_view sql)
    : _database(database), _sql(sql), _statement(database.take(sql))
{}

SqliteStatement::~SqliteStatement()
{
    if (_statement) _database.giveBack(_sql, _statement);
}

SqliteStatement &SqliteStatement::bind(int index, qint64 value)
{
    if (_statement) _database.note(sqlite3_bind_int64(_statement, index, value));
    return *this;
}

SqliteStatement &SqliteStatement::bind(int index, const std::string &text)
{
    if (_statement)
        _database.note(sqlite3_bind_text(_statement, index, text.data(), static_cast<int>(text.size()),
                                         SQLITE_TRANSIENT));
    return *this;
}

SqliteStatement &SqliteStatement::bindBlob(int index, const std::string &bytes)
{
    if (_statement)
        _database.note(sqlite3_bind_blob(_statement, index, bytes.data(), static_cast<int>(bytes.size()),
                                         SQLITE_TRANSIENT));
    return *this;
}

SqliteStatement &SqliteStatement::bind(int index, const StoreValue &value)
{
    switch (value.kind) {
    case StoreValue::Kind::Unsigned:
        return bind(index, qint64(value.number));
    case StoreValue::Kind::String:
        return bind(index, value.text);
    case StoreValue::Kind::Data:
        break;
    }
    return bindBlob(index, value.text);
}

bool SqliteStatement::step()
{
    if (!_statement || _database.isFailed()) return false;
    const int code = sqlite3_step(_statement);
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) _database.note(code);
    return false;
}

bool SqliteStatement::run()
{
    while (step()) {}
    return !_database.isFailed();
}

qint64 SqliteStatement::integer(int column) const
{
    return sqlite3_column_int64(_statement, column);
}

std::string SqliteStatement::bytes(int column) const
{
    const void *data = sqlite3_column_blob(_statement, column);
    const int size = sqlite3_column_bytes(_statement, column);
    return data ? std::string(static_cast<const char *>(data), static_cast<std::size_t>(size))
                : std::string();
}

StoreValue SqliteStatement::value(int kindColumn, int valueColumn) const
{
    StoreValue value;
    value.kind = static_cast<StoreValue::Kind>(integer(kindColumn));
    if (value.kind == StoreValue::Kind::Unsigned)
        value.number = static_cast<std::uint32_t>(integer(valueColumn));
    else
        value.text = bytes(valueColumn);
    return value;
}

SqliteDatabase::SqliteDatabase() = default;

SqliteDatabase::~SqliteDatabase()
{
    close();
}

bool SqliteDatabase::open(const std::string &path, Mode mode)
{
    close();
    clearError();
    useOwnOpen();
    _path = path;
    const int flags = mode == ReadOnly    ? SQLITE_OPEN_READONLY
                      : mode == ReadWrite ? SQLITE_OPEN_READWRITE
                                          : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    const int code =
        sqlite3_open_v2(path.c_str(), &_handle, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW, nullptr);
    if (code != SQLITE_OK) {
        note(code);
        close();
        return false;
    }
    sqlite3_extended_result_codes(_handle, 0);
    sqlite3_busy_timeout(_handle, busyMilliseconds);
    // A checkpoint runs only under the lock file, so neither a commit nor the last close may start one.
    sqlite3_db_config(_handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    return exec("PRAGMA wal_autocheckpoint = 0");
}

void SqliteDatabase::close()
{
    for (const auto &[sql, statement] : _idle)
        sqlite3_finalize(statement);
    _idle.clear();
    _durable.reset();
    sqlite3_close_v2(_handle);
    _handle = nullptr;
}

sqlite3_stmt *SqliteDatabase::take(std::string_view sql)
{
    if (!isOpen()) {
        note(SQLITE_CANTOPEN);
        return nullptr;
    }
    if (const auto idle = _idle.find(sql); idle != _idle.end()) {
        sqlite3_stmt *statement = idle->second;
        _idle.erase(idle);
        return statement;
    }
    sqlite3_stmt *statement = nullptr;
    note(sqlite3_prepare_v2(_handle, sql.data(), static_cast<int>(sql.size()), &statement, nullptr));
    return statement;
}

void SqliteDatabase::giveBack(std::string_view sql, sqlite3_stmt *statement)
{
    constexpr std::size_t mostIdle = 32;
    // A pragma may do its work while it is prepared (sqlite.org/pragma.html), so each is prepared anew. What
    // belongs to a connection that has been closed meanwhile goes with it.
    if (sql.starts_with("PRAGMA") || _idle.size() >= mostIdle || sqlite3_db_handle(statement) != _handle ||
        _idle.contains(sql)) {
        sqlite3_finalize(statement);
        return;
    }
    sqlite3_reset(statement); // its error has been noted
    sqlite3_clear_bindings(statement);
    _idle.emplace(sql, statement);
}

bool SqliteDatabase::setDurable(bool durable)
{
    if (_durable == durable) return !isFailed();
    if (!exec(durable ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL")) return false;
    _durable = durable;
    return true;
}

bool SqliteDatabase::isDatabase() const
{
    // "Database File Format", 1.3.1: the magic header string. Read by the library's own descriptor: to close
    // another one would take away its locks.
    constexpr char magic[] = "SQLite format 3";
    char begin[sizeof magic] = {};
    sqlite3_file *file = nullptr;
    if (!_handle || sqlite3_file_control(_handle, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK ||
        !file || !file->pMethods)
        return false;
    const int code = file->pMethods->xRead(file, begin, sizeof begin, 0);
    // A disk that fails for a moment says nothing about what is on it: whatever is asked next will tell.
    if (code != SQLITE_OK) return code != SQLITE_IOERR_SHORT_READ;
    return std::memcmp(begin, magic, sizeof magic) == 0;
}

bool SqliteDatabase::exec(std::string_view sql)
{
    return SqliteStatement(*this, sql).run();
}

qint64 SqliteDatabase::number(std::string_view sql, qint64 otherwise)
{
    SqliteStatement statement(*this, sql);
    return statement.step() ? statement.integer(0) : otherwise;
}

std::string SqliteDatabase::text(std::string_view sql)
{
    SqliteStatement statement(*this, sql);
    return statement.step() ? statement.bytes(0) : std::string();
}

void SqliteDatabase::note(int code)
{
    if (code == SQLITE_OK || _error != 0) return;
    _error = code;
    _systemError = _handle ? sqlite3_system_errno(_handle) : 0;
    _message = _handle ? sqlite3_errmsg(_handle) : sqlite3_errstr(code);
}

void SqliteDatabase::clearError()
{
    _error = 0;
    _systemError = 0;
    _message.clear();
}

StoreResult SqliteDatabase::result(const std::string &doing) const
{
    if (_error == 0) return {};
    const std::string where = doing + " the configuration store " + _path + ": ";
    // A full disk shows in the journal's index as an input/output error.
    const int code = (_systemError == ENOSPC || _systemError == EDQUOT) ? SQLITE_FULL : _error & 0xFF;
    for (const ErrorRow &row : errorRows)
        if (row.code == code) return {row.meaning, where + row.advice + " (" + _message + ")"};
    return {StoreResult::Unreachable,
            where + _message + (_systemError ? std::string(", ") + std::strerror(_systemError) : "")};
}
