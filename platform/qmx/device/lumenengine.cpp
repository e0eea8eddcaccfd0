// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/lumenengine.h"

#include "platform/qmx/core/qmx.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxmemorypool.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <thread>
#include <utility>

namespace {
constexpr const char *logSource = "lumen";
constexpr int leastWorkers = 2;
/// Rate before the first set-up, when only the input is watched.
constexpr int idleRate = 25;

int workerCount(const LumenProfile &profile)
{
    if (profile.workers > 0) return profile.workers;
    return std::max(leastWorkers, int(std::thread::hardware_concurrency()));
}

/// What the frames that a take to come may begin with may fill, beside all else.
qint64 memoryBytes()
{
    QmxMemoryPool::UsageData usage;
    QmxMemoryPool::instance()->getUsageData(usage);
    return CaptureMemory::affordable(qint64(Qmx::totalSystemMemorySize()), qint64(usage.totalSize));
}

/// The preview first.
std::vector<std::unique_ptr<QmxSink>> makeSinks(const LumenOptions &options, const LumenProfile &profile,
                                                const QmxEnvironment &environment)
{
    std::vector<std::unique_ptr<QmxSink>> sinks;
    sinks.push_back(options.createSink(QStringLiteral("preview:"), environment));
    for (const auto &[name, locator] : profile.outputs)
        if (locator != QLatin1String("preview") && locator != QLatin1String("preview:"))
            sinks.push_back(options.createSink(locator, environment));
    return sinks;
}

QmxId toId(const QVariant &value)
{
    return value.metaType() == QMetaType::fromType<QmxId>() ? value.value<QmxId>() : QmxId(value.toInt());
}
} // namespace

LumenEngine::LumenEngine(const LumenOptions &options, const QmxEnvironment &environment, DeviceEvents &events)
    : _options(options),
      _profile(options.profile ? *options.profile
                               : LumenProfile::load(environment.places->profile, environment)),
      _environment(environment),
      _events(events),
      _inputWatch(_profile.reference),
      _capture(_profile.wideChannels),
      _output(makeSinks(options, _profile, environment), environment),
      _alarms([this](const QmxAlarm &alarm) {
          DeviceEvent event;
          event.type = DeviceEvent::Alarm;
          event.alarm = alarm;
          _events.push(event);
      }),
      _retired(environment),
      _memoryBytes(memoryBytes()),
      _workers(workerCount(_profile), options.codecsFor(_profile), environment)
{
    if (!options.profile && !_window.publish())
        // (Another recorder of this machine may have them: nothing is wrong then.)
        qmxLogOutput(errno == EBUSY ? QmxLogLevel::Info : QmxLogLevel::Warning, logSource, __LINE__,
                     "Edits by remote control are not possible: no shared memory: %s\n",
                     qUtf8Printable(QmxError(errno).toString()));
}

LumenEngine::~LumenEngine()
{
    for (std::unique_ptr<QmxSource> *source : {&_input, &_internal, &_newInput, &_newGenerator})
        retire(std::move(*source));
}

QmxVideoState LumenEngine::begin()
{
    _watched = QmxIds::firstInput.value();
    _input = _options.createSource(_profile.input(_watched), _environment);
    QmxTick tick;
    tick.deadline = _environment.clock->now();
    tick.rate = QmxVideoRate(idleRate);
    const QmxSourceFrame found = _input->take(tick);
    std::lock_guard lock(_mutex);
    _inputWatch.begin(found);
    return found.state;
}

void LumenEngine::push(DeviceEvent::Type type, quint64 serial)
{
    DeviceEvent event;
    event.type = type;
    event.serial = serial;
    _events.push(event);
}

void LumenEngine::pushInput(const QmxVideoState &state)
{
    DeviceEvent event;
    event.type = DeviceEvent::InputChanged;
    event.state = state;
    _events.push(event);
}

QmxVideoDeviceSetup LumenEngine::currentSetup() const
{
    std::lock_guard lock(_mutex);
    return _asked;
}

void LumenEngine::flush()
{
    std::lock_guard lock(_mutex);
    if (_playing)
        _playback.flush();
    else
        _capture.flush();
}

void LumenEngine::expectSought()
{
    std::lock_guard lock(_mutex);
    if (_playing) _playback.expectSought();
}

int LumenEngine::framesReadable() const
{
    std::lock_guard lock(_mutex);
    return _capture.readable();
}

QmxError LumenEngine::readFrame(QmxFrame &frame)
{
    QmxTimecode timecode;
    bool spent = false;
    quint32 startSerial = 0;
    {
        std::lock_guard lock(_mutex);
        const CaptureChain::Reading reading = _capture.read();
        if (!reading.frame) return {EAGAIN, QStringLiteral("No captured frame waits")};
        frame = reading.frame->toFrame();
        if (!reading.inTake) return {};
        if (reading.beginsTake) {
            _inputWatch.takeBegins();
            _takeFirst = reading.frame->number;
            _gate.takeBegins(_takeFirst);
            spent = _start.isSet();
            startSerial = _startSerial;
            tellLate(reading.frame->number, frame);
        }
        timecode = reading.frame->timecode;
        if (_lostMeanwhile > 0)
            _environment.deck->counters.add(QmxCounters::FramesDroppedCapture,
                                            std::exchange(_lostMeanwhile, 0));
        _environment.deck->counters.add(QmxCounters::FramesRecorded);
        if (reading.tellsLoss) push(DeviceEvent::CaptureDropped, _capture.take());
    }
    _environment.deck->recordTable.frameHandedOut(timecode);
    if (spent) _environment.deck->takeOptions.spendStart(startSerial);
    return {};
}

/// A take begins with this frame: whether that is the one that was asked for.
void LumenEngine::tellLate(qint64 number, QmxFrame &first)
{
    const qint64 late = std::max<qint64>(number - _start.asked().value_or(number), 0);
    _environment.deck->counters.set(QmxCounters::StartLate, late);
    QString text;
    if (late > 0) {
        first.meta().insert(QmxIds::lateStart, QJsonObject{{"asked", _startText}, {"frames", late}});
        const QmxVideoRate rate = _running.imageDesc().frameRate();
        text =
            QStringLiteral("The take was to begin with %1 and begins %2 frames (%3 s) behind it: its command "
                           "came when that frame was not in memory any more")
                .arg(_startText)
                .arg(late)
                .arg(double(rate.nanoseconds(late)) / double(QmxClock::nsPerSecond), 0, 'f', 2);
    }
    if (text.isEmpty() && !_lateTold) return;
    _lateTold = !text.isEmpty();
    DeviceEvent event;
    event.type = DeviceEvent::Alarm;
    event.alarm = QmxAlarm(QmxIds::alarmStartLate, _lateTold ? QmxAlarm::Warning : QmxAlarm::Clear, text,
                           QLatin1String(logSource), __LINE__);
    _events.push(event);
}

int LumenEngine::framesWritable() const
{
    std::lock_guard lock(_mutex);
    if (!_hasSetup) return 0;
    return _playing ? _playback.room(_asked.maxBuffers(), _backlogBytes) : std::max(0, _asked.maxBuffers());
}

QmxError LumenEngine::writeFrame(const QmxFrame &frame)
{
    std::lock_guard lock(_mutex);
    if (!_playing) return {EPERM, QStringLiteral("The video device is not set up for playback")};
    if (_playback.room(_asked.maxBuffers(), _backlogBytes) == 0)
        return {EAGAIN, QStringLiteral("The playback queue of the video device is full")};
    if (_playback.write(frame, _asked.outputLut(), _environment.clock->now(), isShuttle()))
        push(DeviceEvent::PlaybackDropped, _playback.newestRun());
    // At once: whoever writes looks at it between two frames.
    _environment.deck->counters.set(QmxCounters::PlaybackQueue, _playback.frames());
    postDecoding();
    return {};
}

void LumenEngine::setProperty(const QmxId &key, const QVariant &value)
{
    std::lock_guard lock(_mutex);
    if (key == QmxIds::direction)
        setDirection(toId(value));
    else if (key == QmxIds::timecodeJam)
        jam(value.value<QmxTimecode>());
    else if (key == QmxIds::clipName)
        _clipName = value.toString();
    // The reel name (key 23) has no place on a software card: the clip's file carries it.
}

void LumenEngine::lookAtWindow()
{
    const QmxTakeWindow::Window start = _start.window();
    const QmxTakeWindow::Window told = _window.window();
    QmxTakeWindow::Window set = start.isSet() ? start : told;
    // A take that began at a given frame has an open end, which somebody who names its first frame may set.
    // (Not while it waits for that frame: what is told then is the end of the take before.)
    if (start.isSet() && start.out == 0 && told.out > 0 && told.in > 0 && told.in == _gate.first())
        set = {told.serial, start.in, told.out};
    if (_gate.look(set, _tickIndex, _capture.isRecording(), start.isSet())) _capture.noteLoss();
    const bool waits = _capture.isRecording() && _gate.first() == 0;
    const qint64 startIn = waits ? std::max<qint64>(_gate.in().value_or(0) - _tickIndex, 0) : 0;
    if (std::exchange(_startIn, startIn) != startIn)
        _environment.deck->counters.set(QmxCounters::StartIn, startIn);
}

void LumenEngine::setDirection(const QmxId &direction)
{
    _direction = direction;
    _environment.deck->playhead.setStill(direction == QmxIds::directionStill);
    const bool record = direction == QmxIds::directionRecord;
    if (record && !_capture.isRecording()) {
        // It may have been written right before the command.
        takeWish(_environment.clock->wallTime());
        _start.takeBegins(_tickIndex);
        lookAtWindow();
    }
    if (!_capture.setRecord(record, _tickIndex, {_gate.in(), earlierFrames()})) return;
    if (record) {
        // Until its clip is open nothing of the take before shall be taken for it.
        _environment.deck->counters.set(QmxCounters::CurrentClipFrames, 0);
        _environment.deck->counters.set(QmxCounters::RecordedUpTo, 0);
        _environment.deck->recordTable.takeBegins({_capture.size(), _capture.codedBytes()});
        postCoding();
        return;
    }
    _lostMeanwhile = 0; // none of the take's: it was closed when they came
    _environment.deck->recordTable.takeEnds();
    _gate.takeEnds();
    _start.set({}, {});
    if (const auto state = _inputWatch.takeEnds()) pushInput(*state);
    if (!_deferred) return;
    const QmxVideoDeviceSetup deferred = *_deferred;
    _deferred.reset();
    startCapture(deferred);
}

/// So many frames of before its command a take begins with.
int LumenEngine::earlierFrames() const
{
    const auto seconds = int(_environment.deck->takeOptions.values().preRecord.count());
    return int(std::lround(_running.imageDesc().frameRate().toDouble() * seconds));
}

void LumenEngine::jam(const QmxTimecode &value)
{
    if (!value.isValid()) return;
    const bool isTimeOfDay = _asked.timecodeInputSource() == QmxIds::timecodeTimeOfDay;
    QmxTimecode asked = value;
    if (isTimeOfDay && _capture.isRecording() && _gate.in()) {
        // The first frame carries exactly what the operator asked for.
        const qint64 newest = _capture.size() > 0 ? _tickIndex : _tickIndex + 1;
        asked = _start.timecodeAt(newest, value.fps()).value_or(value);
        asked.setDropFrame(value.isDropFrame());
    }
    _capture.jam(asked, _environment.deck->recordTable.memory(), isTimeOfDay);
}

QmxMetadataHash LumenEngine::currentFrameMetadata() const
{
    QmxPlayhead *playhead = &_environment.deck->playhead;
    {
        std::lock_guard lock(_mutex);
        const std::optional<QmxFrame> frame = _playing ? _playback.current() : std::nullopt;
        if (frame && frame->origin() == playhead->origin()) return std::as_const(*frame).meta();
    }
    QmxMetadataHash metadata;
    metadata.insert(QmxIds::frameNumber, playhead->position());
    return metadata;
}

QmxVideoRefState LumenEngine::reference() const
{
    std::lock_guard lock(_mutex);
    return _inputWatch.reference(_asked.inputRefSource());
}

QString LumenEngine::stateString() const
{
    std::lock_guard lock(_mutex);
    if (!_hasSetup) return QStringLiteral("idle");
    if (_playing) return QStringLiteral("playback");
    return _capture.isRecording() ? QStringLiteral("record") : QStringLiteral("capture");
}

bool LumenEngine::isRecording() const
{
    std::lock_guard lock(_mutex);
    return _capture.isRecording();
}

bool LumenEngine::keepsAll() const
{
    std::lock_guard lock(_mutex);
    return _capture.isRecording() || (!_playing && _capture.memory().isOn());
}

quint64 LumenEngine::newestRun() const
{
    std::lock_guard lock(_mutex);
    return _playback.newestRun();
}

quint64 LumenEngine::take() const
{
    std::lock_guard lock(_mutex);
    return _capture.take();
}

void LumenEngine::repeatCaptureDrop()
{
    std::lock_guard lock(_mutex);
    _capture.repeatLoss();
}

LumenEngine::Rhythm LumenEngine::rhythm() const
{
    std::lock_guard lock(_mutex);
    if (!_hasSetup) return {QmxVideoRate(idleRate), false};
    return {_running.imageDesc().frameRate(), _running.imageDesc().isInterlaced()};
}
