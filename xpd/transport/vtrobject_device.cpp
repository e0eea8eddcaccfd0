// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "xpd/transport/devicesetups.h"
#include "xpd/transport/vtrlog.h"

#include <QFile>
#include <QTimer>

using namespace VtrLog;

namespace {

constexpr char deviceName[] = "lumen";
constexpr int busyRetryMs = 10;

} // namespace

void VtrObject::videoDeviceOpen()
{
    if (_vdev->isOpen()) {
        qmxLogOutput(Error, source, __LINE__,
                     "Attempting to open the video device after it has already been opened\n");
        return;
    }
    const QString name = QString::fromLatin1(deviceName);
    if (!_vdev->open(name)) text(Error, QStringLiteral("Failed to open video device '%1'").arg(name));
}

void VtrObject::videoDeviceClose()
{
    if (_vdev->isOpen()) _vdev->close();
}

void VtrObject::videoDeviceFlush()
{
    if (_vdev->isOpen() && !_vdev->isFlushing() && !_vdev->isInSetup()) _vdev->flush();
}

QmxVideoDeviceSetup VtrObject::createVideoDeviceDefaultSetupObject() const
{
    return DeviceSetups::standard(_state, _tcgSource, inputVideoIsValid());
}

QmxVideoDeviceSetup VtrObject::createVideoDevicePlaybackSetupObject(const QmxFrame &frame) const
{
    return DeviceSetups::playback(createVideoDeviceDefaultSetupObject(), frame);
}

QmxVideoDeviceSetup VtrObject::createVideoDeviceRecordSetupObject() const
{
    return DeviceSetups::record(createVideoDeviceDefaultSetupObject(), _state, _inputState,
                                inputVideoIsValid());
}

void VtrObject::scheduleVideoDeviceReset(int delayMs, bool force)
{
    // Settings changed during play or record wait: a reset would tear the picture or the take.
    if (!force && !_state.mode().isInModeStandbyOff()) return;
    _videoDeviceResetTimer->setSingleShot(true);
    _videoDeviceResetTimer->start(delayMs);
}

void VtrObject::videoDeviceReset()
{
    const QLatin1String mode(_state.mode().name());
    if (_vdev->isInSetup() || _vdev->isFlushing()) {
        text(Info, QStringLiteral("VIDEO DEVICE: Device is busy.  Defer reset in mode %1 - %2")
                       .arg(mode, stateToString()));
        scheduleVideoDeviceReset(busyRetryMs, true);
        return;
    }
    text(Info, QStringLiteral("VIDEO DEVICE: Reset in mode %1").arg(mode));
    if (_state.mode().isInModePlay())
        setupVideoDeviceForPlayback();
    else if (_state.mode().isInModeRecord() || _state.mode().isInModeStandbyOff())
        setupVideoDeviceForRecord();
}

void VtrObject::setupVideoDeviceForRecord()
{
    qmxLogOutput(Info, source, __LINE__, "VIDEO DEVICE: Setup for record\n");
    if (setupVideoDevice(createVideoDeviceRecordSetupObject()) < 1)
        qmxLogOutput(Error, source, __LINE__, "Video device failed to setup.\n");
}

void VtrObject::setupVideoDeviceForPlayback()
{
    qmxLogOutput(Info, source, __LINE__, "VIDEO DEVICE: Setup for playback\n");
    setupVideoDevice(_playbackSetup);
}

void VtrObject::setupVideoDeviceForShutdown()
{
    qmxLogOutput(Info, source, __LINE__, "VIDEO DEVICE: Setup for shutdown\n");
    setupVideoDevice(DeviceSetups::shutdown(createVideoDeviceDefaultSetupObject()));
}

int VtrObject::setupVideoDevice(const QmxVideoDeviceSetup &setup)
{
    if (_vdev->isInSetup()) {
        qmxLogOutput(Warning, source, __LINE__, "VIDEO DEVICE: Device is already in setup\n");
        return 0;
    }
    if (!_forceSetup && _vdev->currentSetup() == setup) {
        qmxLogOutput(Info, source, __LINE__, "VIDEO DEVICE: Setup is current, no need to change it\n");
        return 1;
    }
    _forceSetup = false;
    _lastSetup = setup;
    qmxLogOutput(Info, source, __LINE__, "VIDEO DEVICE: Setup Started\n");
    const QmxError error = _vdev->setup(setup);
    if (error.isError()) {
        text(Error, QStringLiteral("VIDEO DEVICE: Initial Setup Error %1").arg(error.value()));
        standbyOff();
        return 0;
    }
    emit videoDeviceSetupChanged(setup);
    updateLossOfVideoFrame();
    return 1;
}

void VtrObject::videoDeviceSetupIsDone(const QmxError &error)
{
    if (error.isError()) {
        text(Error, QStringLiteral("VIDEO DEVICE: Setup Error %1").arg(error.value()));
        setupVideoDevice(createVideoDeviceDefaultSetupObject());
        return;
    }
    jamTCG();
    qmxLogOutput(Info, source, __LINE__, "VIDEO DEVICE: Setup is Done\n");
}
