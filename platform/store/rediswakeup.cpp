// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/rediswakeup.h"

#include <algorithm>
#include <charconv>

namespace {
constexpr int pauseTurns = 20; // after a server that cannot or will not tell
}

RedisWakeup::RedisWakeup(const RedisAddress &address, const std::string &passwordFile,
                         std::shared_ptr<std::atomic<bool>> interrupted, const std::string &log)
    : _connection(address, passwordFile, std::move(interrupted)), _log(log)
{}

int RedisWakeup::listen(quint64 version)
{
    _from = std::max(_from, version);
    if (_waiting) return _connection.descriptor();
    if (_pause > 0) {
        --_pause;
        return -1;
    }
    if (!_connection.open().isDone()) {
        _pause = pauseTurns;
        return -1;
    }
    _waiting = _connection.send(
        {"XREAD", "COUNT", "1", "BLOCK", "0", "STREAMS", _log, std::to_string(_from) + "-0"});
    if (!_waiting) _connection.close();
    return _connection.descriptor();
}

void RedisWakeup::drain()
{
    if (!_waiting) return;
    RedisValue answer;
    const RedisConnection::Received received = _connection.receive(answer);
    if (received == RedisConnection::Received::Nothing) return;
    _waiting = false;
    if (received == RedisConnection::Received::Lost || answer.isError()) {
        _connection.close();
        if (answer.isError()) _pause = pauseTurns;
        return;
    }
    // One list for each log, there its name and its entries, and there the id and the fields.
    const std::string &id = answer.at(0).at(1).at(0).at(0).text;
    quint64 version = 0;
    std::from_chars(id.data(), id.data() + id.size(), version);
    _from = std::max(_from, version);
}
