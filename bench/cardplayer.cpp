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
constexpr int fastTicks = 1000; ///< a second: more than pictures can be decoded

struct Count
{
    std::atomic<int> shown = 0;    ///< pictures
    std::atomic<int> ticks = 0;    ///< from the first one on
    std::atomic<int> frame = -1;   ///< number of the one that is shown
    std::atomic<double> since = 0; ///< by `time`, when it was shown first, ms
    QElapsedTimer time;            ///< starts with the card
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
        const int number = frame.metadata.value(QmxIds::frameNumber).toInt();
        if (number == _count->frame) return;
        _count->since = benchMs(_count->time);
        _count->frame = number;
    }
    QString statusText() const override { return {}; }

private:
    std::shared_ptr<Count> _count;
};

/// A card in playback that shows what it is given.
class BenchCard
{
public:
    BenchCard(LumenProfile profile, const QmxVideoRate &rate, const QSize &size)
    {
        constexpr int queue = 40;
        _count->time.start();
        LumenOptions options;
        options.profile = std::move(profile);
        options.createSink = [count = _count](const QString &, const QmxEnvironment &) {
            return std::make_unique<CountingSink>(count);
        };
        // Where the daemon is before all others its coders are where others are; here they shall be beside
        // the peer.
        const int usual = getpriority(PRIO_PROCESS, 0);
        constexpr int codersBehind = 10;
        setpriority(PRIO_PROCESS, 0, usual - codersBehind);
        _device = std::make_unique<QmxVideoDevice>(options, nullptr);
        const bool isOpen = _device->open(QStringLiteral("lumen"));
        setpriority(PRIO_PROCESS, 0, usual);
        if (!isOpen) return;
        QmxImageDesc image = benchClipInfo(size).image;
        image.setFrameRate(rate);
        QmxVideoDeviceSetup setup;
        setup.setMode(1); // playback
        setup.setImageDesc(image);
        setup.setMaxBuffers(queue);
        if (_device->setup(setup).isError()) return;
        BenchPlayer::turnUntil([this] { return !_device->isInSetup(); });
        _plays = true;
    }

    bool plays() const { return _plays; }
    QmxVideoDevice &device() { return *_device; }
    const Count &count() const { return *_count; }

private:
    const std::shared_ptr<Count> _count = std::make_shared<Count>();
    std::unique_ptr<QmxVideoDevice> _device;
    bool _plays = false;
};

struct Played
{
    double ms = 0;
    double held = 0; ///< part of the ticks
};

std::optional<Played> play(BenchPlayer &player, int frames, LumenProfile profile, const QmxVideoRate &rate,
                           const QmxId &direction, const QSize &size)
{
    BenchCard card(std::move(profile), rate, size);
    if (!card.plays()) return {};
    QmxVideoDevice &device = card.device();
    device.setProperty(QmxIds::direction, QVariant::fromValue(direction));

    player.cache.seek(0);
    BenchPlayer::turnUntil([&player] { return player.cache.cacheIsFull(); });
    QElapsedTimer timer;
    timer.start();
    BenchPlayer::turnUntil([&] {
        while (device.framesWritable() > 0 && player.cache.framesInCache() > 0)
            device.writeFrame(player.cache.read());
        return card.count().shown >= frames || benchMs(timer) > 60'000;
    });
    if (card.count().shown < frames) return {};
    return Played{benchMs(timer) / frames, 1 - double(frames) / std::max(1, card.count().ticks.load())};
}
} // namespace

QList<double> cueThroughCard(BenchPlayer &player, const QList<int> &targets)
{
    constexpr int mostMs = 10'000;
    BenchCard card(LumenProfile::parse(QString(), QString()), QmxVideoRate(fastTicks), benchClipSize);
    if (!card.plays()) return {};
    QmxVideoDevice &device = card.device();
    device.setProperty(QmxIds::direction, QVariant::fromValue(QmxIds::directionStill));
    QList<double> took;
    for (const int target : targets) {
        // As the transport does it: the flush forgets what waits, and its report seeks.
        const auto sought = QObject::connect(&device, &QmxVideoDevice::flushed, &player.cache,
                                             [&player, target] { player.cache.seek(target); });
        const double begin = benchMs(card.count().time);
        player.cache.seek(target);
        device.flush();
        bool isWritten = false;
        BenchPlayer::turnUntil([&] {
            if (!isWritten && !device.isFlushing() && player.cache.framesInCache() > 0) {
                QmxFrame frame = player.cache.peek();
                frame.meta().insert(QmxIds::hold, true);
                isWritten = !device.writeFrame(frame).isError();
            }
            return card.count().frame == target || benchMs(card.count().time) > begin + mostMs;
        });
        took.append(card.count().since - begin);
        QObject::disconnect(sought);
        if (card.count().frame != target) return {};
        BenchPlayer::turnUntil([&player] { return player.cache.cacheIsFull(); });
    }
    return took;
}

std::optional<double> playThroughCard(BenchPlayer &player, int frames, bool byLibav, const QSize &size)
{
    LumenProfile profile = LumenProfile::parse(QString(), QString());
    profile.libavProRes = byLibav;
    const auto played = play(player, frames, profile, QmxVideoRate(fastTicks), QmxIds::directionPlay, size);
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
