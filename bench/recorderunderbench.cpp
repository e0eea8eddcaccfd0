// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/recorderunderbench.h"

#include "platform/qmx/edges/qmxstrip.h"
#include "platform/store/configfactoryimpl.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <cstdio>
#include <sys/resource.h>
#include <unistd.h>

namespace {
constexpr unsigned recordCommand = 3;
constexpr unsigned stopCommand = 4;
constexpr unsigned stopped = 1;
constexpr unsigned recording = 2;

double childrenCpu()
{
    struct rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}
} // namespace

RecorderUnderBench::RecorderUnderBench() : _environment(QmxEnvironment::current())
{
    CreateDescriptors();
    _config.reset(ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), "xp-bench", false));
    _counters.open();
    _preview.open();
}

RecorderUnderBench::~RecorderUnderBench() = default;

unsigned RecorderUnderBench::status() const
{
    unsigned value = 0;
    _config->getUInt(eParam_TransportStatus, value);
    return value;
}

qint64 RecorderUnderBench::counter(const char *name)
{
    return _counters.value(QString::fromLatin1(name));
}

QString RecorderUnderBench::clipPath() const
{
    std::string path;
    std::string clip;
    _config->getString(eParam_ActiveMediaPath, path);
    _config->getString(eParam_CurrentClip, clip);
    return QString::fromStdString(path + "/" + clip);
}

RecorderUnderBench::Shown RecorderUnderBench::shown()
{
    QmxPreviewPicture picture;
    // A recorder that has only just begun may not have published it when the bench did.
    if (!_preview.read(picture) && (!_preview.open() || !_preview.read(picture))) return {};
    return {picture.tick, picture.frameNumber,
            QmxStrip::readLuma8(reinterpret_cast<const uchar *>(picture.luma.constData()), picture.width,
                                picture.height, picture.width),
            picture.format};
}

bool RecorderUnderBench::waitFor(const char *what, const std::function<bool()> &holds, int seconds)
{
    const qint64 end = now() + seconds * QmxClock::nsPerSecond;
    while (!holds()) {
        if (now() > end) {
            std::fprintf(stderr, "xp-bench: waited in vain for %s\n", what);
            return false;
        }
        _environment.clock->sleepUntil(now() + QmxClock::nsPerMillisecond);
    }
    return true;
}

bool RecorderUnderBench::askFor(const char *what, const std::function<void()> &ask,
                                const std::function<bool()> &holds, qint64 every)
{
    qint64 next = 0;
    return waitFor(what, [&] {
        if (now() >= next) ask(), next = now() + every;
        return holds();
    });
}

RecorderUnderBench::Cpu RecorderUnderBench::daemonCpu()
{
    Cpu cpu;
    const QString tasks = QStringLiteral("/proc/%1/task/").arg(_counters.pid());
    for (const QString &task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name(tasks + task + "/comm"), times(tasks + task + "/schedstat");
        if (!name.open(QIODevice::ReadOnly) || !times.open(QIODevice::ReadOnly)) continue;
        // Nanoseconds on a processor, then two more numbers.
        const double seconds = times.readAll().split(' ').first().toDouble() / QmxClock::nsPerSecond;
        (name.readAll().startsWith("lumen-work") ? cpu.coders : cpu.others) += seconds;
    }
    return cpu;
}

double RecorderUnderBench::daemonMemory()
{
    QFile file(QStringLiteral("/proc/%1/statm").arg(_counters.pid()));
    if (!file.open(QIODevice::ReadOnly)) return 0;
    return file.readAll().split(' ').value(1).toDouble() * double(sysconf(_SC_PAGESIZE)) / 1e6;
}

bool RecorderUnderBench::startTake()
{
    const qint64 takes = counter("takes_opened");
    return askFor(
        "the take to begin", [&] { write(eParam_TransportCommand, recordCommand); },
        [&] { return counter("takes_opened") > takes && status() == recording; });
}

bool RecorderUnderBench::endTake()
{
    write(eParam_TransportCommand, stopCommand);
    constexpr unsigned inUse = 1;
    return waitFor("the take to end", [&] {
        unsigned storage = 0;
        _config->getUInt(eParam_StorageState, storage);
        return status() == stopped && storage != inUse;
    });
}

bool RecorderUnderBench::cue(int frame)
{
    return askFor(
        "the cue", [&] { write(eParam_CueToFrame, unsigned(frame)); }, [&] { return shown().frame == frame; },
        2 * QmxClock::nsPerSecond);
}

QList<std::optional<quint32>> stripsOfClip(const QString &path, int most)
{
    QProcess probe;
    probe.start("ffprobe", {"-v", "error", "-select_streams", "v:0", "-show_entries", "stream=width,height",
                            "-of", "csv=p=0", path});
    probe.waitForFinished(-1);
    const QList<QByteArray> numbers = probe.readAllStandardOutput().trimmed().split(',');
    const int width = numbers.value(0).toInt();
    const int height = numbers.value(1).toInt();
    const qsizetype size = qsizetype(width) * height;
    QStringList arguments{"-v", "error",   "-apply_cropping", "0",   "-i",
                          path, "-map",    "0:v:0",           "-vf", "format=yuv422p,extractplanes=y",
                          "-f", "rawvideo"};
    if (most > 0) arguments << "-frames:v" << QString::number(most);
    QProcess decode;
    decode.start("ffmpeg", arguments << "-");
    QList<std::optional<quint32>> strips;
    // A frame at a time: a take of ten minutes does not fit into memory as pictures.
    QByteArray frame;
    while (size > 0) {
        while (frame.size() < size) {
            if (decode.bytesAvailable() == 0 && !decode.waitForReadyRead(-1)) return strips;
            frame += decode.read(size - frame.size());
        }
        strips.append(
            QmxStrip::readLuma8(reinterpret_cast<const uchar *>(frame.constData()), width, height, width));
        frame.clear();
    }
    return strips;
}

int benchBreaks(const QList<std::optional<quint32>> &strips)
{
    int count = 0;
    for (qsizetype i = 0; i < strips.size(); ++i)
        if (!strips[i] || (i > 0 && strips[i - 1] && *strips[i] != *strips[i - 1] + 1)) ++count;
    return count;
}

std::optional<double> cpuOfProgram(const QString &program, const QStringList &arguments)
{
    const double before = childrenCpu();
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0) return {};
    return childrenCpu() - before;
}
