// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/app/mainobject.h"

#include "platform/product/clipfinder.h"
#include "platform/store/eparam.h"
#include "platform/store/values.h"
#include "xpd/alarms/alarmhandler.h"
#include "xpd/app/mainlog.h"
#include "xpd/config/configinterface.h"
#include "xpd/config/configupdater.h"
#include "xpd/debug/debugserver.h"
#include "xpd/debug/keyboardtransport.h"
#include "xpd/media/mediamanager.h"
#include "xpd/transport/vtrobject.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

namespace {

constexpr qint16 debugPort = 6502;
constexpr int shutdownSlice = 1000; // ms

// Loaded at the start in this order. The playback source stands twice: its last reaction has to follow
// the others.
constexpr quint32 initialParams[] = {
    eParam_MediaLabel,
    eParam_ActiveMediaPath,
    eParam_RolloverMediaPath,
    eParam_RolloverEnabled,
    eParam_LoopPlayback,
    eParam_RecordCodec,
    eParam_VideoInput,
    eParam_AudioInput,
    eParam_AudioChannels,
    eParam_SyncSource,
    eParam_TimecodeDropFrame,
    eParam_SignalGeneratorFormat,
    eParam_VideoSignalGenerator,
    eParam_AudioSignalGenerator,
    eParam_CameraInput,
    eParam_LutPosition,
    eParam_LutFile,
    eParam_PlaybackSource,
    eParam_InputConversion,
    eParam_OutputConversion,
    eParam_RecordFrameMode,
    eParam_OutputFrameMode,
    eParam_VideoOutputType,
    eParam_VideoOutputRoute,
    eParam_Superimpose,
    eParam_IntervalRecord,
    eParam_IntervalRecordFrames,
    eParam_IntervalRecordPeriod,
    eParam_AudioInputLevel,
    eParam_TimecodeSource,
    eParam_StopOnDroppedFrame,
    eParam_ReelNumber,
    eParam_RolloverReelName,
    eParam_RecordOnRunningTimecode,
    eParam_SdiLevelA,
    eParam_IgnoreInputAncillary,
    eParam_HdmiOutputMode,
    eParam_CameraDataMode,
    eParam_ContinueOnLossOfVideo,
    eParam_PlaybackSource,
};
static_assert(std::size(initialParams) == 40);

} // namespace

MainObject::MainObject(bool debug, QObject *parent) : QObject(parent)
{
    _config = new ConfigInterface(this);
    makeConnections(ConnectionStage::Config);
    _configUpdater = new ConfigUpdater(_config, this);
    _clipFinder = std::make_unique<ClipFinder>(_config->configObject());
    _mediaManager = new MediaManager(this);
    makeConnections(ConnectionStage::Media);
    _vtr = new VtrObject(this);
    makeConnections(ConnectionStage::Transport);
    if (debug) {
        _kbtrans = new KeyboardTransport(this);
        makeConnections(ConnectionStage::Keyboard);
    }

    _config->set(eParam_TransportStatus, storeNumber(TransportStatus::Stopped));
    _config->set(eParam_TransportRunning, 1);

    _alarmHandler = new AlarmHandler(this);
    _alarmHandler->setConfigInterface(_config);
    makeConnections(ConnectionStage::Alarms);

    loadInitialState();
    parseCommandLine();
    _vtr->start();

    if (debug) {
        _debugServer = std::make_unique<DebugServer>(this);
        makeConnections(ConnectionStage::DebugServer);
        _debugServer->start(debugPort);
    }
}

MainObject::~MainObject() = default;

QObject *MainObject::party(ConnectionParty party) const
{
    switch (party) {
    case ConnectionParty::Main:
        return const_cast<MainObject *>(this);
    case ConnectionParty::Application:
        return QCoreApplication::instance();
    case ConnectionParty::Config:
        return _config;
    case ConnectionParty::ConfigUpdater:
        return _configUpdater;
    case ConnectionParty::Media:
        return _mediaManager;
    case ConnectionParty::Transport:
        return _vtr;
    case ConnectionParty::Keyboard:
        return _kbtrans;
    case ConnectionParty::Alarms:
        return _alarmHandler;
    case ConnectionParty::DebugServer:
        return _debugServer.get();
    }
    return nullptr;
}

void MainObject::makeConnections(ConnectionStage stage)
{
    // The codes that SIGNAL() and SLOT() put before a signature.
    static const QByteArray signalCode = QByteArray::number(QSIGNAL_CODE);
    static const QByteArray slotCode = QByteArray::number(QSLOT_CODE);
    for (const ConnectionRow &row : connectionTable()) {
        if (row.stage != stage) continue;
        if (!connect(party(row.sender), (signalCode + row.signal).constData(), party(row.receiver),
                     (slotCode + row.slot).constData()))
            qmxLogOutput(QmxLogLevel::Warning, mainObjectSource, row.line, "FAILED: %s\n",
                         connectExpression(row).constData());
    }
}

void MainObject::loadInitialState()
{
    _config->loadParams(initialParams, static_cast<int>(std::size(initialParams)));
    updateAllClips();
    updatePlayList();
    setInitialClip();
}

void MainObject::shutdown()
{
    if (!_vtr) return; // done before
    _debugServer.reset();
    qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "Shutting down...\n");
    _vtr->shutdown();

    // Sleeps until something happens, so that a transport that waits for a medium does not cost a
    // processor; the timer ends each slice.
    QTimer slice;
    slice.start(shutdownSlice);
    while (!_vtr->isShutdownComplete())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);

    delete _alarmHandler;
    _alarmHandler = nullptr;
    delete _vtr;
    _vtr = nullptr;

    _config->set(eParam_TransportRunning, 0);
    _config->set(eParam_TransportStatus, storeNumber(TransportStatus::ShutDown));
}
