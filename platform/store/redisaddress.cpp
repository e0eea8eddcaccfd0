// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/redisaddress.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace {

constexpr int serverPort = 6379;
constexpr int sentinelPort = 26379;
constexpr int highestPort = 65535;

std::optional<RedisAddress::Endpoint> parseEndpoint(const std::string &text, int defaultPort)
{
    RedisAddress::Endpoint endpoint{{}, defaultPort};
    std::string::size_type colon = text.find(':');
    if (text.starts_with('[')) {
        const auto end = text.find(']');
        if (end == std::string::npos) return std::nullopt;
        endpoint.host = text.substr(1, end - 1);
        colon = end + 1 < text.size() ? end + 1 : std::string::npos;
        if (colon != std::string::npos && text[colon] != ':') return std::nullopt;
    } else {
        endpoint.host = text.substr(0, colon);
    }
    if (endpoint.host.empty()) return std::nullopt;
    if (colon == std::string::npos) return endpoint;
    const char *const first = text.data() + colon + 1;
    const char *const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(first, last, endpoint.port);
    if (error != std::errc() || end != last || endpoint.port < 1 || endpoint.port > highestPort)
        return std::nullopt;
    return endpoint;
}

/// Part of the names of keys: braces would say on which server of a cluster a key is.
bool isName(const std::string &text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](unsigned char character) {
        return std::isgraph(character) && character != '/' && character != '{' && character != '}';
    });
}

/// What stands between the slashes after the first two.
std::vector<std::string> parts(const std::string &text)
{
    if (!text.starts_with("//")) return {};
    std::vector<std::string> found;
    for (std::string::size_type from = 2; from != std::string::npos;) {
        const auto slash = text.find('/', from);
        found.push_back(text.substr(from, slash == std::string::npos ? slash : slash - from));
        from = slash == std::string::npos ? slash : slash + 1;
    }
    return found;
}

} // namespace

std::optional<RedisAddress> RedisAddress::parse(const std::string &text)
{
    const auto found = parts(text);
    if (found.size() != 2 || !isName(found[1])) return std::nullopt;
    const auto endpoint = parseEndpoint(found[0], serverPort);
    if (!endpoint) return std::nullopt;
    return RedisAddress{{*endpoint}, {}, found[1]};
}

std::optional<RedisAddress> RedisAddress::parseSentinels(const std::string &text)
{
    const auto found = parts(text);
    if (found.size() != 3 || !isName(found[1]) || !isName(found[2])) return std::nullopt;
    RedisAddress address{{}, found[1], found[2]};
    for (std::string::size_type from = 0; from != std::string::npos;) {
        const auto comma = found[0].find(',', from);
        const auto endpoint = parseEndpoint(
            found[0].substr(from, comma == std::string::npos ? comma : comma - from), sentinelPort);
        if (!endpoint) return std::nullopt;
        address.endpoints.push_back(*endpoint);
        from = comma == std::string::npos ? comma : comma + 1;
    }
    return address;
}

std::string RedisAddress::text() const
{
    std::string hosts;
    for (const Endpoint &endpoint : endpoints) {
        const bool isV6 = endpoint.host.find(':') != std::string::npos;
        hosts += (hosts.empty() ? "" : ",") + (isV6 ? "[" + endpoint.host + "]" : endpoint.host) + ":" +
                 std::to_string(endpoint.port);
    }
    return (master.empty() ? "redis://" + hosts : "redis-sentinel://" + hosts + "/" + master) + "/" +
           recorder;
}
