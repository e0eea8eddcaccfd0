// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/redisconnection.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// Where the store of this recorder is, when it is on a server.
std::optional<RedisAddress> redisAddressOfStore();

/// The recorders that have their stores on one server. One thread at a time; every call waits for the server.
class RedisFleet
{
public:
    struct Member
    {
        std::string name;
        std::string machine; ///< empty: nobody uses it now
        std::string address; ///< that the server sees
        std::string panel;   ///< where its panel is, "HOST:PORT" or "https://HOST:PORT"; empty: it has not
                             ///< announced one
    };

    RedisFleet(const RedisAddress &address, const std::string &passwordFile);

    /// All that have a store there, by name.
    StoreResult list(std::vector<Member> &members);
    /// This end of the connection to the server.
    StoreResult ownAddress(std::string &address);
    /// Tells all where the panel of a recorder is. It is forgotten after a while.
    StoreResult announce(const std::string &name, const std::string &panel, std::chrono::seconds forSoLong);
    /// A recorder that is not in use gets another name, with all that it knows.
    StoreResult rename(const std::string &from, const std::string &to);
    /// A recorder that is not in use is forgotten.
    StoreResult remove(const std::string &name);

    /// Which recorder of which start of which machine this process belongs to: "HOST/BOOT#PLACES".
    static std::string thisRecorder();
    /// What a holder of a name has written about itself: thisRecorder(), a blank, its address.
    static Member memberOf(const std::string &name, const std::string &holder);
    /// This end of a connection; "an unknown address" when there is none.
    static std::string addressOf(int descriptor);
    /// Names of the keys of a recorder: epoch, version, param, log, alarms, machine.
    static RedisConnection::Words keysOf(const std::string &name);

private:
    StoreResult run(const char *script, const RedisConnection::Words &keys, const std::string &name,
                    const std::string &to = {});

    RedisConnection _connection;
};
