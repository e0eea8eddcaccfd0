// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxlibav.h"
#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/edges/qmxsink.h"
#include "platform/qmx/edges/qmxsoundcard.h"
#include "platform/qmx/edges/qmxsoundpacing.h"

#include <atomic>
#include <mutex>

/// The sound of the output on a sound device of this machine, beside a window or alone: "alsa:default",
/// "alsa:hw:1", with "?channels=8" for more than the first two. In step with the picture within one frame.
///
/// A device that is not there, or goes, is tried again every two seconds.
///
/// Threads: show() only posts a handle; "qmx-sound" writes. Its queue holds eight frames; when it is full the
/// newest one is dropped and counted.
class QmxSoundSink : public QmxSink
{
public:
    static constexpr int mostChannels = 16;
    QmxSoundSink(const QString &device, int channels, const QmxEnvironment &environment);
    ~QmxSoundSink() override;

    void show(const QmxOutputFrame &frame) override;
    qint64 dropped() const override { return _dropped; }
    QString statusText() const override;
    QString problem() const override;
    int divisor(const QmxImageDesc &, bool) const override { return greatestDivisor; }

private:
    void write(const QmxOutputFrame &frame);
    bool open(const QmxOutputFrame &frame);
    /// The tick's sound in the card's channels, silence where there is none.
    std::vector<qint32> samplesOf(const QmxOutputFrame &frame, const QmxSoundPacing::Step &step) const;
    QmxError stretched(const std::vector<qint32> &samples, int stretch);
    void setStatus(const QString &status, bool good);

    const QString _device;
    const int _channels;
    // The thread's.
    std::unique_ptr<QmxSoundCard> _card;
    QmxLibav::Resampler _resampler;
    QmxSoundPacing _pacing;
    std::vector<qint32> _out;
    qint64 _retryAt = 0;   ///< deadline of the tick from which on it is tried again
    bool _hasClock = true; ///< the device takes its samples one by one; a file takes all at once

    std::atomic<bool> _stopping = false;
    std::atomic<qint64> _dropped = 0;
    std::atomic<qint64> _gaps = 0; ///< times that the device had nothing to play
    mutable std::mutex _mutex;
    QString _status;       ///< under _mutex
    bool _good = true;     ///< under _mutex
    QmxTaskThread _thread; ///< last: ends before what it uses
};
