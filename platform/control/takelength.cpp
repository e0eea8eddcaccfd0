// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/takelength.h"

#include "platform/control/recorder.h"

#include <algorithm>
#include <cmath>

namespace {
/// The end is set so late before it: should this program be killed meanwhile, the take goes on after a gap.
/// On a machine that has no time for it, it is late by more than a second now and then.
constexpr std::chrono::seconds endAhead(3);
/// Frames after the end by which all before it have come, also from a busy card.
constexpr qint64 latestFrames = 50;
constexpr std::chrono::milliseconds lookEvery(200); // at what is in the store
} // namespace

TakeLength::TakeLength(Recorder &recorder, std::chrono::duration<double> wanted)
    : _recorder(recorder),
      _takesBefore(recorder.counter("takes_opened")),
      _handedBefore(recorder.counter("frames_recorded")),
      _seconds(wanted.count()),
      _isInterval(recorder.number(eParam_IntervalRecord) != 0),
      _firstBefore(_clock.now().value_or(QmxTakeWindow::Now()).first)
{}

qint64 TakeLength::handedOut() const
{
    return _recorder.counter("frames_recorded") - _handedBefore;
}

/// By the rate of the clip; until that is open, of the clock.
void TakeLength::measure(const std::optional<QmxTakeWindow::Now> &now)
{
    constexpr double perThousand = 1000.0;
    const double tickRate =
        now && now->period > 0 ? double(QmxClock::nsPerSecond) / double(now->period) : 0.0;
    const bool isOpen = _recorder.counter("takes_opened") > _takesBefore;
    const double rate = isOpen ? double(_recorder.counter("clip_rate")) / perThousand : tickRate;
    _wanted = qRound64(_seconds * rate);
    // (A camera's variable rate, an interval: there the clip's time is not the clock's.)
    constexpr double sameRate = 0.01;
    _isEvery = now && std::abs(tickRate - rate) < sameRate && !_isInterval;
}

void TakeLength::aim()
{
    if (_seconds <= 0) return;
    const auto now = _clock.now();
    measure(now);
    if (!now || now->first <= 0 || now->first == _firstBefore) return;
    // By the clock: frames that wait to be coded have not been handed out yet.
    const qint64 out = _isEvery ? now->first + _skipped + _wanted : 0;
    const bool isNear = out > 0 && QmxClock::Duration((out - now->index) * now->period) <= endAhead;
    if (out == _out || (!isNear && _out == 0)) return;
    _out = out;
    _clock.set(now->first, out);
}

bool TakeLength::isFull()
{
    follow();
    aim();
    if (!_isEvery) return _closed + _held >= _wanted;
    const auto now = _clock.now();
    const qint64 handed = handedOut();
    if (handed - _skipped >= _wanted) return true;
    // What a take begins with may come late, behind its end; nothing comes before its clip is open.
    if (now && (_held == 0 || handed != _lastHanded)) _lastIndex = now->index;
    _lastHanded = handed;
    return _out > 0 && now && now->index > std::max(_out, _lastIndex) + latestFrames;
}

/// The clips of the take, and what they hold.
void TakeLength::follow()
{
    const qint64 opened = _recorder.counter("takes_opened") - _takesBefore;
    const qint64 before = handedOut();
    const qint64 held = _recorder.counter("current_clip_frames");
    if (opened > _opened && _opened > 0) _closed += _held;
    _opened = opened;
    _held = held;
    // Of one moment, in which nothing is on its way: what was dropped before the clip could begin.
    if (_isEvery && _opened == 1 && handedOut() == before && before >= held && held > 0)
        _skipped = before - held;
    const auto &clock = _recorder.environment().clock;
    if (clock->now() < _nextLook) return;
    lookAtClip();
    _nextLook = clock->after(lookEvery);
}

/// After a join the name of the clip comes first, and then the medium that it is on.
void TakeLength::lookAtClip()
{
    const QString name = _recorder.clip();
    if (name.isEmpty()) return;
    const QString path = _recorder.text(eParam_ActiveMediaPath) + "/" + name;
    if (_names.isEmpty() || name != _names.last()) {
        _names.append(name);
        _paths.append(path);
    }
    _paths.last() = path;
}

QStringList TakeLength::paths()
{
    lookAtClip();
    return _paths;
}
