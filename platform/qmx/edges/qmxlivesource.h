// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxsoundcapture.h"
#include "platform/qmx/edges/qmxsource.h"
#include "platform/qmx/edges/qmxsourceaudio.h"
#include "platform/qmx/edges/qmxsourcedecoder.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <thread>

/// A signal from the network or a capture device: any address that libavformat opens.
///
/// The sender's clock is not ours: pictures wait in a small buffer that is kept at about `targetDepth`. An
/// empty buffer repeats the last picture, one that has grown skips one; both are counted. So is what comes
/// torn or not at all; for a torn picture the last whole one stands in, unless that is not wanted. Without
/// new picture for `lossTime` image and state turn invalid together. Sound follows the pictures: small
/// differences are taken up by stretching it inaudibly, large ones at once. Sound that comes from a sound
/// device (`soundDevice` not empty) is put beside the picture that came in at the same moment.
///
/// Threads: "qmx-live-source" opens, reads and decodes, reconnecting with growing pauses; the buffer drops
/// its oldest picture when it is full. take() only pops.
class QmxLiveSource : public QmxSource
{
public:
    static constexpr int targetDepth = 3; ///< frames
    static constexpr std::chrono::milliseconds lossTime{300};

    QmxLiveSource(const QString &url, const QString &soundDevice, const QmxEnvironment &environment);
    ~QmxLiveSource() override;

    QmxSourceFrame take(const QmxTick &tick) override;
    QString statusText() const override;

private:
    struct Item
    {
        QmxImageDesc desc;
        QmxPicture picture;
        QmxTimecode timecode;
        qint64 time; ///< presentation
        bool torn = false;
        int missing = 0; ///< pictures before it
    };
    // On the thread.
    void run();
    void play(QmxSourceDecoder &decoder);
    void pushVideo(const QmxSourceDecoder &decoder);
    void pushAudio(const qint32 *samples, int count, int channels, qint64 time);
    qint64 timeOf(const QmxSourceDecoder &decoder);
    bool shouldGiveUp() const;
    void setSoundProblem(const QString &problem);
    void setProblem(const QString &problem, int level);

    // On the clock thread, with _mutex held.
    void recoverClock(const QmxTick &tick);
    void popFrame();
    QmxAudio sound(const QmxTick &tick);

    const QString _url;
    const QString _name; ///< without what may be secret
    const QString _soundDevice;
    const std::shared_ptr<QmxClock> _clock;
    const std::shared_ptr<QmxDeck> _deck;
    QmxInterrupt _interrupt;
    std::atomic<bool> _stopping = false;
    std::atomic<bool> _connected = false;
    std::atomic<qint64> _lastArrival = 0;
    QmxPicture _whole;                ///< the last picture that was not torn; the thread's
    std::atomic<int> _audioError = 0; ///< samples to add to the sound over the next second

    mutable std::mutex _mutex;
    std::deque<Item> _queue; // all under _mutex
    QmxSourceAudio _sound;
    qint64 _soundTime = 0; ///< presentation time of its first sample
    QString _problem;
    QString _soundProblem;
    QmxSourceFrame _last;
    qint64 _pictureTime = 0;     ///< presentation time of what is shown, repeats counted
    qint64 _lastSound = 0;       ///< deadline of the tick that had some; 0: there was none yet
    bool _running = false;       ///< the buffer has been full enough
    double _depth = targetDepth; ///< of the buffer, smoothed
    double _due = 0;             ///< share of a frame that is due, at other rates than the signal's
    double _audioOffset = 0;     ///< nanoseconds, smoothed

    std::optional<qint64> _arrivalDelay; ///< the thread's: what a picture's own time is behind our clock
    std::thread _thread;
    std::unique_ptr<QmxSoundCapture> _capture; ///< calls into this: last
};
