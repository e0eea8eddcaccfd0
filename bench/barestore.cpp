// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/barestore.h"

#include <cstring>

#include <sys/socket.h>
#include <unistd.h>

BareStore::BareStore(const QString &database, const QString &socket)
    : _socket(::socket(AF_UNIX, SOCK_DGRAM, 0))
{
    sqlite3_open(database.toLocal8Bit().constData(), &_handle);
    run("PRAGMA journal_mode = WAL");
    run("PRAGMA synchronous = NORMAL");
    run("PRAGMA wal_autocheckpoint = 0");
    run("CREATE TABLE log(version INTEGER PRIMARY KEY AUTOINCREMENT, id, kind, value, source, time, "
        "crc)");
    run("CREATE TABLE param(id INTEGER PRIMARY KEY, kind, value, version, source, time, crc)");
    prepare("INSERT INTO log(id, kind, value, source, time, crc) VALUES(1, 1, ?, 'bench', 0, 0)", _append);
    prepare("INSERT OR REPLACE INTO param(id, kind, value, version, source, time, crc) "
            "VALUES(1, 1, ?, 0, 'bench', 0, 0)",
            _put);
    _address.sun_family = AF_UNIX;
    std::strncpy(_address.sun_path, socket.toLocal8Bit().constData(), sizeof _address.sun_path - 1);
}

BareStore::~BareStore()
{
    sqlite3_finalize(_append);
    sqlite3_finalize(_put);
    sqlite3_close(_handle);
    ::close(_socket);
}

void BareStore::write(quint32 value)
{
    run("BEGIN IMMEDIATE");
    for (sqlite3_stmt *statement : {_append, _put}) {
        sqlite3_bind_int64(statement, 1, value);
        sqlite3_step(statement);
        sqlite3_reset(statement);
    }
    run("COMMIT");
    ::sendto(_socket, "x", 1, 0, reinterpret_cast<const sockaddr *>(&_address), sizeof _address);
}
