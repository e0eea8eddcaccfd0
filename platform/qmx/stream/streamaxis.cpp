// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamaxis.h"

#include <algorithm>
#include <limits>

void StreamAxis::append(const Gap &gap)
{
    if (gap.end < _end)
        _gaps.append(gap);
    else { // nothing behind it: the stream ends here
        _end = gap.begin;
        _grows = gap.grows;
        _lastFirst = gap.first;
    }
}

std::optional<StreamAxis::Gap> StreamAxis::gapOf(int frame) const
{
    for (const Gap &gap : _gaps)
        if (frame >= gap.begin && frame < gap.end) return gap;
    return {};
}

int StreamAxis::count(int frame) const
{
    int count = frame;
    for (const Gap &gap : _gaps)
        if (frame > gap.begin) count -= std::min(frame, gap.end) - gap.begin;
    return count;
}

/// A place in a gap that is full-grown is that behind it.
int StreamAxis::settled(int frame) const
{
    for (const Gap &gap : _gaps)
        if (frame >= gap.begin && frame < gap.end) {
            if (gap.grows) return gap.begin;
            frame = gap.end;
        }
    return frame;
}

int StreamAxis::advanced(int from, qint64 by) const
{
    return by < 0 ? backward(from, -by) : forward(from, by);
}

int StreamAxis::forward(int from, qint64 by) const
{
    qint64 frame = settled(from);
    for (const Gap &gap : _gaps) {
        if (gap.begin < frame || frame + by < gap.begin) continue;
        if (gap.grows) return gap.begin;
        by -= gap.begin - frame;
        frame = gap.end;
    }
    return int(std::clamp<qint64>(frame + by, -1, _end));
}

int StreamAxis::backward(int from, qint64 by) const
{
    qint64 frame = settled(from);
    for (auto gap = _gaps.crbegin(); gap != _gaps.crend(); ++gap) {
        if (gap->end > frame || frame - by >= gap->end) continue;
        by -= frame - gap->end;
        frame = gap->begin;
    }
    return int(std::clamp<qint64>(frame - by, -1, _end));
}

int StreamAxis::sought(int frame) const
{
    if (frame < 0) return -1;
    if (frame >= _end) return _grows ? backward(_end, 1) : _end;
    const std::optional<Gap> gap = gapOf(frame);
    if (!gap) return frame;
    if (frame - gap->begin > gap->end - frame) return backward(gap->end, gap->end - frame);
    return gap->grows ? backward(gap->begin, 1) : forward(gap->end, frame - gap->begin);
}

std::optional<StreamAxis::Edge> StreamAxis::edge(int frame) const
{
    for (const Gap &gap : _gaps)
        if (gap.grows && gap.begin >= frame) return Edge{gap.first, gap.begin, gap.end};
    if (!_grows) return {};
    return Edge{_lastFirst, _end, std::numeric_limits<int>::max()};
}

StreamAxis StreamAxis::upTo(int end) const
{
    if (end >= _end) return *this;
    StreamAxis part = *this;
    part._end = end;
    part._grows = false;
    return part;
}
