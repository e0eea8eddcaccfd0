// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "xpd/transport/vtrlog.h"

#include <QFile>

using namespace VtrLog;

namespace {

constexpr int resetDelayMs = 500; // lets what is queued in the device be shown first

QmxId directionOf(const VtrSpeedFlags &speed)
{
    if (speed.isStill()) return QmxIds::directionStill;
    if (speed.isFastForward()) return QmxIds::directionFastForward;
    if (speed.isFastReverse()) return QmxIds::directionFastReverse;
    return QmxIds::directionPlay;
}

} // namespace

void VtrObject::processModePlay()
{
    const QmxVideoDeviceSetup running = _vdev->currentSetup();
    if (_stm->isClosed() || !_stm->isReadable()) {
        openStreamForPlay();
        return;
    }
    _vdev->setProperty(QmxIds::direction, QVariant::fromValue(directionOf(_state.speedFlags())));
    normaliseCachePosition();
    while ((running.isInCapture() || _vdev->framesWritable() > 0) && _cache->framesInCache() > 0) {
        if (!playFrame(running)) return;
    }
}

void VtrObject::openStreamForPlay()
{
    if (streamOpenForRead() == 1 || !_state.mode().isInModePlay()) return;
    qmxLogOutput(Error, source, __LINE__, "Failed to open stream for read\n");
    standbyOff();
}

void VtrObject::normaliseCachePosition()
{
    if (_cache->atStartOfStream()) _cache->seekToFirstFrame();
    if (_cache->atEndOfStream()) _cache->seekToLastFrame();
}

/// Writes the next frame to the device; false when that needs another set-up first, or has failed.
bool VtrObject::playFrame(const QmxVideoDeviceSetup &running)
{
    QmxFrame frame = _cache->peek();
    const QmxVideoDeviceSetup needed = createVideoDevicePlaybackSetupObject(frame);
    if (needed != running) {
        requireVideoReset(needed, running, frame);
        return false;
    }
    const bool isFirst = frame.meta().value(QmxIds::firstFrame).toBool();
    const bool isLast = frame.meta().value(QmxIds::lastFrame).toBool();
    bool hold = !_state.speedFlags().isNormalForward();
    if (!_state.speedFlags().isStill() && !takeFromCache(isFirst, isLast)) hold = true;

    // The device reports such frames when they are on the output: only then has the end been reached.
    if (isFirst || isLast) frame.setKeyFrameFlag(true);
    frame.meta().insert(QmxIds::hold, QVariant(hold));
    setPlayFrameTimecode(frame);
    // One that is held is offered again and again: a device that cannot take it ends the pass.
    if (_vdev->writeFrame(frame).isError()) return false;
    ++_framesPlayed;
    return true;
}

void VtrObject::requireVideoReset(const QmxVideoDeviceSetup &needed, const QmxVideoDeviceSetup &running,
                                  const QmxFrame &frame)
{
    const QString picture = frame.vids().isEmpty() ? QString() : frame.vids().first().desc().toString();
    text(Info,
         QStringLiteral("Cache Level %1, Frame %2 (%3) Requires Video Reset")
             .arg(QString::number(_cache->framesInCache()), QString::number(_cache->position()), picture));
    _playbackSetup = needed;
    scheduleVideoDeviceReset(running.isInCapture() ? 0 : resetDelayMs, true);
}

/// Moves the cache on behind the frame peeked; false when that frame is an end to be held.
bool VtrObject::takeFromCache(bool isFirst, bool isLast)
{
    const bool endAhead =
        (_state.speedFlags().isForward() && isLast) || (_state.speedFlags().isReverse() && isFirst);
    if (!endAhead) {
        _cache->read();
        return true;
    }
    if (!_state.isLooping()) return false;
    if (_state.speedFlags().isForward())
        _cache->seekToFirstFrame();
    else
        _cache->seekToLastFrame();
    return true;
}

void VtrObject::setPlayFrameTimecode(QmxFrame &frame)
{
    if (frame.meta().value(QmxIds::timecode).value<QmxTimecode>().isValid()) return;
    const QmxTimecode counted(frame.meta().value(QmxIds::frameNumber).toInt(), currentTimecodeFrameRate(),
                              _tcgValue.isDropFrame());
    frame.meta().insert(QmxIds::timecode, QVariant::fromValue(counted));
}

void VtrObject::cleanupModePlay()
{
    _priorPlaybackDesc = _stm->desc();
    // What the operator saw last, not what was read ahead of it.
    _priorPlaybackPosition = _vdev->currentFrameMetadata().value(QmxIds::frameNumber).toInt();
    closeStreamOfMode();
}
