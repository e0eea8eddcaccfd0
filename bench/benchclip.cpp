// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/benchclip.h"

#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/edges/qmxsource.h"

#include <QCoreApplication>
#include <QEventLoop>

#include <algorithm>

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
