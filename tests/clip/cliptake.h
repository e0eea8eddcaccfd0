// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/clip/qmxclipwriter.h"

#include <functional>

/// A take whose every frame is known: what is written can be compared with what is read.
class ClipTake
{
public:
    struct Format
    {
        int width = 128;
        int height = 96;
        int rateNum = 25;
        int rateDen = 1;
        int dataType = 203;
        int scanMode = 0;
        int channels = 2;
        bool drop = false;
        int startFrame = 90000; ///< of the timecode
    };

    /// `playable`: pictures that decoders accept; else bytes of an odd size, different for each frame.
    explicit ClipTake(const Format &format, bool playable = false);

    /// From `frame` on the timecode is further on by `by` frames.
    void jump(qint64 frame, int by) { _jumps.append({frame, by}); }

    QmxFrame frame(qint64 number) const;
    QmxTimecode timecode(qint64 number) const;
    /// Bytes of the pictures / the sound of the first `frames` frames, the latter as 24-bit little-endian.
    qint64 pictureBytes(qint64 frames) const;
    QByteArray soundBytes(qint64 frames) const;

    QmxError write(QmxClipWriter &writer, qint64 from, qint64 end, int flushEvery = 12) const;
    /// Creates the file and writes; without `close` the file is left as the last flush made it.
    void make(const QString &path, qint64 frames, bool close, int flushEvery = 12) const;

    /// How many frames from the first on are exactly those of this take (all three: picture, sound, time).
    qint64 equalFrames(QmxClipReader &reader) const;
    /// Frames of the clip, 0 when it cannot be opened; every one must be the one written.
    qint64 wholeFrames(const QString &path) const;

    QmxClipInfo info;

private:
    struct Jump
    {
        qint64 frame;
        int by;
    };
    QmxBuffer picture(qint64 number) const;
    QmxAudio sound(qint64 number) const;

    Format _format;
    QList<QmxBuffer> _pictures;
    QList<Jump> _jumps;
};

/// Records in a process that closes the clip at frame `closeAt` and is killed after `messages` frames.
/// Returns how many it has said are durable by then. `whileStopped` is called before it is killed, when it
/// does nothing more.
qint32 recordAndKill(
    const ClipTake &take, const QString &path, qint64 closeAt, unsigned messages,
    const QmxEnvironment &environment = QmxEnvironment::current(),
    const std::function<void()> &whileStopped = [] {});
