// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/figures.h"
#include "bench/recorderunderbench.h"

#include "tests/ninepincontroller/ninepincontroller.h"

#include <QFile>
#include <QProcess>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <sched.h>
#include <thread>
#include <vector>

namespace {
constexpr int port = 9931;
/// A field of 50: how often controllers ask.
constexpr qint64 askEvery = QmxClock::nsPerSecond / 50;
constexpr double mostMilliseconds = 4;

/// Keeps every core of the machine at work.
class Busy
{
public:
    Busy()
    {
        for (unsigned i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i)
            _threads.emplace_back([this] {
                std::atomic<unsigned> work = 0;
                while (!_ends)
                    ++work;
            });
    }
    ~Busy()
    {
        _ends = true;
        for (std::thread &thread : _threads)
            thread.join();
    }

private:
    std::atomic<bool> _ends = false;
    std::vector<std::thread> _threads;
};

/// The controller stands for another machine: its own waiting for a core is no part of the figure.
void beAnotherMachine()
{
    sched_param priority{};
    priority.sched_priority = 1;
    if (sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &priority) != 0)
        std::fprintf(stderr, "remote: no real-time priority: the controller's own waits are counted, too\n");
}

double percentile(const std::vector<double> &sorted, double part)
{
    return sorted[std::min(sorted.size() - 1, std::size_t(double(sorted.size()) * part))];
}

/// Timecode and status of each field, as controllers ask for them; milliseconds from block to reply.
std::vector<double> ask(RecorderUnderBench &recorder, NinepinController &controller, int seconds)
{
    std::vector<double> times;
    const qint64 end = recorder.now() + seconds * QmxClock::nsPerSecond;
    for (qint64 next = recorder.now(); next < end; next += askEvery) {
        std::this_thread::sleep_for(std::chrono::nanoseconds(std::max<qint64>(0, next - recorder.now())));
        for (const NinepinReply &reply :
             {controller.ask(0x600C, QByteArray(1, 1)), controller.ask(0x6020, QByteArray(1, 10))}) {
            if (!reply.sumIsRight) return {};
            times.push_back(double(reply.microseconds) / 1000);
        }
    }
    std::sort(times.begin(), times.end());
    return times;
}

void printDistribution(const std::vector<double> &times)
{
    std::fprintf(stderr, "remote: %zu replies, milliseconds:", times.size());
    for (const double part : {0.0, 0.1, 0.5, 0.9, 0.99, 0.999, 1.0})
        std::fprintf(stderr, "  p%g %.3f", part * 100, percentile(times, part));
    std::fprintf(stderr, "\n");
}
} // namespace

QList<Figure> benchRemote(int seconds)
{
    QFile config("/etc/xp/remote.ini");
    if (!config.open(QIODevice::WriteOnly)) return {};
    config.write(QByteArray("[ports]\nninepin = tcp:") + QByteArray::number(port) + '\n');
    config.close();
    QProcess remote;
    remote.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    remote.start("xpremote", {"--foreground"});
    RecorderUnderBench recorder;
    std::unique_ptr<NinepinController> controller;
    const auto connected = [&controller] {
        controller = std::make_unique<NinepinController>(NinepinController::tcp(port));
        return controller->isOpen();
    };
    if (!recorder.waitFor("the port", connected) || !recorder.startTake()) return {};
    const qint64 lost = recorder.counter("frames_dropped_capture");
    std::vector<double> times;
    {
        const Busy busy;
        std::thread([&] {
            beAnotherMachine();
            times = ask(recorder, *controller, std::max(2, seconds));
        }).join();
    }
    const double dropped = double(recorder.counter("frames_dropped_capture") - lost);
    recorder.endTake();
    controller.reset();
    remote.terminate();
    remote.waitForFinished();
    if (times.empty()) return {};
    printDistribution(times);
    return {{"remote_reply_p50", percentile(times, 0.5), "ms", {}, {}, {}},
            {"remote_reply_p99", percentile(times, 0.99), "ms", {}, {}, {}},
            {"remote_reply_p999", percentile(times, 0.999), "ms", {}, {}, mostMilliseconds},
            {"remote_take_lost", dropped, "frames", {}, {}, 0.0}};
}
