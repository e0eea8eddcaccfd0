// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/startwatch.h"

#include "platform/qmx/core/qmxclock.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {
/// Moments this part of a frame early still belong to the frame: a start given in whole frames of a clock
/// that the video follows must not hang on a microsecond.
constexpr int earlyPart = 4;
/// By so much a clock may be set while a take waits; beyond that the start stays where it was expected.
constexpr qint64 followSeconds = 2;
constexpr qint64 secondsOfHour = 3600;
/// So far a timecode that follows the clock may be off it: who gives the commands by the clock is as early
/// and as late.
constexpr qint64 agreeSeconds = 5;

qint64 floorDivided(qint64 a, qint64 b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}
} // namespace

void StartWatch::set(const QmxTakeMoment &start, const QmxTakeMoment &end)
{
    const bool sameStart = start == _start;
    _start = start;
    _end = end;
    _missed.reset();
    _window.out = 0;
    if (!sameStart) {
        _window = {};
        _asked.reset();
        _wishIsLate = false;
    }
    _window.serial = _serial += 2;
    if (!isSet()) return;
    // What is still in memory may have been it.
    for (const Frame &frame : _recent)
        look(frame);
    if (!sameStart) _wishIsLate = lateFrame().has_value();
}

/// The frame asked for, when that is past and was never near.
std::optional<qint64> StartWatch::lateFrame() const
{
    if (!isSet() || _window.in > 0 || _recent.empty()) return std::nullopt;
    const std::optional<qint64> ahead = distance(_start, _recent.back());
    const bool isBound = _start.wall != 0; // a bare timecode comes again tomorrow
    if (!ahead || *ahead >= 0) return std::nullopt;
    if (!isBound && -*ahead > lateBy.count() * _rate.timecodeRate()) return std::nullopt;
    return _recent.back().index + *ahead;
}

void StartWatch::giveUp(qint64 now)
{
    const std::optional<qint64> asked = _asked ? _asked : lateFrame();
    std::optional<Missed> missed;
    if (asked) missed = Missed{_start, _wishIsLate ? _end : QmxTakeMoment(), *asked, now};
    set({}, {});
    _missed = missed;
}

void StartWatch::takeBegins(qint64 now)
{
    if (_missed && now - _missed->since <= lateBy.count() * _rate.timecodeRate()) {
        const Missed missed = *_missed;
        set(missed.start, missed.end);
        _asked = missed.asked;
    } else if (!_asked) {
        _asked = lateFrame();
    }
    _missed.reset();
    if (!_asked || _window.in > 0) return;
    _window.in = std::max(*_asked, now + 1 - _kept);
    _window.serial = _serial += 2;
}

/// Frames until the moment: 0 at its frame, less behind it. Nothing when that cannot be said.
std::optional<qint64> StartWatch::distance(const QmxTakeMoment &moment, const Frame &frame) const
{
    const int fps = _rate.timecodeRate();
    if (moment.kind == QmxTakeMoment::None || fps <= 0) return std::nullopt;
    if (moment.kind == QmxTakeMoment::TimeOfDay) return framesUntil(moment.wall, frame);
    std::optional<qint64> byTimecode;
    if (!frame.byClock) byTimecode = framesUntil(moment.timecode, frame);
    if (!frame.byClock && moment.wall == 0) return byTimecode;
    const QmxTimecode &time = moment.timecode;
    const qint64 seconds = (time.hours() * 60 + time.minutes()) * qint64(60) + time.seconds();
    const qint64 ofDay = seconds * QmxClock::nsPerSecond + time.frames() * QmxClock::nsPerSecond / fps;
    const qint64 about = moment.wall != 0 ? moment.wall : frame.wall;
    const qint64 byClock = framesUntil(QmxTakeMoment::nearest(ofDay, about), frame);
    const bool agrees = byTimecode && std::llabs(*byTimecode - byClock) <= agreeSeconds * fps;
    return agrees ? *byTimecode : byClock;
}

qint64 StartWatch::framesUntil(qint64 wall, const Frame &frame) const
{
    const qint64 period = _rate.nanoseconds(1);
    return -floorDivided(frame.wall + period / earlyPart - wall, period);
}

std::optional<qint64> StartWatch::framesUntil(const QmxTimecode &timecode, const Frame &frame) const
{
    if (!frame.timecode.isValid()) return std::nullopt;
    const int fps = _rate.timecodeRate();
    QmxTimecode wanted = timecode;
    wanted.setFPS(fps);
    wanted.setDropFrame(frame.timecode.isDropFrame());
    QmxTimecode seen = frame.timecode;
    seen.setFPS(fps);
    const qint64 day = QmxTimecode(23, 59, 59, fps - 1, fps, wanted.isDropFrame()).toFrameNumber() + 1;
    const qint64 ahead = (wanted.toFrameNumber() - seen.toFrameNumber() + day) % day;
    return ahead > day / 2 ? ahead - day : ahead;
}

/// `at`: the frame of the moment, as far as it can be told now; 0: not near yet.
void StartWatch::place(qint64 &at, const QmxTakeMoment &moment, const Frame &frame)
{
    if (at > 0 && frame.index >= at) return;
    const std::optional<qint64> ahead = distance(moment, frame);
    const qint64 fps = _rate.timecodeRate();
    if (at > 0) {
        if (!ahead || std::llabs(frame.index + *ahead - at) > followSeconds * fps) return;
        at = std::max(frame.index + *ahead, frame.index);
        return;
    }
    if (!ahead) return;
    const bool isNear = *ahead >= 0 && *ahead <= nearBy.count() * fps;
    if (isNear) at = frame.index + *ahead;
}

void StartWatch::look(const Frame &frame)
{
    const QmxTakeWindow::Window before = _window;
    place(_window.in, _start, frame);
    if (_window.in != before.in) _asked = _window.in;
    if (_window.in > 0 && frame.index >= _window.in) place(_window.out, _end, frame);
    if (_window.in != before.in || _window.out != before.out) _window.serial = _serial += 2;
}

void StartWatch::step(const Frame &frame, const QmxVideoRate &rate, int kept)
{
    if (rate != _rate) _recent.clear();
    _rate = rate;
    _kept = kept;
    const qint64 before = isSet() && !_recent.empty() ? distance(_start, _recent.back()).value_or(0) : 0;
    _recent.push_back(frame);
    while (qint64(_recent.size()) > std::max<qint64>(kept, 1))
        _recent.pop_front();
    if (!isSet()) return;
    look(frame);
    // A clock that was set past the moment: it is now, rather than never.
    if (_window.in > 0 || before <= 0) return;
    const std::optional<qint64> ahead = distance(_start, frame);
    if (!ahead || *ahead >= 0 || before - *ahead > secondsOfHour * _rate.timecodeRate()) return;
    _window.in = frame.index;
    _asked = frame.index;
    _window.serial = _serial += 2;
}

bool StartWatch::isPast(qint64 now) const
{
    if (!isSet()) return false;
    if (_window.in > 0) return now > _window.in + _kept;
    if (_recent.empty()) return false;
    const std::optional<qint64> ahead = distance(_start, _recent.back());
    // A bare timecode comes again tomorrow, or the tape is wound back.
    return ahead && _start.wall != 0 && *ahead < 0 && -*ahead > _kept;
}

std::optional<QmxTimecode> StartWatch::timecodeAt(qint64 index, int fps) const
{
    if (_start.kind != QmxTakeMoment::Timecode || _window.in <= 0 || !_asked) return std::nullopt;
    QmxTimecode first = _start.timecode;
    first.setFPS(fps);
    return first.advanced(int(index - *_asked));
}
