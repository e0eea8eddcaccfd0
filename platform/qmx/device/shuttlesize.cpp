// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/shuttlesize.h"

#include <algorithm>
#include <bit>

namespace {
constexpr qint64 second = QmxClock::nsPerSecond;
/// What was found out so long ago says nothing about the machine any more.
constexpr qint64 forgotten = 5 * second;
constexpr qint64 leastPatience = second, mostPatience = 16 * second;
/// No room so soon after a step up: it was too early.
constexpr qint64 relapse = 2 * second;
/// The last one counts this part: a picture that was held up once does not decide.
constexpr int meanOf = 8;
constexpr quint32 lateWindow = 0xffff; // ticks
constexpr int mostLate = 2;
constexpr int mostOver = 2; // ticks
/// A larger picture may cost so much of the time there is.
constexpr double roomy = 0.75;
constexpr double leastGrowth = 1.2, mostGrowth = 4;
} // namespace

void ShuttleSize::decoded(int divisor, qint64 time)
{
    const int step = std::bit_width(unsigned(std::max(divisor, 1))) - 1;
    if (step >= steps) return;
    Cost &cost = _cost[size_t(step)];
    cost.count = std::min(cost.count + 1, meanOf);
    cost.mean += (double(time) - cost.mean) / cost.count;
    if (step == _step && step > 0 && cost.isKnown() && _before > 0) {
        _growth[size_t(step)] = std::clamp(_before / std::max(cost.mean, 1.0), leastGrowth, mostGrowth);
        _before = 0;
    }
}

void ShuttleSize::change(int step, qint64 now)
{
    const bool grows = step < _step;
    if (grows)
        _grown = now;
    else if (now - _grown < relapse)
        _patience = std::min(2 * _patience, mostPatience);
    const Cost &cost = _cost[size_t(_step)];
    _before = !grows && cost.isKnown() ? cost.mean : 0;
    _step = step;
    _cost[size_t(step)] = {};
    _late = 0;
    _overTicks = 0;
    _since = now;
}

bool ShuttleSize::isShort(const Tick &tick)
{
    _late = (_late << 1 | (tick.late ? 1U : 0U)) & lateWindow;
    const Cost &cost = _cost[size_t(_step)];
    const bool isOver = cost.isKnown() && cost.mean > double(tick.length) * tick.workers;
    _overTicks = isOver ? _overTicks + 1 : 0;
    return _overTicks > mostOver || std::popcount(_late) > mostLate;
}

bool ShuttleSize::hasRoom(const Tick &tick) const
{
    const Cost &cost = _cost[size_t(_step)];
    const double larger = cost.mean * _growth[size_t(_step)];
    return _late == 0 && cost.isKnown() && larger < roomy * double(tick.length) * tick.workers;
}

void ShuttleSize::tick(const Tick &tick)
{
    if (tick.now - _last > forgotten) {
        _step = 0;
        _late = 0;
        _overTicks = 0;
        _patience = leastPatience;
    }
    _last = tick.now;
    const int last = std::min(steps, int(std::bit_width(unsigned(std::max(tick.coarsest, 1))))) - 1;
    if (_step > last) {
        change(last, tick.now);
    } else if (isShort(tick)) {
        if (_step < last) change(_step + 1, tick.now);
        _since = tick.now;
    } else if (_step == 0) {
        if (tick.now - _grown > mostPatience) _patience = leastPatience;
    } else if (!hasRoom(tick)) {
        _since = tick.now;
    } else if (tick.now - _since >= _patience) {
        change(_step - 1, tick.now);
    }
}
