// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamliveedge.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr double nsPerSecond = 1e9;
/// So many decoded frames the device wants before it begins.
constexpr int leastInDevice = 4;
} // namespace

void StreamLiveEdge::begin(bool growing, int length, double rate)
{
    *this = StreamLiveEdge();
    _growing = growing;
    _length = length;
    if (rate > 0) _rate = rate;
}

void StreamLiveEdge::grew(bool growing, int length, bool isDry, qint64 now)
{
    // The end that is seen only now was waited for as well.
    if (_growing && !growing && isDry && _began) _waited = true;
    if (length > _length) {
        if (_grown) beLate(now - _grewAt - flushTime);
        _grewAt = now;
        _grown = true;
    }
    _length = length;
    _growing = growing;
}

void StreamLiveEdge::changed(bool growing, int length)
{
    _growing = growing;
    _length = length;
    _grewAt = 0;
    _grown = _flows = _paced = false;
}

/// A recorder on a busy machine, or on a slow medium, is late again and again: whoever had to wait for it
/// begins further behind. What runs goes on as it is, since more distance means to hold the picture.
void StreamLiveEdge::beLate(qint64 by)
{
    constexpr qint64 more = 80'000'000; // two looks at the file
    _reserve = std::clamp(by + more, _reserve, longestReserve);
}

void StreamLiveEdge::restart()
{
    _flows = _paced = _began = false;
}

int StreamLiveEdge::framesIn(qint64 time) const
{
    return int(std::ceil(double(time) * _rate / nsPerSecond));
}

int StreamLiveEdge::distance(qint64 now) const
{
    const qint64 sinceFlush = _grown ? std::min(now - _grewAt, flushTime) : 0;
    return framesIn(flushTime + _reserve - sinceFlush);
}

int StreamLiveEdge::release(int position, int loaded, double speed, int waiting, qint64 now)
{
    if (!_growing || speed < 1.0) return loaded;
    const int ahead = _length - position;
    if (speed > 1.0 && !_paced) {
        // Far from the end the device may have what it likes.
        if (ahead > speed * framesIn(flushTime + _reserve)) return loaded;
        return std::clamp(std::max(leastInDevice, distance(now)) - waiting, 0, loaded);
    }
    if (ahead <= 0 && waiting == 0 && _began && !_waited) {
        _flows = false;
        _waited = true;
        ++_waits;
    }
    if (!_flows) _flows = ahead >= distance(now);
    if (!_flows || loaded == 0) return 0;
    _began = true;
    return loaded;
}
