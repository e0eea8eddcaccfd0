// SPDX-License-Identifier: GPL-3.0-or-later
// The card's playback: what a tick shows of clips, and in which size their pictures are decoded.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/lumenengine.h"

void LumenEngine::playbackStep(const CardInput &seen, QmxOutputFrame &output)
{
    const PlaybackQueue::Step step = _playback.tick(_environment.clock->now());
    _isLate = step.isLate;
    if (step.setup) {
        _running = *step.setup;
        _capture.setTimecodeSource(_running.timecodeInputSource(),
                                   _running.imageDesc().frameRate().timecodeRate());
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
        if (_lastPicture && output.divisor > 1) put(_lastPicture, output);
        return;
    }
    const QmxFrame &frame = shown.frame;
    output.desc = _running.imageDesc();
    put(shown.picture, output);
    output.timecode = frame.meta().value(QmxIds::timecode).value<QmxTimecode>();
    output.metadata = frame.meta();
    const auto number = frame.meta().value(QmxIds::frameNumber);
    output.isRepeat = !step.newFrame || (output.picture.sharesWith(_last.picture) &&
                                         number == _last.metadata.value(QmxIds::frameNumber));
    _inOrder = step.newFrame && number.toInt() == _last.metadata.value(QmxIds::frameNumber).toInt() + 1
                   ? _inOrder + 1
                   : 0;
    const bool isHeard = step.newFrame && (!shown.hold || followsLive());
    if (isHeard && !frame.auds().isEmpty()) output.audio = frame.auds().first();
    _alarms.picture(shown.picture.get());
    routeInput(seen, output);
}

void LumenEngine::put(const DecodedPicturePtr &picture, QmxOutputFrame &output)
{
    output.picture = picture->picture;
    output.divisor = picture->isSoft ? picture->divisor : 1;
    _lastPicture = picture;
}

/// Faster play has come up to the newest frame of a clip that grows, and goes on from there at normal speed.
bool LumenEngine::followsLive() const
{
    constexpr int certain = 5; // no faster play shows so many frames in a row
    return _inOrder >= certain && _direction == QmxIds::directionFastForward &&
           _environment.deck->counters.value(QmxCounters::MaterialGrows) != 0;
}

/// The outputs may show the input while something else plays.
void LumenEngine::routeInput(const CardInput &seen, QmxOutputFrame &output) const
{
    if (_running.videoOutRoute() != QmxIds::routeInput || !_inputWatch.isGood(seen.input)) return;
    output.picture = seen.input.picture;
    output.divisor = 1;
    output.audio = seen.input.audio;
    output.desc = seen.input.state.captureImageDesc();
    output.isRepeat = false;
}

int LumenEngine::divisorFor(const DecodedPicture &picture) const
{
    const QmxImageDesc &desc = picture.image.desc();
    const bool asShown = QSize(desc.width(), desc.height()) == _divisorRaster && !desc.isInterlaced();
    return asShown && picture.lut.entries() == 0 ? _divisor : 1;
}

/// Pictures pass faster than they were recorded, and none stays.
bool LumenEngine::isShuttle() const
{
    return (_direction == QmxIds::directionFastForward || _direction == QmxIds::directionFastReverse) &&
           !followsLive();
}

/// After a tick of playback.
void LumenEngine::followShuttle(const QmxOutputFrame &output)
{
    if (isShuttle()) {
        _shuttle.tick({_environment.clock->now(), output.tick.rate.nanoseconds(1), _workers.threads(),
                       _coarsest, _isLate});
    } else {
        for (const DecodedPicturePtr &picture : _playback.soft())
            refine(picture);
    }
    // What passes is not decoded once more; at the end of a clip fast play stands, too.
    constexpr int passesUpTo = 2; // ticks of one picture
    const bool passes = isShuttle() && (_isLate || _repeats < passesUpTo);
    if (output.isRepeat && _lastPicture && !passes) refine(_lastPicture);
}

/// Decodes a picture once more that was decoded smaller than is wanted now.
void LumenEngine::refine(const DecodedPicturePtr &picture)
{
    if (picture->refining || picture->divisor <= divisorFor(*picture)) return;
    picture->refining =
        _workers.post([this, picture](CodecContexts &contexts) { decode(contexts, picture); });
}
