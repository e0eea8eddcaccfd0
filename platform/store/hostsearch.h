// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>

/// The addresses of hosts by their names. The system's resolver waits for minutes for name servers that are
/// silent, and cannot be stopped; so it waits on a thread of its own. One thread at a time.
class HostSearch
{
public:
    /// A numeric address of the host, found within `limit`; else empty, and `why` says in a word or two why.
    /// A search that takes longer goes on, and the next call has what it found.
    std::string address(const std::string &host, std::chrono::milliseconds limit, std::string &why);

private:
    struct Search;
    std::map<std::string, std::shared_ptr<Search>> _searches; ///< those that still go on
};
