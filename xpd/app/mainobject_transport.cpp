// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxmetadata.h"
#include "platform/qmx/core/qmxvbiinfo.h"
#include "platform/qmx/core/qmxvideostate.h"
#include "platform/qmx/device/qmxvideodevicesetup.h"
#include "platform/qmx/stream/qmxplaylistindex.h"
#include "platform/store/eparam.h"
#include "platform/store/values.h"
#include "xpd/app/conversions.h"
#include "xpd/app/formattables.h"
#include "xpd/app/mainlog.h"
#include "xpd/app/mainobject.h"
#include "xpd/config/configinterface.h"
#include "xpd/config/configupdater.h"
#include "xpd/transport/vtrobject.h"

namespace {

/// The status of playback at `speed`. Normal and slow speeds share a value, but 1.0 itself belongs to them
/// and 4.0, 8.0, 16.0 to the faster ones.
TransportStatus playStatus(double speed)
{
    using enum TransportStatus;
    if (speed >= 16.0) return Forward16;
    if (speed >= 8.0) return Forward8;
    if (speed >= 4.0) return Forward4;
    if (speed > 1.0) return ForwardFast;
    if (speed > 0.0) return Playing;
    if (speed == 0.0) return Still;
    if (speed <= -16.0) return Reverse16;
    if (speed <= -8.0) return Reverse8;
    if (speed <= -4.0) return Reverse4;
    if (speed < -1.0) return ReverseFast;
    if (speed < 0.0) return Reverse;
    qmxLogOutput(QmxLogLevel::Warning, mainObjectSource, __LINE__, "Unhandled speed: %lf\n", speed);
    return None;
}

TransportStatus transportStatus(const VtrState &state)
{
    switch (state.mode().value()) {
    case VtrMode::Invalid:
    case VtrMode::StandbyOff:
        return TransportStatus::Stopped;
    case VtrMode::Record:
        return TransportStatus::Recording;
    case VtrMode::Play:
        return playStatus(state.speed());
    case VtrMode::Shutdown:
        return TransportStatus::ShutDown;
    }
    qmxLogOutput(QmxLogLevel::Warning, mainObjectSource, __LINE__, "Unhandled mode: %d\n",
                 static_cast<int>(state.mode().value()));
    return TransportStatus::None;
}

} // namespace

void MainObject::updateTransporterState(const VtrState &state)
{
    const TransportStatus status = transportStatus(state);
    // Shut down is told at the end of the shutdown, when it is true.
    if (status != TransportStatus::None && status != TransportStatus::ShutDown)
        _config->set(eParam_TransportStatus, storeNumber(status));
}

void MainObject::vtrStateChanged(const VtrState &oldState, const VtrState &newState)
{
    const bool modeChanged = oldState.mode() != newState.mode();
    const bool speedChanged = oldState.mode().isInModePlay() && newState.mode().isInModePlay() &&
                              oldState.speed() != newState.speed();
    if (modeChanged || speedChanged) updateTransporterState(newState);
}

void MainObject::vtrModeChanged(const VtrMode &, const VtrMode &)
{
    updateTransporterState(_vtr->state());
    // The speed comes right behind the mode, and who has left a mode and is back in it before that was told
    // hears of no further change.
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (_vtr) updateTransporterState(_vtr->state());
        },
        Qt::QueuedConnection);
}

void MainObject::sendAlarm(const QmxId &id, QmxAlarm::AlarmLevel level, const QString &text, int line)
{
    emit alarmTriggered(QmxAlarm(id, level, text, QString::fromLatin1(mainObjectSource), line));
}

void MainObject::vtrRaiseVFRAlarm(bool state)
{
    sendAlarm(QmxIds::alarmVariableRate, state ? QmxAlarm::Error : QmxAlarm::Clear, QString(), __LINE__);
}

void MainObject::firmwareLoading(const QString &id, bool done)
{
    qmxLogText(QmxLogLevel::Info, mainObjectSource, __LINE__,
               QStringLiteral("%1 '%2' firmware load")
                   .arg(done ? QStringLiteral("Finished") : QStringLiteral("Started"), id));
    _config->set(eParam_FirmwareState, storeNumber(done ? FirmwareState::Loaded : FirmwareState::Loading));
}

void MainObject::vbi(const QmxVbiInfo &info)
{
    const QmxMetadataHash meta = _vtr->currentFrameMetadata();
    const VtrState state = _vtr->state();
    if (state.mode().isInModePlay() || state.mode().isInModeRecord()) _timecode = info.tcgTimecode();
    _configUpdater->setCurrentTimecode(_timecode);
    _configUpdater->setInputTimecode(_vtr->currentInputTimecode());

    // In a list the current clip follows the frames that are shown.
    const auto index = meta.value(QmxIds::listPosition).value<QmxPlayListIndex>();
    if (index.isValid()) {
        setCurrentClip(index.entryName());
        _configUpdater->setCurrentPlayListIndex(index.entryIndex());
    }
}

void MainObject::vtrInputFormatChanged(int inputNumber, const QmxVideoState &state)
{
    if (inputNumber != 0) return;
    if (state.recInhibit().isValid()) {
        _config->set(eParam_RecordFormat, storeNumber(RecordFormat::NotRecordable));
    } else {
        if (state.isValid() && _vtr->state().mode().isInModeRecord())
            sendAlarm(QmxIds::alarmInputLostInRecord, QmxAlarm::Error,
                      QStringLiteral("Input format changed during record, recording stopped"), __LINE__);
        int format = state.isValid() ? imageDescToRecordFormat(state.captureImageDesc()) : 0;
        if (state.vfrfps() != 0)
            format = variableRateRecordFormat(state.captureImageDesc().width(), state.vfrfps(), format);
        _config->set(eParam_RecordFormat, format);
    }
    _config->set(eParam_InputFormat, state.isValid() ? imageDescToInputFormat(state.inputImageDesc()) : 0);
}

void MainObject::vtrVideoDeviceSetupChanged(const QmxVideoDeviceSetup &val)
{
    const QmxImageDesc desc = val.imageDesc();
    int format = imageDescToMediaFormat(desc);
    const int decodeType = imageDataTypeToDecodeType(desc.dataType());
    qmxLogText(QmxLogLevel::Info, mainObjectSource, __LINE__,
               QStringLiteral("Media changed: %1 -- %2/%3")
                   .arg(desc.toString(), QString::number(format), QString::number(decodeType)));

    if (val.isInCapture() && val.forceVFRRecord()) {
        const int vfrfps = _vtr->inputState().vfrfps();
        if (vfrfps != 0) format = variableRateMediaFormat(desc.width(), vfrfps, format);
    }
    _config->set(eParam_MediaFormat, static_cast<quint32>(format));
    _config->set(eParam_MediaCodec, static_cast<quint32>(decodeType));
}
