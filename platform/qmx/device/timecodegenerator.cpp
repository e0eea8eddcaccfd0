// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/timecodegenerator.h"

#include "platform/qmx/core/qmxids.h"

namespace {
/// Digits that a rate does not have count on from the next second.
QmxTimecode counted(QmxTimecode timecode, int fps)
{
    if (fps <= 0) return timecode;
    timecode.setFPS(fps);
    return timecode.advanced(0);
}
} // namespace

void TimecodeGenerator::setSource(const QmxId &source, int fps)
{
    _followsInput =
        source.isValid() && source != QmxIds::timecodeGenerator && source != QmxIds::timecodeTimeOfDay;
    _followsClock = source == QmxIds::timecodeTimeOfDay;
    if (!_next.isValid()) _next = QmxTimecode(0, 0, 0, 0, fps, false);
    _fps = fps;
    _next = counted(_next, fps);
}

QmxTimecode TimecodeGenerator::jam(const QmxTimecode &value, const QmxRecordTable::Memory &memory)
{
    const auto left = [&](const QmxTimecode &timecode) {
        return timecode.isValid() && timecode.timecodeMatches(value);
    };
    const bool again = _jam.isValid() && left(_jam) && (memory.written > _writtenAtJam || _jamContinued);
    const bool continues = memory.last.isValid() && (left(memory.last) || left(memory.lastNotFirst) || again);
    _jam = value;
    _jamContinued = continues;
    _writtenAtJam = memory.written;

    QmxTimecode first = continues ? memory.last : value;
    first.setDropFrame(value.isDropFrame());
    first = counted(first, _fps);
    return continues ? first.advanced(1) : first;
}

QmxTimecode TimecodeGenerator::step(const QmxTimecode &input, bool hasPicture)
{
    if (_followsInput) {
        if (input.isValid() || hasPicture)
            _value = input;
        else
            _value = _value.advanced(1);
        return _value;
    }
    _value = _next;
    _next = _next.advanced(1);
    return _value;
}

void TimecodeGenerator::passOver()
{
    if (_followsClock) _next = _next.advanced(1);
}

void RunningTimecode::step(qint64 number, const QmxTimecode &timecode)
{
    // One repeat is no standstill: a source may hold a frame for two.
    constexpr int standstill = 2;
    const bool hadOne = _last.isValid();
    const bool moved = timecode.isValid() && hadOne && !timecode.timecodeMatches(_last);
    if (!timecode.isValid()) {
        _running = false;
    } else if (moved) {
        // The first frame with a new value, or the first with any value, begins the run.
        if (!_running && _repeats > 0) _since = number;
        _running = true;
        _repeats = 0;
    } else if (!hadOne) {
        _since = number;
        _repeats = 0;
    } else if (++_repeats >= standstill) {
        _running = false;
    }
    _last = timecode;
}

std::optional<qint64> RunningTimecode::runningSince() const
{
    if (!_running) return {};
    return _since;
}
