// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/sqlitedatabase.h"

/// Tables of a store file and the code that more than one user of them shares.
namespace SqliteSchema {

inline constexpr int formatVersion = 1;

/// Tells one start of the machine from the next.
std::string bootId();
/// Checksum of a row: SQLite itself does not notice a flipped bit inside a value.
std::uint32_t rowChecksum(std::uint32_t id, const StoreValue &value, quint64 version);

/// Makes the tables of a new file and fills in `image`; the next write gets a version above `top`.
bool create(SqliteDatabase &database, const StoreImage &image, quint64 top, const std::string &epoch);
/// A whole new file at `path`, durable, as a backup or a new store. The path must be free.
StoreResult createFile(const std::string &path, const StoreImage &image, quint64 top,
                       const std::string &epoch);
/// Reads the parameters; the number of rows whose checksum is wrong, which are left out.
int readParameters(SqliteDatabase &database, StoreImage &image);
/// The version of the newest write.
quint64 newestVersion(SqliteDatabase &database);
/// Writes the row of one parameter.
bool putParameter(SqliteDatabase &database, std::uint32_t id, const StoredValue &stored);
bool addToAlarmHistory(SqliteDatabase &database, std::uint32_t id, const StoredValue &stored);

} // namespace SqliteSchema
