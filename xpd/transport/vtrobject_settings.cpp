// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "xpd/transport/vtrlog.h"

#include <QFile>

/// One setting of the transport each: where its value lives in the state, what is logged when it changes,
/// and whether the device has to be reset for it. A setting that does nothing else is one row below.

struct IdSetting
{
    QmxId (VtrState::*get)() const;
    void (VtrState::*set)(const QmxId &);
    const char *text; ///< "%1" is the identifier's name
    const char
        *invalidText; ///< logged instead of storing an identifier that is not valid; null: all are stored
};

struct FlagSetting
{
    bool (VtrState::*get)() const;
    void (VtrState::*set)(bool);
    const char *text; ///< "%s" is the word for the value
    bool resets;
    const char *onWord = "Enabled";
    const char *offWord = "Disabled";
};

struct NumberSetting
{
    int (VtrState::*get)() const;
    void (VtrState::*set)(int);
    const char *text; ///< "%1" is the number
};

using namespace VtrLog;
using S = VtrState;

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
void VtrObject::setEncodeFormat(const QmxId &id) { applySetting(IdSetting{&S::encodeFormat, &S::setEncodeFormat, "Set Encode Format: %1", "Encode format is invalid\n"}, id); }
void VtrObject::setVideoInputSource(const QmxId &id) { applySetting(IdSetting{&S::videoInputSource, &S::setVideoInputSource, "Set Video Input Source: %1", "Video input source is invalid\n"}, id); }
void VtrObject::setAudioInputSource(const QmxId &id) { applySetting(IdSetting{&S::audioInputSource, &S::setAudioInputSource, "Set Audio Input Source: %1", "Audio input source is invalid\n"}, id); }
void VtrObject::setAudioInputLevel(const QmxId &id) { applySetting(IdSetting{&S::audioInputLevel, &S::setAudioInputLevel, "Set Audio Input Level: %1", "Audio input level is invalid\n"}, id); }
void VtrObject::setSyncSource(const QmxId &id) { applySetting(IdSetting{&S::syncSource, &S::setSyncSource, "Set Sync Source: %1", "Sync source is invalid\n"}, id); }
void VtrObject::setAudioSignalGenMode(const QmxId &id) { applySetting(IdSetting{&S::audioSignalGenMode, &S::setAudioSignalGenMode, "Set ASG Mode: %1", nullptr}, id); }
void VtrObject::setCameraInput(const QmxId &id) { applySetting(IdSetting{&S::cameraInput, &S::setCameraInput, "Set Camera Input: %1", nullptr}, id); }
void VtrObject::setVideoInConvert(const QmxId &id) { applySetting(IdSetting{&S::videoInConvert, &S::setVideoInConvert, "Set Video In Convert: %1", nullptr}, id); }
void VtrObject::setVideoOutConvert(const QmxId &id) { applySetting(IdSetting{&S::videoOutConvert, &S::setVideoOutConvert, "Set Video Out Convert: %1", nullptr}, id); }
void VtrObject::setVideoOutputType(const QmxId &id) { applySetting(IdSetting{&S::videoOutputType, &S::setVideoOutputType, "Set Video Output Type: %1", nullptr}, id); }
void VtrObject::setVideoOutputRoute(const QmxId &id) { applySetting(IdSetting{&S::videoOutputRoute, &S::setVideoOutputRoute, "Set Video Output Route: %1", nullptr}, id); }
void VtrObject::setSuperOut(const QmxId &id) { applySetting(IdSetting{&S::superOut, &S::setSuperOut, "Set Super Out: %1", nullptr}, id); }
void VtrObject::setHdmiOutputMode(const QmxId &id) { applySetting(IdSetting{&S::hdmiOutputMode, &S::setHdmiOutputMode, "Set HDMI Output Mode: %1", nullptr}, id); }

void VtrObject::setForcePSFOutput(bool on) { applySetting(FlagSetting{&S::forcePSFOutput, &S::setForcePSFOutput, "Set Force PSF Output: %s\n", true}, on); }
void VtrObject::setForcePSFEncode(bool on) { applySetting(FlagSetting{&S::forcePSFEncode, &S::setForcePSFEncode, "Set Force PSF Encode: %s\n", true}, on); }
void VtrObject::setIntervalRecordEnable(bool on) { applySetting(FlagSetting{&S::intervalRecordEnable, &S::setIntervalRecordEnable, "Set Interval Record: %s\n", false}, on); }
void VtrObject::setVFREnable(bool on) { applySetting(FlagSetting{&S::vfrEnable, &S::setVFREnabled, "Set VFR: %s\n", true}, on); }
void VtrObject::setStopOnFrameDrop(bool on) { applySetting(FlagSetting{&S::stopOnFrameDrop, &S::setStopOnFrameDrop, "Set Stop On Frame Drop: %s\n", false}, on); }
void VtrObject::setStopOnLossOfVideo(bool on) { applySetting(FlagSetting{&S::stopOnLossOfVideo, &S::setStopOnLossOfVideo, "Set Stop On Loss Of Video: %s\n", false}, on); }
void VtrObject::setVideoOutputSDILevelA(bool on) { applySetting(FlagSetting{&S::videoOutputSDILevelA, &S::setVideoOutputSDILevelA, "Set Video Output SDI Level: %s\n", true, "Level A", "Level B"}, on); }
void VtrObject::setVideoInputIgnoreANC(bool on) { applySetting(FlagSetting{&S::videoInputIgnoreANC, &S::setVideoInputIgnoreANC, "Set Video Input Ignore ANC: %s\n", true}, on); }

void VtrObject::setRecordInterval(int frames) { applySetting(NumberSetting{&S::recordInterval, &S::setRecordInterval, "Set Record Interval: %1"}, frames); }
void VtrObject::setRecordIntervalTime(int period) { applySetting(NumberSetting{&S::recordIntervalTime, &S::setRecordIntervalTime, "Set Record Interval Time: %1"}, period); }
// clang-format on

void VtrObject::setVideoSignalGenMode(const QmxId &id)
{
    if (applySetting(
            IdSetting{&S::videoSignalGenMode, &S::setVideoSignalGenMode, "Set VSG Mode: %1", nullptr}, id))
        updateVTSGPseudoInput(id.isValid());
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
