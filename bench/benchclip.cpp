// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchclip.h"

#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/edges/qmxsource.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <algorithm>

class BenchHollowClip::Files : public QmxFiles
{
public:
    ssize_t pwrite(int fd, const void *data, size_t size, off64_t offset) override
    {
        return hollow ? ssize_t(size) : QmxFiles::pwrite(fd, data, size, offset);
    }
    int fallocate(int, int, off64_t, off64_t) override { return 0; }
    /// Fifty thousand of them would take minutes, and nobody pulls the plug.
    int fdatasync(int fd) override { return syncs ? QmxFiles::fdatasync(fd) : 0; }
    bool hollow = false;
    bool syncs = false;
};

namespace {

QmxEnvironment environmentWith(const std::shared_ptr<QmxFiles> &files)
{
    QmxEnvironment environment = QmxEnvironment::current();
    environment.files = files;
    return environment;
}

} // namespace

BenchHollowClip::BenchHollowClip() : _files(std::make_shared<Files>()), _writer(environmentWith(_files)) {}

bool BenchHollowClip::write(const QString &path, int frames, int flushEvery)
{
    if (_writer.create(path, benchClipInfo()).isError()) return false;
    QmxFrame frame;
    QmxBuffer picture = QmxBuffer::allocate(4000);
    std::fill_n(picture.data(), picture.size(), uchar(7));
    frame.vids().append(QmxImage(benchClipInfo().image, {picture}));
    for (int i = 0; i < frames; ++i) {
        _files->hollow = true;
        if (_writer.writeFrame(frame).isError()) return false;
        _files->hollow = false;
        if (i % flushEvery == flushEvery - 1 && _writer.flush().isError()) return false;
    }
    return true;
}

bool BenchHollowClip::close()
{
    _files->syncs = true;
    return !_writer.close().isError();
}

QmxClipInfo benchClipInfo(const QSize &size)
{
    QmxClipInfo info;
    info.image.setSize(size.width(), size.height());
    info.image.setAspectRatio(size.width(), size.height());
    info.image.setFrameRate(QmxVideoRate(25));
    info.image.setDataType(QmxIds::proRes422);
    return info;
}

bool makeBenchClip(const QString &path, int frames, const QSize &size)
{
    const QmxClipInfo info = benchClipInfo(size);
    const auto source =
        qmxCreateInternalGenerator(info.image, QmxIds::movingPattern, QmxId(), QmxEnvironment::current());
    const auto encoder = qmxCodec(info.image.dataType())->createEncoder(info.image);
    QmxClipWriter writer;
    if (writer.create(path, info).isError()) return false;
    for (int i = 0; i < frames; ++i) {
        QmxTick tick;
        tick.index = i;
        tick.deadline = i * 40 * QmxClock::nsPerMillisecond;
        tick.rate = info.image.frameRate();
        QmxBuffer coded;
        if (encoder->encode(source->take(tick).picture, coded).isError()) return false;
        QmxFrame frame;
        frame.vids().append(QmxImage(info.image, {coded}));
        if (writer.writeFrame(frame).isError()) return false;
    }
    return !writer.close().isError();
}

bool decodeFrame(QmxVideoDecoder &decoder, const QmxFrame &frame)
{
    QmxPicture picture;
    return !frame.vids().isEmpty() &&
           !decoder.decode(frame.vids().first().buffers().value(0), picture).isError();
}

double benchMs(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

double benchPercentile(QList<double> values, double part)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0
                            : values[std::min(values.size() - 1, qsizetype(part * double(values.size())))];
}

BenchPlayer::BenchPlayer(const QString &path)
{
    cache.setCacheSize(25);
    cache.setStream(&stream);
    stream.setDesc(path);
    stream.open(QmxStream::Read);
    turnUntil([this] { return stream.isOpen() || stream.isClosed(); });
}

BenchPlayer::~BenchPlayer()
{
    stream.close();
    turnUntil([this] { return stream.isClosed(); });
    cache.setStream(nullptr);
}

void BenchPlayer::turnUntil(const std::function<bool()> &done)
{
    while (!done())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

QmxFrame BenchPlayer::next()
{
    turnUntil([this] { return cache.framesInCache() > 0; });
    return cache.read();
}
