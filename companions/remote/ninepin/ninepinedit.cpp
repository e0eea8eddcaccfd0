// SPDX-License-Identifier: GPL-3.0-or-later
// Edits: takes whose first and last frame are known before, and the sequences that make one by themselves.
#include "companions/remote/ninepin/ninepinsession.h"
#include "platform/qmx/core/qmxcounted.h"

namespace {
/// A take that has not begun so many frames after its first frame's moment is none.
constexpr qint64 latestStart = 50;
constexpr int secondsAfterOut = 2;
/// The last frames of an edit are still being coded when its end has come.
constexpr qint64 codedWithin = 50;
/// What a change from play to record may take.
constexpr int readyFrames = 5;
} // namespace

bool NinepinSession::refusesRecord()
{
    if (_options.mayRecord) return false;
    give(DeckOrder::refuse,
         {{QStringLiteral("sentence"),
           QStringLiteral("a record was refused: write record=on behind this port in /etc/xp/remote.ini")}});
    return true;
}

QByteArray NinepinSession::editOn()
{
    if (_view->index < 0 || refusesRecord()) return refused();
    if (_edit != Edit::None) return ack();
    // A take has to end before its successor can be told its first frame.
    if (_view->motion == DeckView::Motion::Recording) return refused();
    move(Mode::None, 0.0);
    beginEdit(_view->index + _options.editDelay);
    return ack();
}

QByteArray NinepinSession::editOff()
{
    if (_edit == Edit::Armed || _edit == Edit::Recording) endEdit(_view->index + _options.editDelay);
    return ack();
}

void NinepinSession::beginEdit(qint64 in)
{
    _edit = Edit::Armed;
    _editIn = in;
    _editOut = 0;
    _automatic = false;
    _aborted = false;
    _hasRecorded = false;
    give(DeckOrder::window, {{QStringLiteral("in"), QString::number(in)}});
    _takeOrder = give("record", {}, true);
}

void NinepinSession::endEdit(qint64 out)
{
    // An edit has at least one frame: without any there would be no clip.
    _editOut = std::max(out, _editIn + 1);
    _edit = Edit::Ending;
    give(DeckOrder::window, {{QStringLiteral("in"), QString::number(_editIn)},
                             {QStringLiteral("out"), QString::number(_editOut)}});
}

void NinepinSession::abortEdit()
{
    _edit = Edit::None;
    _automatic = false;
    _sequence = Sequence::None;
    _aborted = true;
    give(DeckOrder::window);
    give(DeckOrder::refuse, {{QStringLiteral("sentence"), QStringLiteral("an edit was not recorded")}});
}

void NinepinSession::abortSequence()
{
    if (_showsInput) route(false);
    _showsInput = false;
    _sequence = Sequence::None;
    _aborted = true;
    give(DeckOrder::refuse, {{QStringLiteral("sentence"),
                              _rolling ? QStringLiteral("a roll through the edit points has not begun")
                                       : QStringLiteral("there is nothing before the edit points")}});
}

/// A stop would lose what has not been taken over yet, or come before the take itself; nothing more comes,
/// the window is over.
bool NinepinSession::hasLastFrame() const
{
    const bool hasBegun = _view->motion == DeckView::Motion::Recording && _view->takeFirst >= _editIn;
    return (hasBegun && _view->takeFrames >= _editOut - _view->takeFirst) ||
           _view->index >= _editOut + codedWithin;
}

bool NinepinSession::isWhole() const
{
    return _view->takeFirst == _editIn && _view->takeFrames >= _editOut - _editIn;
}

void NinepinSession::followEdit()
{
    if (_edit == Edit::None) return;
    const bool records = _view->motion == DeckView::Motion::Recording;
    _hasRecorded = _hasRecorded || records;
    if (_edit == Edit::Armed && records) _edit = Edit::Recording;
    if (!_aborted && records && _view->takeFirst > _editIn) {
        _aborted = true;
        give(DeckOrder::refuse, {{QStringLiteral("sentence"),
                                  QStringLiteral("the take of an edit began %1 late: give the port a "
                                                 "longer edit_delay in /etc/xp/remote.ini")
                                      .arg(qmxCounted(_view->takeFirst - _editIn, "frame"))}});
    }
    if (_edit == Edit::Armed && _view->index > _editIn + latestStart) {
        abortEdit();
        give("stop"); // it may begin yet, and nobody would end it
        return;
    }
    // Somebody has ended the take.
    if (_edit == Edit::Recording && !records) return abortEdit();
    if (_edit == Edit::Ending) followEnd(records);
}

void NinepinSession::followEnd(bool records)
{
    if (_hasRecorded && !records && !isWhole()) return abortEdit();
    if (_view->index < _editOut || !hasLastFrame()) return;
    if (!isWhole() && !_aborted) abortEdit();
    _edit = Edit::None;
    _automatic = false;
    give("stop");
}

QByteArray NinepinSession::preview()
{
    return startSequence(Sequence::Preview);
}

QByteArray NinepinSession::review()
{
    return startSequence(Sequence::Review);
}

QByteArray NinepinSession::autoEdit()
{
    return refusesRecord() ? refused() : startSequence(Sequence::Edit);
}

QByteArray NinepinSession::startSequence(Sequence sequence)
{
    if (_points.duration() == 0) return refused();
    startCue(_points.at(NinepinEditPoints::In).advanced(-prerollFrames()));
    _sequence = sequence;
    _rolling = false;
    _aborted = false;
    return ack();
}

void NinepinSession::followSequence()
{
    if (_sequence == Sequence::None) return;
    if (_rolling) return roll();
    // (A picture that was there before looks like an arrival at once; the cue is over when it has been done.)
    if (_cue == Cue::Running || (_cue == Cue::Complete && !_cueSettled)) return;
    if (_cue == Cue::Failed || _view->frame < 0) return abortSequence();
    // The picture that is held tells which frame of the material the timecode of IN is.
    _inFrame = _view->frame + prerollFrames();
    _outFrame = _inFrame + _points.duration();
    const Sequence sequence = _sequence;
    move(Mode::Play, 1.0);
    _sequence = sequence;
    _rolling = true;
}

/// Plays through both points. In an edit the take is ordered a little before, with its first frame named.
void NinepinSession::roll()
{
    const qint64 frame = _view->frame;
    if (_sequence == Sequence::Edit) {
        if (_edit == Edit::None && frame >= 0 && frame >= _inFrame - _options.editDelay - readyFrames) {
            const qint64 in = _view->index + _inFrame - frame;
            beginEdit(in);
            endEdit(in + _outFrame - _inFrame);
            _automatic = true;
            _sequence = Sequence::None;
        }
        return;
    }
    const bool inside = frame >= _inFrame && frame < _outFrame;
    if (_sequence == Sequence::Preview && inside != _showsInput) {
        _showsInput = inside;
        route(inside);
    }
    if (frame < _outFrame + qint64(secondsAfterOut) * _view->fps &&
        _view->motion == DeckView::Motion::Playing)
        return;
    if (frame < _inFrame && _view->motion != DeckView::Motion::Playing) return; // not begun yet
    move(Mode::None, 0.0);
    give("still", {}, true);
}
