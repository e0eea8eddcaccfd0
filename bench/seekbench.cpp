// SPDX-License-Identifier: GPL-3.0-or-later
// Frames of a clip out of order, and all of them as fast as they come.
#include "bench/benchclip.h"
#include "bench/cardplayer.h"
#include "bench/figures.h"
#include "bench/mpvpeer.h"

#include "platform/qmx/clip/qmxclipreader.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <optional>

namespace {
constexpr int frames = 240;

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
    QList<int> targets;
    for (int i = 0; i < rounds; ++i) {
        const int target = (i * 97 + 17) % (frames - 30); // far from what is loaded
        targets.append(target);
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
    const QList<double> shown = cueThroughCard(clip.player, targets);
    const char *name = "ms bare read and decode";
    QList<Figure> figures{
        {"seek_cue_p50", benchPercentile(shown, 0.5), "ms", benchPercentile(bare, 0.5), name, {}},
        {"seek_cue_p99", benchPercentile(shown, 0.99), "ms", benchPercentile(bare, 0.99), name, {}},
        {"seek_p50", benchPercentile(cues, 0.5), "ms", benchPercentile(bare, 0.5), name, 1.1},
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
    const auto card = playThroughCard(clip.player, frames, false);
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
