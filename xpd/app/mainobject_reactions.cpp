// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxtimestamp.h"
#include "platform/store/eparam.h"
#include "platform/store/values.h"
#include "xpd/alarms/alarmhandler.h"
#include "xpd/app/conversions.h"
#include "xpd/app/formattables.h"
#include "xpd/app/mainlog.h"
#include "xpd/app/mainobject.h"
#include "xpd/config/configinterface.h"
#include "xpd/media/mediamanager.h"
#include "xpd/transport/vtrobject.h"

#include <QCoreApplication>

#include <cmath>

namespace {

constexpr int reelDigits = 3;

/// The next speed of the shuttle ladder 2, 4, 8, 16 in the direction of `first`; nothing when `speed` is
/// the last one already. Only exact steps count: anything else begins at `first`.
std::optional<double> nextShuttleSpeed(double speed, double first)
{
    constexpr double ladder = 8.0; // last step = first step times this
    if (speed == first * ladder) return std::nullopt;
    for (double step = 1.0; step < ladder; step *= 2.0) {
        if (speed == first * step) return first * step * 2.0;
    }
    return first;
}

int audioChannels(int value)
{
    switch (value) {
    case 0:
        return 2;
    case 1:
        return 8;
    default:
        return 0;
    }
}

} // namespace

/// One row a parameter: what its change does.
struct MainObject::Reactions
{
    using M = MainObject;
    using V = QVariant;
    struct Row
    {
        quint32 id;
        /// `state` is the transport's before the reaction.
        void (*react)(M &m, const V &value, const VtrState &state);
    };

    static void activePath(M &m, const V &v, const VtrState &)
    {
        m._mediaManager->setActivePath(v.toString());
        if (m._mediaManager->activePath().isEmpty()) return;
        m.updateAllClips();
        m.updatePlayList();
        m.setInitialClip();
    }

    static void playbackSource(M &m, const V &v, const VtrState &state)
    {
        m._playbackSource = v.toInt();
        qmxLogText(QmxLogLevel::Info, mainObjectSource, __LINE__,
                   QStringLiteral("Play Media: %1").arg(m._playbackSource));
        if (state.mode().isInModePlay()) m._vtr->reopenPlaybackStream();
    }

    static void transportSpeed(M &m, const V &v, const VtrState &)
    {
        bool ok = false;
        const double speed = v.toString().toDouble(&ok);
        if (!ok || !(std::fabs(speed) <= maximumSpeed)) {
            qmxLogText(
                QmxLogLevel::Warning, mainObjectSource, __LINE__,
                QStringLiteral("Speed '%1' ignored: it must be a number from -100 to 100").arg(v.toString()));
            return;
        }
        m._alarmHandler->onPlayPressed();
        m._vtr->play(speed);
    }

    static void reelNumber(M &m, const V &v, const VtrState &)
    {
        m._vtr->setReelName(v.toString().rightJustified(reelDigits, QLatin1Char('0')));
    }

    static const Row *find(quint32 id);
    static const Row rows[];
};

// clang-format off
const MainObject::Reactions::Row MainObject::Reactions::rows[] = {
    // Transport
    {eParam_TransportCommand, [](M &m, const V &v, const VtrState &s) { m.transportCommand(v.toInt(), s); }},
    {eParam_TransportSpeed, transportSpeed},
    {eParam_CueToTimecode, [](M &m, const V &v, const VtrState &) { m._vtr->cueToTimecode(QmxTimecode(v.toString())); }},
    {eParam_CueToFrame, [](M &m, const V &v, const VtrState &) { m._vtr->cue(v.toInt()); }},
    {eParam_GoToClipName, [](M &m, const V &v, const VtrState &) { m.gotoClipByName(v.toString()); }},
    {eParam_GoToClipIndex, [](M &m, const V &v, const VtrState &) { m.gotoClipByIndex(v.toInt()); }},
    // Media
    {eParam_MediaUpdated, [](M &m, const V &, const VtrState &s) { m.mediaUpdated(s); }},
    {eParam_MediaLoading, [](M &, const V &, const VtrState &) { qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "Media is loading...\n"); }},
    {eParam_ActiveMediaPath, activePath},
    {eParam_RolloverMediaPath, [](M &m, const V &v, const VtrState &) { m._mediaManager->setRolloverPath(v.toString()); }},
    {eParam_RolloverEnabled, [](M &m, const V &v, const VtrState &) { m._mediaManager->setRolloverEnabled(v.toBool()); }},
    {eParam_ReelNumber, reelNumber},
    {eParam_RolloverReelName, [](M &m, const V &v, const VtrState &) { m._reelName = v.toString(); }},
    // Playback
    {eParam_PlaybackSource, playbackSource},
    {eParam_LoopPlayback, [](M &m, const V &v, const VtrState &) { m._vtr->setLooping(v.toBool()); }},
    {eParam_PlayListChanged, [](M &m, const V &, const VtrState &) { m.updatePlayList(); }},
    {eParam_StopOnDroppedFrame, [](M &m, const V &v, const VtrState &) { m._vtr->setStopOnFrameDrop(v.toBool()); }},
    // Recording. The parameter says "continue", the transport "stop".
    {eParam_ContinueOnLossOfVideo, [](M &m, const V &v, const VtrState &) { m._vtr->setStopOnLossOfVideo(!v.toBool()); }},
    {eParam_RecordCodec, [](M &m, const V &v, const VtrState &) { m._vtr->setEncodeFormat(encodeTypeToID(v.toUInt())); }},
    {eParam_CameraInput, [](M &m, const V &v, const VtrState &) { m._vtr->setCameraInput(cameraInputToID(v.toInt())); }},
    {eParam_IntervalRecord, [](M &m, const V &v, const VtrState &) { m._vtr->setIntervalRecordEnable(v.toBool()); }},
    {eParam_IntervalRecordFrames, [](M &m, const V &v, const VtrState &) { m._vtr->setRecordInterval(v.toInt()); }},
    {eParam_IntervalRecordPeriod, [](M &m, const V &v, const VtrState &) { m._vtr->setRecordIntervalTime(v.toInt()); }},
    {eParam_RecordFrameMode, [](M &m, const V &v, const VtrState &) {
        m._vtr->setForcePSFEncode(v.toInt() == 1);
        m._vtr->setVFREnable(v.toInt() == 2);
    }},
    // Picture
    {eParam_LutPosition, [](M &m, const V &, const VtrState &) { m.loadLuts(); }},
    {eParam_LutFile, [](M &m, const V &, const VtrState &) { m.loadLuts(); }},
    {eParam_VideoInput, [](M &m, const V &v, const VtrState &) { m._vtr->setVideoInputSource(videoInputToID(v.toUInt())); }},
    {eParam_OutputFrameMode, [](M &m, const V &v, const VtrState &) { m._vtr->setForcePSFOutput(v.toInt() == 0); }},
    {eParam_InputConversion, [](M &m, const V &v, const VtrState &) { m._vtr->setVideoInConvert(inputConversionToID(v.toInt())); }},
    {eParam_OutputConversion, [](M &m, const V &v, const VtrState &) { m._vtr->setVideoOutConvert(outputConversionToID(v.toInt())); }},
    {eParam_VideoOutputType, [](M &m, const V &v, const VtrState &) { m._vtr->setVideoOutputType(videoOutputToID(static_cast<unsigned int>(v.toInt()))); }},
    {eParam_VideoOutputRoute, [](M &m, const V &v, const VtrState &) { m._vtr->setVideoOutputRoute(outputRouteToID(v.toInt())); }},
    {eParam_Superimpose, [](M &m, const V &v, const VtrState &) { m._vtr->setSuperOut(superOutToID(v.toInt())); }},
    {eParam_SdiLevelA, [](M &m, const V &v, const VtrState &) { m._vtr->setVideoOutputSDILevelA(v.toBool()); }},
    {eParam_HdmiOutputMode, [](M &m, const V &v, const VtrState &) { m._vtr->setHdmiOutputMode(hdmiOutToID(v.toUInt())); }},
    // Sound
    {eParam_AudioInput, [](M &m, const V &v, const VtrState &) {
        m.validateAudioChannels();
        m._vtr->setAudioInputSource(audioInputToID(v.toUInt()));
    }},
    {eParam_AudioChannels, [](M &m, const V &v, const VtrState &) {
        m.validateAudioChannels();
        m._vtr->setAudioChans(audioChannels(v.toInt()));
    }},
    {eParam_AudioInputLevel, [](M &m, const V &v, const VtrState &) { m._vtr->setAudioInputLevel(audioLevelToID(v.toInt())); }},
    {eParam_IgnoreInputAncillary, [](M &m, const V &v, const VtrState &) { m._vtr->setVideoInputIgnoreANC(v.toBool()); }},
    // Reference and timecode
    {eParam_SyncSource, [](M &m, const V &v, const VtrState &) { m._vtr->setSyncSource(syncSourceToID(v.toUInt())); }},
    {eParam_TimecodePresetHour, [](M &m, const V &v, const VtrState &) { m._vtr->setTimecodeValue(QmxTimecode(v.toInt(), 0, 0, 0, 0, 0)); }},
    {eParam_TimecodeDropFrame, [](M &m, const V &v, const VtrState &) { m._vtr->setTimecodeDropFrame(v.toInt() == 1); }},
    {eParam_RecordOnRunningTimecode, [](M &m, const V &v, const VtrState &) { m._vtr->setRecordOnRunningTimecode(v.toInt() == 0); }},
    {eParam_TimecodeSource, [](M &m, const V &v, const VtrState &) { m._vtr->setTCGSource(timecodeSourceToID(v.toInt())); }},
    // Signal generator
    {eParam_SignalGeneratorFormat, [](M &m, const V &v, const VtrState &) { m._vtr->setVideoSignalGenFormat(sigGenFormatToImgDesc(v.toInt())); }},
    {eParam_VideoSignalGenerator, [](M &m, const V &v, const VtrState &) { m._vtr->setVideoSignalGenMode(videoSignalGenToID(v.toInt())); }},
    {eParam_AudioSignalGenerator, [](M &m, const V &v, const VtrState &) { m._vtr->setAudioSignalGenMode(audioSignalGenToID(v.toInt())); }},
};
// clang-format on

const MainObject::Reactions::Row *MainObject::Reactions::find(quint32 id)
{
    for (const Row &row : rows) {
        if (row.id == id) return &row;
    }
    return nullptr;
}

void MainObject::configParamChanged(quint32 id, const QVariant &value, const QmxTimeStamp &)
{
    if (!_vtr) return;
    const VtrState state = _vtr->state();
    const QString text = _config->paramToString(id, value);
    qmxLogText(QmxLogLevel::Info, mainObjectSource, __LINE__, QStringLiteral("Param Changed: %1").arg(text));

    if (const Reactions::Row *row = Reactions::find(id))
        row->react(*this, value, state);
    else if (_logExtraParams)
        qmxLogText(QmxLogLevel::Warning, mainObjectSource, __LINE__, QStringLiteral("Changed: %1").arg(text));
}

void MainObject::transportCommand(int command, const VtrState &state)
{
    using enum TransportCommand;
    const auto shuttle = [&](double first) {
        _alarmHandler->onPlayPressed();
        if (const std::optional<double> speed = nextShuttleSpeed(state.speed(), first)) _vtr->play(*speed);
    };
    const auto step = [&](int frames) {
        _alarmHandler->onPlayPressed();
        _vtr->step(frames);
    };

    switch (TransportCommand(command)) {
    case Play:
        _alarmHandler->onPlayPressed();
        _vtr->play(1.0);
        break;
    case Record:
        _alarmHandler->onRecordPressed();
        if (state.cameraInput().isValid())
            qmxLogOutput(QmxLogLevel::Warning, mainObjectSource, __LINE__,
                         "Ignoring record command due to camera data input\n");
        else
            _vtr->record();
        break;
    case Stop:
        stopCommand(state);
        break;
    case FastForward:
        shuttle(2.0);
        break;
    case Rewind:
        shuttle(-2.0);
        break;
    case StepForward:
        step(1);
        break;
    case StepBack:
        step(-1);
        break;
    case NextClip:
        gotoClipByRelativeIndex(1);
        break;
    case PreviousClip:
        gotoClipByRelativeIndex(-1);
        break;
    case ShutDown:
        qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__,
                     "Got shutdown from config, asking for program exit.");
        QCoreApplication::quit();
        break;
    default: // numbers between them mean nothing here
        break;
    }
}

void MainObject::stopCommand(const VtrState &state)
{
    _alarmHandler->onStopPressed();
    if (!state.mode().isInModeRecord()) {
        // The first stop pauses, the second one stops.
        if (state.speedFlags().isStill())
            _vtr->standbyOff();
        else
            _vtr->still();
    } else if (state.cameraInput().isValid()) {
        qmxLogOutput(QmxLogLevel::Warning, mainObjectSource, __LINE__,
                     "Ignoring stop command while in record due to camera data input\n");
    } else {
        _initialFrame = addLastRecordedClip(currentClip());
        _vtr->standbyOff();
    }
}

void MainObject::mediaUpdated(const VtrState &state)
{
    qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "Media has been updated...\n");
    updateAllClips();
    updatePlayList();
    setInitialClip();
    if (state.mode().isInModePlay()) {
        const int frame = _vtr->currentFrameNumber();
        _vtr->reopenPlaybackStream();
        _vtr->cue(frame);
    }
}

void MainObject::validateAudioChannels()
{
    const bool wrong = _config->getUInt32(eParam_AudioInput) == storeNumber(AudioInput::Analog) &&
                       _config->getUInt32(eParam_AudioChannels) == storeNumber(AudioChannels::Eight);
    sendAlarm(QmxIds::alarmChannelsNeedEmbeddedAudio, wrong ? QmxAlarm::Error : QmxAlarm::Clear, QString(),
              __LINE__);
}
