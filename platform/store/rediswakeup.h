// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/redisconnection.h"

/// The hint that a log has grown: a connection of its own on which the server is asked to answer as soon as
/// there is an entry after a version. It is only a hint: whoever misses one finds the entry all the same.
/// One thread at a time.
class RedisWakeup
{
public:
    RedisWakeup(const RedisAddress &address, const std::string &passwordFile,
                std::shared_ptr<std::atomic<bool>> interrupted, const std::string &log);

    /// A descriptor that becomes readable when there is an entry after `version`; -1: cannot be had now.
    int listen(quint64 version);
    /// Takes the answer, if there is one.
    void drain();

private:
    RedisConnection _connection;
    const std::string _log; ///< its key
    quint64 _from = 0;      ///< newest version that has been told
    bool _waiting = false;  ///< the server has been asked
    int _pause = 0;         ///< turns to leave the server alone
};
