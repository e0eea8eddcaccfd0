// SPDX-License-Identifier: GPL-3.0-or-later
// The proof of a clip: what it costs a take, and how fast it is checked.
#include "bench/benchclip.h"
#include "bench/figures.h"
#include "bench/threadcpu.h"

#include "platform/qmx/clip/movpictureproof.h"
#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/edges/qmxsource.h"

#include <QFile>
#include <QProcess>

#include <fcntl.h>
#include <unistd.h>

namespace {
constexpr int frames = 400;
constexpr double mega = 1e6;

struct Proof
{
    double ms = 0;    ///< of a thread's CPU, for a picture
    double coded = 0; ///< the same for coding it
    double bytes = 0;
};

/// CPU for what proves a picture of high definition, checksum and hash, where a take pays it: on the thread
/// that has just coded the picture. Its bytes are in that core's cache then, as far as the picture that was
/// coded has left them there, and they begin with a page, as a take's do. Bytes that nobody has touched for
/// long cost more, the same bytes hashed over and over less: neither is a take's. Of the times of all
/// pictures the middle ones count: a thread's CPU holds what a host takes away from the whole machine, too.
/// (The checksum, a tenth of it, is none of the proof's: slots of growing clips had it before.)
Proof proofOf(const QmxId &codec)
{
    constexpr int pictures = 100;
    QmxImageDesc desc = benchClipInfo().image;
    desc.setDataType(codec);
    const auto source =
        qmxCreateInternalGenerator(desc, QmxIds::movingPattern, QmxId(), QmxEnvironment::current());
    const auto encoder = qmxCodec(codec)->createEncoder(desc);
    Proof proof;
    QList<double> proving;
    QList<double> coding;
    for (int i = 0; i < pictures; ++i) {
        QmxTick tick;
        tick.index = i;
        tick.deadline = i * 40 * QmxClock::nsPerMillisecond;
        tick.rate = desc.frameRate();
        const QmxPicture picture = source->take(tick).picture;
        QmxBuffer coded;
        const double begin = threadCpu();
        if (encoder->encode(picture, coded).isError()) return {};
        const double between = threadCpu();
        MovSharedProof().of(coded.constData(), size_t(coded.size()));
        proving.append(threadCpu() - between);
        coding.append(between - begin);
        proof.bytes += double(coded.size()) / pictures;
    }
    proof.ms = benchPercentile(proving, 0.5);
    proof.coded = benchPercentile(coding, 0.5);
    return proof;
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
    const Proof proof = proofOf(QmxIds::proRes422);
    const Proof proofHq = proofOf(QmxIds::proRes422Hq);
    return {{"proof_cpu", proof.ms, "ms/frame", {}, {}, mostCpu},
            {"proof_cpu_of_coding", proof.ms, "ms/frame", proof.coded, "ms for coding it", {}},
            {"proof_cpu_hq", proofHq.ms, "ms/frame", {}, {}, mostCpu},
            {"proof_bytes_hq", proofHq.bytes, "bytes", proof.bytes, "bytes of ProRes 422", {}},
            {"verify_time", checkMs, "ms", catMs, "cat", most},
            {"verify_speed", bytes / mega / checkMs * 1e3, "MB/s", {}, {}, {}}};
}
