// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/ninepin/ninepinsession.h"

#include <algorithm>

NinepinSession::NinepinSession(const NinepinOptions &options, Give give)
    : _options(options),
      _give(std::move(give)),
      _prerollTime(0, 0, int(options.preroll.count()), 0, 25, false)
{}

QByteArray NinepinSession::answer(const NinepinBlock &block, const DeckView &view, qint64 now,
                                  bool mayOperate)
{
    look(view, now);
    const Row *row = find(block);
    if (!row || block.count < row->least || block.count > row->most) return refused();
    const bool moves = row->kind == Kind::Motion || row->kind == Kind::Preset;
    if ((view.isLocal && moves) || (!mayOperate && isCommand(block))) return refused();
    _block = &block;
    _view = &view;
    QByteArray reply = (this->*row->answer)();
    _block = nullptr;
    _view = nullptr;
    return reply;
}

const NinepinSession::Row *NinepinSession::find(const NinepinBlock &block)
{
    const auto all = rows();
    const auto row = std::find_if(all.begin(), all.end(), [&block](const Row &one) {
        return one.group == block.group && one.command == block.command;
    });
    return row == all.end() ? nullptr : &*row;
}

bool NinepinSession::isCommand(const NinepinBlock &block)
{
    const Row *row = find(block);
    return row && row->kind != Kind::Sense && row->answer != &NinepinSession::deviceType;
}

void NinepinSession::look(const DeckView &view, qint64 now)
{
    _now = now;
    _view = &view;
    if (view.timecode.isValid()) _lastTime = view.timecode;
    followCue();
    followEdit();
    followSequence();
    _view = nullptr;
}

std::span<const std::uint8_t, 4> NinepinSession::time() const
{
    return std::span<const std::uint8_t, 4>(_block->data.data(), 4);
}

QmxTimecode NinepinSession::timeOfBlock() const
{
    return NinepinTimecode::decode(time(), _view->fps, _view->drop);
}

quint64 NinepinSession::give(const char *verb, const QMap<QString, QString> &arguments, bool wait)
{
    const quint64 id = ++_orders;
    _give({QString::fromLatin1(verb), arguments, false, wait, id});
    return id;
}

void NinepinSession::answered(const DeckAnswer &answer)
{
    if (answer.id == _cueOrder) _cueSettled = true;
    if (answer.done) return;
    if (answer.id == _cueOrder && _cue != Cue::None) _cue = Cue::Failed;
    if (answer.id == _playOrder && _sequence != Sequence::None && _rolling) abortSequence();
    if (answer.id == _takeOrder && _edit != Edit::None) abortEdit();
}
