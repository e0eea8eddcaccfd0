// SPDX-License-Identifier: GPL-3.0-or-later
// The panel as its clients have it: sockets of our own, which do nothing but ask and listen.
#include "bench/barestore.h"
#include "bench/figures.h"
#include "bench/recorderunderbench.h"
#include "bench/storelistener.h"

#include "platform/control/control.h"
#include "platform/store/configfactoryimpl.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
constexpr int port = 8190;
constexpr double nsPerMs = 1e6;

double median(QList<double> values)
{
    if (values.isEmpty()) return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// One connection to the panel, blocking.
class Client
{
public:
    Client() : _fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        _isOpen = ::connect(_fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
        const int on = 1;
        ::setsockopt(_fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~Client() { ::close(_fd); }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    bool isOpen() const { return _isOpen; }
    int fd() const { return _fd; }
    /// The answer with its body; empty when there is none.
    QByteArray ask(const QByteArray &request)
    {
        if (::write(_fd, request.constData(), size_t(request.size())) != request.size()) return {};
        QByteArray answer;
        qsizetype whole = -1;
        while (whole < 0 || answer.size() < whole) {
            if (!read(answer)) return {};
            const qsizetype end = answer.indexOf("\r\n\r\n");
            const qsizetype length = answer.indexOf("Content-Length: ");
            if (end >= 0 && whole < 0)
                whole = end + 4 + (length < 0 ? 0 : answer.mid(length + 16, 12).split('\r').first().toInt());
        }
        return answer;
    }
    bool upgrade(const QByteArray &path)
    {
        return ask("GET /api/v1/" + path +
                   " HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                   "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n")
            .startsWith("HTTP/1.1 101");
    }
    bool read(QByteArray &into)
    {
        char bytes[65536];
        const ssize_t size = ::read(_fd, bytes, sizeof bytes);
        if (size > 0) into.append(bytes, size);
        return size > 0;
    }

private:
    const int _fd;
    bool _isOpen = false;
};

/// The panel, for as long as this lives.
class PanelUnderBench
{
public:
    PanelUnderBench()
    {
        _process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        _process.start("xppanel", {"--listen", QStringLiteral("127.0.0.1:%1").arg(port)});
    }
    ~PanelUnderBench()
    {
        _process.terminate();
        _process.waitForFinished();
    }
    QByteArray token() const
    {
        QFile file("/run/xp/panel.token");
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
    }
    /// Processor time so far, in seconds.
    double cpu() const
    {
        QFile file(QStringLiteral("/proc/%1/stat").arg(_process.processId()));
        if (!file.open(QIODevice::ReadOnly)) return 0;
        const QByteArray text = file.readAll();
        const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        constexpr int user = 11, system = 12;
        return (fields.value(user).toDouble() + fields.value(system).toDouble()) /
               double(sysconf(_SC_CLK_TCK));
    }

private:
    QProcess _process;
};

bool waitForPanel(RecorderUnderBench &recorder)
{
    return recorder.waitFor("the panel", [] { return Client().isOpen(); });
}

/// Hears of speeds, as the daemon does.
class SpeedListener : public ConfigEventListener
{
public:
    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t, unsigned, timeval) override {}
    void ParamChanged(eParam_t id, std::string value, timeval) override
    {
        if (id != eParam_TransportSpeed) return;
        const std::lock_guard lock(_mutex);
        _value = std::move(value);
        _at = monotonicNs();
        _came.notify_all();
    }
    /// When it came; 0: not within a second.
    qint64 waitFor(const std::string &value)
    {
        std::unique_lock lock(_mutex);
        return _came.wait_for(lock, std::chrono::seconds(1), [&] { return _value == value; }) ? _at : 0;
    }

private:
    std::mutex _mutex;
    std::condition_variable _came;
    std::string _value;
    qint64 _at = 0;
};

/// A play at a speed that nobody else asks for, through HTTP and as xpctl does it, in turns, until somebody
/// who listens to the store has it.
QList<Figure> verbFigures(const PanelUnderBench &panel, int rounds)
{
    SpeedListener listener;
    const std::unique_ptr<Config> store(
        ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), "bench-listener", false));
    store->addListener(&listener);
    Control control(QStringLiteral("bench"));
    control.setLog([](const QString &) {});
    Client client;
    QList<double> ours, theirs;
    for (int i = 1; i <= rounds; ++i) {
        const QByteArray speed = QByteArray::number(0.01 + i * 1e-6, 'f', 6);
        qint64 begin = monotonicNs();
        const QByteArray answer = client.ask("POST /api/v1/transport/play?wait=0&speed=" + speed +
                                             "1 HTTP/1.1\r\nHost: localhost\r\nAuthorization: Bearer " +
                                             panel.token() + "\r\nContent-Length: 0\r\n\r\n");
        if (!answer.startsWith("HTTP/1.1 202")) return {};
        ours.append(double(listener.waitFor(speed.toStdString() + '1') - begin) / nsPerMs);
        Request request;
        request.verb = QStringLiteral("play");
        request.arguments[QStringLiteral("speed")] = QString::fromLatin1(speed) + '2';
        request.wait = false;
        begin = monotonicNs();
        if (!control.perform(request, Who::atShell()).isDone()) return {};
        theirs.append(double(listener.waitFor(speed.toStdString() + '2') - begin) / nsPerMs);
    }
    return {{"panel_verb", median(ours), "ms", median(theirs), "ms xpctl's own", 1.5}};
}

/// Tells when a value has come over a connection, read by a thread of its own, as a client does.
class Hears
{
public:
    Hears(int fd, QByteArray before) : _fd(fd), _before(std::move(before)), _thread([this] { run(); }) {}
    ~Hears()
    {
        ::shutdown(_fd, SHUT_RDWR);
        _thread.join();
    }
    Hears(const Hears &) = delete;
    Hears &operator=(const Hears &) = delete;
    void want(quint32 value)
    {
        _heard = 0;
        _wanted = value;
    }
    /// Milliseconds from `begin` until the value that is wanted came; nothing: not within a second.
    std::optional<double> since(qint64 begin) const
    {
        while (_heard == 0 && monotonicNs() - begin < qint64(1000 * nsPerMs))
            ::usleep(20);
        return _heard == 0 ? std::nullopt : std::optional(double(_heard - begin) / nsPerMs);
    }

private:
    void run()
    {
        QByteArray bytes;
        char buffer[65536];
        for (ssize_t size = 0; (size = ::read(_fd, buffer, sizeof buffer)) > 0;) {
            bytes.append(buffer, size);
            if (const quint32 value = _wanted;
                value != 0 && bytes.contains(_before + QByteArray::number(value))) {
                _heard = monotonicNs();
                bytes.clear();
            }
            if (bytes.size() > 1 << 20) bytes.clear();
        }
    }
    const int _fd;
    const QByteArray _before; ///< what stands before the value
    std::atomic<qint64> _heard = 0;
    std::atomic<quint32> _wanted = 0;
    std::thread _thread;
};

/// A port of this machine at which one comes; the descriptors of both.
struct Port
{
    Port()
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        const bool isOpen = ::bind(listener, reinterpret_cast<const sockaddr *>(&address), size) == 0 &&
                            ::listen(listener, 1) == 0 &&
                            ::getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size) == 0;
        number = isOpen ? ntohs(address.sin_port) : 0;
    }
    ~Port()
    {
        if (peer >= 0) ::close(peer);
        ::close(listener);
    }
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int peer = -1;
    int number = 0;
};

/// From a write until a client of events has it. Beside it a bare file, datagram and select, and a process
/// that passes on over TCP what it finds so, with nothing around it: an event has the same two ways to go.
QList<Figure> eventFigures(RecorderUnderBench &recorder, int rounds)
{
    const QString folder = QStringLiteral("/var/lib/xp/bench");
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    BareStore bare(folder + "/bare.db", folder + "/bare.socket");
    Port relayed;
    StoreListener listener(
        {"bare", folder + "/bare.db", folder + "/bare.socket", QString::number(relayed.number)});
    relayed.peer = ::accept(relayed.listener, nullptr, nullptr);
    Client client;
    if (relayed.peer < 0 || !client.upgrade("events")) return {};
    Hears events(client.fd(), "\"medium_seconds_left\":");
    Hears relay(relayed.peer, {});
    constexpr quint32 first = 100'000'000; // no medium is that large
    QList<double> ours, theirs, store;
    for (quint32 value = first; value < first + quint32(rounds); ++value) {
        events.want(value);
        qint64 begin = monotonicNs();
        recorder.write(eParam_RecordTimeLeft, value);
        if (const auto time = events.since(begin)) ours.append(*time);
        relay.want(value);
        begin = monotonicNs();
        bare.write(value);
        if (const auto time = relay.since(begin)) theirs.append(*time);
        Heard one;
        while (listener.next(one) && one.value != value) {}
        store.append(double(one.ns - begin) / nsPerMs);
    }
    return {{"panel_event", median(ours), "ms", median(theirs), "ms bare", 2.0},
            {"panel_event_store", median(ours), "ms", median(store), "ms its first half", {}},
            {"panel_events_lost", double(rounds - ours.size()), "events", {}, {}, 0.0}};
}

} // namespace

QList<Figure> benchPanel(int seconds)
{
    const PanelUnderBench panel;
    RecorderUnderBench recorder;
    if (!waitForPanel(recorder) || !recorder.startTake()) return {};
    recorder.waitFor("a few frames", [&] { return recorder.counter("recorded_up_to") > 50; });
    recorder.endTake();
    const int rounds = std::clamp(seconds * 20, 50, 500);
    QList<Figure> figures = verbFigures(panel, rounds);
    figures += eventFigures(recorder, rounds);
    return figures;
}

QList<Figure> benchPanelClients(int seconds)
{
    constexpr int ofEvents = 50, ofPictures = 5;
    const PanelUnderBench panel;
    RecorderUnderBench recorder;
    if (!waitForPanel(recorder)) return {};
    const auto cost = [&](qint64 length) {
        const double before = panel.cpu();
        const qint64 begin = recorder.now();
        recorder.waitFor(
            "the end of a while", [&] { return recorder.now() >= begin + length; }, seconds + 20);
        return 100 * (panel.cpu() - before) /
               (double(recorder.now() - begin) / double(QmxClock::nsPerSecond));
    };
    const qint64 length = std::max(4, seconds / 2) * QmxClock::nsPerSecond;
    if (!recorder.startTake()) return {};
    const double alone = cost(length);
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < ofEvents + ofPictures; ++i) {
        clients.push_back(std::make_unique<Client>());
        if (!clients.back()->upgrade(i < ofEvents ? "events" : "pictures")) return {};
    }
    const qint64 lost = recorder.counter("frames_dropped_capture");
    std::atomic<bool> ends = false;
    std::vector<qint64> bytes(clients.size(), 0);
    std::thread reads([&] {
        std::vector<pollfd> polls;
        for (const auto &client : clients)
            polls.push_back({client->fd(), POLLIN, 0});
        while (!ends && ::poll(polls.data(), polls.size(), 100) >= 0)
            for (size_t i = 0; i < polls.size(); ++i) {
                char buffer[65536];
                if (polls[i].revents != 0)
                    bytes[i] += std::max<ssize_t>(0, ::read(polls[i].fd, buffer, sizeof buffer));
            }
    });
    const double served = cost(length);
    ends = true;
    reads.join();
    const double dropped = double(recorder.counter("frames_dropped_capture") - lost);
    recorder.endTake();
    const auto unserved = std::count_if(bytes.begin(), bytes.end(), [](qint64 all) { return all < 1000; });
    return {{"panel_clients_take_lost", dropped, "frames", {}, {}, 0.0},
            {"panel_clients_unserved", double(unserved), "clients", {}, {}, 0.0},
            {"panel_clients_cpu", served, "%", {}, {}, 15.0},
            {"panel_alone_cpu", alone, "%", {}, {}, 0.5}};
}
