// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/lumenengine.h"
#include "platform/qmx/device/outputformat.h"

#include <algorithm>

namespace {
/// Frames of a take that are captured late after a stall of the clock thread; more are lost.
constexpr qint64 mostCaughtUp = 12;
/// Frames for which a timecode that has gone stands still: what six observations of a standstill take when
/// each second one counts as the repeat of an interlaced frame.
constexpr int mostHeldTimecodes = 14;
/// Late ticks within a second that raise the alarm; it is cleared after a quiet time.
constexpr int lateForAlarm = 5;
constexpr qint64 lateQuietTime = 5 * QmxClock::nsPerSecond;
/// Channels of a set-up that stand for all that the profile wants.
constexpr int eight = 8;
constexpr const char *alarmSource = "lumen";

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

/// May be the name of a file in a folder, with room for an ending.
bool isClipName(const QString &name)
{
    constexpr qsizetype mostBytes = 240;
    return !name.isEmpty() && !name.startsWith('.') && !name.contains('/') && !name.contains(QChar(0)) &&
           name.toLocal8Bit().size() <= mostBytes;
}

bool sameFormat(const QmxImageDesc &a, const QmxImageDesc &b)
{
    return a.width() == b.width() && a.height() == b.height() && a.frameRate() == b.frameRate() &&
           a.scanMode() == b.scanMode();
}
} // namespace

void LumenEngine::tick(const TickSchedule::Step &step, const QmxVideoRate &rate)
{
    _environment.deck->counters.add(QmxCounters::Ticks);
    lateTick(step);
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
    if (before > 0 && isRecording()) missedFrames(before, tick);
    _clockIndex = tick.index;
    tickFrame(tick, true);
}

/// In a take the frames whose moment has passed are captured now, so that a stall of this thread loses none
/// that the source still has. They are neither shown nor told.
void LumenEngine::missedFrames(qint64 count, const QmxTick &tick)
{
    if (count > mostCaughtUp) {
        std::lock_guard lock(_mutex);
        _capture.noteLoss();
        captureLost(count - mostCaughtUp);
        count = mostCaughtUp;
    }
    for (qint64 back = count; back > 0; --back) {
        QmxTick missed = tick;
        missed.index -= back;
        missed.deadline -= tick.rate.nanoseconds(back);
        tickFrame(missed, false);
    }
}

void LumenEngine::lateTick(const TickSchedule::Step &step)
{
    if (step.late) {
        _environment.deck->counters.add(QmxCounters::LateTicks, std::max<qint64>(1, step.missedFrames));
        if (step.deadline - _late.since > QmxClock::nsPerSecond) {
            _late.since = step.deadline;
            _late.count = 0;
        }
        _late.last = step.deadline;
        _late.count += int(std::max<qint64>(1, step.missedFrames));
    }
    const bool alarm =
        _late.alarm ? step.deadline - _late.last < lateQuietTime : step.late && _late.count >= lateForAlarm;
    if (alarm == _late.alarm) return;
    _late.alarm = alarm;
    pushAlarm(QmxIds::alarmClockLate, alarm ? QmxAlarm::Warning : QmxAlarm::Clear,
              alarm ? QStringLiteral("The machine is too slow: %1 ticks of the video clock were late")
                          .arg(_late.count)
                    : QString(),
              __LINE__);
}

void LumenEngine::pushAlarm(const QmxId &id, QmxAlarm::AlarmLevel level, const QString &message, int line)
{
    DeviceEvent event;
    event.type = DeviceEvent::Alarm;
    event.alarm = QmxAlarm(id, level, message, QLatin1String(alarmSource), line);
    _events.push(event);
}

void LumenEngine::tickFrame(const QmxTick &tick, bool visible)
{
    const Seen seen = takeSources(tick);
    QmxOutputFrame output;
    output.tick = tick;
    OutputStage::Work work;
    qint64 takeFirst = -1;
    {
        std::lock_guard lock(_mutex);
        _tickIndex = tick.index;
        lookAtWindow();
        observe(seen, tick);
        if (!_hasSetup) return;
        output.desc = _running.imageDesc();
        if (_playing && visible)
            playbackStep(seen, output);
        else if (!_playing)
            captureStep(seen, tick, output);
        if (!visible) return;
        variableRateAlarm();
        soundAlarm(seen);
        damageAlarm(seen, tick);
        if (_startPending) push(DeviceEvent::HardwareStarted);
        _startPending = false;
        pushVbi(output.timecode);
        work = outputWork(output);
        takeFirst = _takeFirst;
        count(seen, output);
    }
    _last = output;
    const QVariant number = output.isCapture ? QVariant() : output.metadata.value(QmxIds::frameNumber);
    _window.tell({tick.index, number.isValid() ? number.toInt() : -1, takeFirst});
    countDropped();
    _output.show(output, work);
    if (output.isCapture) _pictureProblem.clear();
    outputAlarm();
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

LumenEngine::Seen LumenEngine::takeSources(const QmxTick &tick)
{
    std::unique_ptr<QmxSource> oldInput;
    std::unique_ptr<QmxSource> oldGenerator;
    Seen seen;
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
void LumenEngine::observe(const Seen &seen, const QmxTick &tick)
{
    _reference = seen.input.reference.value_or(_profile.reference);
    const bool wasUnknown = _detector.isUnknown();
    if (const auto state = _detector.step(seen.input.state, tick.deadline)) tellInput(*state, wasUnknown);

    QmxMetadataHash ancillary = _running.videoInputIgnoreANC() ? QmxMetadataHash() : seen.input.metadata;
    // A path is made of it, and it comes from a camera.
    if (const QVariant name = ancillary.value(QmxIds::recordName);
        name.isValid() && !isClipName(name.toString()))
        ancillary.remove(QmxIds::recordName);
    if (ancillary != _ancillary) {
        _ancillary = ancillary;
        DeviceEvent event;
        event.type = DeviceEvent::AncillaryChanged;
        event.metadata = ancillary;
        _events.push(event);
    }

    // Record on running timecode must not fire before record is possible: no timecode before the input's
    // return has been told, in a take before the first picture after the loss can be read.
    const bool waits = _firstAfterLoss && _firstAfterLoss->coding != CapturedFrame::Coded;
    if (!waits) _firstAfterLoss.reset();
    const bool good = _detector.isGood(seen.input.state) && !_lossInTake && !waits;
    const QmxTimecode timecode = good ? seen.input.timecode : QmxTimecode();
    // One that goes away stands still first. Who watches whether it runs needs a value to compare with: of
    // one that is simply gone it would see a single interval, and neither the stop nor the next start.
    _heldTimecodes = timecode.isValid() || !_inputTimecode.isValid() ? 0 : _heldTimecodes + 1;
    if (_heldTimecodes == 0 || _heldTimecodes > mostHeldTimecodes) _inputTimecode = timecode;
    _runningTimecode.step(tick.index, _inputTimecode);
    _capture.setRunningSince(_gate.in() ? _gate.in() : _runningTimecode.runningSince(), tick.index);
}

void LumenEngine::tellInput(const QmxVideoState &state, bool always)
{
    if (!_report.changed(state, always)) return;
    DeviceEvent event;
    event.type = DeviceEvent::InputChanged;
    event.state = state;
    _events.push(event);
}

bool LumenEngine::pictureFits(const QmxSourceFrame &source, bool fromGenerator) const
{
    if (!source.picture.isValid()) return false;
    const QmxImageDesc desc = _running.imageDesc();
    // Only the conversion that was asked for changes a size; nothing is bent to fit.
    const bool converts = !fromGenerator && !source.state.recInhibit().isValid();
    const QmxImageDesc signal = converts ? source.state.inputImageDesc() : desc;
    if (source.picture.size() != QSize(signal.width(), signal.height())) return false;
    return fromGenerator ||
           (_detector.isGood(source.state) && sameFormat(source.state.captureImageDesc(), desc));
}

/// Something is to be done to the picture before it can be coded.
bool LumenEngine::waitsForWork(const CapturedFrame &frame) const
{
    return frame.hasPicture && (_running.inputLut().isValid() ||
                                frame.picture.size() != QSize(frame.desc.width(), frame.desc.height()));
}

/// The sound of a captured frame in the form that the set-up wants: the first channels of the source, or
/// silence of the exact length. Eight may stand for more: all that an input has.
QmxAudio LumenEngine::capturedAudio(const Seen &seen, const QmxTick &tick, bool hasPicture) const
{
    QmxAudioDesc desc = _running.audioDesc();
    if (!desc.isValid()) return {};
    if (desc.channels() == eight) desc.setChannels(_profile.wideChannels);
    const bool internal = _running.audioInputSource() == QmxIds::internalGenerator;
    const QmxAudio &source = internal ? seen.generator.audio : seen.input.audio;
    const int samples = qmxAudioSamples(tick.index, tick.rate);
    // A source may keep the cadence of its own frames, which differs by a sample.
    const bool fits = source.isValid() && std::abs(source.samples() - samples) <= 1;
    if (!fits || (!internal && (!hasPicture || !_detector.isGood(seen.input.state))))
        return QmxAudio::silence(desc, samples);
    const int from = source.desc().channels();
    const int to = desc.channels();
    QmxBuffer buffer = QmxBuffer::allocate(qsizetype(source.samples()) * to * qsizetype(sizeof(qint32)));
    if (!buffer.isValid()) return QmxAudio(desc);
    auto *sample = reinterpret_cast<qint32 *>(buffer.data());
    for (int i = 0; i < source.samples(); ++i)
        for (int channel = 0; channel < to; ++channel)
            *sample++ = channel < from ? source.data()[i * from + channel] : 0;
    return QmxAudio(desc, buffer, source.samples());
}

void LumenEngine::captureStep(const Seen &seen, const QmxTick &tick, QmxOutputFrame &output)
{
    output.isCapture = true;
    if (_capture.isRecording() && _gate.keepsOut(tick.index)) {
        showOnly(seen, output);
        return;
    }
    // Taken for another set-up than the one in force now: begins with the next tick.
    if (seen.generation != _generation || tick.rate != _running.imageDesc().frameRate()) return;
    const bool internal = _running.videoInputSource() == QmxIds::internalGenerator;
    const QmxSourceFrame &source = internal ? seen.generator : seen.input;

    auto frame = std::make_shared<CapturedFrame>();
    frame->number = tick.index;
    frame->desc = _running.captureDesc();
    frame->hasPicture = pictureFits(source, internal);
    if (frame->hasPicture) frame->picture = source.picture;
    frame->waitsForWork = waitsForWork(*frame);
    frame->audio = capturedAudio(seen, tick, frame->hasPicture);
    frame->metadata = _ancillary;
    if (source.damage > 0) frame->metadata.insert(QmxIds::inputDamage, source.damage);
    const bool good = _detector.isGood(seen.input.state);
    frame->timecode = _generator.step(good ? seen.input.timecode : QmxTimecode(), frame->hasPicture);

    if (_takeRead && !frame->hasPicture) {
        _lossInTake = true;
        _firstAfterLoss.reset();
    } else if (_lossInTake) {
        _lossInTake = false;
        _firstAfterLoss = frame;
    }
    if (frame->waitsForWork)
        postProcessing(frame);
    else
        _processed = frame->picture;
    // The input was no good when the set-up was made: nothing of it is shown before the next one.
    if (!_running.blackingEnabled() || internal) {
        output.picture = _processed;
        output.audio = frame->audio;
    }
    output.timecode = frame->timecode;
    output.metadata = frame->metadata;
    if (_capture.push(frame)) captureLost();
    postCoding();
}

/// A frame that no take holds.
void LumenEngine::showOnly(const Seen &seen, QmxOutputFrame &output)
{
    const bool internal = _running.videoInputSource() == QmxIds::internalGenerator;
    const QmxSourceFrame &source = internal ? seen.generator : seen.input;
    output.picture = pictureFits(source, internal) ? source.picture : QmxPicture();
    output.audio = source.audio;
    output.timecode = _last.timecode;
    output.metadata = _ancillary;
}

void LumenEngine::playbackStep(const Seen &seen, QmxOutputFrame &output)
{
    const PlaybackQueue::Step step = _playback.tick(_environment.clock->now());
    if (step.setup) {
        _running = *step.setup;
        _generator.setSource(_running.timecodeInputSource(), _running.imageDesc().frameRate().timecodeRate());
    }
    for (const PlaybackQueue::KeyReport &key : step.keys) {
        DeviceEvent event;
        event.type = DeviceEvent::KeyFrame;
        event.serial = key.run;
        event.metadata = key.metadata;
        _events.push(event);
    }
    const PlaybackQueue::Shown &shown = _playback.shown();
    if (step.dropped) push(DeviceEvent::PlaybackDropped, shown.run);
    postDecoding();
    if (!shown.valid) {
        // Nothing to play yet: what was there stays, never black.
        const QmxTick tick = output.tick;
        output = _last;
        output.tick = tick;
        output.isRepeat = true;
        output.audio = QmxAudio();
        return;
    }
    const QmxFrame &frame = shown.frame;
    output.desc = _running.imageDesc();
    output.picture = shown.picture->picture;
    output.timecode = frame.meta().value(QmxIds::timecode).value<QmxTimecode>();
    output.metadata = frame.meta();
    const auto number = frame.meta().value(QmxIds::frameNumber);
    output.isRepeat = !step.newFrame || (output.picture.sharesWith(_last.picture) &&
                                         number == _last.metadata.value(QmxIds::frameNumber));
    if (step.newFrame && !shown.hold && !frame.auds().isEmpty()) output.audio = frame.auds().first();
    pictureAlarm(*shown.picture);
    routeInput(seen, output);
}

/// The outputs may show the input while something else plays.
void LumenEngine::routeInput(const Seen &seen, QmxOutputFrame &output) const
{
    if (_running.videoOutRoute() != QmxIds::routeInput || !_detector.isGood(seen.input.state)) return;
    output.picture = seen.input.picture;
    output.audio = seen.input.audio;
    output.desc = seen.input.state.captureImageDesc();
    output.isRepeat = false;
}

/// Variable-rate record is asked for and the input has no rate that varies.
void LumenEngine::variableRateAlarm()
{
    const bool internal = _running.videoInputSource() == QmxIds::internalGenerator;
    const bool alarm = !_playing && _running.forceVFRRecord() && !internal && _detector.state().isValid() &&
                       _detector.state().vfrfps() == 0;
    if (alarm == _variableRateAlarm) return;
    _variableRateAlarm = alarm;
    DeviceEvent event;
    event.type = DeviceEvent::VariableRate;
    event.on = alarm;
    _events.push(event);
}

void LumenEngine::pushVbi(const QmxTimecode &timecode)
{
    DeviceEvent event;
    event.type = DeviceEvent::Vbi;
    event.vbi = QmxVbiInfo(timecode, _inputTimecode, timeStamp(_environment.clock->wallTime()));
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

void LumenEngine::count(const Seen &seen, const QmxOutputFrame &output) const
{
    QmxCounters *counters = &_environment.deck->counters;
    counters->set(QmxCounters::SourceRepeats, seen.input.repeated);
    counters->set(QmxCounters::SourceSkips, seen.input.skipped);
    counters->set(QmxCounters::InputTorn, seen.input.torn);
    counters->set(QmxCounters::InputMissing, seen.input.missing);
    counters->set(QmxCounters::CaptureQueue, _capture.size());
    counters->set(QmxCounters::PlaybackQueue, _playback.frames());
    if (!_playing) {
        counters->add(QmxCounters::FramesIn);
        return;
    }
    counters->add(output.isRepeat ? QmxCounters::FramesRepeated : QmxCounters::FramesShown);
    counters->set(QmxCounters::FrameOnOutput, output.metadata.value(QmxIds::frameNumber).toInt());
    const QVariant position = output.metadata.value(QmxIds::listPosition);
    counters->set(QmxCounters::ListEntryOnOutput, position.canConvert<int>() ? position.toInt() : -1);
}
