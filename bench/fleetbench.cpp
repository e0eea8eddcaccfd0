// SPDX-License-Identifier: GPL-3.0-or-later
// Many recorders with their stores on one server.
#include "bench/figures.h"
#include "bench/storelistener.h"

#include "platform/store/configfactoryimpl.h"

#include <QDir>
#include <QProcess>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include <hiredis/hiredis.h>

namespace {
constexpr int port = 16380;
constexpr int most = 100;
constexpr double nsPerMs = 1e6;
constexpr double kilobyte = 1024;
const QString folder = QStringLiteral("/var/lib/xp/bench-fleet");

std::string uriOf(int recorder)
{
    return "redis://127.0.0.1:" + std::to_string(port) + "/recorder-" + std::to_string(recorder);
}

/// What the server holds, in kilobytes.
double memoryOfServer(redisContext *server)
{
    auto *reply = static_cast<redisReply *>(redisCommand(server, "INFO memory"));
    const QByteArray text =
        reply && reply->str ? QByteArray(reply->str, qsizetype(reply->len)) : QByteArray();
    if (reply) freeReplyObject(reply);
    const QByteArray name = "used_memory_dataset:";
    return text.mid(text.indexOf(name) + name.size()).split('\r').first().toDouble() / kilobyte;
}

/// A recorder as the server sees it: one process that hears everything, one client that writes.
struct Member
{
    explicit Member(int number)
        : config(ConfigFactoryImpl::GetInstance()->create(uriOf(number), "bench", false)),
          listener({"ours", QString::fromStdString(uriOf(number))})
    {}
    std::unique_ptr<Config> config;
    StoreListener listener;
};

/// The others write as recorders in a take do, which tell about once a second how much room is left.
class Others
{
public:
    explicit Others(const std::vector<std::unique_ptr<Member>> &members)
        : _thread([this, &members] {
              for (unsigned value = 1; !_stop; ++value)
                  for (size_t i = 1; i < members.size() && !_stop; ++i) {
                      members[i]->config->setUInt(eParam_RecordTimeLeft, value);
                      std::this_thread::sleep_for(std::chrono::milliseconds(1000 / most));
                  }
          })
    {}
    ~Others()
    {
        _stop = true;
        _thread.join();
    }

private:
    std::atomic<bool> _stop = false;
    std::thread _thread;
};

/// Milliseconds from a write of the first one until its listener has heard it: the middle one.
double delivery(const std::vector<std::unique_ptr<Member>> &members, int rounds)
{
    const Others others(members);
    static quint32 value = 0;
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        const qint64 begin = monotonicNs();
        members.front()->config->setUInt(eParam_CurrentPlayListIndex, ++value);
        Heard heard;
        while (members.front()->listener.next(heard) && heard.value != value) {}
        if (heard.value == value) times.push_back(double(heard.ns - begin) / nsPerMs);
    }
    std::sort(times.begin(), times.end());
    return times.empty() ? 0 : times[times.size() / 2];
}

QList<Figure> measured(redisContext *server, int rounds)
{
    const double before = memoryOfServer(server);
    std::vector<std::unique_ptr<Member>> members;
    members.push_back(std::make_unique<Member>(0));
    const double first = delivery(members, rounds);
    const double one = memoryOfServer(server) - before;
    while (members.size() < most)
        members.push_back(std::make_unique<Member>(int(members.size())));
    // All of them with as long a log as the first one has.
    for (size_t i = 1; i < members.size(); ++i)
        for (int value = 1; value <= rounds; ++value)
            members[i]->config->setUInt(eParam_CurrentPlayListIndex, unsigned(value));
    const double all = delivery(members, rounds);
    const double each = (memoryOfServer(server) - before) / most;
    return {{"fleet_delivery_p50", all, "ms", first, "ms with one recorder", 1.5},
            {"fleet_memory", each, "KB", one, "KB with one recorder", 1.2}};
}
} // namespace

QList<Figure> benchFleet(int seconds)
{
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    QProcess program;
    program.start("redis-server", {"--port", QString::number(port), "--bind", "127.0.0.1", "--dir", folder,
                                   "--save", "", "--appendonly", "yes", "--appendfsync", "always"});
    if (!program.waitForStarted()) {
        std::fprintf(stderr, "redis-server is not installed: no figure\n");
        return {};
    }
    QByteArray said;
    while (!said.contains("Ready to accept") && program.waitForReadyRead(5000))
        said += program.readAll();
    redisContext *server = redisConnect("127.0.0.1", port);
    const QList<Figure> figures = measured(server, std::clamp(seconds * 10, 100, 500));
    redisFree(server);
    program.kill();
    program.waitForFinished();
    return figures;
}
