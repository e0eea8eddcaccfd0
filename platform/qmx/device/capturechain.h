// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/device/capturequeue.h"
#include "platform/qmx/device/qmxvideodevicesetup.h"
#include "platform/qmx/device/timecodegenerator.h"
#include "platform/qmx/edges/qmxsource.h"

/// What the sources gave for one tick.
struct CardInput
{
    QmxSourceFrame input;     ///< of the watched input
    QmxSourceFrame generator; ///< of the internal generator, while it is used
    quint64 generation = 0;   ///< of the set-up for which it was taken
};

/// From what the sources give to the frames that the reader takes: which picture fits, its sound and its
/// timecode, losses, takes. A machine without thread and clock; guarded by its owner, who lets the work on
/// pictures be done.
class CaptureChain
{
public:
    /// What read() gave.
    struct Reading
    {
        CapturedFramePtr frame; ///< null: none waits
        bool inTake = false;
        bool beginsTake = false; ///< the first one of a take
        bool tellsLoss = false;  ///< a loss right before it that was asked to be told again
    };

    /// `wideChannels`: of a set-up for eight, which stand for all that the profile wants.
    explicit CaptureChain(int wideChannels = 8) : _wideChannels(wideChannels) {}

    void setBounds(int frames, qint64 rawBytes) { _queue.setBounds(frames, rawBytes); }
    /// What is kept of the frames read out of record, for a take that begins with them.
    void setMemory(const CaptureMemory::Bounds &bounds) { _queue.setMemory(bounds); }
    const CaptureMemory &memory() const { return _queue.memory(); }
    /// A set-up comes into force that makes other frames than the one before.
    void begin(const QmxVideoDeviceSetup &setup);
    /// The source of the timecode while nothing is captured.
    void setTimecodeSource(const QmxId &source, int fps) { _generator.setSource(source, fps); }
    /// Forgets what waits.
    void clear();
    /// The reader is not interested in what waits, unless it belongs to a take.
    void flush();

    /// The direction is record, or not any more; false when it was so before.
    bool setRecord(bool on, qint64 tick, const TakeBegin &begin = {});
    bool isRecording() const { return _queue.isRecording(); }
    /// Number of the take that runs or comes next.
    quint64 take() const { return _take; }
    /// A frame of this take has been read.
    bool takeIsRead() const { return _takeRead; }

    /// The frame of a tick; push() takes it in. `good`: the input's picture may be used.
    CapturedFramePtr step(const CardInput &seen, const QmxTick &tick, const QmxVideoDeviceSetup &setup,
                          bool good, const QmxMetadataHash &ancillary);
    /// A tick that no take holds.
    void passOver() { _generator.passOver(); }
    /// The picture of a tick that no take holds, as it would be captured but for conversion and table.
    static QmxPicture fitting(const CardInput &seen, const QmxVideoDeviceSetup &setup, bool good);
    /// Whether a frame was lost for it.
    bool push(const CapturedFramePtr &frame) { return _queue.push(frame); }
    /// A frame was lost before it came here.
    void noteLoss() { _queue.noteLoss(); }
    /// After a loss in a take, until the first picture that comes again can be read: no timecode counts.
    bool holdsTimecode();
    void setRunningSince(std::optional<qint64> number, qint64 now) { _queue.setRunningSince(number, now); }
    /// Lets the next frame carry what a jam with `value` gives. `timeOfDay`: the value is that of the newest
    /// frame that waits, not of the oldest.
    void jam(const QmxTimecode &value, const QmxRecordTable::Memory &memory, bool timeOfDay);

    Reading read();
    /// Its reader could take no note of a loss.
    void repeatLoss() { _repeatLoss = true; }
    int readable() const { return _queue.readable(); }
    int size() const { return _queue.size(); }
    /// Bytes of what waits and is coded.
    qint64 codedBytes() const { return _queue.codedBytes(); }

    /// As CaptureQueue::wantsCoded().
    bool wantsCoded(const CapturedFrame &frame) const { return _queue.wantsCoded(frame); }
    QList<CapturedFramePtr> takeUncoded() { return _queue.takeUncoded(); }
    /// As CaptureQueue::coded().
    bool coded(const CapturedFramePtr &frame, const QmxBuffer &buffer) { return _queue.coded(frame, buffer); }
    /// Input conversion and table have been applied; `current`: the format of captured frames now.
    void processed(const CapturedFramePtr &frame, const QmxPicture &picture, const QmxImageDesc &current);
    /// A frame without such work: its picture is the newest one.
    void show(const CapturedFrame &frame) { _picture = frame.picture; }
    /// Nobody can do the work on the frame: it has no picture.
    static void refuse(CapturedFrame &frame);
    /// The newest picture as it is recorded; not valid before the first.
    const QmxPicture &picture() const { return _picture; }

private:
    QmxAudio sound(const CardInput &seen, const QmxTick &tick, const QmxVideoDeviceSetup &setup,
                   bool usable) const;

    const int _wideChannels;
    CaptureQueue _queue;
    TimecodeGenerator _generator;
    quint64 _take = 0;
    bool _takeRead = false;
    bool _repeatLoss = false;
    bool _lossInTake = false;
    CapturedFramePtr _firstAfterLoss; ///< in a take: until it is coded the input has no timecode
    qint64 _pictureNumber = 0;
    QmxPicture _picture;
};
