// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/edges/qmxsoundcard.h"

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

/// Sound from a sound device beside a picture that comes another way: "v4l2:/dev/video0?audio=alsa:hw:1".
///
/// Each piece carries the moment at which its first sample was heard, on the recorder's clock, so that it can
/// be put beside a picture of the same moment. A device that is not there, or goes, is tried again every two
/// seconds.
///
/// Threads: "qmx-sound-in" reads and calls `deliver`; setProblem and the rest from there too.
class QmxSoundCapture
{
public:
    /// `count` samples of each of `channels` channels, interleaved; `time` in nanoseconds of the clock.
    using Deliver = std::function<void(const qint32 *samples, int count, int channels, qint64 time)>;
    using Tell = std::function<void(const QString &problem)>; ///< why there is no sound; empty: there is
    /// `correction`: samples to add to the sound over the next second, asked again and again.
    QmxSoundCapture(const QString &device, int channels, const QmxEnvironment &environment, Deliver deliver,
                    Tell tell, std::function<int()> correction);
    ~QmxSoundCapture();
    QmxSoundCapture(const QmxSoundCapture &) = delete;
    QmxSoundCapture &operator=(const QmxSoundCapture &) = delete;

private:
    void run();
    QmxError play();
    QmxError prepare();
    void convert(const std::vector<qint32> &samples, qint64 time);

    const QString _device;
    const int _channels;
    const std::shared_ptr<QmxClock> _clock;
    const Deliver _deliver;
    const Tell _tell;
    const std::function<int()> _correction;
    std::unique_ptr<QmxSoundCard> _card;
    QmxLibav::Resampler _resampler;
    std::vector<qint32> _out;
    QmxInterrupt _interrupt;
    std::atomic<bool> _stopping = false;
    std::thread _thread;
};
