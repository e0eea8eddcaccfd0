// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/hostsearch.h"
#include "platform/store/redisaddress.h"
#include "platform/store/storebackend.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

struct redisContext;

/// What a server answers. A plain value.
struct RedisValue
{
    enum class Kind { Nothing, Text, Number, List, Error };

    Kind kind = Kind::Nothing;
    std::string text; ///< of Text and Error
    long long number = 0;
    std::vector<RedisValue> items;

    bool isError() const { return kind == Kind::Error; }
    bool isText() const { return kind == Kind::Text; }
    /// The item, or an empty value when there are not so many.
    const RedisValue &at(std::size_t index) const;
};

/// A connection to a server; asks the sentinels first where there are some. Every wait has a limit and ends
/// early when the client ends. A server that goes away raises no signal. One thread at a time.
class RedisConnection
{
public:
    using Words = std::vector<std::string>;

    /// `passwordFile`: its first line is sent as the password; a file that is not there is none.
    RedisConnection(const RedisAddress &address, const std::string &passwordFile,
                    std::shared_ptr<std::atomic<bool>> interrupted);
    ~RedisConnection();

    bool isOpen() const { return _context != nullptr; }
    /// Connects when it is not.
    StoreResult open();
    void close();
    int descriptor() const;

    /// Sends a command and waits for the answer. An answer that is an error is Done too. When it fails, the
    /// connection is closed; `sent`: the server may have got the command.
    StoreResult ask(const Words &command, RedisValue &answer, bool *sent = nullptr);
    /// Sends without waiting; receive() fetches the answer.
    bool send(const Words &command);
    enum class Received { Nothing, Answer, Lost };
    /// An answer, when it is there already. Waits for nothing.
    Received receive(RedisValue &answer);

    /// What an error answer means, for the operator.
    StoreResult refusal(const RedisValue &answer) const;

private:
    struct Closer
    {
        void operator()(redisContext *context) const;
    };
    StoreResult connect(const RedisAddress::Endpoint &endpoint);
    StoreResult findMaster(RedisAddress::Endpoint &endpoint);
    StoreResult introduce();
    StoreResult failure(const std::string &what) const;
    bool waitFor(short events);

    const RedisAddress _address;
    const std::string _passwordFile;
    const std::shared_ptr<std::atomic<bool>> _interrupted;
    std::unique_ptr<redisContext, Closer> _context;
    std::string _lost;         ///< why the connection was lost
    std::size_t _received = 0; ///< bytes of the present answer
    long long _elements = 0;   ///< of it
    HostSearch _hosts;
    std::chrono::milliseconds _waited{}; ///< for it, while nothing came
};
