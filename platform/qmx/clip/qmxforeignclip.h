// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"

#include <memory>

/// A file of somebody else that needs a demultiplexer or a decoder: H.264, MXF, Matroska and so on. Its
/// pictures are decoded, whole groups at a time, and handed over uncompressed (10-bit 4:2:2); its sound is
/// converted to 48 kHz. A folder of numbered pictures is one, too.
///
/// Threads: decoders use threads of their own within a call; else as QmxClipReader.
class QmxForeignClip
{
public:
    explicit QmxForeignClip(const QmxEnvironment &environment);
    ~QmxForeignClip();
    QmxForeignClip(const QmxForeignClip &) = delete;
    QmxForeignClip &operator=(const QmxForeignClip &) = delete;

    /// Errno of the medium, EILSEQ when it is no clip, ENOTSUP without a decoder, ENODATA without frames.
    QmxError open(const QString &path);
    const QmxClipInfo &info() const;

    QmxError readPicture(qint64 frame, QmxImage &image);
    QmxError readAudio(qint64 frame, QmxAudio &audio);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
