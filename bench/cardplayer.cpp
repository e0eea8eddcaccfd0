// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/cardplayer.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/device/qmxvideodevice.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include <sys/resource.h>

namespace {
struct Count
{
    std::atomic<int> shown = 0; ///< pictures
    std::atomic<int> ticks = 0; ///< from the first one on
};

/// Shows nothing, and counts what is new.
class CountingSink : public QmxSink
{
public:
    explicit CountingSink(std::shared_ptr<Count> count) : _count(std::move(count)) {}
    void show(const QmxOutputFrame &frame) override
    {
        if (!frame.picture.isValid() || frame.isCapture) return;
        if (!frame.isRepeat) ++_count->shown;
        ++_count->ticks;
    }
    QString statusText() const override { return {}; }

private:
    std::shared_ptr<Count> _count;
};

struct Played
{
    double ms = 0;
    double held = 0; ///< part of the ticks
};

std::optional<Played> play(BenchPlayer &player, int frames, LumenProfile profile, const QmxVideoRate &rate,
                           const QmxId &direction, const QSize &size)
{
    constexpr int queue = 40;
    const auto count = std::make_shared<Count>();
    LumenOptions options;
    options.profile = std::move(profile);
    options.createSink = [count](const QString &, const QmxEnvironment &) {
        return std::make_unique<CountingSink>(count);
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
    QmxImageDesc image = benchClipInfo(size).image;
    image.setFrameRate(rate);
    QmxVideoDeviceSetup setup;
    setup.setMode(1); // playback
    setup.setImageDesc(image);
    setup.setMaxBuffers(queue);
    if (device.setup(setup).isError()) return {};
    BenchPlayer::turnUntil([&device] { return !device.isInSetup(); });
    device.setProperty(QmxIds::direction, QVariant::fromValue(direction));

    player.cache.seek(0);
    BenchPlayer::turnUntil([&player] { return player.cache.cacheIsFull(); });
    QElapsedTimer timer;
    timer.start();
    BenchPlayer::turnUntil([&] {
        while (device.framesWritable() > 0 && player.cache.framesInCache() > 0)
            device.writeFrame(player.cache.read());
        return count->shown >= frames || benchMs(timer) > 60'000;
    });
    if (count->shown < frames) return {};
    return Played{benchMs(timer) / frames, 1 - double(frames) / std::max(1, count->ticks.load())};
}
} // namespace

std::optional<double> playThroughCard(BenchPlayer &player, int frames, bool byLibav, const QSize &size)
{
    constexpr int ticksASecond = 1000;
    LumenProfile profile = LumenProfile::parse(QString(), QString());
    profile.libavProRes = byLibav;
    const auto played =
        play(player, frames, profile, QmxVideoRate(ticksASecond), QmxIds::directionPlay, size);
    return played ? std::optional(played->ms) : std::nullopt;
}

std::optional<double> heldByCard(BenchPlayer &player, int frames, double ticksASecond, bool shuttle,
                                 const QSize &size)
{
    const auto played =
        play(player, frames, LumenProfile::parse(QString(), QString()), QmxVideoRate(int(ticksASecond)),
             shuttle ? QmxIds::directionFastForward : QmxIds::directionPlay, size);
    return played ? std::optional(played->held) : std::nullopt;
}
