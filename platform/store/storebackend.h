// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/store/config.h"
#include "platform/store/storevalue.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

/// Until when something of the store is waited for: other processes hold it up, so it is their time that
/// counts.
using StoreDeadline = std::chrono::steady_clock::time_point;

/// A committed value and its place in the store's order of writes.
struct StoredValue
{
    StoreValue value;
    quint64 version = 0;
    std::string source; ///< who wrote it
    qint64 time = 0;    ///< when: microseconds since 1970
};

/// All parameters that have ever been written, by id.
using StoreImage = std::unordered_map<std::uint32_t, StoredValue>;

struct StoreWrite
{
    eParam_t id{};
    StoreValue value;
};

struct StoreChange
{
    eParam_t id{};
    StoredValue stored;
};

/// How far a reader has come. Another epoch means another history: what lies between is unknown.
struct StoreCursor
{
    std::string epoch;
    quint64 version = 0;

    /// Where the log of this epoch begins: all changes with higher versions were made in it. An epoch that
    /// does not say so is taken as one without changes.
    quint64 epochBegin() const;
    /// The end of the name of an epoch that begins at `version`.
    static std::string epochSuffix(quint64 beginning) { return "+" + std::to_string(beginning); }
};

struct HeardChanges;

struct StoreResult
{
    enum Code { Done, Busy, Full, ReadOnly, Unreachable, Damaged };
    Code code = Done;
    std::string text; ///< for the operator: what is wrong, where, what to do

    bool isDone() const { return code == Done; }
};

/// What a backend is given. `memory` answers, from any thread, with all committed values that the process
/// knows; `interrupted` ends waiting early.
struct StoreContext
{
    std::string path; ///< the address after the scheme
    std::string source;
    QmxEnvironment environment;
    std::function<StoreImage()> memory;
    std::shared_ptr<std::atomic<bool>> interrupted;
    /// Of the daemons, not of a companion, which may be on any machine: a store on a server is theirs alone.
    bool isRecorder = false;
    /// Rounds of upkeep after which a recorder's program looks for alarms whose process has died.
    static constexpr int roundsUntilClear = 5;
};

/// One connection to a store. One thread at a time; reconnects by itself. The promises that every backend
/// keeps: a write that is Done survives the death of any process, and a power cut when the parameter is
/// persistent; changes() gives every change in order, exactly once, or tells to reload.
class StoreBackend
{
public:
    virtual ~StoreBackend();

    /// Once for each client, before all else: creates what is missing, checks and restores what is damaged
    /// (`thorough`: every page), clears what earlier processes left behind (storeSourceHasLeft()).
    virtual StoreResult prepare(bool thorough) = 0;
    /// Commits all of `writes` or none. `versions` gets one number each; 0: equal to what is there, no event.
    virtual StoreResult write(const std::vector<StoreWrite> &writes, std::vector<quint64> &versions) = 0;
    /// Nothing in `stored` when the parameter has never been written.
    virtual StoreResult read(eParam_t id, std::optional<StoredValue> &stored) = 0;
    virtual StoreResult snapshot(StoreImage &image, StoreCursor &cursor) = 0;
    /// Up to `most` changes after the cursor, which it leaves alone; `reload`: what came after the cursor is
    /// not known any more, take a snapshot.
    virtual StoreResult changes(const StoreCursor &cursor, int most, std::vector<StoreChange> &changes,
                                bool &reload) = 0;
    /// A descriptor that becomes readable when something may have changed; -1: there is none, poll.
    virtual int listen() = 0;
    /// Empties what listen() gave.
    virtual void drain() = 0;
    /// What has come past the store: a take can be stopped while somebody keeps the store locked. Each once.
    virtual std::vector<StoreWrite> takeUrgent() { return {}; }
    /// The changes that came with what drain() emptied last; the first that follows on a cursor, and those
    /// that follow on it, need not be read with changes(). Each once.
    virtual HeardChanges takeHeard();
    /// Upkeep that no write should wait for, alarms of the dead among it; called about once a second from a
    /// thread of its own.
    virtual void care() = 0;
    virtual StoreResult alarmHistory(int newest, std::vector<AlarmRecord> &records) = 0;
};

/// A kind of store: a row in backends.cpp.
struct StoreBackendRow
{
    std::string scheme;
    std::string form; ///< how an address of this kind is written
    bool (*isWellFormed)(const std::string &path);
    std::unique_ptr<StoreBackend> (*make)(const StoreContext &context);
};

const std::vector<StoreBackendRow> &storeBackends();
/// The row of a well-formed address, and what stands after its scheme; null when there is none.
const StoreBackendRow *findStoreBackend(const std::string &uri, std::string &path);
