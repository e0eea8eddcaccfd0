// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/store/redisbackend.h"
#include "tests/fuzz/fuzz.h"

#include <atomic>
#include <mutex>
#include <thread>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

/// A server that answers every connection with the input and hangs up.

namespace {

class Server
{
public:
    Server() : _fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *place = reinterpret_cast<sockaddr *>(&address);
        Fuzz::mustHold(::bind(_fd, place, size) == 0 && ::listen(_fd, 64) == 0, "a port can be had");
        ::getsockname(_fd, place, &size);
        port = ntohs(address.sin_port);
        std::thread([this] { serve(); }).detach();
    }
    void answer(std::string bytes)
    {
        const std::lock_guard lock(_mutex);
        _answer = std::move(bytes);
    }
    int port = 0;

private:
    void serve()
    {
        for (;;) {
            const int fd = ::accept(_fd, nullptr, nullptr);
            char asked[4096];
            if (fd < 0 || ::recv(fd, asked, sizeof asked, 0) <= 0) {
                ::close(fd);
                continue;
            }
            const std::lock_guard lock(_mutex);
            ::send(fd, _answer.data(), _answer.size(), MSG_NOSIGNAL);
            ::shutdown(fd, SHUT_WR);
            ::close(fd);
        }
    }
    int _fd;
    std::mutex _mutex;
    std::string _answer;
};

} // namespace

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(folder, "snapshot",
              "*5\r\n$4\r\ndone\r\n$3\r\ne+0\r\n$1\r\n7\r\n*1\r\n*2\r\n$1\r\n7\r\n*4\r\n$1\r\ni\r\n$9\r\n"
              "838860801\r\n$1\r\nr\r\n$15\r\n0 7 8 o s@1.1\n3\r\n*2\r\n$9\r\n838860801\r\n$15\r\n0 7 8 o "
              "s@1.1\n3\r\n");
    writeSeed(folder, "error", "-READONLY You can't write against a read only replica.\r\n");
    writeSeed(folder, "gone", "*1\r\n$4\r\ngone\r\n");
    writeSeed(folder, "large", "*2147483647\r\n$536870912\r\nx");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    static Server server;
    CreateDescriptors();
    server.answer(Fuzz::text(data, size));
    RedisAddress address;
    address.endpoints = {{"127.0.0.1", server.port}};
    address.recorder = "fuzz";
    StoreContext context;
    context.source = "fuzz@1.1";
    context.environment = QmxEnvironment::current();
    context.interrupted = std::make_shared<std::atomic<bool>>(false);
    RedisBackend backend(context, address, "/dev/null");
    StoreImage image;
    StoreCursor cursor;
    backend.snapshot(image, cursor);
    std::vector<StoreChange> changes;
    bool reload = false;
    backend.changes(cursor, 10, changes, reload);
    std::vector<AlarmRecord> records;
    backend.alarmHistory(10, records);
    return 0;
}
