// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/device/capturedframe.h"

#include <QList>

#include <deque>
#include <vector>

/// Frames that the reader has had out of record, newest last, kept because a take to come may begin with
/// them. One uninterrupted row: a frame without picture, one that could not be coded or a hole begins it
/// anew. Bounded in frames and in bytes of coded pictures and sound; the oldest goes. Guarded by whoever
/// guards its queue.
class CaptureMemory
{
public:
    struct Bounds
    {
        int frames = 0; ///< 0: remembers only what the queue asks for
        qint64 bytes = 0;

        friend bool operator==(const Bounds &, const Bounds &) = default;
    };

    /// What a recorder may spend on it: so much that the machine's memory holds the picture memory and the
    /// rest of the system besides.
    static qint64 affordable(qint64 machineBytes, qint64 poolBytes);

    void setBounds(const Bounds &bounds);
    bool isOn() const { return _bounds.frames > 0; }
    const Bounds &bounds() const { return _bounds; }

    void remember(const CapturedFramePtr &frame);
    /// The coder is done with a frame, which may be one of these.
    void settle(const CapturedFramePtr &frame);
    /// Frames whose coding nobody has begun and that can be coded now; they count as on their way.
    void takeUncoded(QList<CapturedFramePtr> &frames);
    /// Hands out what ends right before frame `next`, from frame `first` on; forgets everything else.
    std::deque<CapturedFramePtr> handOut(qint64 next, qint64 first);
    void clear();
    /// The coder does not keep up: what waits for it is more than there is memory for.
    void beginAnew();

    /// Number of the newest frame; -1: none.
    qint64 newest() const { return _frames.empty() ? -1 : _frames.back()->number; }
    int size() const { return int(_frames.size()); }
    qint64 bytes() const { return _bytes; }
    /// Of these, pictures that wait for the coder.
    qint64 rawBytes() const { return _rawBytes; }
    /// How often it had to begin anew because the coder did not keep up or failed.
    qint64 restarts() const { return _restarts; }

private:
    void forgetOldest();
    void weigh(CapturedFrame &frame);
    bool isUsable(const CapturedFrame &frame) const;

    Bounds _bounds;
    std::deque<CapturedFramePtr> _frames;
    std::vector<CapturedFramePtr> _raw; ///< of these, not yet on their way to the coder
    qint64 _bytes = 0;
    qint64 _rawBytes = 0;
    qint64 _restarts = 0;
};
