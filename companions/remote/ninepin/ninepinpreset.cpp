// SPDX-License-Identifier: GPL-3.0-or-later
// What an editor sets on a deck without moving it.
#include "companions/remote/ninepin/ninepinsession.h"

#include <algorithm>

namespace {
constexpr std::uint8_t outPoint = 0x01; ///< in the command: OUT, else IN
} // namespace

QByteArray NinepinSession::deviceType()
{
    const bool is525 = _view->fps == 30 || _view->fps == 60;
    const std::uint16_t type = is525 ? _options.deviceType525 : _options.deviceType625;
    return NinepinReplies::block(0x10, 0x11, {std::uint8_t(type >> 8), std::uint8_t(type & 0xFF)});
}

QByteArray NinepinSession::localDisable()
{
    give("take_control");
    return ack();
}

QByteArray NinepinSession::localEnable()
{
    give("release_control");
    return ack();
}

namespace {
NinepinEditPoints::Which pointOf(std::uint8_t command)
{
    return command & outPoint ? NinepinEditPoints::Out : NinepinEditPoints::In;
}
} // namespace

QByteArray NinepinSession::mark()
{
    if (!_lastTime.isValid()) return refused();
    _points.set(pointOf(_block->command), _lastTime);
    return ack();
}

QByteArray NinepinSession::markData()
{
    const QmxTimecode timecode = timeOfBlock();
    if (!timecode.isValid()) return refused();
    _points.set(pointOf(_block->command), timecode);
    return ack();
}

QByteArray NinepinSession::trimMark()
{
    constexpr std::uint8_t inOn = 0x18, inBack = 0x19, outOn = 0x1A;
    const std::uint8_t command = _block->command;
    const auto which = command == inOn || command == inBack ? NinepinEditPoints::In : NinepinEditPoints::Out;
    // One count of the protocol: two frames at 50 and 60.
    const int count = NinepinTimecode::framesACount(_view->fps);
    return _points.trim(which, command == inOn || command == outOn ? count : -count) ? ack() : refused();
}

QByteArray NinepinSession::resetMark()
{
    _points.reset(pointOf(_block->command));
    return ack();
}

QByteArray NinepinSession::recallMark()
{
    _points.recall(pointOf(_block->command));
    return ack();
}

QByteArray NinepinSession::editPreset()
{
    _editPreset = {data(0), _block->count > 1 ? data(1) : std::uint8_t(0)};
    return ack();
}

QByteArray NinepinSession::prerollTime()
{
    const QmxTimecode time = timeOfBlock();
    if (!time.isValid()) return refused();
    _prerollTime = time;
    return ack();
}

QByteArray NinepinSession::timerMode()
{
    _timerMode = data(0);
    return ack();
}

QByteArray NinepinSession::autoMode()
{
    constexpr std::uint8_t on = 0x41;
    _autoMode = _block->command == on;
    return ack();
}

QByteArray NinepinSession::generatorPreset()
{
    QmxTimecode time = timeOfBlock();
    if (!time.isValid()) return refused();
    time.setDropFrame(false); // how it counts is a setting of its own
    give(DeckOrder::set, {{QStringLiteral("name"), QStringLiteral("timecode_preset_hour")},
                          {QStringLiteral("value"), time.toString()}});
    return ack();
}

QByteArray NinepinSession::generatorBits()
{
    std::copy_n(_block->data.begin(), _userBits.size(), _userBits.begin());
    // As they are read: the last groups first, as hours stand before frames.
    QByteArray shown;
    for (auto bits = _userBits.rbegin(); bits != _userBits.rend(); ++bits)
        shown.append(char(*bits));
    give(DeckOrder::set, {{QStringLiteral("name"), QStringLiteral("timecode_user_bits")},
                          {QStringLiteral("value"), QString::fromLatin1(shown.toHex())}});
    return ack();
}

QByteArray NinepinSession::timerPreset()
{
    const QmxTimecode time = timeOfBlock();
    if (!time.isValid()) return refused();
    _timerOffset = time.toFrameNumber() - int(std::max<qint64>(_view->frame, 0));
    return ack();
}

QByteArray NinepinSession::timerReset()
{
    _timerOffset = -int(std::max<qint64>(_view->frame, 0));
    return ack();
}
