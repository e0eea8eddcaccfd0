// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxprioritymutex.h"
#include "platform/qmx/device/capturechain.h"
#include "platform/qmx/device/cardalarms.h"
#include "platform/qmx/device/deviceevents.h"
#include "platform/qmx/device/inputwatch.h"
#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/device/outputstage.h"
#include "platform/qmx/device/playbackchain.h"
#include "platform/qmx/device/retiredsources.h"
#include "platform/qmx/device/shuttlesize.h"
#include "platform/qmx/device/startwatch.h"
#include "platform/qmx/device/takegate.h"
#include "platform/qmx/device/tickschedule.h"

#include <functional>
#include <mutex>
#include <vector>

/// The software video card without its clock: what one tick does, and what its owner asks of it. What it
/// knows of the input, of capture and of playback are machines of their own (InputWatch, CaptureChain,
/// PlaybackChain, CardAlarms); here they meet sources, outputs, workers and the event loop.
///
/// Threads. The event loop calls everything under "event loop"; the clock thread calls tick() and nothing
/// else; the workers come back through private functions. One mutex guards the machines but for CardAlarms,
/// and is held for handles only, never while a picture is touched; the alarms, sources and sinks are the
/// clock thread's own and are called without it. What happens goes out as DeviceEvents.
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
    // lumensetup.cpp: set-ups, locked.
    void setBounds(const QmxVideoDeviceSetup &setup);
    void applyCapture(const QmxVideoDeviceSetup &setup);
    void applyPlayback(const QmxVideoDeviceSetup &setup);
    void startCapture(const QmxVideoDeviceSetup &setup);
    void watch(const QmxVideoDeviceSetup &setup);
    void makeGenerator(const QmxVideoDeviceSetup &setup);

    // lumenengine.cpp: properties, locked.
    void setDirection(const QmxId &direction);
    void lookAtWindow();
    int earlierFrames() const;
    void takeWish(qint64 wall);
    void tellLate(qint64 number, QmxFrame &first);
    void jam(const QmxTimecode &value);
    void push(DeviceEvent::Type type, quint64 serial = 0);
    void pushInput(const QmxVideoState &state);

    // lumentick.cpp: clock thread.
    bool keepsAll() const;
    void remember();
    qint64 wallOf(qint64 moment);
    void followStart(const CardInput &seen, const QmxTick &tick, qint64 wall);
    void tickFrame(const QmxTick &tick, bool visible);
    void missedFrames(qint64 count, const QmxTick &tick);
    CardInput takeSources(const QmxTick &tick);
    void observe(const CardInput &seen, const QmxTick &tick);
    void captureStep(const CardInput &seen, const QmxTick &tick, QmxOutputFrame &output);
    void showOnly(const CardInput &seen, QmxOutputFrame &output);
    void inputAlarms(const CardInput &seen);
    OutputStage::Work outputWork(QmxOutputFrame &output);
    void pushVbi(const QmxTimecode &timecode);
    void count(const CardInput &seen, const QmxOutputFrame &output) const;
    void countDropped() const;
    QString superText(const QmxTimecode &timecode) const;

    // lumenplay.cpp: clock thread and, but for the first four, workers and event loop; locked.
    void playbackStep(const CardInput &seen, QmxOutputFrame &output);
    void put(const DecodedPicturePtr &picture, QmxOutputFrame &output);
    void routeInput(const CardInput &seen, QmxOutputFrame &output) const;
    void followShuttle(const QmxOutputFrame &output);
    bool followsLive() const;
    bool isShuttle() const;
    int divisorFor(const DecodedPicture &picture) const;
    void refine(const DecodedPicturePtr &picture);

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
    int _divisor = 1;           ///< how many times smaller decoded pictures of this raster may be
    QSize _divisorRaster;
    int _coarsest = 1; ///< the same in fast play, where there is no time for more
    ShuttleSize _shuttle;
    bool _isLate = false;    ///< the last tick's picture waits to be decoded
    int _inOrder = 0;        ///< ticks of playback in a row that each showed the next frame
    int _repeats = 0;        ///< ticks in which the output has shown the same
    quint64 _generation = 1; ///< changes with what captured frames look like
    InputWatch _inputWatch;
    CaptureChain _capture;
    PlaybackChain _playback;
    StartWatch _start;
    quint32 _startSerial = 0; ///< of the wish that _start has got
    QString _startText;       ///< of the last start that was wished for
    bool _lateTold = false;   ///< the alarm about a late start is up
    qint64 _startIn = 0;      ///< frames, as told
    TakeGate _gate;
    qint64 _lostMeanwhile = 0; ///< frames, while an operation was in progress; the take's when it goes on
    qint64 _takeFirst = -1;    ///< index of the first frame of the take that runs or was the last
    QmxId _direction;
    QString _clipName;
    qint64 _tickIndex = 0;
    int _watched = 0; ///< source id
    QmxId _inputConversion;
    QmxVideoDeviceSetup _described; ///< of which _connection tells
    QString _connection;
    std::unique_ptr<QmxSource> _newInput;
    std::unique_ptr<QmxSource> _newGenerator;
    bool _dropGenerator = false;

    QmxTakeWindow::Board _window; ///< needs no guard

    // Clock thread.
    std::unique_ptr<QmxSource> _input;
    std::unique_ptr<QmxSource> _internal;
    OutputStage _output;
    QmxOutputFrame _last;           ///< before conversion, without superimposed text
    DecodedPicturePtr _lastPicture; ///< what it shows of a clip
    qint64 _clockIndex = 0;
    qint64 _wallOffset = 0; ///< from the clock's time to the time of day; 0: not known yet
    CardAlarms _alarms;
    QString _inputText; ///< as the source said last

    RetiredSources _retired;
    const qint64 _memoryBytes;
    qint64 _backlogBytes = 0; ///< may wait for a coder or for the output

    // Last: the workers end before what they use.
    PictureWorkers _workers;
};
