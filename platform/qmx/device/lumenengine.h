// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxprioritymutex.h"
#include "platform/qmx/device/capturequeue.h"
#include "platform/qmx/device/decodedpictures.h"
#include "platform/qmx/device/deviceevents.h"
#include "platform/qmx/device/inputdetector.h"
#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/device/outputstage.h"
#include "platform/qmx/device/playbackqueue.h"
#include "platform/qmx/device/retiredsources.h"
#include "platform/qmx/device/takegate.h"
#include "platform/qmx/device/tickschedule.h"
#include "platform/qmx/device/timecodegenerator.h"

#include <functional>
#include <mutex>
#include <vector>

/// The software video card without its clock: what one tick does, and what its owner asks of it.
///
/// Threads. The event loop calls everything under "event loop"; the clock thread calls tick() and nothing
/// else; the workers come back through private functions. One mutex guards the state machines and is held
/// for handles only, never while a picture is touched; sources and sinks are the clock thread's own and are
/// called without it. What happens goes out as DeviceEvents.
class LumenEngine
{
public:
    LumenEngine(const LumenOptions &options, const QmxEnvironment &environment, DeviceEvents &events);
    ~LumenEngine();
    LumenEngine(const LumenEngine &) = delete;
    LumenEngine &operator=(const LumenEngine &) = delete;

    // Event loop.
    /// Looks at the input for the first time; before the first tick.
    QmxVideoState begin();
    /// An error: the set-up describes nothing that could be set up.
    static QmxError check(const QmxVideoDeviceSetup &setup);
    /// Takes over one that has been checked.
    void setup(const QmxVideoDeviceSetup &setup);
    QmxVideoDeviceSetup currentSetup() const;
    void flush();
    int framesReadable() const;
    QmxError readFrame(QmxFrame &frame);
    int framesWritable() const;
    QmxError writeFrame(const QmxFrame &frame);
    void setProperty(const QmxId &key, const QVariant &value);
    QmxMetadataHash currentFrameMetadata() const;
    /// The receivers of a flush's report have sought: until the next frame is written the current one is
    /// that of the cache's position, so that what counts from it, like a step, does not count from a frame
    /// that has been left.
    void expectSought();
    QmxVideoRefState reference() const;
    QString stateString() const;
    bool isRecording() const;
    /// Number of the run that frames written now belong to: an older run's reports are void.
    quint64 newestRun() const;
    /// Number of the take that runs or comes next: an older one's losses are void.
    quint64 take() const;
    /// The daemon could take no note of a loss: it is told again when the frame after it has been read.
    void repeatCaptureDrop();

    // Clock thread.
    struct Rhythm
    {
        QmxVideoRate rate;
        bool twoFields = false;
    };
    Rhythm rhythm() const;
    void tick(const TickSchedule::Step &step, const QmxVideoRate &rate);

private:
    /// Late ticks of the last seconds, for the alarm.
    struct LateTicks
    {
        qint64 since = 0; ///< deadline of the first one of the present second
        qint64 last = 0;
        int count = 0;
        bool alarm = false;
    };

    /// What the sources gave for one tick.
    struct Seen
    {
        QmxSourceFrame input;     ///< of the watched input
        QmxSourceFrame generator; ///< of the internal generator, while it is used
        quint64 generation = 0;   ///< of the set-up for which it was taken
    };

    // lumenengine.cpp: set-ups and properties, locked.
    void setBounds(const QmxVideoDeviceSetup &setup);
    void applyCapture(const QmxVideoDeviceSetup &setup);
    void applyPlayback(const QmxVideoDeviceSetup &setup);
    void startCapture(const QmxVideoDeviceSetup &setup);
    void watch(const QmxVideoDeviceSetup &setup);
    void makeGenerator(const QmxVideoDeviceSetup &setup);
    void setDirection(const QmxId &direction);
    void lookAtWindow();
    void jam(const QmxTimecode &value);
    bool expectsSought() const;
    void push(DeviceEvent::Type type, quint64 serial = 0);

    // lumentick.cpp: clock thread.
    void tickFrame(const QmxTick &tick, bool visible);
    void missedFrames(qint64 count, const QmxTick &tick);
    void lateTick(const TickSchedule::Step &step);
    Seen takeSources(const QmxTick &tick);
    void observe(const Seen &seen, const QmxTick &tick);
    void tellInput(const QmxVideoState &state, bool always);
    void captureStep(const Seen &seen, const QmxTick &tick, QmxOutputFrame &output);
    void showOnly(const Seen &seen, QmxOutputFrame &output);
    bool pictureFits(const QmxSourceFrame &source, bool fromGenerator) const;
    QmxAudio capturedAudio(const Seen &seen, const QmxTick &tick, bool hasPicture) const;
    void playbackStep(const Seen &seen, QmxOutputFrame &output);
    // lumenalarms.cpp
    void pictureAlarm(const DecodedPicture &shown);
    void outputAlarm();
    void soundAlarm(const Seen &seen);
    void damageAlarm(const Seen &seen, const QmxTick &tick);
    void variableRateAlarm();
    bool waitsForWork(const CapturedFrame &frame) const;
    void routeInput(const Seen &seen, QmxOutputFrame &output) const;
    OutputStage::Work outputWork(QmxOutputFrame &output);
    void pushVbi(const QmxTimecode &timecode);
    void pushAlarm(const QmxId &id, QmxAlarm::AlarmLevel level, const QString &message, int line);
    void count(const Seen &seen, const QmxOutputFrame &output) const;
    void countDropped() const;
    QString superText(const QmxTimecode &timecode) const;

    // lumenwork.cpp: jobs. The post functions are called locked.
    void postCoding();
    void postDecoding();
    void postProcessing(const CapturedFramePtr &frame);
    void encode(CodecContexts &contexts, const CapturedFramePtr &frame);
    void decode(CodecContexts &contexts, const DecodedPicturePtr &picture);
    void process(CodecContexts &contexts, const CapturedFramePtr &frame, const QmxImageLut &table);
    void captureLost(qint64 frames = 1);
    void retire(std::unique_ptr<QmxSource> source);

    const LumenOptions _options;
    const LumenProfile _profile;
    const QmxEnvironment _environment;
    DeviceEvents &_events;

    mutable QmxPriorityMutex _mutex;
    // Guarded by _mutex.
    QmxVideoDeviceSetup _asked;                   ///< what currentSetup() says
    QmxVideoDeviceSetup _running;                 ///< in force
    std::optional<QmxVideoDeviceSetup> _deferred; ///< comes into force when the take is over
    bool _hasSetup = false;
    bool _playing = false;      ///< direction: playback; else capture
    bool _startPending = false; ///< hardwareStarted() with the next tick
    quint64 _generation = 1;    ///< changes with what captured frames look like
    CaptureQueue _capture;
    PlaybackQueue _playback;
    quint64 _soughtRun = 0; ///< begins with the frame at the cache's position; 0: none
    DecodedPictures _decoded;
    TimecodeGenerator _generator;
    RunningTimecode _runningTimecode;
    InputDetector _detector;
    InputReport _report;
    CapturedFramePtr _firstAfterLoss; ///< in a take: until it is coded the input has no timecode
    bool _lossInTake = false;
    qint64 _processedNumber = 0;
    QmxPicture _processed; ///< of the newest frame whose input conversion and table have been applied
    QmxMetadataHash _ancillary;
    QmxTimecode _inputTimecode;
    int _heldTimecodes = 0; ///< frames since the input has none any more
    QmxVideoRefState _reference;
    bool _takeRead = false; ///< a frame has been read while the direction is record
    quint64 _take = 0;
    bool _repeatDrop = false;
    bool _variableRateAlarm = false;
    bool _soundAlarm = false;
    /// Pictures of the input that came torn or not at all.
    struct Damage
    {
        qint64 torn = 0, missing = 0; ///< told by the source last
        qint64 tornBefore = 0, missingBefore = 0;
        qint64 since = 0; ///< the first one of those to be told; 0: none
        qint64 last = 0;
        bool alarm = false;
    };
    Damage _damage;
    QString _pictureAlarm;   ///< as told
    QString _pictureProblem; ///< of the picture on the output; the clock thread's, as the next
    QString _outputProblem;  ///< as told
    QmxId _direction;
    QString _clipName;
    qint64 _tickIndex = 0;
    int _watched = 0; ///< source id
    QmxId _inputConversion;
    QmxVideoDeviceSetup _described; ///< of which _connection tells
    QString _connection;
    TakeGate _gate;
    qint64 _takeFirst = -1; ///< index of the first frame of the take that runs or was the last
    QString _inputText;     ///< as the source said last; the clock thread's
    std::unique_ptr<QmxSource> _newInput;
    std::unique_ptr<QmxSource> _newGenerator;
    bool _dropGenerator = false;

    QmxTakeWindow::Board _window; ///< needs no guard

    // Clock thread.
    std::unique_ptr<QmxSource> _input;
    std::unique_ptr<QmxSource> _internal;
    OutputStage _output;
    QmxOutputFrame _last; ///< before conversion, without superimposed text
    qint64 _clockIndex = 0;
    LateTicks _late;

    RetiredSources _retired;

    // Last: the workers end before what they use.
    PictureWorkers _workers;
};
