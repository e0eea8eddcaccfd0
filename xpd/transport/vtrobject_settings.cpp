// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "xpd/transport/vtrlog.h"
#include "xpd/transport/vtrsettings.h"

#include <QFile>

using namespace VtrLog;

namespace {

constexpr int settingResetDelayMs = 500; // a burst of changes makes one reset
constexpr int stereo = 2;
constexpr int eightChannels = 8;

const char *enabledWord(bool on)
{
    return on ? "Enabled" : "Disabled";
}

} // namespace

bool VtrObject::applySetting(const IdSetting &setting, const QmxId &value)
{
    if (setting.invalidText && !value.isValid()) {
        qmxLogOutput(Error, source, __LINE__, "%s", setting.invalidText);
        return false;
    }
    if ((_state.*setting.get)() == value) return false;
    (_state.*setting.set)(value);
    text(Info, QString::fromLatin1(setting.text).arg(value.name()));
    scheduleVideoDeviceReset(settingResetDelayMs, false);
    return true;
}

bool VtrObject::applySetting(const FlagSetting &setting, bool value)
{
    if ((_state.*setting.get)() == value) return false;
    (_state.*setting.set)(value);
    const QByteArray line = QByteArray(setting.text).replace("%s", value ? setting.onWord : setting.offWord);
    qmxLogOutput(Info, source, __LINE__, "%s", line.constData());
    if (setting.resets) scheduleVideoDeviceReset(settingResetDelayMs, false);
    return true;
}

bool VtrObject::applySetting(const NumberSetting &setting, int value)
{
    if ((_state.*setting.get)() == value) return false;
    (_state.*setting.set)(value);
    text(Info, QString::fromLatin1(setting.text).arg(value));
    return true;
}

// clang-format off
void VtrObject::setEncodeFormat(const QmxId &id) { applySetting(VtrSettings::encodeFormat, id); }
void VtrObject::setVideoInputSource(const QmxId &id) { applySetting(VtrSettings::videoInputSource, id); }
void VtrObject::setAudioInputSource(const QmxId &id) { applySetting(VtrSettings::audioInputSource, id); }
void VtrObject::setAudioInputLevel(const QmxId &id) { applySetting(VtrSettings::audioInputLevel, id); }
void VtrObject::setSyncSource(const QmxId &id) { applySetting(VtrSettings::syncSource, id); }
void VtrObject::setAudioSignalGenMode(const QmxId &id) { applySetting(VtrSettings::audioSignalGenMode, id); }
void VtrObject::setCameraInput(const QmxId &id) { applySetting(VtrSettings::cameraInput, id); }
void VtrObject::setVideoInConvert(const QmxId &id) { applySetting(VtrSettings::videoInConvert, id); }
void VtrObject::setVideoOutConvert(const QmxId &id) { applySetting(VtrSettings::videoOutConvert, id); }
void VtrObject::setVideoOutputType(const QmxId &id) { applySetting(VtrSettings::videoOutputType, id); }
void VtrObject::setVideoOutputRoute(const QmxId &id) { applySetting(VtrSettings::videoOutputRoute, id); }
void VtrObject::setSuperOut(const QmxId &id) { applySetting(VtrSettings::superOut, id); }
void VtrObject::setHdmiOutputMode(const QmxId &id) { applySetting(VtrSettings::hdmiOutputMode, id); }

void VtrObject::setForcePSFOutput(bool on) { applySetting(VtrSettings::forcePSFOutput, on); }
void VtrObject::setForcePSFEncode(bool on) { applySetting(VtrSettings::forcePSFEncode, on); }
void VtrObject::setIntervalRecordEnable(bool on) { applySetting(VtrSettings::intervalRecordEnable, on); }
void VtrObject::setVFREnable(bool on) { applySetting(VtrSettings::vfrEnable, on); }
void VtrObject::setStopOnFrameDrop(bool on) { applySetting(VtrSettings::stopOnFrameDrop, on); }
void VtrObject::setStopOnLossOfVideo(bool on) { applySetting(VtrSettings::stopOnLossOfVideo, on); }
void VtrObject::setVideoOutputSDILevelA(bool on) { applySetting(VtrSettings::videoOutputSDILevelA, on); }
void VtrObject::setVideoInputIgnoreANC(bool on) { applySetting(VtrSettings::videoInputIgnoreANC, on); }

void VtrObject::setRecordInterval(int frames) { applySetting(VtrSettings::recordInterval, frames); }
void VtrObject::setRecordIntervalTime(int period) { applySetting(VtrSettings::recordIntervalTime, period); }
// clang-format on

void VtrObject::setVideoSignalGenMode(const QmxId &id)
{
    if (applySetting(VtrSettings::videoSignalGenMode, id)) updateVTSGPseudoInput(id.isValid());
}

void VtrObject::setVideoSignalGenFormat(const QmxImageDesc &desc)
{
    if (_state.videoSignalGenFormat() == desc) return;
    _state.setVideoSignalGenFormat(desc);
    text(Info, QStringLiteral("Set VSG Format: %1").arg(desc.toString()));
    scheduleVideoDeviceReset(settingResetDelayMs, false);
    if (_state.videoSignalGenMode().isValid()) updateVTSGPseudoInput(true);
}

void VtrObject::setAudioChans(int channels)
{
    if (_state.audioChans() == channels) return;
    if (channels == stereo || channels == eightChannels)
        _state.setAudioChans(channels);
    else
        qmxLogOutput(Warning, source, __LINE__,
                     "Failed to set audio channels to %d.  Unsupported number of channels\n", channels);
    // A refused count resets as well, which applies the unchanged one again.
    qmxLogOutput(Info, source, __LINE__, "Set Audio Channels: %d\n", channels);
    scheduleVideoDeviceReset(settingResetDelayMs, false);
}

void VtrObject::setLuts(const QmxImageLut &inputLut, const QmxImageLut &outputLut)
{
    if (_state.inputLut() == inputLut && _state.outputLut() == outputLut) return;
    _state.setInputLut(inputLut);
    _state.setOutputLut(outputLut);
    scheduleVideoDeviceReset(settingResetDelayMs, false);
}

void VtrObject::setTimecodeValue(const QmxTimecode &value)
{
    // Only the digits are taken: rate and drop-frame flag are the generator's own.
    _tcgValue.setHours(value.hours());
    _tcgValue.setMinutes(value.minutes());
    _tcgValue.setSeconds(value.seconds());
    _tcgValue.setFrames(value.frames());
    _tcgValue.setValid(true);
    text(Info, QStringLiteral("Set TC value: %1").arg(value.toString()));
    jamTCG();
}

void VtrObject::setTimecodeDropFrame(bool on)
{
    _tcgValue.setDropFrame(on);
    qmxLogOutput(Info, source, __LINE__, "Set TC Drop Frame: %s\n", enabledWord(on));
    jamTCG();
}

void VtrObject::setTCGSource(const QmxId &id)
{
    if (_tcgSource == id) return;
    _tcgSource = id;
    text(Info, QStringLiteral("Set TCG Source: %1").arg(id.name()));
    scheduleVideoDeviceReset(settingResetDelayMs, false);
}

void VtrObject::setRecordOnRunningTimecode(bool on)
{
    if (_recordOnRunningTimecode == on) return;
    _recordOnRunningTimecode = on;
    qmxLogOutput(Info, source, __LINE__, "Record on Running Timecode: %s\n", enabledWord(on));
}

void VtrObject::setSpeed(double speed)
{
    if (_state.speed() == speed) return;
    _state.setSpeed(speed);
    _cache->setSpeed(speed == 0.0 ? 1.0 : speed);
}

void VtrObject::setReelName(const QString &reelName)
{
    if (_reelName == reelName) return;
    _reelName = reelName;
    text(Info, QStringLiteral("Reel Name: %1").arg(reelName));
    if (_vdev) _vdev->setProperty(QmxIds::reelName, QVariant(reelName));
}

void VtrObject::setCurrentClipName(const QString &value)
{
    if (_vdev) _vdev->setProperty(QmxIds::clipName, QVariant(value));
}
