// SPDX-License-Identifier: GPL-3.0-or-later
// What moves the deck.
#include "companions/remote/ninepin/ninepinsession.h"

#include "platform/qmx/core/qmxclock.h"

#include <algorithm>

namespace {
constexpr std::uint8_t reverse = 0x20; ///< in the command of jog, var and shuttle
constexpr double fastestWind = 50.0;
constexpr qint64 cueWithin = 8 * QmxClock::nsPerSecond;
} // namespace

/// Any motion ends what ran by itself and the arrival of a cue.
void NinepinSession::move(Mode mode, double speed)
{
    _cue = Cue::None;
    if (_sequence != Sequence::None && _showsInput) route(false);
    _sequence = Sequence::None;
    _showsInput = false;
    _mode = mode;
    _asked = speed;
    _ejected = false;
    _programPlay = false;
    if (mode == Mode::None) return;
    _playOrder = give("play", {{QStringLiteral("speed"), QString::number(speed, 'g', 10)}}, true);
}

QByteArray NinepinSession::stop()
{
    move(Mode::None, 0.0);
    give("stop");
    return ack();
}

QByteArray NinepinSession::play()
{
    move(Mode::Play, 1.0);
    return ack();
}

QByteArray NinepinSession::record()
{
    if (refusesRecord()) return refused();
    move(Mode::None, 0.0);
    give("record", {}, true);
    return ack();
}

QByteArray NinepinSession::standbyOff()
{
    _standby = false;
    return ack();
}

QByteArray NinepinSession::standbyOn()
{
    _standby = true;
    return ack();
}

/// A medium is taken out by whoever mounts it: the transport comes to rest.
QByteArray NinepinSession::eject()
{
    move(Mode::None, 0.0);
    if (_view->motion == DeckView::Motion::Playing || _view->motion == DeckView::Motion::Still) give("stop");
    _ejected = true;
    return ack();
}

QByteArray NinepinSession::fastForward()
{
    move(Mode::FastForward, fastestWind);
    return ack();
}

QByteArray NinepinSession::rewind()
{
    move(Mode::Rewind, -fastestWind);
    return ack();
}

double NinepinSession::speedOfBlock(double fastest) const
{
    const double speed = NinepinSpeed::decode(data(0), _block->count > 1 ? data(1) : 0);
    return std::min(speed, fastest) * (_block->command & reverse ? -1.0 : 1.0);
}

QByteArray NinepinSession::jog()
{
    move(Mode::Jog, speedOfBlock(NinepinSpeed::fastestVariable));
    return ack();
}

QByteArray NinepinSession::variable()
{
    move(Mode::Variable, speedOfBlock(NinepinSpeed::fastestVariable));
    return ack();
}

QByteArray NinepinSession::shuttle()
{
    move(Mode::Shuttle, speedOfBlock(NinepinSpeed::fastestShuttle));
    return ack();
}

QByteArray NinepinSession::stepForward()
{
    move(Mode::None, 0.0);
    give("step", {{QStringLiteral("frames"), QStringLiteral("1")}});
    return ack();
}

QByteArray NinepinSession::stepReverse()
{
    move(Mode::None, 0.0);
    give("step", {{QStringLiteral("frames"), QStringLiteral("-1")}});
    return ack();
}

/// The byte counts tenths of a percent.
QByteArray NinepinSession::programPlay()
{
    constexpr std::uint8_t faster = 0x38;
    constexpr double step = 0.001;
    move(Mode::Play, 1.0 + step * data(0) * (_block->command == faster ? 1 : -1));
    _programPlay = true;
    return ack();
}

QByteArray NinepinSession::cueUp()
{
    const QmxTimecode timecode = timeOfBlock();
    if (!timecode.isValid()) return refused();
    return startCue(timecode);
}

/// Without an IN point the roll begins before the picture that is there.
QByteArray NinepinSession::preroll()
{
    const QmxTimecode in =
        _points.isSet(NinepinEditPoints::In) ? _points.at(NinepinEditPoints::In) : _lastTime;
    if (!in.isValid()) return refused();
    return startCue(in.advanced(-prerollFrames()));
}

int NinepinSession::prerollFrames() const
{
    return _prerollTime.seconds() * _view->fps + _prerollTime.frames();
}

QByteArray NinepinSession::startCue(const QmxTimecode &timecode)
{
    move(Mode::None, 0.0);
    _cue = Cue::Running;
    _cueTarget = timecode;
    _cueGivenAt = _now;
    _cueSettled = false;
    _cueOrder = give("cue", {{QStringLiteral("where"), timecode.toString()}}, true);
    return ack();
}

void NinepinSession::followCue()
{
    if (_cue != Cue::Running) return;
    // (At 50 and 60 frames the even one of two that share a count is the target, and the only one taken.)
    const bool there =
        _view->motion == DeckView::Motion::Still && _view->timecode.timecodeMatches(_cueTarget);
    if (there)
        _cue = Cue::Complete;
    else if (_now - _cueGivenAt > cueWithin)
        _cue = Cue::Failed;
}

void NinepinSession::route(bool input)
{
    give(DeckOrder::set,
         {{QStringLiteral("name"), QStringLiteral("video_output_route")},
          {QStringLiteral("value"), input ? QStringLiteral("input") : QStringLiteral("program")}});
}

QByteArray NinepinSession::fullEeOff()
{
    _fullEe = _selectEe = false;
    route(false);
    return ack();
}

QByteArray NinepinSession::fullEeOn()
{
    _fullEe = true;
    route(true);
    return ack();
}

QByteArray NinepinSession::selectEe()
{
    _selectEe = true;
    route(true);
    return ack();
}
