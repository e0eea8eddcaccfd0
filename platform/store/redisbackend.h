// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/redisconnection.h"
#include "platform/store/rediswakeup.h"
#include "platform/store/storebackend.h"

#include <string>
#include <vector>

/// A store on a Redis server, for many recorders or many machines.
///
/// Every write is one script: it counts the version up, appends to the log and sets the value, so that
/// delivery comes from the log alone. A server that has fallen back (a copy took over that had not got the
/// newest writes) is recognised by its version, or by what it holds at the reader's place in the log; whoever
/// sees that first begins a new epoch, above all versions known, and every reader takes a snapshot and writes
/// again what it knows. A write whose answer was lost may have been made: it is sent again with the number of
/// its first try, by which the server knows it.
class RedisBackend : public StoreBackend
{
public:
    /// `address` must be well-formed.
    RedisBackend(const StoreContext &context, const RedisAddress &address,
                 const std::string &passwordFile = standardPasswordFile());
    ~RedisBackend() override;

    /// QmxPlaces::redisPassword
    static std::string standardPasswordFile();

    StoreResult prepare(bool thorough) override;
    StoreResult write(const std::vector<StoreWrite> &writes, std::vector<quint64> &versions) override;
    StoreResult read(eParam_t id, std::optional<StoredValue> &stored) override;
    StoreResult snapshot(StoreImage &image, StoreCursor &cursor) override;
    StoreResult changes(const StoreCursor &cursor, int most, std::vector<StoreChange> &changes,
                        bool &reload) override;
    int listen() override;
    void drain() override;
    /// Nothing: the server looks after itself.
    void care() override;
    StoreResult alarmHistory(int newest, std::vector<AlarmRecord> &records) override;

private:
    using Words = RedisConnection::Words;
    /// A write that only counts while the parameter has a certain version (0: any).
    struct Order
    {
        StoreWrite write;
        quint64 expected = 0;
    };
    /// Where the values were written, by id.
    using Origins = std::unordered_map<std::uint32_t, std::string>;
    enum class Answer { Done, Gone, Back, There };

    // redisbackend.cpp: the daily work
    StoreResult ask(const Words &command, RedisValue &answer, bool *lost = nullptr);
    StoreResult claim();
    StoreResult run(const char *script, const Words &keys, const Words &arguments, RedisValue &answer,
                    Answer &outcome, bool *lost = nullptr);
    StoreResult commit(const std::vector<Order> &orders, std::vector<quint64> &versions, bool &lost);
    StoreResult put(const std::vector<Order> &orders, const std::string &source, const std::string &writer,
                    quint64 firstTry, RedisValue &answer, Answer &outcome, bool *lost = nullptr);
    StoreResult take(StoreImage &image, StoreCursor &cursor, Origins *origins);
    StoreResult missing() const;
    qint64 wallMicroseconds() const;
    std::string key(const std::string &name) const;
    Words storeKeys() const;

    // redisrepair.cpp: what is done when the store is missing, has fallen back or was left by the dead
    StoreResult create();
    StoreResult beginEpoch(const std::string &old, bool &first);
    StoreResult clearLeftovers(bool thorough);
    StoreResult putUpkeep(const std::vector<Order> &orders);
    void warnOfForgetfulServer();
    std::string newEpoch() const;
    quint64 newestKnown() const;

    StoreContext _context;
    const RedisAddress _address;
    const std::string _origin;
    RedisConnection _connection;
    RedisWakeup _wakeup;
    qint64 _lastAnswer = 0; ///< when the server answered last: microseconds since 1970; 0: never
    qint64 _claimed = 0;    ///< when the recorder's name was last found ours, in the same time; 0: never
    int _careRounds = 0;
    quint64 _newest = 0;  ///< newest version that the server has told
    quint64 _seen = 0;    ///< version up to which changes have been given out ...
    std::string _seenRow; ///< ... and the row there; empty when it is not known

    const std::string _writer;           ///< name of this object at the server
    quint64 _try = 0;                    ///< number of the last try of a batch
    quint64 _firstTry = 0;               ///< of the batch that has not been answered
    std::vector<StoreWrite> _unanswered; ///< that batch
};
