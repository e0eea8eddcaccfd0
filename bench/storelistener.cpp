// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/storelistener.h"

#include "platform/store/configfactoryimpl.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <hiredis/hiredis.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sqlite3.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void tell(const Heard &heard)
{
    if (::write(STDOUT_FILENO, &heard, sizeof heard) != sizeof heard) ::_exit(1);
}

void tell(quint32 value)
{
    tell(Heard{monotonicNs(), value});
}

class Teller : public ConfigEventListener
{
public:
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t id, unsigned value, timeval) override
    {
        if (id == eParam_CurrentPlayListIndex) tell(value);
    }
    void ParamChanged(eParam_t, std::string, timeval) override {}
};

int listenToOurs(const std::string &uri)
{
    const std::unique_ptr<Config> config(
        ConfigFactoryImpl::GetInstance()->create(uri, "bench-listener-" + std::to_string(::getpid()), false));
    if (!config) return 1;
    Teller teller;
    config->addListener(&teller);
    tell(0);
    ::pause();
    return 0;
}

/// Passes on what it hears as a line over TCP, too, when there is somebody at `port`.
class Relay
{
public:
    explicit Relay(int port) : _fd(port > 0 ? ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0) : -1)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int on = 1;
        if (_fd < 0) return;
        ::connect(_fd, reinterpret_cast<const sockaddr *>(&address), sizeof address);
        ::setsockopt(_fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~Relay()
    {
        if (_fd >= 0) ::close(_fd);
    }
    Relay(const Relay &) = delete;
    Relay &operator=(const Relay &) = delete;
    void pass(quint32 value) const
    {
        if (_fd < 0) return;
        const std::string line = std::to_string(value) + '\n';
        if (::write(_fd, line.data(), line.size()) < 0) ::_exit(1);
    }

private:
    const int _fd;
};

int listenBare(const std::string &database, const std::string &path, int port)
{
    const Relay relay(port);
    sqlite3 *handle = nullptr;
    sqlite3_stmt *newer = nullptr;
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    if (sqlite3_open(database.c_str(), &handle) != SQLITE_OK ||
        sqlite3_prepare_v2(handle, "SELECT version, value FROM log WHERE version > ? ORDER BY version", -1,
                           &newer, nullptr) != SQLITE_OK ||
        ::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        return 1;
    tell(0);
    sqlite3_int64 cursor = 0;
    char text[64];
    while (::recv(fd, text, sizeof text, 0) > 0) {
        sqlite3_bind_int64(newer, 1, cursor);
        while (sqlite3_step(newer) == SQLITE_ROW) {
            cursor = sqlite3_column_int64(newer, 0);
            const Heard heard{monotonicNs(), static_cast<quint32>(sqlite3_column_int64(newer, 1))};
            relay.pass(heard.value);
            tell(heard);
        }
        sqlite3_reset(newer);
    }
    return 0;
}

int listenBareRedis(int port)
{
    redisContext *server = redisConnect("127.0.0.1", port);
    if (!server || server->err) return 1;
    tell(0);
    std::string last = "0-0";
    for (;;) {
        auto *reply = static_cast<redisReply *>(
            redisCommand(server, "XREAD COUNT 256 BLOCK 0 STREAMS bare-log %s", last.c_str()));
        if (!reply || reply->type != REDIS_REPLY_ARRAY) return 1;
        const redisReply *entries = reply->element[0]->element[1];
        for (std::size_t i = 0; i < entries->elements; ++i) {
            last = entries->element[i]->element[0]->str;
            tell(static_cast<quint32>(std::atoi(entries->element[i]->element[1]->element[1]->str)));
        }
        freeReplyObject(reply);
    }
}

} // namespace

qint64 monotonicNs()
{
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

int runStoreListener(const QStringList &arguments)
{
    const QString role = arguments.value(0);
    const std::string first = arguments.value(1).toStdString();
    if (role == QLatin1String("ours")) return listenToOurs(first);
    if (role == QLatin1String("bare"))
        return listenBare(first, arguments.value(2).toStdString(), arguments.value(3).toInt());
    if (role == QLatin1String("bare-redis")) return listenBareRedis(arguments.value(1).toInt());
    return 2;
}

StoreListener::StoreListener(const QStringList &role)
{
    std::vector<QByteArray> words{"/proc/self/exe", "--listener"};
    for (const QString &word : role)
        words.push_back(word.toLocal8Bit());
    std::vector<char *> pointers;
    pointers.reserve(words.size() + 1);
    for (QByteArray &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) return;
    _pid = ::fork();
    if (_pid == 0) {
        ::dup2(ends[1], STDOUT_FILENO);
        ::execv(pointers[0], pointers.data());
        ::_exit(127);
    }
    ::close(ends[1]);
    _fd = ends[0];
    Heard ready;
    next(ready);
}

StoreListener::~StoreListener()
{
    if (_pid > 0) {
        ::kill(_pid, SIGKILL);
        ::waitpid(_pid, nullptr, 0);
    }
    if (_fd >= 0) ::close(_fd);
}

bool StoreListener::next(Heard &heard, int milliseconds)
{
    pollfd descriptor{_fd, POLLIN, 0};
    return ::poll(&descriptor, 1, milliseconds) > 0 && ::read(_fd, &heard, sizeof heard) == sizeof heard;
}
