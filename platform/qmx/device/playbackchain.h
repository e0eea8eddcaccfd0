// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/device/decodedpictures.h"
#include "platform/qmx/device/playbackqueue.h"

/// From the frames that are written to the one on the output: the queue with the pictures decoded for it,
/// and what counts as the current frame after a seek. A machine without thread and clock; guarded by its
/// owner, who lets the pictures be decoded.
class PlaybackChain
{
public:
    /// Forgets everything, the frame shown included.
    void clear();
    void forgetFrames() { _queue.clear(); }
    void setup(const QmxVideoDeviceSetup &setup);
    void flush();
    /// The receivers of a flush's report have sought: until the next frame is written the current one is that
    /// of the cache's position.
    void expectSought();

    /// True when a dropped frame is to be reported now. `maySoft`: a picture that was decoded smaller than
    /// the outputs take it will do.
    bool write(const QmxFrame &frame, const QmxImageLut &lut, qint64 now, bool maySoft = false);
    PlaybackQueue::Step tick(qint64 now) { return _queue.tick(now); }
    const PlaybackQueue::Shown &shown() const { return _queue.shown(); }
    int frames() const { return _queue.frames(); }
    /// Frames that may still be written: up to `frames` of them wait, and no more than `bytes` but for one.
    int room(int frames, qint64 bytes) const;
    quint64 newestRun() const { return _queue.newestRun(); }
    /// Nothing while the cache's position counts.
    std::optional<QmxFrame> current() const;

    /// Pictures of the next frames that nobody has been asked to decode yet.
    QList<DecodedPicturePtr> undecoded() const;
    /// Those that were decoded smaller than the outputs take them.
    QList<DecodedPicturePtr> soft() const;
    /// Keeps a picture that has just been decoded for a while.
    void keep(const DecodedPicturePtr &picture) { _pictures.keep(picture); }

private:
    bool expectsSought() const;

    PlaybackQueue _queue;
    DecodedPictures _pictures;
    quint64 _soughtRun = 0; ///< begins with the frame at the cache's position; 0: none
};
