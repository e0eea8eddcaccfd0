// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/figures.h"
#include "bench/recorderunderbench.h"

#include <QProcess>

#include <algorithm>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
constexpr auto socketPath = "/run/xp/bench-metrics";
constexpr qint64 scrapeEvery = QmxClock::nsPerSecond / 10; // fifty times what monitoring systems do

/// One question to the server of figures; the size of its answer.
qint64 scrape()
{
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath, sizeof address.sun_path - 1);
    constexpr QByteArrayView request = "GET /metrics HTTP/1.0\r\n\r\n";
    qint64 total = 0;
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
        ::write(fd, request.data(), size_t(request.size())) == request.size()) {
        char buffer[4096];
        for (ssize_t size = 0; (size = ::read(fd, buffer, sizeof buffer)) > 0;)
            total += size;
    }
    ::close(fd);
    return total;
}

/// Processor time of the daemon for each second of a while, in milliseconds.
double daemonCost(RecorderUnderBench &recorder, qint64 length, bool isWatched)
{
    const double before = recorder.daemonCpu().all();
    const qint64 begin = recorder.now();
    for (qint64 next = begin; recorder.now() < begin + length; next += scrapeEvery) {
        recorder.waitFor("the next question", [&] { return recorder.now() >= next; });
        if (isWatched && scrape() == 0) return -1;
    }
    const double seconds = double(recorder.now() - begin) / double(QmxClock::nsPerSecond);
    return (recorder.daemonCpu().all() - before) * 1000 / seconds;
}
} // namespace

QList<Figure> benchMonitoring(int seconds)
{
    // In turns, so that what else the machine does falls on both.
    constexpr int turns = 3;
    const qint64 length = std::max(1, seconds / (2 * turns)) * QmxClock::nsPerSecond;
    QProcess server;
    server.start("xpctl", {"metrics", "--listen", socketPath});
    RecorderUnderBench recorder;
    if (!recorder.waitFor("the server of figures", [] { return scrape() > 0; }) || !recorder.startTake())
        return {};
    double alone = 0;
    double watched = 0;
    for (int i = 0; i < turns; ++i) {
        alone += daemonCost(recorder, length, false) / turns;
        watched += daemonCost(recorder, length, true) / turns;
    }
    recorder.endTake();
    server.terminate();
    server.waitForFinished();
    return {{"monitored_take_cpu", watched, "ms/s", alone, "ms/s not monitored", 1.05}};
}
