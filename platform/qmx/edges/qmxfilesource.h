// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/edges/qmxsource.h"
#include "platform/qmx/edges/qmxsourceaudio.h"
#include "platform/qmx/edges/qmxsourcedecoder.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

/// A file as an input, once or looped: one frame a tick whatever the rate of the ticks, none lost. The end
/// of the file is a loss of signal.
///
/// Threads: "qmx-file-source" decodes ahead into a queue of eight frames and waits (blocks) when it is full;
/// take() only pops. When decoding is too slow the last picture is repeated and counted, and the next frame
/// comes later. On a stepped clock time stands still while the thread has room in its queue.
class QmxFileSource : public QmxSource
{
public:
    QmxFileSource(const QString &path, bool loop, const QmxEnvironment &environment);
    ~QmxFileSource() override;

    QmxSourceFrame take(const QmxTick &tick) override;
    QString statusText() const override;
    QString problem() const override;

private:
    struct Item
    {
        QmxImageDesc desc;
        QmxPicture picture;
        QmxTimecode timecode;
        QmxAudio audio;
        qint64 number; ///< in this run through the file
    };
    void run();
    bool playOnce();
    void alignSound();
    bool emitReady(bool soundEnded);
    bool push(const Item &item);
    void finish(const QString &problem);

    const QString _path;
    const bool _loop;
    const std::shared_ptr<QmxClock> _clock;

    // The thread's.
    std::unique_ptr<QmxSourceDecoder> _decoder;
    std::deque<Item> _waiting;                 ///< pictures whose sound has not come yet
    QmxSourceAudio _decodedSound;              ///< from the first sample of _waiting on
    qint64 _firstPicture = 0, _firstSound = 0; ///< presentation times
    bool _soundAligned = false;
    qint64 _decoded = 0;

    mutable std::mutex _mutex;
    std::condition_variable _room;
    std::deque<Item> _queue;     // under _mutex, as are the next three
    std::shared_ptr<void> _busy; ///< time waits for the thread
    bool _ended = false;
    QString _problem;
    std::atomic<bool> _stopping = false;

    // The clock thread's.
    QmxSourceAudio _sound;
    QmxSourceFrame _last;
    std::atomic<qint64> _shown = 0;

    std::thread _thread;
};
