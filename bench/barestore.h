// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <sqlite3.h>
#include <sys/un.h>

/// The same rows as the store writes in the same kind of file, and a datagram, with nothing around them.
class BareStore
{
public:
    BareStore(const QString &database, const QString &socket);
    ~BareStore();
    BareStore(const BareStore &) = delete;
    BareStore &operator=(const BareStore &) = delete;

    void write(quint32 value);

private:
    void run(const char *sql) { sqlite3_exec(_handle, sql, nullptr, nullptr, nullptr); }
    void prepare(const char *sql, sqlite3_stmt *&statement)
    {
        sqlite3_prepare_v2(_handle, sql, -1, &statement, nullptr);
    }
    sqlite3 *_handle = nullptr;
    sqlite3_stmt *_append = nullptr;
    sqlite3_stmt *_put = nullptr;
    const int _socket;
    sockaddr_un _address{};
};
