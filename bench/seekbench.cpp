// SPDX-License-Identifier: GPL-3.0-or-later
// Frames of a clip out of order, and all of them as fast as they come.
#include "bench/benchclip.h"
#include "bench/figures.h"
#include "bench/mpvpeer.h"

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/device/qmxvideodevice.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <atomic>
#include <optional>

#include <sys/resource.h>

namespace {
constexpr int frames = 240;

/// Shows nothing, and counts what is new.
class CountingSink : public QmxSink
{
public:
    explicit CountingSink(std::shared_ptr<std::atomic<int>> count) : _count(std::move(count)) {}
    void show(const QmxOutputFrame &frame) override
    {
        if (frame.picture.isValid() && !frame.isRepeat && !frame.isCapture) ++*_count;
    }
    QString statusText() const override { return {}; }

private:
    std::shared_ptr<std::atomic<int>> _count;
};

/// Milliseconds a frame of a clip that goes through the cache and the video card, whose ticks come faster
/// than pictures can be decoded.
std::optional<double> playThroughCard(BenchPlayer &player)
{
    constexpr int ticksASecond = 1000, queue = 40;
    const auto shown = std::make_shared<std::atomic<int>>(0);
    LumenOptions options;
    options.profile = LumenProfile::parse(QString(), QString());
    options.createSink = [shown](const QString &, const QmxEnvironment &) {
        return std::make_unique<CountingSink>(shown);
    };
    // Where the daemon is before all others its coders are where others are; here they shall be beside the
    // peer.
    const int usual = getpriority(PRIO_PROCESS, 0);
    constexpr int codersBehind = 10;
    setpriority(PRIO_PROCESS, 0, usual - codersBehind);
    QmxVideoDevice device(options, nullptr);
    const bool isOpen = device.open(QStringLiteral("lumen"));
    setpriority(PRIO_PROCESS, 0, usual);
    if (!isOpen) return {};
    QmxImageDesc image = benchClipInfo().image;
    image.setFrameRate(QmxVideoRate(ticksASecond));
    QmxVideoDeviceSetup setup;
    setup.setMode(1); // playback
    setup.setImageDesc(image);
    setup.setMaxBuffers(queue);
    if (device.setup(setup).isError()) return {};
    BenchPlayer::turnUntil([&device] { return !device.isInSetup(); });

    player.cache.seek(0);
    BenchPlayer::turnUntil([&player] { return player.cache.cacheIsFull(); });
    QElapsedTimer timer;
    timer.start();
    BenchPlayer::turnUntil([&] {
        while (device.framesWritable() > 0 && player.cache.framesInCache() > 0)
            device.writeFrame(player.cache.read());
        return *shown >= frames || benchMs(timer) > 60'000;
    });
    if (*shown < frames) return {};
    return benchMs(timer) / frames;
}

/// Milliseconds a frame, with the program's start; nothing: it is not installed.
std::optional<double> playByProgram(const QString &program, const QStringList &arguments)
{
    QElapsedTimer timer;
    timer.start();
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForFinished(-1) || process.exitCode() != 0) return {};
    return benchMs(timer) / frames;
}

struct Clip
{
    explicit Clip(const QString &path) : player(path) { reader.open(path); }
    QmxClipReader reader;
    BenchPlayer player;
    std::unique_ptr<QmxVideoDecoder> decoder =
        qmxCodec(benchClipInfo().image.dataType())->createDecoder(benchClipInfo().image);
};

/// Exact cues, each beside a bare positioned read and decode of the same frame and mpv's exact seek to it.
QList<Figure> measureSeeks(Clip &clip, const QString &path)
{
    constexpr int rounds = 400, mpvRounds = 100;
    QList<double> cues, bare, mpv;
    MpvPeer peer;
    const bool hasPeer = peer.open(path);
    for (int i = 0; i < rounds; ++i) {
        const int target = (i * 97 + 17) % (frames - 30); // far from what is loaded
        QmxFrame frame;
        QElapsedTimer timer;
        timer.start();
        if (clip.reader.readFrame(target, frame).isError() || !decodeFrame(*clip.decoder, frame)) return {};
        bare.append(benchMs(timer));
        timer.restart();
        clip.player.cache.seek(target);
        if (!decodeFrame(*clip.decoder, clip.player.next())) return {};
        cues.append(benchMs(timer));
        BenchPlayer::turnUntil([&clip] { return clip.player.cache.cacheIsFull(); });
        if (!hasPeer || i >= mpvRounds) continue;
        if (const auto took = peer.seek(target / benchClipInfo().image.frameRate().toDouble()))
            mpv.append(*took);
    }
    const char *name = "ms bare read and decode";
    QList<Figure> figures{
        {"seek_p50", benchPercentile(cues, 0.5), "ms", benchPercentile(bare, 0.5), name, 1.15},
        {"seek_p99", benchPercentile(cues, 0.99), "ms", benchPercentile(bare, 0.99), name, 2.0}};
    if (!mpv.isEmpty())
        figures.append({"seek_beside_mpv",
                        benchPercentile(cues, 0.5),
                        "ms",
                        benchPercentile(mpv, 0.5),
                        "ms mpv exact seek",
                        {}});
    return figures;
}

/// Play as fast as frames come: through the cache alone, and through the card.
QList<Figure> measurePlay(Clip &clip, const QString &path)
{
    QList<QmxFrame> held(frames);
    for (int i = 0; i < frames; ++i)
        if (clip.reader.readFrame(i, held[i]).isError()) return {};
    QElapsedTimer timer;
    timer.start();
    for (const QmxFrame &frame : std::as_const(held))
        if (!decodeFrame(*clip.decoder, frame)) return {};
    const double bare = benchMs(timer) / frames;
    held.clear();
    clip.player.cache.seek(0);
    timer.restart();
    for (int i = 0; i < frames; ++i)
        if (!decodeFrame(*clip.decoder, clip.player.next())) return {};
    const double cache = benchMs(timer) / frames;
    const auto card = playThroughCard(clip.player);
    if (!card) return {};

    constexpr double most = 1 / 0.95;
    const char *name = "ms bare decoder";
    QList<Figure> figures{{"fastest_play", *card, "ms/frame", bare, name, most},
                          {"fastest_play_cache", cache, "ms/frame", bare, name, most}};
    const struct
    {
        const char *figure, *peer, *program;
        QStringList arguments;
    } peers[] = {
        {"play_beside_ffmpeg", "ms ffmpeg", "ffmpeg", {"-v", "error", "-i", path, "-f", "null", "-"}},
        {"play_beside_gstreamer",
         "ms GStreamer",
         "gst-launch-1.0",
         {"-q", "filesrc", "location=" + path, "!", "qtdemux", "!", "queue", "!", "avdec_prores", "!",
          "fakesink", "sync=false"}},
        {"play_beside_mlt",
         "ms MLT",
         "melt",
         {path, "-consumer", "avformat:/dev/null", "f=rawvideo", "vcodec=rawvideo", "an=1", "real_time=-2"}},
    };
    for (const auto &peer : peers)
        if (const auto took = playByProgram(peer.program, peer.arguments))
            figures.append({peer.figure, *card, "ms/frame", *took, peer.peer, {}});
    return figures;
}
} // namespace

QList<Figure> benchSeek(int)
{
    int count = 0;
    std::optional<QCoreApplication> application;
    if (!QCoreApplication::instance()) application.emplace(count, nullptr);
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("a.mov"));
    if (!makeBenchClip(path, frames)) return {};
    Clip clip(path);
    // Everything has been read once before: figures of the medium are not asked for here.
    QmxFrame frame;
    for (int i = 0; i < frames; ++i)
        if (clip.reader.readFrame(i, frame).isError()) return {};
    return measureSeeks(clip, path) + measurePlay(clip, path);
}
