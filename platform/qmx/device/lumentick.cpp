// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxframeshown.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
#include "platform/qmx/core/qmxmemorypool.h"
#include "platform/qmx/device/lumenengine.h"
#include "platform/qmx/device/outputformat.h"

#include <algorithm>
#include <cstdlib>

namespace {
/// Frames of a take that are captured late after a stall of the clock thread; more are lost.
constexpr qint64 mostCaughtUp = 12;
/// Ticks of the same picture after which it counts as one that stands; slow play shows others before.
constexpr int standsAfter = 8;

struct DirectionName
{
    QmxId direction;
    const char *text;
};
constexpr DirectionName directionNames[] = {
    {QmxIds::directionPlay, "PLAY"},      {QmxIds::directionStandby, "STOP"},
    {QmxIds::directionFastForward, "FF"}, {QmxIds::directionFastReverse, "REW"},
    {QmxIds::directionRecord, "REC"},     {QmxIds::directionStill, "STILL"},
};

QmxTimeStamp timeStamp(qint64 wallTime)
{
    timeval time;
    time.tv_sec = time_t(wallTime / QmxClock::nsPerSecond);
    time.tv_usec = suseconds_t(wallTime % QmxClock::nsPerSecond / 1000);
    return QmxTimeStamp(time);
}
} // namespace

void LumenEngine::tick(const TickSchedule::Step &step, const QmxVideoRate &rate)
{
    _environment.deck->counters.add(QmxCounters::Ticks);
    if (step.late)
        _environment.deck->counters.add(QmxCounters::LateTicks, std::max<qint64>(1, step.missedFrames));
    _alarms.tick(step);
    // A stall that ends at a frame's second field has missed its first one: the frame is made up for now.
    const bool startMissed = !step.frameStart && step.missedFrames > 0;
    if (!step.frameStart && !startMissed) {
        std::lock_guard lock(_mutex);
        if (_hasSetup) pushVbi(_last.timecode);
        return;
    }
    const qint64 before = startMissed ? step.missedFrames - 1 : step.missedFrames;
    QmxTick tick;
    tick.rate = rate;
    tick.deadline = step.deadline;
    if (startMissed) tick.deadline -= rate.nanoseconds(1) / 2;
    tick.index = _clockIndex + 1 + before;
    if (before > 0 && keepsAll()) missedFrames(before, tick);
    _clockIndex = tick.index;
    tickFrame(tick, true);
}

/// In a take, and while a take to come may begin with them, the frames whose moment has passed are captured
/// now, so that a stall of this thread loses none that the source still has. They are neither shown nor told.
void LumenEngine::missedFrames(qint64 count, const QmxTick &tick)
{
    if (count > mostCaughtUp) {
        std::lock_guard lock(_mutex);
        if (_capture.isRecording()) {
            _capture.noteLoss();
            captureLost(count - mostCaughtUp);
        }
        count = mostCaughtUp;
    }
    for (qint64 back = count; back > 0; --back) {
        QmxTick missed = tick;
        missed.index -= back;
        missed.deadline -= tick.rate.nanoseconds(back);
        tickFrame(missed, false);
    }
}

/// Time of day of a moment of the clock.
qint64 LumenEngine::wallOf(qint64 moment)
{
    constexpr qint64 longestLook = 100'000; // ns in which both clocks are read
    constexpr qint64 jump = 50 * QmxClock::nsPerMillisecond;
    const qint64 before = _environment.clock->now();
    const qint64 wall = _environment.clock->wallTime();
    const qint64 after = _environment.clock->now();
    const qint64 offset = wall - before - (after - before) / 2;
    // Held up in between: the difference found before is better, unless the clock has been set.
    if (_wallOffset == 0 || after - before < longestLook || std::llabs(offset - _wallOffset) > jump)
        _wallOffset = offset;
    return moment + _wallOffset;
}

/// Takes over what has been written of the start and the end of a take.
void LumenEngine::takeWish(qint64 wall)
{
    const QmxTakeOptions::Values wanted = _environment.deck->takeOptions.values();
    // A wish for the take after the one that runs waits for its end.
    const bool runs = _capture.isRecording() && _start.isSet();
    if (wanted.startSerial == _startSerial || (runs && !wanted.recordStart.isEmpty())) return;
    _startSerial = wanted.startSerial;
    if (!wanted.recordStart.isEmpty()) _startText = wanted.recordStart;
    const auto moment = [wall](const QString &text) {
        return QmxTakeMoment::parse(text, wall).value_or(QmxTakeMoment());
    };
    if (runs)
        _start.setEnd(moment(wanted.recordEnd));
    else
        _start.set(moment(wanted.recordStart), moment(wanted.recordEnd));
}

/// Looks whether this is the frame with which a take shall begin.
void LumenEngine::followStart(const CardInput &seen, const QmxTick &tick, qint64 wall)
{
    takeWish(wall);
    const QmxId source = _asked.timecodeInputSource();
    StartWatch::Frame frame{tick.index, wall, source == QmxIds::timecodeTimeOfDay, {}};
    if (_inputWatch.isGood(seen.input)) frame.timecode = seen.input.timecode;
    // A count that goes on with each take is nothing to wait for.
    const bool counts = !source.isValid() || source == QmxIds::timecodeGenerator;
    if (counts && !frame.timecode.isValid()) frame.byClock = true;
    const int kept = std::max(earlierFrames(), int(TakeGate::latestStart));
    _start.step(frame, tick.rate, kept);
    if (!_capture.isRecording() && _start.isPast(tick.index)) {
        qmxLogOutput(QmxLogLevel::Warning, "lumen", __LINE__,
                     "No take has begun at record_start, which is past now\n");
        _start.giveUp(tick.index);
        _environment.deck->takeOptions.spendStart(_startSerial);
    }
}

/// How much is kept for a take to come, from now on.
void LumenEngine::remember()
{
    if (_capture.isRecording()) return; // what the take began with may still wait
    int frames = earlierFrames();
    _gate.setKept(frames);
    if (_gate.in() || _start.window().isSet()) frames = std::max(frames, int(TakeGate::latestStart));
    const CaptureMemory::Bounds bounds{frames, frames > 0 ? _memoryBytes : 0};
    if (bounds == _capture.memory().bounds()) return;
    _capture.setMemory(bounds);
    QmxMemoryPool::instance()->setExtra(quint64(bounds.bytes));
}

void LumenEngine::tickFrame(const QmxTick &tick, bool visible)
{
    const CardInput seen = takeSources(tick);
    const qint64 wall = wallOf(tick.deadline);
    QmxOutputFrame output;
    output.tick = tick;
    OutputStage::Work work;
    qint64 takeFirst = -1;
    {
        std::lock_guard lock(_mutex);
        _tickIndex = tick.index;
        followStart(seen, tick, wall);
        lookAtWindow();
        observe(seen, tick);
        if (!_hasSetup) return;
        output.desc = _running.imageDesc();
        if (_playing && visible)
            playbackStep(seen, output);
        else if (!_playing)
            captureStep(seen, tick, output);
        if (!visible) return;
        inputAlarms(seen);
        _alarms.damage(seen.input, tick);
        if (_startPending) push(DeviceEvent::HardwareStarted);
        _startPending = false;
        pushVbi(output.timecode);
        work = outputWork(output);
        _repeats = output.isRepeat ? _repeats + 1 : 0;
        _divisor = _output.divisor(output.desc, work, _repeats >= standsAfter);
        _divisorRaster = QSize(output.desc.width(), output.desc.height());
        _coarsest = _output.coarsest(output.desc);
        work.divisor = _divisor;
        if (_playing) followShuttle(output);
        takeFirst = _takeFirst;
        count(seen, output);
    }
    _last = output;
    const int number = output.isCapture ? -1 : int(qmxFrameShown(output.metadata));
    _window.tell({tick.index, number, takeFirst, tick.deadline, tick.rate.nanoseconds(1), output.timecode});
    countDropped();
    _output.show(output, work);
    if (output.isCapture) _alarms.picture(nullptr);
    _alarms.output(_output.problem());
}

/// What is to be done to the picture on its way to the outputs.
OutputStage::Work LumenEngine::outputWork(QmxOutputFrame &output)
{
    if (_described != _running || _connection.isEmpty()) {
        _described = _running;
        _connection = OutputFormat::describe(_running);
    }
    output.connection = _connection;
    constexpr int askEvery = 8; // ticks
    if (output.tick.index % askEvery == 0 || _inputText.isEmpty()) _inputText = _input->statusText();
    output.input = _inputText;
    return {OutputFormat::shown(output.desc, _running), superText(output.timecode)};
}

CardInput LumenEngine::takeSources(const QmxTick &tick)
{
    std::unique_ptr<QmxSource> oldInput;
    std::unique_ptr<QmxSource> oldGenerator;
    CardInput seen;
    QmxId conversion;
    {
        std::lock_guard lock(_mutex);
        conversion = _inputConversion;
        seen.generation = _generation;
        if (_newInput) {
            oldInput = std::move(_input);
            _input = std::move(_newInput);
        }
        if (_newGenerator || _dropGenerator) {
            oldGenerator = std::move(_internal);
            _internal = std::move(_newGenerator);
            _dropGenerator = false;
        }
    }
    retire(std::move(oldInput));
    retire(std::move(oldGenerator));
    seen.input = _input->take(tick);
    seen.input.state.setCaptureImageDesc(
        OutputFormat::converted(seen.input.state.captureImageDesc(), conversion));
    if (_internal) seen.generator = _internal->take(tick);
    return seen;
}

/// Looks at the input, whatever the device is doing: state, ancillary data, timecode, reference.
void LumenEngine::observe(const CardInput &seen, const QmxTick &tick)
{
    const InputWatch::News news =
        _inputWatch.step(seen.input, tick, _running.videoInputIgnoreANC(), _capture.holdsTimecode());
    if (news.state) pushInput(*news.state);
    if (news.ancillary) {
        DeviceEvent event;
        event.type = DeviceEvent::AncillaryChanged;
        event.metadata = *news.ancillary;
        _events.push(event);
    }
    remember();
    _capture.setRunningSince(_inputWatch.runningSince(), tick.index);
}

void LumenEngine::captureStep(const CardInput &seen, const QmxTick &tick, QmxOutputFrame &output)
{
    output.isCapture = true;
    _lastPicture.reset();
    if (_capture.isRecording() && _gate.keepsOut(tick.index)) {
        _capture.passOver();
        showOnly(seen, output);
        return;
    }
    // Taken for another set-up than the one in force now: begins with the next tick.
    if (seen.generation != _generation || tick.rate != _running.imageDesc().frameRate()) return;
    const CapturedFramePtr frame =
        _capture.step(seen, tick, _running, _inputWatch.isGood(seen.input), _inputWatch.ancillary());
    if (frame->waitsForWork)
        postProcessing(frame);
    else
        _capture.show(*frame);
    // The input was no good when the set-up was made: nothing of it is shown before the next one.
    if (!_running.blackingEnabled() || _running.videoInputSource() == QmxIds::internalGenerator) {
        output.picture = _capture.picture();
        output.audio = frame->audio;
    }
    output.timecode = frame->timecode;
    output.metadata = frame->metadata;
    if (_capture.push(frame)) captureLost();
    postCoding();
}

/// A frame that no take holds.
void LumenEngine::showOnly(const CardInput &seen, QmxOutputFrame &output)
{
    const bool internal = _running.videoInputSource() == QmxIds::internalGenerator;
    output.picture = CaptureChain::fitting(seen, _running, _inputWatch.isGood(seen.input));
    output.audio = internal ? seen.generator.audio : seen.input.audio;
    output.timecode = _last.timecode;
    output.metadata = _inputWatch.ancillary();
}

void LumenEngine::inputAlarms(const CardInput &seen)
{
    const bool internal = _running.videoInputSource() == QmxIds::internalGenerator;
    const bool rateMissing = !_playing && _running.forceVFRRecord() && !internal &&
                             _inputWatch.state().isValid() && _inputWatch.state().vfrfps() == 0;
    if (_alarms.variableRate(rateMissing)) {
        DeviceEvent event;
        event.type = DeviceEvent::VariableRate;
        event.on = rateMissing;
        _events.push(event);
    }
    const bool usesInput = !_playing && _running.audioDesc().isValid() &&
                           _running.audioInputSource() != QmxIds::internalGenerator;
    _alarms.sound(usesInput && seen.input.soundMissing);
}

void LumenEngine::pushVbi(const QmxTimecode &timecode)
{
    DeviceEvent event;
    event.type = DeviceEvent::Vbi;
    event.vbi = QmxVbiInfo(timecode, _inputWatch.timecode(), timeStamp(_environment.clock->wallTime()));
    _events.push(event);
}

QString LumenEngine::superText(const QmxTimecode &timecode) const
{
    const QmxId kind = _running.superOut();
    if (kind == QmxIds::superTimecode) return timecode.toString();
    if (kind == QmxIds::superTimecodeClip) return timecode.toString() + QLatin1Char(' ') + _clipName;
    if (kind != QmxIds::superTimecodeStatus) return {};
    const auto *name = std::find_if(std::begin(directionNames), std::end(directionNames),
                                    [this](const DirectionName &row) { return row.direction == _direction; });
    const char *status = name == std::end(directionNames) ? "" : name->text;
    return timecode.toString() + QLatin1Char(' ') + QLatin1String(status);
}

void LumenEngine::countDropped() const
{
    _environment.deck->counters.set(QmxCounters::PreviewDropped, _output.previewDropped());
    _environment.deck->counters.set(QmxCounters::OutputDropped, _output.outputDropped());
}

void LumenEngine::count(const CardInput &seen, const QmxOutputFrame &output) const
{
    QmxCounters *counters = &_environment.deck->counters;
    counters->set(QmxCounters::SourceRepeats, seen.input.repeated);
    counters->set(QmxCounters::SourceSkips, seen.input.skipped);
    counters->set(QmxCounters::InputTorn, seen.input.torn);
    counters->set(QmxCounters::InputMissing, seen.input.missing);
    counters->set(QmxCounters::CaptureQueue, _capture.size());
    counters->set(QmxCounters::PreRecordFrames, _capture.memory().size());
    counters->set(QmxCounters::PreRecordBytes, _capture.memory().bytes());
    counters->set(QmxCounters::PreRecordLimit, _memoryBytes);
    counters->set(QmxCounters::PreRecordRestarts, _capture.memory().restarts());
    counters->set(QmxCounters::PlaybackQueue, _playback.frames());
    if (!_playing) {
        counters->set(QmxCounters::LiveDistance, -1);
        counters->add(QmxCounters::FramesIn);
        return;
    }
    counters->add(output.isRepeat ? QmxCounters::FramesRepeated : QmxCounters::FramesShown);
    const qint64 frame = qMax<qint64>(0, qmxFrameShown(output.metadata));
    counters->set(QmxCounters::FrameOnOutput, frame);
    const bool grows = counters->value(QmxCounters::MaterialGrows) != 0;
    counters->set(QmxCounters::LiveDistance,
                  grows ? counters->value(QmxCounters::MaterialFrames) - 1 - frame : -1);
    if (!output.isRepeat)
        _environment.deck->playhead.setTimecodeShown(
            output.metadata.value(QmxIds::timecode).value<QmxTimecode>());
    const QVariant position = output.metadata.value(QmxIds::listPosition);
    counters->set(QmxCounters::ListEntryOnOutput, position.canConvert<int>() ? position.toInt() : -1);
}
