// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxverify.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstream.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "xpd/transport/timecodetrigger.h"
#include "xpd/transport/vtrlog.h"

#include <QFile>
#include <QScopedValueRollback>
#include <QStringList>
#include <QTimer>

#include <utility>

using namespace VtrLog;

namespace {

constexpr int processPeriodMs = 500;
constexpr int alarmCheckPeriodMs = 1000;
constexpr int timecodeTriggerDelay = 4;
constexpr int cacheFrames = 25;

} // namespace

VtrObject::VtrObject(QObject *parent)
    : QObject(parent),
      _timer(new QTimer(this)),
      _flushTimer(new QTimer(this)),
      _debugTimer(new QTimer(this)),
      _videoDeviceResetTimer(new QTimer(this)),
      _alarmCheckTimer(new QTimer(this)),
      _vdev(nullptr),
      _cache(nullptr),
      _stm(nullptr),
      _timecodeTrigger(new TimecodeTrigger(this)),
      _alarmctl(new QmxAlarmController(this))
{
    connectTimersAndAlarms();

    _state.setEncodeFormat(QmxIds::proRes422);
    _state.setSyncSource(QmxIds::syncReference);
    _state.setVideoInputSource(QmxIds::video422);
    _state.setAudioInputSource(QmxIds::embeddedAudio);

    _stm = new QmxStream(this);
    _cache = new QmxStreamCache(this);
    _cache->setCacheSize(cacheFrames);
    _cache->setStream(_stm);
    _vdev = new QmxVideoDevice(this);
    videoDeviceOpen();

    connectStream();
    connectVideoDevice();
    QMX_VERIFY(source, __LINE__, connect(_flushTimer, SIGNAL(timeout()), this, SLOT(streamFlush())));
}

VtrObject::~VtrObject()
{
    if (!_state.mode().isInModeShutdown())
        qmxLogOutput(Error, source, __LINE__, "shutdown() should have been called before destruction!\n");
}

void VtrObject::connectTimersAndAlarms()
{
    QMX_VERIFY(source, __LINE__,
               connect(_alarmctl, SIGNAL(alarmTriggered(const QmxAlarm &)), this,
                       SIGNAL(alarmTriggered(const QmxAlarm &))));
    QMX_VERIFY(source, __LINE__, connect(_alarmCheckTimer, SIGNAL(timeout()), this, SLOT(checkForAlarms())));
    _alarmCheckTimer->start(alarmCheckPeriodMs);

    _timecodeTrigger->setDelay(timecodeTriggerDelay);
    QMX_VERIFY(
        source, __LINE__,
        connect(_timecodeTrigger, SIGNAL(timecodeHasStarted()), this, SLOT(timecodeTriggerHasStarted())));
    QMX_VERIFY(
        source, __LINE__,
        connect(_timecodeTrigger, SIGNAL(timecodeHasStopped()), this, SLOT(timecodeTriggerHasStopped())));

    QMX_VERIFY(source, __LINE__, connect(_debugTimer, SIGNAL(timeout()), this, SLOT(logDebugStats())));
    _videoDeviceResetTimer->setSingleShot(true);
    QMX_VERIFY(source, __LINE__,
               connect(_videoDeviceResetTimer, SIGNAL(timeout()), this, SLOT(videoDeviceReset())));
    _timer->start(processPeriodMs);
}

void VtrObject::connectStream()
{
    QMX_VERIFY(source, __LINE__, connect(_timer, SIGNAL(timeout()), this, SLOT(process())));
    QMX_VERIFY(source, __LINE__,
               connect(_stm, SIGNAL(openIsDone(int, const QmxError &)), this,
                       SLOT(streamOpenIsDone(int, const QmxError &))));
    QMX_VERIFY(source, __LINE__, connect(_stm, SIGNAL(closeIsDone()), this, SLOT(streamCloseIsDone())));
    QMX_VERIFY(source, __LINE__, connect(_cache, SIGNAL(ready()), this, SLOT(process())));
    QMX_VERIFY(
        source, __LINE__,
        connect(_cache, SIGNAL(error(int, const QmxError &)), this, SLOT(cacheError(int, const QmxError &))));
}

void VtrObject::connectVideoDevice()
{
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(vbi(const QmxVbiInfo &)), this, SLOT(handleVBI(const QmxVbiInfo &))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(setupIsDone(const QmxError &)), this,
                       SLOT(videoDeviceSetupIsDone(const QmxError &))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(playedKeyFrame(const QmxMetadataHash &)), this,
                       SLOT(videoDevicePlayedKeyFrame(const QmxMetadataHash &))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(frameDropped()), this, SLOT(videoDeviceFrameDropped())));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(readFromHardwareFailed(const QmxError &)), this,
                       SLOT(videoDeviceReadFromHardwareFailed(const QmxError &))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(writeToHardwareFailed(const QmxError &, const QmxFrame &)), this,
                       SLOT(videoDeviceWriteToHardwareFailed(const QmxError &, const QmxFrame &))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(hardwareStarted()), this, SLOT(videoDeviceHardwareStarted())));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(flushed(const QmxMetadataHash &)), this,
                       SLOT(videoDeviceFlushed(const QmxMetadataHash &))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(inputChanged(int, const QmxVideoState &)), this,
                       SLOT(videoDeviceInputChanged(int, const QmxVideoState &))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(firmwareLoading(const QString &, bool)), this,
                       SIGNAL(firmwareLoading(const QString &, bool))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(raiseVFRAlarm(bool)), this, SIGNAL(raiseVFRAlarm(bool))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(inputAncDataChanged(const QmxMetadataHash &)), this,
                       SLOT(videoDeviceInputAncDataChanged(const QmxMetadataHash &))));
    QMX_VERIFY(source, __LINE__,
               connect(_vdev, SIGNAL(alarmTriggered(const QmxAlarm &)), this,
                       SIGNAL(alarmTriggered(const QmxAlarm &))));
}

void VtrObject::start()
{
    qmxLogOutput(Info, source, __LINE__, "VtrObject is starting...\n");
    _lastSetup = createVideoDeviceDefaultSetupObject();
    standbyOff();
}

void VtrObject::shutdown()
{
    qmxLogOutput(Info, source, __LINE__, "VtrObject shutdown requested...\n");
    setNewMode(VtrMode::Shutdown);
    process();
}

bool VtrObject::hasPendingModeChange() const
{
    return !_cleanupDone || !_beginDone;
}

bool VtrObject::allowModeChange(const VtrMode &mode) const
{
    if (!hasPendingModeChange()) return true;
    text(Warning, QStringLiteral("Can't enter mode %1.  Pending mode change from %2 to %3")
                      .arg(QLatin1String(mode.name()), QLatin1String(_oldMode.name()),
                           QLatin1String(_state.mode().name())));
    return false;
}

void VtrObject::setNewMode(const VtrMode &mode)
{
    if (mode == _state.mode() || !mode.isValid()) return;
    if (hasPendingModeChange()) {
        qmxLogOutput(Warning, source, __LINE__, "Mode change is pending\n");
        return;
    }
    _oldMode = _state.mode();
    _state.setMode(mode);
    _beginDone = false;
    _cleanupDone = false;
    _switchReported = false;
    emit modeChanged(_oldMode, mode);
}

bool VtrObject::canProcess() const
{
    if (_vdev->isInSetup() || _vdev->isFlushing() || _stm->isOpening() || _stm->isClosing()) return false;
    // Frames for the set-up to come must not go to the device under the one before.
    return !_videoDeviceResetTimer->isActive() || !_state.mode().isInModePlay();
}

bool VtrObject::handleModeSwitch()
{
    if (!_cleanupDone) {
        cleanupOldMode();
        _cleanupDone = true;
    }
    if (!canProcess()) return false;
    if (!_beginDone) {
        beginNewMode();
        _beginDone = true;
    }
    if (!canProcess()) return false;
    text(Info, QStringLiteral("Mode changed from %1 to %2")
                   .arg(QLatin1String(_oldMode.name()), QLatin1String(_state.mode().name())));
    _switchReported = true;
    return true;
}

void VtrObject::cleanupOldMode()
{
    switch (_oldMode.value()) {
    case VtrMode::Play:
        cleanupModePlay();
        break;
    case VtrMode::StandbyOff:
        cleanupModeStandbyOff();
        break;
    case VtrMode::Record:
        cleanupModeRecord();
        break;
    case VtrMode::Shutdown:
        qmxLogOutput(Error, source, __LINE__,
                     "Something is wrong.  Shouldn't ever come out of shutdown mode\n");
        break;
    case VtrMode::Invalid:
        break;
    }
}

void VtrObject::beginNewMode()
{
    switch (_state.mode().value()) {
    case VtrMode::Play:
        beginModePlay();
        break;
    case VtrMode::StandbyOff:
        beginModeStandbyOff();
        break;
    case VtrMode::Record:
        beginModeRecord();
        break;
    case VtrMode::Shutdown:
        beginModeShutdown();
        break;
    case VtrMode::Invalid:
        break;
    }
}

void VtrObject::process()
{
    // What a cleanup or a begin tells may bring its receiver back here: it must not begin a second time.
    if (!canProcess() || _isSwitching) return;
    if (!_switchReported) {
        const QScopedValueRollback<bool> switching(_isSwitching, true);
        if (!handleModeSwitch()) return;
    }
    if (canProcess()) processMode();
    // Stored first: a receiver that gives a command brings a further state, which is then told by itself.
    const VtrState before = std::exchange(_lastState, _state);
    if (before != _lastState) emit stateChanged(before, VtrState(_lastState));
}

void VtrObject::processMode()
{
    switch (_state.mode().value()) {
    case VtrMode::StandbyOff:
    case VtrMode::Record:
        processModeRecord();
        break;
    case VtrMode::Play:
        processModePlay();
        break;
    case VtrMode::Shutdown:
        processModeShutdown();
        break;
    case VtrMode::Invalid:
        break;
    }
}

void VtrObject::handleVBI(const QmxVbiInfo &ts)
{
    _lastVbi = ts;
    _timecodeTrigger->setTimecode(ts.inputTimecode());
    process();
    emit vbi(ts);
}

void VtrObject::beginModeStandbyOff()
{
    qmxLogOutput(Info, source, __LINE__, "Begin Mode Standby Off\n");
    setupVideoDeviceForRecord();
    setSpeed(0.0);
    _vdev->setProperty(QmxIds::direction, QVariant::fromValue(QmxIds::directionStandby));
    jamTCG();
}

void VtrObject::cleanupModeStandbyOff() {}

void VtrObject::beginModePlay()
{
    setStorageInUse(true);
}

void VtrObject::beginModeShutdown()
{
    qmxLogOutput(Info, source, __LINE__, "Shutting down VtrObject...\n");
    setupVideoDeviceForShutdown();
    _stm->close();
}

void VtrObject::processModeShutdown()
{
    if (_vdev->isInSetup() || !_stm->isClosed() || _shutdownComplete) return;
    qmxLogOutput(Info, source, __LINE__, "VtrObject shutdown complete...\n");
    _shutdownComplete = true;
    emit shutdownIsComplete();
}

QString VtrObject::stateToString() const
{
    QStringList busy;
    if (_vdev->isInSetup()) busy.append(QStringLiteral("vdev setup"));
    if (_vdev->isFlushing()) busy.append(QStringLiteral("vdev flush"));
    if (_stm->isOpening()) busy.append(QStringLiteral("stm open"));
    if (_stm->isClosing()) busy.append(QStringLiteral("stm close"));
    if (_videoDeviceResetTimer->isActive() && _state.mode().isInModePlay())
        busy.append(QStringLiteral("vdev reset"));
    return QStringLiteral("VR %1 VW %2 SC %3 SU %4 [%5] %6")
        .arg(QString::number(_vdev->framesReadable()), QString::number(_vdev->framesWritable()),
             QString::number(_cache->framesInCache()), QString::number(_storageInUse), _vdev->stateString(),
             busy.join(QStringLiteral(", ")));
}
