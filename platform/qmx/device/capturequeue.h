// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/codec/qmxpicture.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmxtimecode.h"

#include <QList>

#include <deque>
#include <memory>
#include <optional>

/// One captured frame on its way from the source to the reader. Guarded by whoever guards its queue.
struct CapturedFrame
{
    enum Coding { Raw, Queued, Coded };

    qint64 number = 0;  ///< tick of its capture
    QmxImageDesc desc;  ///< format of the set-up
    QmxPicture picture; ///< not valid: no picture; may go once it is coded
    bool hasPicture = false;
    bool waitsForWork = false; ///< input conversion and table have not been applied yet
    Coding coding = Raw;
    QmxBuffer coded;
    QmxAudio audio; ///< not valid and without description: none wanted
    QmxTimecode timecode;
    QmxMetadataHash metadata;
    bool afterGap = false; ///< a frame was lost right before it

    /// What the reader gets. A picture that has not been coded is valid and has no bytes.
    QmxFrame toFrame() const;
};
using CapturedFramePtr = std::shared_ptr<CapturedFrame>;

/// The frames that wait for the reader, oldest first. Out of record a frame can be read as soon as it is
/// captured; in record when it and all before it are coded. Bounded in frames and in bytes of pictures,
/// coded or not: in record the newest frame is lost when it is full, else the oldest.
///
/// Remembers the frames read last while the timecode of the input has just begun to run, since the command
/// to record that it causes comes some frames later.
class CaptureQueue
{
public:
    /// Frames between the start of the timecode and the command to record that are still handed out.
    static constexpr int preRoll = 14;

    void setBounds(int frames, qint64 rawBytes);
    /// Takes a new frame in; whether one was lost for it (the frame itself or the oldest).
    bool push(const CapturedFramePtr &frame);
    /// A frame was lost before it came here: the next one follows a gap.
    void noteLoss() { _gap = true; }
    int readable() const;
    int size() const { return int(_frames.size()); }
    bool isRecording() const { return _recording; }
    /// The oldest frame; null when none is readable.
    CapturedFramePtr take();
    /// Forgets everything.
    void clear();

    /// The take begins at tick `now`: what waits is still to be read, with the frames since the timecode of
    /// the input began to run (if that is recent) before it. With `first` it holds none from before that.
    void beginRecord(qint64 now, std::optional<qint64> first = {});
    void endRecord();
    /// Since which tick the timecode of the input has been running.
    void setRunningSince(std::optional<qint64> number, qint64 now);

    /// In record: frames not yet on their way to the coder; they count as queued from now on.
    QList<CapturedFramePtr> takeUncoded();
    /// A frame came back from the coder. An invalid buffer means that it is lost; true when a loss is to be
    /// reported (it was still waiting in a take).
    bool coded(const CapturedFramePtr &frame, const QmxBuffer &buffer);

    /// Stamps the waiting frames from the oldest on, counting up from `first`; what follows the newest.
    QmxTimecode stamp(const QmxTimecode &first);

private:
    qint64 rawBytes() const;
    bool isReady(const CapturedFrame &frame) const;
    void forgetHistory(qint64 now);

    std::deque<CapturedFramePtr> _frames;
    std::deque<CapturedFramePtr> _history; ///< already read, since the timecode began to run
    std::optional<qint64> _runningSince;
    int _maxFrames = 40;
    qint64 _maxRawBytes = 0;
    bool _recording = false;
    bool _gap = false; ///< the next frame pushed follows a loss
};
