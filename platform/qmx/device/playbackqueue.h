// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/device/qmxvideodevicesetup.h"

#include <QList>

#include <chrono>
#include <deque>
#include <memory>
#include <optional>

/// A picture of the playback queue, decoded once however often its frame is shown. Guarded by whoever
/// guards the queue.
struct DecodedPicture
{
    enum State { Waiting, Posted, Done };

    QmxImage image;
    QmxImageLut lut;    ///< output table that goes into the picture
    QmxPicture picture; ///< not valid when done: black
    State state = Waiting;
    int divisor = 1;       ///< so many times smaller than the frame
    bool isSoft = false;   ///< and smaller than the outputs take it: there was no time for more
    bool refining = false; ///< it is being decoded once more
    bool failed = false;
    int damagedParts = 0; ///< grey parts of the picture
};
using DecodedPicturePtr = std::shared_ptr<DecodedPicture>;

/// What playback shows: the waiting frames and set-ups in the order in which they came, and the rules by
/// which a tick takes the next one. A set-up or a flush begins a new run. A run of frames without hold flag
/// starts when some are decoded or some time has passed; a frame with hold flag, or kept by a flush, is
/// shown as soon as it is decoded. A state machine: knows neither clock nor thread.
class PlaybackQueue
{
public:
    static constexpr int startFrames = 4; ///< decoded frames that start a run
    /// After which a run starts with fewer.
    static constexpr std::chrono::nanoseconds startTime = std::chrono::milliseconds(200);

    /// A flagged frame came onto the output.
    struct KeyReport
    {
        QmxMetadataHash metadata;
        quint64 run = 0;
    };

    /// What one tick brought.
    struct Step
    {
        bool newFrame = false;                    ///< shown() is another item of the queue than before
        bool isLate = false;                      ///< the next one waits to be decoded
        std::optional<QmxVideoDeviceSetup> setup; ///< in force from this tick on
        QList<KeyReport> keys;
        bool dropped = false; ///< to be reported now
    };

    struct Shown
    {
        QmxFrame frame;
        DecodedPicturePtr picture;
        quint64 run = 0;
        bool hold = false;
        bool valid = false;
    };

    /// Queues a frame behind the rest; true when a dropped frame is to be reported now.
    bool write(const QmxFrame &frame, const DecodedPicturePtr &picture, qint64 now);
    /// Queues a set-up: the frames after it are its own.
    void setup(const QmxVideoDeviceSetup &setup);
    /// Forgets the waiting frames but for the first one of the newest run; keeps the newest set-up. A frame
    /// kept before for which a tick has already waited stays as well: however slowly pictures are decoded, a
    /// flush a tick does not freeze the output.
    void flush();
    /// Forgets everything, the frame shown included.
    void clear();

    Step tick(qint64 now);

    /// Waiting frames.
    int frames() const;
    /// Bytes of pictures and sound that they keep, as they came; what is decoded of them is none of it.
    qint64 codedBytes() const;
    /// The frame on the output; not valid before the first.
    const Shown &shown() const { return _shown; }
    /// The run that frames written now belong to.
    quint64 newestRun() const { return _newest->id; }
    bool newestHasFrames() const { return _newest->hasFrames; }
    /// The current frame: the first one of the newest run while it waits, else the one on the output.
    std::optional<QmxFrame> current() const;
    /// Pictures of the first `frames` waiting frames, in order.
    QList<DecodedPicturePtr> ahead(int frames) const;

    PlaybackQueue();

private:
    struct Run
    {
        quint64 id = 0;
        bool byFlush = false;
        bool hasFrames = false;
        qint64 firstWritten = 0;
        bool started = false;
    };
    struct Item
    {
        std::optional<QmxVideoDeviceSetup> setup; ///< a set-up; else a frame
        QmxFrame frame;
        DecodedPicturePtr picture;
        std::shared_ptr<Run> run;
        bool first = false;   ///< of its run
        bool kept = false;    ///< by a flush
        bool awaited = false; ///< kept, and a tick has waited for its picture
    };

    void beginRun(bool byFlush);
    const Item *firstOfNewest() const;
    bool equalsShown(const Item &item) const;
    bool hasStarted(Run &run, qint64 now) const;
    bool isDue(const Item &item, qint64 now) const;
    bool setupWaitsBehindFront() const;
    bool applySetup(qint64 now, Step &step);
    bool passOver(Step &step);
    void show(const Item &item, Step &step);
    void noteGap(Step &step);

    std::deque<Item> _items;
    std::shared_ptr<Run> _newest;
    quint64 _lastRun = 0;
    Shown _shown;
    bool _shownUnderSetup = false; ///< the frame shown was shown under the set-up in force
    std::optional<Shown> _reportedKey;
    bool _gap = false; ///< a tick without a frame since the one shown
    bool _gapReported = false;
};
