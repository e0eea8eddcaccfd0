// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/barestore.h"
#include "bench/figures.h"
#include "bench/recorderunderbench.h"
#include "bench/storelistener.h"

#include "platform/product/clipcache.h"
#include "platform/product/clipfinder.h"
#include "platform/product/clipscan.h"
#include "platform/store/configfactoryimpl.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>

#include <hiredis/hiredis.h>
#include <unistd.h>

namespace {

constexpr double nsPerMs = 1e6;
const QString folder = QStringLiteral("/var/lib/xp/bench");

double percentile(QList<double> values, double part)
{
    if (values.isEmpty()) return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, qsizetype(part * double(values.size())))];
}

std::unique_ptr<Config> client(const std::string &uri, bool queued = false)
{
    return std::unique_ptr<Config>(ConfigFactoryImpl::GetInstance()->create(uri, "bench", queued));
}

/// One way of telling another process a number.
struct Way
{
    std::function<void(quint32)> write;
    StoreListener *listener;
    QList<double> times = {}; ///< ms from the call to the other process
};

/// The ways take turns, so that what else the machine does falls on all of them.
void measure(std::initializer_list<Way *> ways, int rounds)
{
    constexpr int turn = 50;
    for (quint32 value = 1; value <= quint32(rounds);) {
        const quint32 end = value + turn;
        for (Way *way : ways)
            for (quint32 i = value; i < end; ++i) {
                const qint64 begin = monotonicNs();
                way->write(i);
                Heard heard;
                while (way->listener->next(heard) && heard.value != i) {}
                if (heard.value == i) way->times.append(double(heard.ns - begin) / nsPerMs);
            }
        value = end;
    }
}

std::string freshStore()
{
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    return "sqlite:" + folder.toStdString() + "/store.db";
}

} // namespace

QList<Figure> benchStoreDelivery(int seconds)
{
    const std::string uri = freshStore();
    const auto config = client(uri);
    if (!config) return {};
    const QString socket = folder + "/bare.socket";
    BareStore bare(folder + "/bare.db", socket);
    StoreListener ours({"ours", QString::fromStdString(uri)});
    StoreListener theirs({"bare", folder + "/bare.db", socket});
    Way our{[&](quint32 value) { config->setUInt(eParam_CurrentPlayListIndex, value); }, &ours};
    Way peer{[&](quint32 value) { bare.write(value); }, &theirs};
    measure({&our, &peer}, std::clamp(seconds * 100, 200, 5000));
    const double bound = percentile(peer.times, 0.5);
    return {{"store_delivery_p50", percentile(our.times, 0.5), "ms", bound, "ms bare", 1.5},
            {"store_delivery_p99", percentile(our.times, 0.99), "ms", {}, {}, 1.0},
            {"bare_delivery_p99", percentile(peer.times, 0.99), "ms", {}, {}, {}}};
}

QList<Figure> benchStoreBurst(int)
{
    constexpr quint32 count = 10'000;
    constexpr int listeners = 5;
    const std::string uri = freshStore();
    const auto config = client(uri, true);
    if (!config) return {};
    std::vector<std::unique_ptr<StoreListener>> heard;
    heard.reserve(listeners);
    for (int i = 0; i < listeners; ++i)
        heard.push_back(std::make_unique<StoreListener>(QStringList{"ours", QString::fromStdString(uri)}));
    const qint64 begin = monotonicNs();
    for (quint32 value = 1; value <= count; ++value)
        while (!config->setUInt(eParam_CurrentPlayListIndex, value))
            ::usleep(1000); // the queue is full
    int wrong = 0;
    qint64 end = begin;
    for (const auto &listener : heard)
        for (quint32 value = 1; value <= count; ++value) {
            Heard one;
            if (!listener->next(one) || one.value != value) {
                wrong += int(count - value + 1);
                break;
            }
            end = std::max(end, one.ns);
        }
    return {{"store_burst_lost", double(wrong), "changes", {}, {}, 0.0},
            {"store_burst_rate", double(count) / (double(end - begin) / 1e9), "1/s", {}, {}, {}}};
}

QList<Figure> benchStoreRedis(int seconds)
{
    constexpr int port = 16379;
    freshStore();
    QProcess server;
    server.start("redis-server", {"--port", QString::number(port), "--bind", "127.0.0.1", "--dir", folder,
                                  "--save", "", "--appendonly", "yes", "--appendfsync", "always"});
    if (!server.waitForStarted()) {
        std::fprintf(stderr, "redis-server is not installed: no figure\n");
        return {};
    }
    QByteArray said;
    while (!said.contains("Ready to accept") && server.waitForReadyRead(5000))
        said += server.readAll();
    const std::string uri = "redis://127.0.0.1:" + std::to_string(port) + "/bench";
    QList<Figure> figures;
    {
        const auto config = client(uri);
        redisContext *bare = redisConnect("127.0.0.1", port);
        StoreListener ours({"ours", QString::fromStdString(uri)});
        StoreListener theirs({"bare-redis", QString::number(port)});
        Way our{[&](quint32 value) { config->setUInt(eParam_CurrentPlayListIndex, value); }, &ours};
        Way peer{[&](quint32 value) {
                     redisAppendCommand(bare, "SET bare-value %u", value);
                     redisAppendCommand(bare, "XADD bare-log * v %u", value);
                     for (int answer = 0; answer < 2; ++answer) {
                         void *reply = nullptr;
                         if (redisGetReply(bare, &reply) == REDIS_OK) freeReplyObject(reply);
                     }
                 },
                 &theirs};
        measure({&our, &peer}, std::clamp(seconds * 50, 200, 3000));
        redisFree(bare);
        const double bound = percentile(peer.times, 0.5);
        figures = {
            {"redis_delivery_p50", percentile(our.times, 0.5), "ms", bound, "ms SET, XADD, XREAD", 1.2},
            {"redis_delivery_p99", percentile(our.times, 0.99), "ms", {}, {}, {}}};
    }
    server.kill();
    server.waitForFinished();
    return figures;
}

namespace {

/// Notes when the transport has told a speed.
class StatusListener : public ConfigEventListener
{
public:
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t id, unsigned value, timeval) override
    {
        if (id != eParam_TransportStatus) return;
        const std::lock_guard lock(_mutex);
        _value = value;
        _at = monotonicNs();
        _changed.notify_all();
    }
    void ParamChanged(eParam_t, std::string, timeval) override {}
    /// When it was told; 0: not within two seconds.
    qint64 waitFor(unsigned value)
    {
        std::unique_lock lock(_mutex);
        const bool came = _changed.wait_for(lock, std::chrono::seconds(2), [&] { return _value == value; });
        return came ? _at : 0;
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    unsigned _value = 0;
    qint64 _at = 0;
};

} // namespace

QList<Figure> benchParameterToAction(int seconds)
{
    constexpr unsigned play = 1;
    constexpr unsigned stop = 4;
    constexpr unsigned playing = 3; // of the transport's status
    constexpr int length = 100;
    RecorderUnderBench recorder;
    if (!recorder.startTake()) return {};
    recorder.waitFor("some frames", [&] { return recorder.counter("current_clip_frames") >= length; });
    recorder.endTake();
    const auto config = client(GetConfigURI("udp"));
    StatusListener listener;
    config->addListener(&listener);
    config->setUInt(eParam_LoopPlayback, 1);
    // A command that comes while the take's mode is still being left is refused, so it is given again.
    constexpr qint64 again = 200 * qint64(nsPerMs);
    qint64 given = 0;
    const auto plays = [&] {
        if (recorder.status() != playing && monotonicNs() - given > again) {
            recorder.write(eParam_TransportCommand, play);
            given = monotonicNs();
        }
        return recorder.shown().frame > 2;
    };
    if (!recorder.waitFor("playback", plays)) return {};
    QList<double> times;
    // 1.5 is told as faster than normal, 0.5 as normal: every write is told at once, and nothing is opened.
    for (int i = 0; i < std::clamp(seconds * 4, 40, 200); ++i) {
        const qint64 begin = monotonicNs();
        config->setString(eParam_TransportSpeed, i % 2 ? "0.5" : "1.5");
        if (const qint64 end = listener.waitFor(i % 2 ? 3 : 4)) times.append(double(end - begin) / nsPerMs);
    }
    recorder.write(eParam_TransportCommand, stop);
    recorder.write(eParam_TransportCommand, stop);
    config->setUInt(eParam_LoopPlayback, 0);
    if (times.isEmpty()) return {};
    return {{"action_and_answer_p50", percentile(times, 0.5), "ms", {}, {}, 2.0},
            {"action_and_answer_p99", percentile(times, 0.99), "ms", {}, {}, {}}};
}

QList<Figure> benchClipList(int)
{
    constexpr int count = 10'000;
    RecorderUnderBench recorder;
    if (!recorder.startTake()) return {};
    recorder.waitFor("a frame", [&] { return recorder.counter("recorded_up_to") >= 1; });
    recorder.endTake();
    const QString medium = QStringLiteral("/media/B");
    const QByteArray original = (medium + "/list_00000.mov").toLocal8Bit();
    QFile::copy(recorder.clipPath(), QString::fromLocal8Bit(original));
    for (int i = 1; i < count; ++i)
        if (::link(original.constData(),
                   (medium + QStringLiteral("/list_%1.mov").arg(i, 5, 10, QChar('0'))).toLocal8Bit()) != 0)
            return {};
    ClipCache shared(ClipCache::AllClips);
    const auto isShared = [&] {
        const auto listing = shared.listing(medium.toStdString());
        return listing && isUpToDate(*listing);
    };
    if (!recorder.waitFor("the media daemon's list", isShared, 60)) return {};
    const auto config = client(freshStore());
    config->setString(eParam_ActiveMediaPath, medium.toStdString());
    ClipFinder finder(config.get());
    QList<double> times;
    std::size_t found = 0;
    for (int i = 0; i < 20; ++i) {
        const qint64 begin = monotonicNs();
        found = finder.findClips(true, false, true).size();
        times.append(double(monotonicNs() - begin) / nsPerMs);
    }
    for (int i = 0; i < count; ++i)
        QFile::remove(medium + QStringLiteral("/list_%1.mov").arg(i, 5, 10, QChar('0')));
    return {{"clips_listed", double(found), "clips", {}, {}, {}},
            {"clip_list_p50", percentile(times, 0.5), "ms", {}, {}, 100.0}};
}
