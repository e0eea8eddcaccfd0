// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipchapters.h"
#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"

#include <memory>

/// Writes a small picture of a clip for everybody's player: H.264 and AAC in an MP4 file, at most 720 lines,
/// one field of interlaced pictures, the first two channels of the sound, the timecode in its track. One
/// thread, which blocks and computes.
class ProxyWriter
{
public:
    /// `burn`: the timecode is in the pictures too.
    ProxyWriter(const QmxEnvironment &environment, bool burn);
    /// What has not been closed is left as it is.
    ~ProxyWriter();
    ProxyWriter(const ProxyWriter &) = delete;
    ProxyWriter &operator=(const ProxyWriter &) = delete;

    /// Makes the file (EEXIST when there is one) and holds an exclusive lock on it. `frames`: how many will
    /// come, about; chapters beyond them are left out. ENOTSUP: this machine's libavcodec has no encoder for
    /// it, or nothing decodes the clip.
    QmxError create(const QString &path, const QmxClipInfo &info, qint64 frames,
                    const QList<QmxClipChapter> &chapters = {});
    QmxError write(const QmxFrame &frame);
    /// All of it is durable and playable.
    QmxError close();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
