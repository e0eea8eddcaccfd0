// SPDX-License-Identifier: GPL-3.0-or-later
// What an editor asks for. Everything is answered out of the view of this moment.
#include "companions/remote/ninepin/ninepinsession.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr std::uint8_t reply = 0x70;
constexpr int nearEndSeconds = 180;
constexpr int endSeconds = 30;

template <int Bit>
std::uint8_t bit(bool on)
{
    return std::uint8_t(on ? 1U << Bit : 0U);
}

QByteArray bytesOf(std::span<const std::uint8_t> bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), qsizetype(bytes.size())};
}

/// Part of a row of bytes, by a question's first (high half) and count (low half); 0 beyond the end.
QByteArray part(std::span<const std::uint8_t> bytes, std::uint8_t question)
{
    QByteArray data;
    for (int i = question >> 4; i < (question >> 4) + (question & 0x0F); ++i)
        data.append(i < int(bytes.size()) ? char(bytes[std::size_t(i)]) : '\0');
    return data;
}

/// 0 to 15 lamps of a search dial: one more for each half of an octave above a thirtieth.
std::uint8_t searchLamps(double speed)
{
    if (speed == 0.0) return 0;
    constexpr double slowest = 0.03;
    return std::uint8_t(std::clamp(1.0 + std::floor(std::log2(std::fabs(speed) / slowest)), 1.0, 15.0));
}
} // namespace

QmxTimecode NinepinSession::shownTime() const
{
    return _view->timecode.isValid() ? _view->timecode : _lastTime;
}

QmxTimecode NinepinSession::timerTime() const
{
    return {int(std::max<qint64>(_view->frame, 0)) + _timerOffset, _view->fps, false};
}

QByteArray NinepinSession::generatorSense()
{
    const QByteArray time = NinepinTimecode::encode(_view->generatorTimecode);
    const QByteArray bits = bytesOf(_userBits);
    switch (data(0)) {
    case 0x01:
        return NinepinReplies::block(reply, 0x08, time);
    case 0x10:
        return NinepinReplies::block(reply, 0x09, bits);
    case 0x11:
        return NinepinReplies::block(reply, 0x08, time + bits);
    default:
        return refused();
    }
}

QByteArray NinepinSession::timeSense()
{
    constexpr std::uint8_t held =
        0x10; ///< in the reply: not read from this picture, but the newest there was
    const std::uint8_t isHeld = _view->timecode.isValid() ? 0 : held;
    const QByteArray time = NinepinTimecode::encode(shownTime());
    const QByteArray bits = bytesOf(_userBits);
    // Out of a picture that stands or crawls a tape would read its vertical interval.
    constexpr double crawls = 0.25;
    const bool isSlow = _view->motion != DeckView::Motion::Recording && std::fabs(_view->speed) < crawls;
    switch (data(0)) {
    case 0x01:
        return NinepinReplies::block(reply, 0x04 | isHeld, time);
    case 0x02:
        return NinepinReplies::block(reply, 0x06 | isHeld, time);
    case 0x03:
        return NinepinReplies::block(reply, (isSlow ? 0x06 : 0x04) | isHeld, time);
    case 0x04:
        return NinepinReplies::block(reply, 0x00, NinepinTimecode::encode(timerTime()));
    case 0x08:
        return NinepinReplies::block(reply, 0x01, NinepinTimecode::encode(timerTime()));
    case 0x10:
        return NinepinReplies::block(reply, 0x05, bits);
    case 0x20:
        return NinepinReplies::block(reply, 0x07, bits);
    case 0x11:
        return NinepinReplies::block(reply, 0x04 | isHeld, time + bits);
    case 0x22:
        return NinepinReplies::block(reply, 0x06 | isHeld, time + bits);
    default:
        return refused();
    }
}

QByteArray NinepinSession::markSense()
{
    const auto which = NinepinEditPoints::Which(_block->command & 0x03);
    return NinepinReplies::block(reply, _block->command, NinepinTimecode::encode(_points.at(which)));
}

QByteArray NinepinSession::prerollSense()
{
    return NinepinReplies::block(reply, _block->command, NinepinTimecode::encode(_prerollTime));
}

QByteArray NinepinSession::statusSense()
{
    return NinepinReplies::block(reply, _block->command, part(status(*_view), data(0)));
}

QByteArray NinepinSession::speedSense()
{
    const double speed = _view->moves() ? _view->speed : 0.0;
    return NinepinReplies::block(reply, _block->command, {NinepinSpeed::encode(speed)});
}

QByteArray NinepinSession::timerModeSense()
{
    return NinepinReplies::block(reply, _block->command, {_timerMode});
}

QByteArray NinepinSession::inhibitSense()
{
    const std::uint8_t tracks = _view->mayRecord && _options.mayRecord ? 0x00 : 0xFF;
    return NinepinReplies::block(reply, _block->command, {tracks, tracks});
}

QByteArray NinepinSession::presetSense()
{
    return NinepinReplies::block(reply, _block->command, part(_editPreset, data(0)));
}

std::array<std::uint8_t, 10> NinepinSession::status(const DeckView &view) const
{
    using enum DeckView::Motion;
    const bool plays = view.motion == Playing;
    // Somebody else may have set it moving: then its speed says how.
    const bool normal = std::fabs(view.speed - 1.0) < 1e-6 || (_programPlay && _mode == Mode::Play);
    const Mode mode = _mode == Mode::None || (_mode == Mode::Play) != normal
                          ? (normal ? Mode::Play : Mode::Variable)
                          : _mode;
    const bool records = view.motion == Recording && view.takeFrames > 0;
    const bool still = view.motion == Still;
    const bool reverse = plays && view.speed < 0.0;
    using P = NinepinEditPoints;
    const bool editing =
        records && (_edit == Edit::Recording || _edit == Edit::Ending) && view.index >= _editIn;
    const std::uint8_t tracks = std::uint8_t(((_editPreset[0] & 0x02) >> 1) | ((_editPreset[0] & 0x01) << 1) |
                                             (_editPreset[1] & 0x0F));
    const bool hurries = view.secondsLeft > 0 && view.hasMedium;
    std::array<std::uint8_t, 10> s{};
    s[0] = bit<5>(!view.hasMedium) | bit<4>(!view.hasReference) | bit<2>(view.motion == Gone) |
           bit<0>(view.isLocal);
    s[1] = bit<7>(_standby) | bit<5>(view.motion == Stopped || view.motion == Gone) | bit<4>(_ejected) |
           bit<3>(plays && mode == Mode::Rewind) | bit<2>(plays && mode == Mode::FastForward) |
           bit<1>(records) | bit<0>(records || (plays && mode == Mode::Play));
    s[2] = bit<7>(records || (plays && mode == Mode::Play)) | bit<6>(_programPlay) |
           bit<5>(plays && mode == Mode::Shuttle) | bit<4>(plays && mode == Mode::Jog) |
           bit<3>(plays && mode == Mode::Variable) | bit<2>(reverse) | bit<1>(still) |
           bit<0>(_cue == Cue::Complete && still);
    s[3] = bit<7>(_autoMode) | bit<3>(_points.isSet(P::AudioOut)) | bit<2>(_points.isSet(P::AudioIn)) |
           bit<1>(_points.isSet(P::Out)) | bit<0>(_points.isSet(P::In));
    s[4] = bit<7>(_selectEe) | bit<6>(_fullEe) | bit<4>(editing) | bit<3>(_sequence == Sequence::Review) |
           bit<2>(_sequence == Sequence::Edit || _automatic) | bit<1>(_sequence == Sequence::Preview) |
           bit<0>(_cue == Cue::Running);
    s[5] = std::uint8_t((_editPreset[0] & 0x70) | tracks);
    // The lamps belong to the search dial.
    const bool dial = _mode == Mode::Jog || _mode == Mode::Variable || _mode == Mode::Shuttle;
    if (dial)
        s[6] = bit<6>(still) | bit<5>(plays && !reverse) | bit<4>(reverse) |
               (plays ? searchLamps(view.speed) : 0);
    s[7] = bit<0>(_points.holds(view.timecode));
    s[8] = bit<5>(hurries && view.secondsLeft < nearEndSeconds) |
           bit<4>(hurries && view.secondsLeft < endSeconds) | bit<1>(view.hasFault) |
           bit<0>(!view.mayRecord || !_options.mayRecord);
    s[9] = bit<7>(_aborted);
    return s;
}
