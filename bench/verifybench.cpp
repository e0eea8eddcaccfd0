// SPDX-License-Identifier: GPL-3.0-or-later
// The proof of a clip: what it costs a take, and how fast it is checked.
#include "bench/benchclip.h"
#include "bench/figures.h"

#include "platform/qmx/clip/movpictureproof.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/clip/qmxclipreader.h"

#include <QFile>
#include <QProcess>

#include <ctime>
#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr int frames = 400;
constexpr double mega = 1e6;

double cpuMs()
{
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

/// CPU of one thread for what proves a picture, checksum and hash. Pictures of a megabyte each, as HD at 422
/// HQ and 25 pictures has them; more of them than a core has cache, since in a take another one has coded
/// them.
double proofMs()
{
    constexpr int rounds = 200;
    constexpr int pictures = 24;
    constexpr size_t size = 1'000'000;
    const QByteArray all(qsizetype(pictures * size), 'x');
    const double begin = cpuMs();
    quint32 sum = 0;
    for (int i = 0; i < rounds; ++i) {
        const MovPictureProof proof =
            MovPictureProof::of(all.constData() + size_t(i % pictures) * size, size);
        sum += proof.crc + proof.digest[0];
    }
    const double ms = (cpuMs() - begin) / rounds;
    return sum == 1 ? ms + 1e-9 : ms; // nobody may leave it out
}

void forget(const QString &path)
{
    const int fd = ::open(path.toLocal8Bit().constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    fdatasync(fd);
    posix_fadvise(fd, 0, 0, POSIX_FADV_DONTNEED);
    close(fd);
}
} // namespace

QList<Figure> benchVerify(int)
{
    const QString path = QStringLiteral("/media/A/xp-bench-verify.mov");
    QFile::remove(path);
    if (!makeBenchClip(path, frames)) return {};
    const double bytes = double(QFile(path).size());
    forget(path);
    QElapsedTimer timer;
    timer.start();
    QProcess cat;
    cat.setStandardOutputFile(QProcess::nullDevice());
    cat.start(QStringLiteral("cat"), {path});
    if (!cat.waitForFinished(-1) || cat.exitCode() != 0) return {};
    const double catMs = benchMs(timer);
    forget(path);
    timer.restart();
    QmxClipCheck check;
    const QmxError error = QmxClipCheck::run(path, check, QmxEnvironment::current());
    const double checkMs = benchMs(timer);
    QFile::remove(path);
    if (error.isError() || !check.isWhole() || check.frames != frames) return {};
    constexpr double most = 2;
    constexpr double mostCpu = 0.2;
    return {{"proof_cpu", proofMs(), "ms/frame", {}, {}, mostCpu},
            {"verify_time", checkMs, "ms", catMs, "cat", most},
            {"verify_speed", bytes / mega / checkMs * 1e3, "MB/s", {}, {}, {}}};
}
