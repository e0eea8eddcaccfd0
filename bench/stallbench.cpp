// SPDX-License-Identifier: GPL-3.0-or-later
// A disk that stands still for two seconds in the middle of a take in real time.
#include "bench/benchclip.h"
#include "bench/figures.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <optional>

#include <unistd.h>

namespace {
constexpr auto medium = "/media/A";

/// Whose sync takes its time, once.
class StallingFiles : public QmxFiles
{
public:
    explicit StallingFiles(const QmxEnvironment &environment) : _clock(environment.clock) {}
    int fdatasync(int fd) override
    {
        constexpr int secondsStalled = 2;
        if (stalls.exchange(false))
            _clock->sleepUntil(_clock->now() + secondsStalled * QmxClock::nsPerSecond);
        return QmxFiles::fdatasync(fd);
    }
    std::atomic<bool> stalls = false;

private:
    std::shared_ptr<QmxClock> _clock;
};

/// Writes one coded frame a tick into a cache, as the transport does.
class Recording
{
public:
    explicit Recording(const QString &path)
    {
        QmxStreamInfo info;
        info.vids().append(benchClipInfo().image);
        cache.setCacheSize(25);
        cache.setStream(&stream);
        stream.setInfo(info);
        stream.setDesc(path);
        stream.open(QmxStream::Write);
        BenchPlayer::turnUntil([this] { return stream.isOpen() || stream.isClosed(); });
    }
    ~Recording()
    {
        stream.close();
        BenchPlayer::turnUntil([this] { return stream.isClosed(); });
        cache.setStream(nullptr);
    }
    void run(const QmxFrame &frame, int count, int tickMs)
    {
        QTimer ticks;
        ticks.setTimerType(Qt::PreciseTimer);
        int written = 0;
        QObject::connect(&ticks, &QTimer::timeout, [&] {
            if (cache.cacheIsFull()) ++refused;
            cache.write(frame);
            ++written;
            deepest =
                std::max(deepest, QmxEnvironment::current().deck->counters.value(QmxCounters::WriterQueue));
        });
        ticks.start(tickMs);
        BenchPlayer::turnUntil([&] { return written >= count; });
    }

    QmxStream stream;
    QmxStreamCache cache;
    int refused = 0;
    qint64 deepest = 0; ///< frames in the writer's queue
};
} // namespace

QList<Figure> benchStall(int)
{
    int argumentCount = 0;
    std::optional<QCoreApplication> application;
    if (!QCoreApplication::instance()) application.emplace(argumentCount, nullptr);
    const QmxEnvironment before = QmxEnvironment::current();
    QmxEnvironment environment = before;
    const auto files = std::make_shared<StallingFiles>(before);
    environment.files = files;
    QmxEnvironment::setCurrent(environment);

    constexpr int frames = 200, tickMs = 40, bytes = 600'000;
    QmxFrame frame;
    frame.vids().append(QmxImage(benchClipInfo().image, {QmxBuffer::allocate(bytes)}));
    const QString path = QStringLiteral("%1/xp-bench-stall.mov").arg(QLatin1String(medium));
    qint64 deepest = 0;
    int refused = 0;
    {
        Recording take(path);
        take.run(frame, frames / 4, tickMs);
        files->stalls = true;
        take.run(frame, frames - frames / 4, tickMs);
        deepest = take.deepest;
        refused = take.refused;
    }
    QmxEnvironment::setCurrent(before);
    QmxClipReader reader;
    const double kept = reader.open(path).isError() ? 0 : double(reader.info().frames);
    unlink(path.toLocal8Bit().constData());
    return {{"stall_2s_lost", frames - kept, "frames", {}, {}, 0.0},
            {"stall_2s_refused", double(refused), "frames", {}, {}, 0.0},
            {"stall_2s_queue", double(deepest), "frames", {}, {}, {}}};
}
