// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/remote/ninepin/ninepineditpoints.h"

#include <algorithm>

bool NinepinEditPoints::trim(Which which, int frames)
{
    if (!isSet(which)) return false;
    _marks[which] = _marks[which].advanced(frames);
    return true;
}

void NinepinEditPoints::reset(Which which)
{
    if (isSet(which)) _last[which] = _marks[which];
    _marks[which] = {};
}

void NinepinEditPoints::recall(Which which)
{
    if (_last[which].isValid()) _marks[which] = _last[which];
}

int NinepinEditPoints::duration() const
{
    if (!isSet(In) || !isSet(Out)) return 0;
    return std::max(0, _marks[Out].toFrameNumber() - _marks[In].toFrameNumber());
}

bool NinepinEditPoints::holds(const QmxTimecode &timecode) const
{
    if (!timecode.isValid() || duration() == 0) return false;
    const int at = timecode.toFrameNumber();
    return at >= _marks[In].toFrameNumber() && at < _marks[Out].toFrameNumber();
}
