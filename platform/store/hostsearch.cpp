// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/hostsearch.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxthreads.h"

#include <array>
#include <condition_variable>
#include <mutex>

#include <netdb.h>
#include <sys/socket.h>

namespace {
/// The first address of the host, as digits; else why there is none. Waits.
std::string lookUp(const std::string &host, int flags, std::string &why)
{
    addrinfo wanted = {};
    wanted.ai_socktype = SOCK_STREAM;
    wanted.ai_flags = flags;
    addrinfo *list = nullptr;
    const int error = ::getaddrinfo(host.c_str(), nullptr, &wanted, &list);
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> holder(list, ::freeaddrinfo);
    std::array<char, NI_MAXHOST> digits = {};
    if (error != 0 || !list ||
        ::getnameinfo(list->ai_addr, list->ai_addrlen, digits.data(), digits.size(), nullptr, 0,
                      NI_NUMERICHOST) != 0) {
        why = error != 0 ? ::gai_strerror(error) : "it has no address";
        return {};
    }
    return digits.data();
}
} // namespace

struct HostSearch::Search
{
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    std::string address, why;
};

std::string HostSearch::address(const std::string &host, std::chrono::milliseconds limit, std::string &why)
{
    if (std::string digits = lookUp(host, AI_NUMERICHOST, why); !digits.empty()) return digits;
    std::shared_ptr<Search> &search = _searches[host];
    if (!search) {
        search = std::make_shared<Search>();
        const QmxError error = QmxEnvironment::current().threads->startDetached(
            QStringLiteral("store-name"), [search = search, host] {
                std::string problem;
                const std::string found = lookUp(host, 0, problem);
                const std::lock_guard lock(search->mutex);
                search->address = found;
                search->why = problem;
                search->done = true;
                search->changed.notify_all();
            });
        if (error.isError()) {
            _searches.erase(host);
            why = error.toString().toStdString();
            return {};
        }
    }
    std::string found;
    {
        std::unique_lock lock(search->mutex);
        if (!search->changed.wait_for(lock, limit, [&search] { return search->done; })) {
            why = "no name server answers";
            return {};
        }
        found = search->address;
        why = search->why;
    }
    _searches.erase(host); // the next one looks anew: a host may move
    return found;
}
