// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/device/capturememory.h"

#include <QList>

#include <deque>
#include <optional>

/// With which frames a take begins.
struct TakeBegin
{
    std::optional<qint64> first; ///< it holds none from before that tick
    int earlier = 0;             ///< so many that were captured before its command; counts without `first`
};

/// The frames that wait for the reader, oldest first. Out of record a frame can be read as soon as it is
/// captured; in record when it and all before it are coded. Bounded in frames and in bytes of pictures,
/// coded or not: in record the newest frame is lost when it is full, else the oldest.
///
/// What has been read out of record goes into a memory: while that is on; or while the timecode of the input
/// has just begun to run, since the command to record that it causes comes some frames later. While it is on
/// frames are coded out of record too, and what the memory may hold may also wait here in record: a take
/// that begins earlier has all of that to hand out.
class CaptureQueue
{
public:
    /// Frames between the start of the timecode and the command to record that are still handed out.
    static constexpr int preRoll = 14;

    void setBounds(int frames, qint64 rawBytes);
    void setMemory(const CaptureMemory::Bounds &bounds) { _memory.setBounds(bounds); }
    const CaptureMemory &memory() const { return _memory; }
    /// Takes a new frame in; whether one was lost for it (the frame itself or the oldest).
    bool push(const CapturedFramePtr &frame);
    /// A frame was lost before it came here: the next one follows a gap.
    void noteLoss() { _gap = true; }
    int readable() const;
    int size() const { return int(_frames.size()); }
    bool isRecording() const { return _recording; }
    /// The oldest frame; null when none is readable.
    CapturedFramePtr take();
    /// The reader is not interested in what waits.
    void skip();
    /// Forgets everything.
    void clear();

    /// The take begins at tick `now`: what waits is still to be read, and before it what the memory has of
    /// `begin`, at least the frames since the timecode of the input began to run (if that is recent).
    void beginRecord(qint64 now, const TakeBegin &begin);
    void endRecord();
    /// Since which tick the timecode of the input has been running.
    void setRunningSince(std::optional<qint64> number, qint64 now);

    /// Whether the coder's work on a frame is of use: for the take or for the memory.
    bool wantsCoded(const CapturedFrame &frame) const;
    /// Frames that are wanted and not yet on their way to the coder; they count as queued from now on.
    QList<CapturedFramePtr> takeUncoded();
    /// A frame came back from the coder. An invalid buffer means that it is lost; true when a loss is to be
    /// reported (it was still waiting in a take).
    bool coded(const CapturedFramePtr &frame, const QmxBuffer &buffer);

    /// Stamps the waiting frames from the oldest on, counting up from `first`; what follows the newest.
    QmxTimecode stamp(const QmxTimecode &first);
    /// What waits: frames, and bytes of pictures and sound as far as they are coded.
    qint64 codedBytes() const;

private:
    qint64 rawBytes() const;
    bool isFull(qint64 bytes) const;
    bool isReady(const CapturedFrame &frame) const;
    bool startedRecently(qint64 now) const;
    void insertEarlier(std::deque<CapturedFramePtr> earlier);

    std::deque<CapturedFramePtr> _frames;
    mutable qsizetype _ready = 0; ///< of these, in record: so many of the oldest have been found ready
    CaptureMemory _memory;        ///< already read
    std::optional<qint64> _runningSince;
    int _maxFrames = 40;
    qint64 _maxRawBytes = 0;
    bool _recording = false;
    bool _gap = false; ///< the next frame pushed follows a loss
};
