// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/cardplayer.h"

#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/device/qmxvideodevice.h"

#include <atomic>

#include <sys/resource.h>

namespace {
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
} // namespace

std::optional<double> playThroughCard(BenchPlayer &player, int frames, bool byLibav, const QSize &size)
{
    constexpr int ticksASecond = 1000, queue = 40;
    const auto shown = std::make_shared<std::atomic<int>>(0);
    LumenOptions options;
    options.profile = LumenProfile::parse(QString(), QString());
    options.profile->libavProRes = byLibav;
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
    QmxImageDesc image = benchClipInfo(size).image;
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
