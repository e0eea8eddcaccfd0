// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/device/playbackqueue.h"

#include <QHash>

#include <deque>

/// Finds the decoded picture of a frame again, so that the same frame is not decoded twice: as long as
/// anybody holds it, and for the last few in any case. Guarded by whoever guards the queue.
class DecodedPictures
{
public:
    /// Pictures kept beyond their use: at most this many, and at most so many bytes.
    static constexpr int kept = 12;
    static constexpr qint64 keptBytes = 256 * 1024 * 1024;

    /// The picture of a frame's first image: a known one, if it is not soft or `maySoft`, or a new one that
    /// waits to be decoded. A frame without a valid image is done, and black.
    DecodedPicturePtr find(const QmxFrame &frame, const QmxImageLut &lut, bool maySoft);
    /// Keeps a picture that has just been decoded for a while.
    void keep(const DecodedPicturePtr &picture);
    void clear();

private:
    QHash<quint64, std::weak_ptr<DecodedPicture>> _known; ///< by QmxBuffer::serial()
    std::deque<DecodedPicturePtr> _kept;
};
