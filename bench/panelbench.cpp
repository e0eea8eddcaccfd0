// SPDX-License-Identifier: GPL-3.0-or-later
// The panel as its clients have it: sockets of our own, which do nothing but ask and listen.
#include "bench/barestore.h"
#include "bench/figures.h"
#include "bench/recorderunderbench.h"
#include "bench/storelistener.h"

#include "companions/panel/jpeg.h"
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
#include <ctime>
#include <mutex>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <jpeglib.h>

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

/// From a write until a client of events has it, beside a bare file, datagram and select.
QList<Figure> eventFigures(RecorderUnderBench &recorder, int rounds)
{
    const QString folder = QStringLiteral("/var/lib/xp/bench");
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    BareStore bare(folder + "/bare.db", folder + "/bare.socket");
    StoreListener listener({"bare", folder + "/bare.db", folder + "/bare.socket"});
    Client client;
    if (!client.upgrade("events")) return {};
    std::atomic<qint64> heard = 0;
    std::atomic<quint32> wanted = 0;
    std::atomic<bool> ends = false;
    std::thread listens([&] {
        QByteArray bytes;
        while (!ends && client.read(bytes)) {
            const quint32 value = wanted;
            if (value != 0 && bytes.contains("\"medium_seconds_left\":" + QByteArray::number(value))) {
                heard = monotonicNs();
                bytes.clear();
            }
            if (bytes.size() > 1 << 20) bytes.clear();
        }
    });
    constexpr quint32 first = 100'000'000; // no medium is that large
    QList<double> ours, theirs;
    for (quint32 value = first; value < first + quint32(rounds); ++value) {
        heard = 0;
        wanted = value;
        qint64 begin = monotonicNs();
        recorder.write(eParam_RecordTimeLeft, value);
        while (heard == 0 && monotonicNs() - begin < qint64(1000 * nsPerMs))
            ::usleep(20);
        if (heard != 0) ours.append(double(heard - begin) / nsPerMs);
        begin = monotonicNs();
        bare.write(value);
        Heard one;
        while (listener.next(one) && one.value != value) {}
        theirs.append(double(one.ns - begin) / nsPerMs);
    }
    ends = true;
    ::shutdown(client.fd(), SHUT_RDWR);
    listens.join();
    return {{"panel_event", median(ours), "ms", median(theirs), "ms bare", 2.0},
            {"panel_events_lost", double(rounds - ours.size()), "events", {}, {}, 0.0}};
}

/// Of this thread, in milliseconds: what else the machine does is no part of the figure.
double cpuNow()
{
    timespec now = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return double(now.tv_sec) * 1e3 + double(now.tv_nsec) / nsPerMs;
}

constexpr int pictureWidth = 640, pictureHeight = 352;
constexpr int lines = 16; ///< of luma, in a row of blocks

/// What the library takes and gives: the planes of a picture, whole blocks.
struct Planes
{
    std::vector<JSAMPLE> of[3];
    JSAMPROW rows[3][lines];
    JSAMPARRAY parts[3] = {rows[0], rows[1], rows[2]};

    Planes()
    {
        of[0].resize(size_t(pictureWidth) * pictureHeight);
        of[1].resize(of[0].size() / 4);
        of[2].resize(of[0].size() / 4);
    }
    JSAMPARRAY *at(size_t line)
    {
        for (size_t i = 0; i < lines; ++i)
            rows[0][i] = of[0].data() + (line + i) * pictureWidth;
        for (size_t part = 1; part < 3; ++part)
            for (size_t i = 0; i < lines / 2; ++i)
                rows[part][i] = of[part].data() + (line / 2 + i) * (pictureWidth / 2);
        return parts;
    }
};

/// The picture that a file holds.
void read(const QByteArray &file, Planes &planes)
{
    jpeg_decompress_struct info = {};
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, reinterpret_cast<const unsigned char *>(file.constData()), ulong(file.size()));
    jpeg_read_header(&info, TRUE);
    info.raw_data_out = TRUE;
    info.out_color_space = JCS_YCbCr;
    jpeg_start_decompress(&info);
    while (info.output_scanline < info.output_height)
        jpeg_read_raw_data(&info, planes.at(info.output_scanline), lines);
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
}

/// The library alone: the same picture in planes as it wants them.
double bareJpeg(Planes &planes, int rounds)
{
    const double begin = cpuNow();
    for (int round = 0; round < rounds; ++round) {
        jpeg_compress_struct info = {};
        jpeg_error_mgr errors;
        info.err = jpeg_std_error(&errors);
        jpeg_create_compress(&info);
        unsigned char *out = nullptr;
        unsigned long size = 0;
        jpeg_mem_dest(&info, &out, &size);
        info.image_width = pictureWidth;
        info.image_height = pictureHeight;
        info.input_components = 3;
        info.in_color_space = JCS_YCbCr;
        jpeg_set_defaults(&info);
        jpeg_set_quality(&info, JpegMaker::defaultQuality, TRUE);
        info.raw_data_in = TRUE;
        info.dct_method = JDCT_IFAST;
        jpeg_start_compress(&info, TRUE);
        while (info.next_scanline < info.image_height)
            jpeg_write_raw_data(&info, planes.at(info.next_scanline), lines);
        jpeg_finish_compress(&info);
        jpeg_destroy_compress(&info);
        std::free(out);
    }
    return (cpuNow() - begin) / rounds;
}

/// Bars, a ramp and noise, in legal range.
QmxPreviewPicture testPicture()
{
    QmxPreviewPicture picture;
    picture.format = QStringLiteral("1920x1080p25");
    picture.width = pictureWidth;
    picture.height = pictureHeight;
    quint32 noise = 1;
    const auto jitter = [&noise] { return int((noise = noise * 1664525 + 1013904223) >> 29) - 4; };
    for (int y = 0; y < pictureHeight; ++y)
        for (int x = 0; x < pictureWidth; ++x)
            picture.luma.append(char(60 + (x / 80) * 18 + y / 8 + jitter()));
    for (int y = 0; y < pictureHeight / 2; ++y)
        for (int x = 0; x < pictureWidth / 2; ++x) {
            picture.cb.append(char(100 + (x / 40 * 37) % 60 + jitter() / 2));
            picture.cr.append(char(100 + (x / 40 * 53) % 60 + jitter() / 2));
        }
    return picture;
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

QList<Figure> benchPanelJpeg(int seconds)
{
    const QmxPreviewPicture picture = testPicture();
    JpegMaker maker;
    const QByteArray file = maker.make(picture);
    if (file.isEmpty()) return {};
    Planes planes;
    read(file, planes);
    QList<double> ours, theirs;
    constexpr int rounds = 20;
    for (int turn = 0; turn < std::clamp(seconds * 2, 10, 50); ++turn) {
        const double begin = cpuNow();
        for (int round = 0; round < rounds; ++round)
            maker.make(picture);
        ours.append((cpuNow() - begin) / rounds);
        theirs.append(bareJpeg(planes, rounds));
    }
    return {{"panel_jpeg", median(ours), "ms", median(theirs), "ms libjpeg", 1.2}};
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
