// SPDX-License-Identifier: GPL-3.0-or-later
// Clips by themselves, without a recorder: long ones, and one frame after the other out of order.
#include "bench/figures.h"

#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/device/qmxsource.h"
#include "platform/qmx/stream/qmxclipreader.h"
#include "platform/qmx/stream/qmxclipwriter.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcache.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>

#include <algorithm>
#include <cerrno>
#include <optional>

namespace {

/// Leaves holes where pictures would be, so that hours of a take cost no medium.
class HollowFiles : public QmxFiles
{
public:
    ssize_t pwrite(int fd, const void *data, size_t size, off64_t offset) override
    {
        return hollow ? ssize_t(size) : QmxFiles::pwrite(fd, data, size, offset);
    }
    int fallocate(int, int, off64_t, off64_t) override { return 0; }
    bool hollow = false;
};

QmxClipInfo hdInfo()
{
    QmxClipInfo info;
    info.image.setSize(1920, 1080);
    info.image.setAspectRatio(1920, 1080);
    info.image.setFrameRate(QmxVideoRate(25));
    info.image.setDataType(QmxId(202));
    return info;
}

double milliseconds(const QElapsedTimer &timer)
{
    return double(timer.nsecsElapsed()) / 1e6;
}

double percentile(QList<double> values, double part)
{
    std::sort(values.begin(), values.end());
    return values.isEmpty() ? 0
                            : values[std::min(values.size() - 1, qsizetype(part * double(values.size())))];
}

/// A clip of generated pictures, as hard to code as a camera's.
bool makeClip(const QString &path, int frames)
{
    const QmxClipInfo info = hdInfo();
    const auto source =
        qmxCreateInternalGenerator(info.image, QmxId(802), QmxId(), QmxEnvironment::current());
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

/// Decodes one frame; false: it could not be.
bool decode(QmxVideoDecoder &decoder, const QmxFrame &frame)
{
    QmxPicture picture;
    return !frame.vids().isEmpty() &&
           !decoder.decode(frame.vids().first().buffers().value(0), picture).isError();
}

/// A stream with its cache, driven from here.
struct Player
{
    QmxStream stream;
    QmxStreamCache cache;

    explicit Player(const QString &path)
    {
        cache.setCacheSize(25);
        cache.setStream(&stream);
        stream.setDesc(path);
        stream.open(QmxStream::Read);
        turnUntil([this] { return stream.isOpen() || stream.isClosed(); });
    }
    ~Player()
    {
        stream.close();
        turnUntil([this] { return stream.isClosed(); });
        cache.setStream(nullptr);
    }
    static void turnUntil(const std::function<bool()> &done)
    {
        while (!done())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    QmxFrame next()
    {
        turnUntil([this] { return cache.framesInCache() > 0; });
        return cache.read();
    }
};

} // namespace

QList<Figure> benchLongClip(int)
{
    constexpr int frames = 300000, flushEvery = 12;
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("long.mov"));
    QmxEnvironment environment = QmxEnvironment::current();
    auto files = std::make_shared<HollowFiles>();
    environment.files = files;
    QmxClipWriter writer(environment);
    if (writer.create(path, hdInfo()).isError()) return {};
    QmxFrame frame;
    QmxBuffer picture = QmxBuffer::allocate(4000);
    std::fill_n(picture.data(), picture.size(), uchar(7));
    frame.vids().append(QmxImage(hdInfo().image, {picture}));
    for (int i = 0; i < frames; ++i) {
        files->hollow = true;
        if (writer.writeFrame(frame).isError()) return {};
        files->hollow = false;
        if (i % flushEvery == flushEvery - 1 && writer.flush().isError()) return {};
    }
    QElapsedTimer timer;
    QmxClipReader growing, closed;
    timer.start();
    if (growing.open(path).isError()) return {};
    const double walk = milliseconds(timer);
    timer.restart();
    if (writer.close().isError()) return {};
    const double close = milliseconds(timer);
    timer.restart();
    if (closed.open(path).isError() || closed.info().frames != frames) return {};
    const double open = milliseconds(timer);
    return {{"long_clip_open_unclosed", walk, "ms", {}, {}, 200.0},
            {"long_clip_close", close, "ms", {}, {}, 100.0},
            {"long_clip_open", open, "ms", {}, {}, 20.0}};
}

QList<Figure> benchSeek(int)
{
    int count = 0;
    std::optional<QCoreApplication> application;
    if (!QCoreApplication::instance()) application.emplace(count, nullptr);
    constexpr int frames = 120, rounds = 60;
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.mov"));
    if (!makeClip(path, frames)) return {};
    QmxClipReader reader;
    if (reader.open(path).isError()) return {};
    const auto decoder = qmxCodec(hdInfo().image.dataType())->createDecoder(hdInfo().image);
    Player player(path);

    // Exact cues, each beside a bare positioned read and decode of the same frame.
    QList<double> cues, bare;
    for (int i = 0; i < rounds; ++i) {
        const int target = (i * 61 + 17) % (frames - 30); // far from what is loaded
        QmxFrame frame;
        QElapsedTimer timer;
        timer.start();
        if (reader.readFrame(target, frame).isError() || !decode(*decoder, frame)) return {};
        bare.append(milliseconds(timer));
        timer.restart();
        player.cache.seek(target);
        if (!decode(*decoder, player.next())) return {};
        cues.append(milliseconds(timer));
    }

    // Fastest play: the same frames through the cache, and decoded out of memory.
    QList<QmxFrame> held(frames);
    for (int i = 0; i < frames; ++i)
        if (reader.readFrame(i, held[i]).isError()) return {};
    QElapsedTimer timer;
    timer.start();
    for (const QmxFrame &frame : std::as_const(held))
        if (!decode(*decoder, frame)) return {};
    const double decoding = milliseconds(timer);
    player.cache.seek(0);
    timer.restart();
    for (int i = 0; i < frames; ++i)
        if (!decode(*decoder, player.next())) return {};
    const double playing = milliseconds(timer);

    const char *peer = "ms bare read and decode";
    return {{"seek_p50", percentile(cues, 0.5), "ms", percentile(bare, 0.5), peer, 1.15},
            {"seek_p99", percentile(cues, 0.99), "ms", percentile(bare, 0.99), peer, 2.0},
            {"fastest_play", playing / frames, "ms/frame", decoding / frames, "ms bare decoder", 1 / 0.95}};
}
