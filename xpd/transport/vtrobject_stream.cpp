// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "xpd/transport/vtrlog.h"

#include <QFile>
#include <QTimer>

using namespace VtrLog;

namespace {

constexpr int flushPeriodMs = 1000;

} // namespace

int VtrObject::streamOpenForRead()
{
    QVariant desc;
    int startFrame = 0;
    emit requestPlaybackStreamDesc(desc, startFrame);
    if (!_state.mode().isInModePlay()) return 0; // the one who was asked has ended it
    if (!desc.isValid()) {
        qmxLogOutput(Error, source, __LINE__, "STREAM: Failed to get a playback stream descriptor\n");
        return 0;
    }
    _stm->close();
    _stm->setAutoType();
    _stm->setDesc(desc);
    if (!_stm->open(QmxStream::Read)) {
        text(Error, QStringLiteral("STREAM: Open for read failed"));
        return 0;
    }
    if (startFrame > 0) {
        // The completed flush seeks there.
        _cueFrame = startFrame;
        videoDeviceFlush();
    }
    qmxLogOutput(Info, source, __LINE__, "STREAM: Open for Read Started\n");
    return 1;
}

int VtrObject::streamOpenForWrite(const QmxFrame &frame)
{
    QVariant desc;
    const QVariant name = frame.meta().value(QmxIds::recordName);
    if (name.isValid()) desc = QVariant(name.toString());
    emit requestRecordStreamDesc(desc);
    if (!_state.mode().isInModeRecord()) return 0; // the one who was asked has ended it
    if (!desc.isValid()) {
        qmxLogOutput(Error, source, __LINE__, "STREAM: Failed to get a record stream descriptor\n");
        return 0;
    }
    _stm->close();

    QmxStreamInfo info;
    const QVariant rate = frame.meta().value(QmxIds::effectiveFrameRate);
    if (rate.isValid()) info.setEffectiveFrameRate(QmxVideoRate(rate.toInt()));
    info.setReelName(_reelName);
    if (!frame.vids().isEmpty()) info.vids().append(frame.vids().first().desc());
    if (!frame.auds().isEmpty()) info.auds().append(frame.auds().first().desc());
    info.setOffset(0);
    _stm->setInfo(info);

    _stm->setType(QmxIds::quickTime);
    _stm->setDesc(desc);
    if (!_stm->open(QmxStream::Write)) {
        text(Error, QStringLiteral("STREAM: Open for write failed"));
        return 0;
    }
    qmxLogOutput(Info, source, __LINE__, "STREAM: Open for Write Started\n");
    return 1;
}

void VtrObject::streamOpenIsDone(int, const QmxError &error)
{
    if (error.isError()) {
        text(Error, QStringLiteral("STREAM: Open Error %1").arg(error.value()));
        _hasPendingRecordFrame = false;
        _pendingRecordFrame = QmxFrame();
        standbyOff();
    } else {
        if (_stm->isWritable() && _hasPendingRecordFrame) {
            _cache->write(_pendingRecordFrame);
            _hasPendingRecordFrame = false;
            _pendingRecordFrame = QmxFrame();
        }
        if (_state.mode().isInModePlay() && _stm->hasDesc(_priorPlaybackDesc)) {
            qmxLogOutput(Info, source, __LINE__, "Starting at prior playback position of %d\n",
                         _priorPlaybackPosition);
            _cache->seek(_priorPlaybackPosition);
        }
        if (_state.mode().isInModeRecord()) _flushTimer->start(flushPeriodMs);
        qmxLogOutput(Info, source, __LINE__, "STREAM: Open is Done\n");
    }
    emit streamIsOpen(error, _stm->info());
}

void VtrObject::streamCloseIsDone()
{
    _flushTimer->stop();
    qmxLogOutput(Info, source, __LINE__, "STREAM: Close is Done\n");
    emit streamIsClosed();
    if (_pendingCloses > 0) {
        --_pendingCloses;
        setStorageInUse(false);
    }
}

bool VtrObject::reopenRecordStream()
{
    if (!_stm->isOpen()) {
        qmxLogOutput(Error, source, __LINE__, "STREAM: Can't reopen record stream: Stream is not open\n");
        return false;
    }
    if (!_stm->isWritable()) {
        qmxLogOutput(Error, source, __LINE__, "STREAM: Can't reopen record stream: Stream isn't writable\n");
        return false;
    }
    qmxLogOutput(Info, source, __LINE__, "STREAM: Reopen Record Stream\n");
    // The storage stays in use: the next frame opens the next clip.
    _stm->close();
    return true;
}

bool VtrObject::reopenPlaybackStream()
{
    if (!_stm->isOpen()) {
        qmxLogOutput(Error, source, __LINE__, "STREAM: Can't reopen playback stream: Stream is not open\n");
        return false;
    }
    if (!_stm->isReadable()) {
        qmxLogOutput(Error, source, __LINE__,
                     "STREAM: Can't reopen playback stream: Stream is not readable\n");
        return false;
    }
    qmxLogOutput(Info, source, __LINE__, "STREAM: Reopen Playback Stream\n");
    _priorPlaybackDesc = _stm->desc();
    _priorPlaybackPosition = _cache->position();
    _stm->close();
    videoDeviceFlush();
    return true;
}

/// Ends the stream of the mode that is left. The storage is released when the close has completed.
void VtrObject::closeStreamOfMode()
{
    if (_stm->isOpen()) {
        ++_pendingCloses;
        _stm->close();
    } else {
        setStorageInUse(false);
    }
}

void VtrObject::setStorageInUse(bool inUse)
{
    const int count = _storageInUse + (inUse ? 1 : -1);
    // From two to one this tells true again, which harms nobody.
    if (count == 0)
        emit storageInUse(false);
    else if (count == 1)
        emit storageInUse(true);
    _storageInUse = count;
}

void VtrObject::streamFlush()
{
    if (_stm && _stm->isWritable()) _stm->flush();
}

void VtrObject::cacheError(int position, const QmxError &error)
{
    text(Warning,
         QStringLiteral("STREAM: Cache Error @ %1: %2").arg(QString::number(position)).arg(error.value()));
}
