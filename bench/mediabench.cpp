// SPDX-License-Identifier: GPL-3.0-or-later
// Media: what a change of medium in a take costs, and the look that the transport takes at its medium.
#include "bench/figures.h"
#include "bench/recorderunderbench.h"
#include "xpd/media/mediamanager.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/statfs.h>
#include <unistd.h>

namespace {
constexpr double rolloverLevel = 10.5; ///< percent free; the transport rounds
constexpr unsigned on = 1;
constexpr unsigned proxy = 3;

double percentFree(const char *path)
{
    struct statfs data = {};
    return statfs(path, &data) == 0 && data.f_blocks > 0 ? double(data.f_bfree) / double(data.f_blocks) * 100
                                                         : 100;
}

/// Leaves so much of a medium free.
bool fill(const char *path, double percent)
{
    struct statfs data = {};
    const QByteArray name = QByteArray(path) + "/xp-bench.fill";
    const int fd = open(name.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0 || statfs(path, &data) != 0) return false;
    const double blocks = double(data.f_bfree) - double(data.f_blocks) * percent / 100;
    const bool done = blocks <= 0 || posix_fallocate(fd, 0, off_t(blocks * double(data.f_bsize))) == 0;
    close(fd);
    return done;
}

int breaks(const QList<std::optional<quint32>> &strips)
{
    int count = 0;
    for (qsizetype i = 0; i < strips.size(); ++i)
        if (!strips[i] || (i > 0 && strips[i - 1] && *strips[i] != *strips[i - 1] + 1)) ++count;
    return count;
}

/// Microseconds of each of several measurements of a medium as the transport takes them.
QList<double> measure(MediaManager &manager, const QString &path, int count)
{
    const auto clock = QmxEnvironment::current().clock;
    QList<double> times;
    for (int i = 0; i < count; ++i) {
        const qint64 begin = clock->now();
        MediaManager::PathInfo info;
        manager.getPathInfo(path, info);
        times << double(clock->now() - begin) / 1000;
    }
    return times;
}
} // namespace

QList<Figure> benchMediumChange(int)
{
    RecorderUnderBench recorder;
    recorder.write(eParam_RolloverEnabled, on);
    recorder.write(eParam_RecordCodec, proxy);
    constexpr double margin = 0.3;
    if (!fill("/media/A", rolloverLevel + margin) || !recorder.startTake()) return {};
    const QString first = recorder.clipPath();
    const qint64 takes = recorder.counter("takes_opened");
    if (!recorder.waitFor(
            "the medium to be full", [] { return percentFree("/media/A") < rolloverLevel; }, 60))
        return {};
    const qint64 reached = recorder.now();
    if (!recorder.waitFor("the next medium", [&] { return recorder.counter("takes_opened") > takes; }))
        return {};
    const double change = double(recorder.now() - reached) / 1e6;
    recorder.waitFor("the media daemon's answer", [&] {
        return recorder.clipPath().startsWith("/media/B/") && recorder.clipPath() != first &&
               QFile::exists(recorder.clipPath());
    });
    recorder.waitFor("some frames", [&] { return recorder.counter("current_clip_frames") > 50; });
    recorder.endTake();
    const auto strips = stripsOfClip(first) + stripsOfClip(recorder.clipPath());
    QFile::remove("/media/A/xp-bench.fill");
    // Half a second until the transport looks, the close of one clip and the opening of the next.
    return {{"medium_change_lost", double(breaks(strips)), "frames", {}, {}, 0.0},
            {"medium_change_time", change, "ms", {}, {}, 1000.0}};
}

QList<Figure> benchMediumCheck(int)
{
    constexpr int looks = 500;
    constexpr double limit = 105; // ms: 100 and what it takes to wake up
    int argc = 1;
    char name[] = "xp-bench";
    char *argv[] = {name, nullptr};
    const QCoreApplication app(argc, argv); // the manager's timer wants one
    MediaManager manager(nullptr);
    QList<double> times = measure(manager, "/media/A", looks);
    std::sort(times.begin(), times.end());
    QList<Figure> figures{{"medium_check", times[looks / 2], "us", {}, {}, 1000.0},
                          {"medium_check_p99", times[looks * 99 / 100], "us", {}, {}, {}}};

    QDir().mkpath("/media/hung");
    QDir().mkpath("/run/xp/behind");
    QProcess slow;
    slow.start("xp-slowfs", {"/run/xp/behind", "/media/hung", "/run/xp/hung"});
    if (!slow.waitForFinished() || slow.exitCode() != 0) return figures;
    measure(manager, "/media/hung", 1);
    QFile control("/run/xp/hung");
    if (!control.open(QIODevice::WriteOnly)) return figures;
    control.write("statfs -1\n");
    control.close();
    const double hung = measure(manager, "/media/hung", 1).first() / 1000;
    const QList<double> next = measure(manager, "/media/hung", looks);
    figures.append({"medium_check_hung", hung, "ms", {}, {}, limit});
    figures.append(
        {"medium_check_hung_next", *std::max_element(next.begin(), next.end()), "us", {}, {}, 1000.0});
    control.remove();
    umount2("/media/hung", MNT_DETACH);
    return figures;
}
