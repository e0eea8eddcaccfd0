// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/playbackchain.h"

#include <algorithm>

namespace {
/// Waiting frames that are decoded ahead.
constexpr int decodedAhead = 8;
} // namespace

void PlaybackChain::clear()
{
    _queue.clear();
    _pictures.clear();
}

void PlaybackChain::setup(const QmxVideoDeviceSetup &setup)
{
    const bool sought = expectsSought();
    _queue.setup(setup);
    if (sought) _soughtRun = _queue.newestRun();
}

void PlaybackChain::flush()
{
    const bool sought = expectsSought();
    _queue.flush();
    if (sought) _soughtRun = _queue.newestRun();
}

void PlaybackChain::expectSought()
{
    if (!_queue.newestHasFrames()) _soughtRun = _queue.newestRun();
}

bool PlaybackChain::expectsSought() const
{
    return _soughtRun == _queue.newestRun() && !_queue.newestHasFrames();
}

int PlaybackChain::room(int frames, qint64 bytes) const
{
    const int left = std::max(0, frames - _queue.frames());
    return _queue.codedBytes() < bytes || _queue.frames() == 0 ? left : 0;
}

bool PlaybackChain::write(const QmxFrame &frame, const QmxImageLut &lut, qint64 now, bool maySoft)
{
    return _queue.write(frame, _pictures.find(frame, lut, maySoft), now);
}

std::optional<QmxFrame> PlaybackChain::current() const
{
    return expectsSought() ? std::nullopt : _queue.current();
}

QList<DecodedPicturePtr> PlaybackChain::undecoded() const
{
    QList<DecodedPicturePtr> pictures = _queue.ahead(decodedAhead);
    pictures.removeIf(
        [](const DecodedPicturePtr &picture) { return picture->state != DecodedPicture::Waiting; });
    return pictures;
}

QList<DecodedPicturePtr> PlaybackChain::soft() const
{
    QList<DecodedPicturePtr> pictures = _queue.ahead(decodedAhead);
    pictures.removeIf([](const DecodedPicturePtr &picture) { return !picture->isSoft; });
    return pictures;
}
