// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxalarm.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmximagedesc.h"
#include "platform/qmx/core/qmximagelut.h"
#include "platform/qmx/core/qmxmetadata.h"
#include "platform/qmx/core/qmxmetadatahash.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/core/qmxtimestamp.h"
#include "platform/qmx/core/qmxvbiinfo.h"
#include "platform/qmx/core/qmxvideostate.h"
#include "platform/qmx/device/qmxvideodevicesetup.h"
#include "platform/qmx/stream/qmxstreaminfo.h"
#include "xpd/transport/singleframe.h"
#include "xpd/transport/vtrmode.h"
#include "xpd/transport/vtrstate.h"

#include <QObject>
#include <QVariant>

#include <memory>

class QFile;
class QTimer;
class QmxAlarmController;
class QmxStream;
class QmxStreamCache;
class QmxVideoDevice;
class TimecodeTrigger;
struct FlagSetting;
struct IdSetting;
struct NumberSetting;

/// The transport: a tape machine made of a video device, a media stream and the cache between them.
///
/// Commands and settings only change the commanded state. process() acts on it: may it run, finish a
/// pending change of mode, do one step of the mode, report a changed state. It runs on every vertical
/// interval, whenever the cache has news, twice a second, and after every command; it does not run while
/// the device or the stream is busy, and their completions bring the machine on.
///
/// What the transport does not own it asks for by the request signals, whose receivers fill in the
/// referenced value before the emit returns: connect them directly.
///
/// Threads: everything runs on the event loop. The device, the stream and the cache have threads of their
/// own and answer through signals that the event loop delivers.
///
/// The sources are split by concern: vtrobject.cpp (construction, process(), modes), _commands, _play,
/// _record, _stream, _device (set-up and reset), _deviceevents, _settings, _timecode, _statistics.
class VtrObject : public QObject
{
    Q_OBJECT

public:
    explicit VtrObject(QObject *parent);
    ~VtrObject() override;

    /// Brings the transport into StandbyOff. Once, when everything is connected.
    void start();
    /// Asks for mode Shutdown; shutdownIsComplete() follows. Dropped while a change of mode is pending.
    void shutdown();
    bool isShutdownComplete() const { return _shutdownComplete; }

    /// The commanded state; its mode is the mode asked for last.
    VtrState state() const { return _state; }
    /// The input as the device reported it last.
    QmxVideoState inputState() const { return _inputState; }
    QmxVbiInfo lastVBI() const { return _lastVbi; }
    /// Queues and busy conditions in one line for status displays.
    QString stateToString() const;

    bool hasPendingModeChange() const;
    /// False, with a log line, while a change of mode is pending.
    bool allowModeChange(const VtrMode &mode) const;

    /// There is a picture to record: from the input, or from the signal generator in its place.
    bool inputVideoIsValid() const;
    /// Why a record must not begin now; not valid when it may.
    QmxId recordInhibitedReason() const;

    /// Metadata of the frame on the output in mode Play, else empty.
    QmxMetadataHash currentFrameMetadata() const;
    /// Number of the frame on the output in its stream; 0 outside mode Play.
    int currentFrameNumber() const;
    /// Whole frames a second by which the timecode of the present set-up counts.
    int currentTimecodeFrameRate() const;
    QmxTimecode currentTimeOfDayTimecode() const;
    /// The timecode that the chosen timecode source gives now.
    QmxTimecode currentInputTimecode() const;

    /// Stores the speed and hands it to the cache, which never gets 0.0 but 1.0 in its place.
    void setSpeed(double speed);

signals:
    void vbi(const QmxVbiInfo &ts);
    void modeChanged(const VtrMode &oldMode, const VtrMode &newMode);
    void stateChanged(const VtrState &oldState, const VtrState &newState);
    void inputFormatChanged(int inputNumber, const QmxVideoState &state);
    void streamIsOpen(const QmxError &err, const QmxStreamInfo &info);
    void streamIsClosed();
    void requestPlaybackStreamDesc(QVariant &desc, int &fnum);
    void requestRecordStreamDesc(QVariant &desc);
    void storageInUse(bool isInUse);
    void firmwareLoading(const QString &id, bool done);
    void shutdownIsComplete();
    void timecodeInputValidChanged(bool valid);
    void frameDropped();
    void raiseVFRAlarm(bool alarmActive);
    void requestRecordInhibit(QmxId &inhibitReason) const;
    void recordFailedToStart(QmxId &reason);
    void alarmTriggered(const QmxAlarm &alarm);
    void videoDeviceSetupChanged(const QmxVideoDeviceSetup &setup);

public slots:
    void enableStreamBenchmark();
    void setReelName(const QString &reelName);
    void setCurrentClipName(const QString &value);
    void setAudioChans(int channels);
    void setEncodeFormat(const QmxId &id);
    void setVideoInputSource(const QmxId &id);
    void setAudioInputSource(const QmxId &id);
    void setAudioInputLevel(const QmxId &id);
    void setSyncSource(const QmxId &id);
    void setVideoSignalGenFormat(const QmxImageDesc &desc);
    void setVideoSignalGenMode(const QmxId &id);
    void setAudioSignalGenMode(const QmxId &id);
    void setCameraInput(const QmxId &id);
    void setVideoInConvert(const QmxId &id);
    void setVideoOutConvert(const QmxId &id);
    void setForcePSFOutput(bool on);
    void setForcePSFEncode(bool on);
    void setVideoOutputType(const QmxId &id);
    void setVideoOutputRoute(const QmxId &id);
    void setSuperOut(const QmxId &id);
    void setRecordInterval(int frames);
    void setRecordIntervalTime(int period);
    void setIntervalRecordEnable(bool on);
    void setVFREnable(bool on);
    void setTimecodeValue(const QmxTimecode &value);
    void setTimecodeDropFrame(bool on);
    void setTCGSource(const QmxId &id);
    void setStopOnFrameDrop(bool on);
    void setStopOnLossOfVideo(bool on);
    void setRecordOnRunningTimecode(bool on);
    void setVideoOutputSDILevelA(bool on);
    void setVideoInputIgnoreANC(bool on);
    void setHdmiOutputMode(const QmxId &id);
    void logStats();
    void setLooping(bool on);
    void play(double speed);
    void play();
    void still();
    void rewind();
    void fastfwd();
    void cue(int frameNumber);
    void cueToTimecode(const QmxTimecode &tc);
    void step(int ct);
    void standbyOff();
    void record();
    void setLuts(const QmxImageLut &inputLut, const QmxImageLut &outputLut);
    bool reopenRecordStream();
    bool reopenPlaybackStream();
    /// Adds `meta` to every captured frame from now on; one that is not valid ends it.
    void debugFrameMetadata(const QmxMetadata &meta);

private slots:
    void handleVBI(const QmxVbiInfo &ts);
    void process();
    void streamOpenIsDone(int request, const QmxError &error);
    void streamCloseIsDone();
    void streamFlush();
    void cacheError(int position, const QmxError &error);
    void videoDeviceSetupIsDone(const QmxError &error);
    void videoDevicePlayedKeyFrame(const QmxMetadataHash &meta);
    void videoDeviceFrameDropped();
    void videoDeviceReadFromHardwareFailed(const QmxError &error);
    void videoDeviceWriteToHardwareFailed(const QmxError &error, const QmxFrame &frame);
    void videoDeviceHardwareStarted();
    void videoDeviceFlushed(const QmxMetadataHash &meta);
    void videoDeviceInputChanged(int inputNumber, const QmxVideoState &state);
    void videoDeviceInputAncDataChanged(const QmxMetadataHash &data);
    void videoDeviceReset();
    void timecodeTriggerHasStarted();
    void timecodeTriggerHasStopped();
    void streamBenchmark(int id, const QmxTimeStamp &ts);
    void checkForAlarms();
    void logDebugStats();

private:
    // Modes (vtrobject.cpp)
    void connectTimersAndAlarms();
    void connectStream();
    void connectVideoDevice();
    void setNewMode(const VtrMode &mode);
    bool canProcess() const;
    bool handleModeSwitch();
    void cleanupOldMode();
    void beginNewMode();
    void processMode();
    void beginModeStandbyOff();
    void cleanupModeStandbyOff();
    void beginModePlay();
    void beginModeShutdown();
    void processModeShutdown();

    // Play
    void processModePlay();
    void openStreamForPlay();
    void normaliseCachePosition();
    bool playFrame(const QmxVideoDeviceSetup &running);
    bool takeFromCache(bool isFirst, bool isLast);
    void requireVideoReset(const QmxVideoDeviceSetup &needed, const QmxVideoDeviceSetup &running,
                           const QmxFrame &frame);
    void setPlayFrameTimecode(QmxFrame &frame);
    void cleanupModePlay();

    // Record
    void beginModeRecord();
    void computeIntervalStep();
    void processModeRecord();
    bool recordFrame(QmxFrame &frame);
    bool replaceLostPicture(QmxFrame &frame);
    void writeRecordFrame(const QmxFrame &frame);
    void openStreamForRecord(const QmxFrame &frame);
    void handleCameraTrigger();
    void cleanupModeRecord();
    bool checkForCameraTrigger(const QmxFrame &frame) const;
    bool validateFrameForRecord(const QmxFrame &frame) const;
    bool streamCacheHasSpace() const;

    // Stream; the two opens return 1 when the open has started, else 0
    int streamOpenForRead();
    int streamOpenForWrite(const QmxFrame &frame);
    void closeStreamOfMode();
    void setStorageInUse(bool inUse);

    // Set-up and reset of the device
    void videoDeviceOpen();
    void videoDeviceClose();
    void videoDeviceFlush();
    QmxVideoDeviceSetup createVideoDeviceDefaultSetupObject() const;
    QmxVideoDeviceSetup createVideoDevicePlaybackSetupObject(const QmxFrame &frame) const;
    QmxVideoDeviceSetup createVideoDeviceRecordSetupObject() const;
    void scheduleVideoDeviceReset(int delayMs, bool force);
    void setupVideoDeviceForRecord();
    void setupVideoDeviceForPlayback();
    void setupVideoDeviceForShutdown();
    int setupVideoDevice(const QmxVideoDeviceSetup &setup); ///< 1 accepted or already current, 0 refused

    // Events of the device
    void handlePlaybackDrop();
    void handleRecordDrop();
    void updateLossOfVideoFrame();
    void updateVTSGPseudoInput(bool on);
    void raiseAlarm(const QmxId &id, QmxAlarm::AlarmLevel level, const QString &text, int line);

    // Settings: each returns whether the value has been stored
    bool applySetting(const IdSetting &setting, const QmxId &value);
    bool applySetting(const FlagSetting &setting, bool value);
    bool applySetting(const NumberSetting &setting, int value);

    void jamTCG();
    static int saturatedSum(int a, int b);
    void checkRefInputAlarm();
    void openBenchmarkFile();

    // Children
    QTimer *_timer;
    QTimer *_flushTimer;
    QTimer *_debugTimer;
    QTimer *_videoDeviceResetTimer;
    QTimer *_alarmCheckTimer;
    QmxVideoDevice *_vdev;
    QmxStreamCache *_cache;
    QmxStream *_stm;
    TimecodeTrigger *_timecodeTrigger;
    QmxAlarmController *_alarmctl;

    // Mode machine: a change is pending while either flag is false
    VtrMode _oldMode;
    VtrState _state;
    VtrState _lastState; ///< as last reported by stateChanged()
    bool _cleanupDone = true;
    bool _beginDone = true;
    bool _isSwitching = false;   ///< handleModeSwitch() is at work
    bool _switchReported = true; ///< false from the request until all that begin started is done, too
    bool _recordOnRunningTimecode = false;
    bool _shutdownComplete = false;
    int _storageInUse = 0;
    QmxVbiInfo _lastVbi;

    // Device
    QmxVideoDeviceSetup _lastSetup;     ///< the one last sent to the device
    QmxVideoDeviceSetup _playbackSetup; ///< the one that the next reset in Play sends
    QmxVideoState _inputState;
    QmxVideoState _reportedInputState; ///< as last announced, the generator's pseudo input included
    bool _forceSetup = false;          ///< send the next set-up even if it is the current one

    // Stream
    QVariant _priorPlaybackDesc;
    int _priorPlaybackPosition = 0;
    int _cueFrame = -1; ///< where to go when the flush is done; -1 for nowhere
    int _stepCount = 0; ///< frames to add to that
    QmxFrame _pendingRecordFrame;
    bool _hasPendingRecordFrame = false;
    int _pendingCloses = 0; ///< closes whose completion releases the storage
    QString _reelName;

    // Record
    float _intervalAccumulator = 0.0F;
    float _intervalStep = 1.0F;
    QmxMetadata _debugMetadata;
    SingleFrame _lossOfVideoStill;

    QmxId _tcgSource;
    QmxTimecode _tcgValue;

    // Statistics
    quint64 _framesPlayed = 0;
    quint64 _framesRecorded = 0;
    std::unique_ptr<QFile> _benchmarkFile;
};
