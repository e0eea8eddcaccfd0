// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/sqlitedatabase.h"
#include "platform/store/storebackend.h"
#include "platform/store/storefiles.h"
#include "platform/store/storelock.h"
#include "platform/store/wakeupsocket.h"

#include <chrono>
#include <optional>
#include <string>

/// A store in one SQLite file, with no server.
///
/// Delivery comes from the log table, which every write goes through. The wake-up sockets are a hint; the
/// change that one tells of saves a reader who stands right before it the look into the table. One lock file
/// around every write and every checkpoint, and no checkpoint that SQLite starts by itself: a restart of the
/// write-ahead log that meets another connection's checkpoint can lose commits. Reads are short, so that the
/// write-ahead log can be emptied.
class SqliteBackend : public StoreBackend
{
public:
    explicit SqliteBackend(const StoreContext &context);
    ~SqliteBackend() override;

    StoreResult prepare(bool thorough) override;
    StoreResult write(const std::vector<StoreWrite> &writes, std::vector<quint64> &versions) override;
    StoreResult read(eParam_t id, std::optional<StoredValue> &stored) override;
    StoreResult snapshot(StoreImage &image, StoreCursor &cursor) override;
    StoreResult changes(const StoreCursor &cursor, int most, std::vector<StoreChange> &changes,
                        bool &reload) override;
    int listen() override;
    void drain() override;
    std::vector<StoreWrite> takeUrgent() override;
    HeardChanges takeHeard() override { return _wakeup.takeHeard(); }
    void care() override;
    StoreResult alarmHistory(int newest, std::vector<AlarmRecord> &records) override;

private:
    static constexpr std::chrono::milliseconds lockWithin{5000};
    // sqlitebackend.cpp: the daily work
    StoreResult locked(const std::function<StoreResult()> &work,
                       std::chrono::milliseconds within = lockWithin);
    StoreResult connectForReading();
    StoreResult connectForWriting();
    StoreResult openAtPath();
    StoreResult commit(const std::vector<StoreWrite> &writes, std::vector<quint64> &versions);
    StoreResult readRow(eParam_t id, std::optional<StoredValue> &stored);
    bool writeOne(const StoreWrite &write, const std::string &source, quint64 &newest);
    bool trim(quint64 newest);
    void disconnect();
    StoreResult damaged(const std::string &what) const;

    // sqliterepair.cpp: what is done when the store is missing or broken
    StoreResult createOrRestore(const std::string &reason);
    StoreImage newestGoodBackup(quint64 &top);
    void salvage(StoreImage &image, quint64 &top);
    StoreResult clearLeftovers(bool isStart);

    // sqlitecare.cpp: upkeep
    std::string checkpoint(); ///< why not; empty when it is well
    std::string backUp();
    void tellOfRoom();
    std::string dateStamp() const;
    qint64 wallMicroseconds() const;

    StoreContext _context;
    StoreFiles _files;
    StoreLock _lock;
    SqliteDatabase _database;
    std::optional<StoreFiles::Identity> _identity; ///< of the open database
    std::string _epoch;                            ///< of the open database
    WakeupSocket _wakeup;
    StoreChange _written;      ///< the last row that was made
    quint64 _trimmed = 0;      ///< newest version when the bounds were looked at last
    quint64 _checkpointed = 0; ///< newest version at the last checkpoint
    std::string _careError;    ///< told last
    int _careRounds = 0;
    bool _wasPrepared = false; ///< thoroughly, as at the start of a long-lived client
};
