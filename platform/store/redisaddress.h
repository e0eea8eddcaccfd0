// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

/// Where the parameters of one recorder are: servers, and the recorder's name there. A plain value.
struct RedisAddress
{
    struct Endpoint
    {
        std::string host;
        int port = 0;
    };

    std::vector<Endpoint> endpoints; ///< one server, or the sentinels that know where it is
    std::string master;              ///< its name at the sentinels; empty without sentinels
    std::string recorder;

    /// "//HOST[:PORT]/RECORDER"; an IPv6 address stands in brackets.
    static std::optional<RedisAddress> parse(const std::string &text);
    /// "//HOST[:PORT][,HOST[:PORT]...]/MASTER/RECORDER"
    static std::optional<RedisAddress> parseSentinels(const std::string &text);
    /// As it was written, for the operator.
    std::string text() const;
};
