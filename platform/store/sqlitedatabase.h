// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/storebackend.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

class SqliteDatabase;

/// A prepared statement, which goes back to its connection when it goes. Bind from 1, read columns from 0.
class SqliteStatement
{
public:
    SqliteStatement(SqliteDatabase &database, std::string_view sql);
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement &) = delete;
    SqliteStatement &operator=(const SqliteStatement &) = delete;

    SqliteStatement &bind(int index, qint64 value);
    SqliteStatement &bind(int index, const std::string &text);
    /// Numbers as INTEGER, texts as TEXT, bytes as BLOB.
    SqliteStatement &bind(int index, const StoreValue &value);
    SqliteStatement &bindBlob(int index, const std::string &bytes);

    /// True: a row is there. False: no more rows, or an error (see SqliteDatabase::isFailed()).
    bool step();
    /// Runs a statement without rows; true when it has succeeded.
    bool run();

    qint64 integer(int column) const;
    std::string bytes(int column) const;
    StoreValue value(int kindColumn, int valueColumn) const;

private:
    SqliteDatabase &_database;
    const std::string_view _sql; ///< outlives the statement
    sqlite3_stmt *_statement = nullptr;
};

/// One connection, closed when it goes. Keeps the first error until clearError(), and statements to use
/// again: to prepare them takes longer than to run them.
class SqliteDatabase
{
public:
    enum Mode { ReadOnly, ReadWrite, Create };

    SqliteDatabase();
    ~SqliteDatabase();
    SqliteDatabase(const SqliteDatabase &) = delete;
    SqliteDatabase &operator=(const SqliteDatabase &) = delete;

    bool open(const std::string &path, Mode mode);
    void close();
    bool isOpen() const { return _handle != nullptr; }
    /// The file still begins as a database does. Somebody may have cut or overwritten it in place, which the
    /// library does not notice as long as its log has the pages that it asks for.
    bool isDatabase() const;
    bool exec(std::string_view sql);
    /// The first number of the first row; `otherwise` when there is none.
    qint64 number(std::string_view sql, qint64 otherwise);
    std::string text(std::string_view sql);
    /// Until the next open(): with it every commit is on the disk when it returns, otherwise a power cut may
    /// take the last ones.
    bool setDurable(bool durable);

    bool isFailed() const { return _error != 0; }
    void clearError();
    /// The error as a result; `doing` begins the sentence, as "cannot write".
    StoreResult result(const std::string &doing) const;

private:
    friend class SqliteStatement;
    sqlite3_stmt *take(std::string_view sql);
    void giveBack(std::string_view sql, sqlite3_stmt *statement);
    void note(int code);

    sqlite3 *_handle = nullptr;
    std::map<std::string, sqlite3_stmt *, std::less<>> _idle; ///< prepared, reset and not in use
    std::optional<bool> _durable;
    std::string _path;
    int _error = 0;
    int _systemError = 0;
    std::string _message;
};
