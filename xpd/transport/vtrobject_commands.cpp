// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/transport/vtrobject.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxstreamcache.h"
#include "xpd/transport/vtrlog.h"

#include <QFile>

#include <algorithm>
#include <limits>

using namespace VtrLog;

namespace {

constexpr double normalSpeed = 1.0;
constexpr double stillSpeed = 0.0;
constexpr double rewindSpeed = -20.0;
constexpr double fastForwardSpeed = 20.0;

} // namespace

void VtrObject::play(double speed)
{
    if (!allowModeChange(VtrMode::Play)) return;
    const bool wasPlaying = _state.mode().isInModePlay();
    if (wasPlaying && _state.speed() == speed) return;
    qmxLogOutput(Info, source, __LINE__, "** PLAY %.3lf\n", speed);
    _vdev->setProperty(QmxIds::direction, QVariant::fromValue(QmxIds::directionPlay));
    setNewMode(VtrMode::Play);
    setSpeed(speed);
    // Frames queued at the old speed must not be shown at the new one.
    if (wasPlaying) videoDeviceFlush();
    process();
}

void VtrObject::play()
{
    play(normalSpeed);
}

void VtrObject::still()
{
    play(stillSpeed);
}

void VtrObject::rewind()
{
    play(rewindSpeed);
}

void VtrObject::fastfwd()
{
    play(fastForwardSpeed);
}

void VtrObject::standbyOff()
{
    if (_state.mode().isInModeStandbyOff()) return;
    if (!allowModeChange(VtrMode::StandbyOff)) return;
    qmxLogOutput(Info, source, __LINE__, "** STANDBY OFF\n");
    setNewMode(VtrMode::StandbyOff);
    process();
}

void VtrObject::record()
{
    // Unlike in standbyOff() the pending change comes first: a record asked for twice is then told so.
    if (!allowModeChange(VtrMode::Record)) return;
    if (_state.mode().isInModeRecord()) return;
    QmxId reason = recordInhibitedReason();
    if (reason.isValid()) {
        text(Warning, QStringLiteral("Record Inhibited: %1").arg(reason.name()));
        emit recordFailedToStart(reason);
        return;
    }
    setNewMode(VtrMode::Record);
    process();
}

QmxId VtrObject::recordInhibitedReason() const
{
    QmxId reason;
    emit requestRecordInhibit(reason);
    if (reason.isValid()) return reason;
    if (_state.videoSignalGenMode().isValid()) return {};
    if (!_inputState.isValid()) return QmxIds::noInput;
    return _inputState.recInhibit();
}

bool VtrObject::inputVideoIsValid() const
{
    return _state.videoSignalGenMode().isValid() || _inputState.isValid();
}

void VtrObject::cue(int frameNumber)
{
    if (!allowModeChange(VtrMode::Play)) return;
    still();
    // The stream may be opening now, and either its completion or the flush may come first: the cache
    // keeps the seek for the one order, the pending cue serves the other.
    _cueFrame = frameNumber;
    _cache->seek(frameNumber);
    videoDeviceFlush();
}

void VtrObject::cueToTimecode(const QmxTimecode &tc)
{
    if (!tc.isValid()) {
        text(Warning, QStringLiteral("Can't cue to %1.  Value is invalid").arg(tc.toString()));
        return;
    }
    const auto inMaterial = [this](QmxTimecode timecode) {
        timecode.setFPS(currentTimecodeFrameRate());
        timecode.setDropFrame(_tcgValue.isDropFrame());
        return timecode;
    };
    const QmxTimecode target = inMaterial(tc);
    const int position = _cache->position();
    const QmxFrame frame = _cache->peek();
    const QmxTimecode here = inMaterial(frame.meta().value(QmxIds::timecode).value<QmxTimecode>());
    const int timecodeOfFirstFrame = here.toFrameNumber() - position;
    const int number = target.toFrameNumber() - timecodeOfFirstFrame;
    if (number < 0) {
        text(Warning, QStringLiteral("Can't cue to %1.  Value is out of range").arg(tc.toString()));
        return;
    }
    text(Info, QStringLiteral("Cue to %1 (%2)").arg(target.toString(), QString::number(number)));
    cue(number);
}

/// A step may be of any size, and several add up.
int VtrObject::saturatedSum(int a, int b)
{
    using Limits = std::numeric_limits<int>;
    return int(std::clamp<qint64>(qint64(a) + b, Limits::min(), Limits::max()));
}

void VtrObject::step(int ct)
{
    if (!allowModeChange(VtrMode::Play)) return;
    if (!_state.mode().isInModePlay()) {
        still();
        return;
    }
    // Not setSpeed(): the cache keeps a direction of its own, set below.
    _state.setSpeed(stillSpeed);
    _stepCount = saturatedSum(_stepCount, ct);
    const int from = currentFrameNumber();
    qmxLogOutput(Info, source, __LINE__, "Step %d from %d\n", ct, from);
    _cache->setSpeed(ct < 0 ? -normalSpeed : normalSpeed);
    _cache->seek(saturatedSum(from, ct));
    videoDeviceFlush();
}

void VtrObject::setLooping(bool on)
{
    if (_state.isLooping() != on) _state.setLooping(on);
}
