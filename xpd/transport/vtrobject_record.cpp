// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "xpd/transport/intervalrecord.h"
#include "xpd/transport/vtrlog.h"

#include <QFile>

using namespace VtrLog;

void VtrObject::beginModeRecord()
{
    setStorageInUse(true);
    qmxLogOutput(Info, source, __LINE__, "Begin Mode Record\n");
    _intervalAccumulator = 0.0F;
    if (_state.intervalRecordEnable())
        computeIntervalStep();
    else
        _intervalStep = 1.0F;
    setSpeed(1.0);
    _vdev->setProperty(QmxIds::direction, QVariant::fromValue(QmxIds::directionRecord));
    jamTCG();
    setupVideoDeviceForRecord();
}

void VtrObject::computeIntervalStep()
{
    const auto rate = static_cast<float>(_lastSetup.imageDesc().frameRate().timecodeRate());
    const IntervalRecord::Step step =
        IntervalRecord::step(rate, _state.recordIntervalTime(), _state.recordInterval(), _intervalStep);
    if (step.totalIsZero) qmxLogOutput(Warning, source, __LINE__, "Record interval total is zero!\n");
    if (step.totalTooHigh) qmxLogOutput(Warning, source, __LINE__, "Interval total is less than 1\n");
    _intervalStep = step.frames;
    qmxLogOutput(Info, source, __LINE__, "Interval Record.  Interval %d, Time %d, Every %.3f\n",
                 _state.recordInterval(), _state.recordIntervalTime(), static_cast<double>(_intervalStep));
}

bool VtrObject::streamCacheHasSpace() const
{
    return !_stm->isOpen() || !_cache->cacheIsFull();
}

bool VtrObject::checkForCameraTrigger(const QmxFrame &frame) const
{
    if (!_state.cameraInput().isValid()) return false;
    const QVariant flag = frame.meta().value(QmxIds::cameraRecord);
    if (!flag.isValid()) return false;
    return flag.toBool() ? _state.mode().isInModeStandbyOff() : _state.mode().isInModeRecord();
}

bool VtrObject::validateFrameForRecord(const QmxFrame &frame) const
{
    const int expected = _lastSetup.imageCount();
    const int count = static_cast<int>(frame.vids().size());
    if (count != expected) {
        qmxLogOutput(Warning, source, __LINE__, "Image count (%d) doesn't match the setup (%d)\n", count,
                     expected);
        return false;
    }
    for (int i = 0; i < expected; ++i) {
        // Every pass looks at the first image: the device delivers further ones only together with it.
        const QmxImage image = frame.vids().first();
        if (!image.isValid()) {
            qmxLogOutput(Warning, source, __LINE__, "Image %d is invalid\n", i);
            return false;
        }
        const QList<QmxBuffer> buffers = image.buffers();
        if (buffers.isEmpty() || !buffers.first().isValid()) {
            qmxLogOutput(Warning, source, __LINE__, "Image %d buffer is invalid\n", i);
            return false;
        }
    }
    return true;
}

void VtrObject::processModeRecord()
{
    while (_vdev->framesReadable() > 0 && streamCacheHasSpace()) {
        QmxFrame frame;
        const QmxError error = _vdev->readFrame(frame);
        if (error.isError()) {
            text(Error, QStringLiteral("VIDEO DEVICE: Read Error %1").arg(error.value()));
            standbyOff();
            return;
        }
        if (_debugMetadata.isValid()) frame.meta().insert(_debugMetadata);
        if (checkForCameraTrigger(frame)) {
            handleCameraTrigger();
            return;
        }
        // In StandbyOff the frames only have to leave the device.
        if (_state.mode().isInModeRecord() && !recordFrame(frame)) return;
    }
}

void VtrObject::handleCameraTrigger()
{
    if (_state.mode().isInModeStandbyOff()) {
        if (recordInhibitedReason().isValid()) return;
        qmxLogOutput(Info, source, __LINE__, "Camera has started record.\n");
        record();
    } else if (_state.mode().isInModeRecord()) {
        qmxLogOutput(Info, source, __LINE__, "Camera has stopped record.\n");
        standbyOff();
    } else {
        text(Error,
             QStringLiteral("Unhandled camera trigger in mode %1").arg(QLatin1String(_state.mode().name())));
    }
}

/// Records one captured frame, or drops it; false when the pass ends with it.
bool VtrObject::recordFrame(QmxFrame &frame)
{
    if (!validateFrameForRecord(frame)) {
        // Nothing is recorded before the first good frame.
        if (!_stm->isOpen() && !_stm->isOpening()) return true;
        if (!replaceLostPicture(frame)) return false;
    }
    if (_state.intervalRecordEnable() && !IntervalRecord::takesFrame(_intervalAccumulator, _intervalStep))
        return true;
    if (_stm->isOpen()) {
        writeRecordFrame(frame);
        return true;
    }
    openStreamForRecord(frame);
    return false;
}

/// Puts the loss-of-video still into a frame without picture; false when the record ends instead.
bool VtrObject::replaceLostPicture(QmxFrame &frame)
{
    if (_state.stopOnLossOfVideo()) {
        qmxLogOutput(Warning, source, __LINE__, "Empty frame, stop on LoV is set.  Stopping record\n");
        raiseAlarm(QmxIds::alarmInputLostInRecord, QmxAlarm::Error,
                   QStringLiteral("Recording stopped due to loss of video"), __LINE__);
        standbyOff();
        return false;
    }
    raiseAlarm(QmxIds::alarmInputLostInRecord, QmxAlarm::Warning,
               QStringLiteral("Loss of video during record, recording continued"), __LINE__);
    if (!_state.mode().isInModeRecord()) return false; // a receiver of the alarm has ended it
    frame.vids() = _lossOfVideoStill.frame().vids();
    if (frame.vids().isEmpty() || !frame.vids().first().isValid()) {
        qmxLogOutput(Warning, source, __LINE__, "Loss of Video image buffer is not valid.\n");
        raiseAlarm(QmxIds::alarmLossOfVideoStillMissing, QmxAlarm::Error,
                   QStringLiteral("Invalid Loss Of Video image buffer"), __LINE__);
        standbyOff();
        return false;
    }
    return true;
}

void VtrObject::writeRecordFrame(const QmxFrame &frame)
{
    const QmxTimecode timecode = frame.meta().value(QmxIds::timecode).value<QmxTimecode>();
    if (!timecode.isValid())
        qmxLogOutput(Error, source, __LINE__, "Frame has invalid timecode\n");
    else if (_tcgSource == QmxIds::timecodeGenerator)
        _tcgValue = timecode;
    _cache->write(frame);
    ++_framesRecorded;
}

void VtrObject::openStreamForRecord(const QmxFrame &frame)
{
    if (_hasPendingRecordFrame)
        qmxLogOutput(Error, source, __LINE__, "Pending write when trying to open.  WTF?\n");
    if (streamOpenForWrite(frame) == 1) {
        _hasPendingRecordFrame = true;
        _pendingRecordFrame = frame;
        return;
    }
    if (!_state.mode().isInModeRecord()) return;
    qmxLogOutput(Error, source, __LINE__, "Open Stream Failed\n");
    constexpr int invalidArgument = 22;
    emit streamIsOpen(QmxError(invalidArgument), QmxStreamInfo());
    standbyOff();
}

void VtrObject::cleanupModeRecord()
{
    if (_stm->isOpening()) {
        qmxLogOutput(Error, source, __LINE__, "Stream is still opening.  This shouldn't happen!\n");
        ++_pendingCloses;
        _stm->close();
        return;
    }
    if (_stm->isOpen()) {
        if (_cache->position() == 0) qmxLogOutput(Error, source, __LINE__, "Cache didn't get any frames!\n");
        if (const int cached = _cache->framesInCache(); cached > 0) {
            qmxLogOutput(Info, source, __LINE__, "%d frames still in cache, scheduling them for write\n",
                         cached);
            _cache->pushCachedToPending(0);
            if (const int left = _cache->framesInCache(); left > 0)
                qmxLogOutput(Error, source, __LINE__, "There is still %d frames in the cache\n", left);
        }
    }
    closeStreamOfMode();
}

void VtrObject::debugFrameMetadata(const QmxMetadata &meta)
{
    _debugMetadata = meta;
}
