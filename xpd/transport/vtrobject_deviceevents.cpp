// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/product/stillfiles.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "xpd/transport/vtrlog.h"

#include <QFile>

using namespace VtrLog;

namespace {

constexpr int resetDelayMs = 500;
constexpr int watchedInput = 0;

} // namespace

void VtrObject::raiseAlarm(const QmxId &id, QmxAlarm::AlarmLevel level, const QString &message, int line)
{
    emit alarmTriggered(QmxAlarm(id, level, message, QString::fromLatin1(source), line));
}

void VtrObject::videoDevicePlayedKeyFrame(const QmxMetadataHash &meta)
{
    if (!_state.mode().isInModePlay() || _state.isLooping()) return;
    if (_state.speedFlags().isForward() && meta.value(QmxIds::lastFrame).toBool()) {
        qmxLogOutput(Info, source, __LINE__, "End of stream reached\n");
        still();
    } else if (_state.speedFlags().isReverse() && meta.value(QmxIds::firstFrame).toBool()) {
        qmxLogOutput(Info, source, __LINE__, "Start of stream reached\n");
        still();
    }
}

void VtrObject::videoDeviceFrameDropped()
{
    // While a change is under way a gap between frames is to be expected.
    if (_state.mode() != _lastState.mode() || !canProcess()) return;
    if (_state.mode().isInModePlay())
        handlePlaybackDrop();
    else if (_state.mode().isInModeRecord())
        handleRecordDrop();
}

void VtrObject::handlePlaybackDrop()
{
    if (!_state.speedFlags().isNormalForward()) return;
    emit frameDropped();
    if (_state.stopOnFrameDrop()) {
        qmxLogOutput(Error, source, __LINE__, "Playback stopped due to dropped frame\n");
        raiseAlarm(QmxIds::alarmFrameDropped, QmxAlarm::Error,
                   QStringLiteral("Playback stopped due to dropped frame"), __LINE__);
        still();
    } else {
        qmxLogOutput(Error, source, __LINE__, "Playback continued after dropped frame\n");
        raiseAlarm(QmxIds::alarmFrameDropped, QmxAlarm::Warning,
                   QStringLiteral("Playback continued after dropped frame"), __LINE__);
    }
}

void VtrObject::handleRecordDrop()
{
    emit frameDropped();
    raiseAlarm(QmxIds::alarmFrameDropped, QmxAlarm::Error,
               QStringLiteral("Recording stopped due to dropped frame"), __LINE__);
    text(Error, QStringLiteral("Recording stopped due to dropped frame.  STATE %1").arg(stateToString()));
    standbyOff();
}

void VtrObject::videoDeviceReadFromHardwareFailed(const QmxError &error)
{
    if (!inputVideoIsValid()) return;
    if (!_state.mode().isInModeRecord()) {
        qmxLogOutput(Error, source, __LINE__, "Read from hardware failed with %d\n", error.value());
        return;
    }
    qmxLogOutput(Error, source, __LINE__, "Hardware returned error %d, stopping record\n", error.value());
    emit frameDropped();
    raiseAlarm(QmxIds::alarmFrameDropped, QmxAlarm::Error,
               QStringLiteral("Recording stopped due to hardware error"), __LINE__);
    standbyOff();
}

void VtrObject::videoDeviceWriteToHardwareFailed(const QmxError &error, const QmxFrame &)
{
    qmxLogOutput(Error, source, __LINE__, "Write to hardware failed with %d\n", error.value());
}

void VtrObject::videoDeviceHardwareStarted() {}

void VtrObject::videoDeviceFlushed(const QmxMetadataHash &meta)
{
    if (_stm->isReadable()) {
        int position = meta.value(QmxIds::frameNumber).toInt();
        if (_cueFrame != -1) {
            qmxLogOutput(Warning, source, __LINE__, "Flushed at %d, but pending cue at %d\n", position,
                         _cueFrame);
            position = _cueFrame;
            _cueFrame = -1;
        }
        position = saturatedSum(position, _stepCount);
        _stepCount = 0;
        _cache->seek(position);
    }
    qmxLogOutput(Info, source, __LINE__, "VIDEO DEVICE: Flush Complete\n");
}

void VtrObject::videoDeviceInputChanged(int inputNumber, const QmxVideoState &state)
{
    if (inputNumber != watchedInput || state == _inputState) return;
    if (!state.isValid() && !_inputState.isValid()) return;
    _inputState = state;
    // The generator stands in for the input: what changes behind it is of no interest now.
    if (_state.videoSignalGenMode().isValid()) return;
    _reportedInputState = state;
    if (state.isValid() && (_state.mode().isInModeStandbyOff() || _state.mode().isInModePlay())) {
        _forceSetup = true;
        scheduleVideoDeviceReset(resetDelayMs, false);
    }
    text(Info, QStringLiteral("Input %1 Changed to %2 while in %3")
                   .arg(QString::number(inputNumber), state.toString(), QLatin1String(_state.mode().name())));
    emit inputFormatChanged(inputNumber, state);
}

void VtrObject::videoDeviceInputAncDataChanged(const QmxMetadataHash &data)
{
    // A camera that begins to record ends the play; its next frame with the flag starts the record.
    if (_state.mode().isInModePlay() && _lastSetup.cameraInput().isValid() &&
        data.value(QmxIds::cameraRecord).toBool())
        standbyOff();
}

void VtrObject::updateVTSGPseudoInput(bool on)
{
    QmxVideoState input = _inputState;
    if (on) {
        input = QmxVideoState();
        input.setInputImageDesc(_state.videoSignalGenFormat());
        input.setCaptureImageDesc(_state.videoSignalGenFormat());
        input.setPresent(true);
        input.setValid(true);
    }
    if (input == _reportedInputState) return;
    _reportedInputState = input;
    emit inputFormatChanged(watchedInput, input);
}

void VtrObject::updateLossOfVideoFrame()
{
    const QmxImageDesc desc = _vdev->currentSetup().imageDesc();
    const QString name = findStillFile(desc);
    if (name.isEmpty()) {
        text(Error, QStringLiteral("Failed to find loss of video file for %1").arg(desc.toString()));
        _lossOfVideoStill.clear();
        return;
    }
    const QString path = QStringLiteral("%1/%2").arg(QmxEnvironment::current().places->stills, name);
    text(Info, QStringLiteral("Loss of video clip: %1").arg(path));
    _lossOfVideoStill.load(0, path);
}
