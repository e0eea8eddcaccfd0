// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/capturememory.h"

#include <algorithm>
#include <iterator>

qint64 CaptureMemory::affordable(qint64 machineBytes, qint64 poolBytes)
{
    // Pictures may have less than half of the machine; a small machine gives an eighth on top of its pool.
    constexpr int picturePercent = 45;
    constexpr int leastShare = 8;
    return std::max(machineBytes / 100 * picturePercent - poolBytes, machineBytes / leastShare);
}

bool CaptureMemory::isUsable(const CapturedFrame &frame) const
{
    // The few frames since a timecode began to run are handed out as they are.
    if (!isOn()) return true;
    return frame.hasPicture && (frame.coding != CapturedFrame::Coded || frame.coded.isValid());
}

void CaptureMemory::setBounds(const Bounds &bounds)
{
    if (bounds == _bounds) return;
    _bounds = bounds;
    if (!isOn()) {
        clear();
        return;
    }
    while (size() > _bounds.frames || (_bytes > _bounds.bytes && !_frames.empty()))
        forgetOldest();
}

/// What it holds has changed, or it has just come.
void CaptureMemory::weigh(CapturedFrame &frame)
{
    const qint64 raw = frame.picture.isValid() ? frame.picture.buffer().capacity() : 0;
    const qint64 kept = (frame.coded.isValid() ? frame.coded.capacity() : 0) +
                        (frame.audio.isValid() ? frame.audio.buffer().capacity() : 0);
    _rawBytes += raw - frame.rawWeight;
    _bytes += kept - frame.keptWeight;
    frame.rawWeight = raw;
    frame.keptWeight = kept;
}

void CaptureMemory::remember(const CapturedFramePtr &frame)
{
    if (!isUsable(*frame)) {
        clear();
        return;
    }
    if (!_frames.empty() && _frames.back()->number + 1 != frame->number) clear();
    frame->remembered = CapturedFrame::Remembered;
    _frames.push_back(frame);
    weigh(*frame);
    if (frame->coding == CapturedFrame::Raw) _raw.push_back(frame);
    if (!isOn()) return;
    while (size() > _bounds.frames || (_bytes > _bounds.bytes && !_frames.empty()))
        forgetOldest();
}

void CaptureMemory::settle(const CapturedFramePtr &frame)
{
    if (frame->remembered != CapturedFrame::Remembered) return;
    if (!isUsable(*frame)) {
        ++_restarts;
        while (_frames.front() != frame)
            forgetOldest();
        forgetOldest();
        return;
    }
    weigh(*frame);
    while (isOn() && _bytes > _bounds.bytes && !_frames.empty())
        forgetOldest();
}

void CaptureMemory::takeUncoded(QList<CapturedFramePtr> &frames)
{
    std::erase_if(_raw, [&frames](const CapturedFramePtr &frame) {
        if (frame->remembered != CapturedFrame::Remembered || frame->coding != CapturedFrame::Raw ||
            !frame->hasPicture)
            return true;
        if (frame->waitsForWork) return false;
        frame->coding = CapturedFrame::Queued;
        frames.append(frame);
        return true;
    });
}

std::deque<CapturedFramePtr> CaptureMemory::handOut(qint64 next, qint64 first)
{
    auto begin = _frames.end();
    for (qint64 number = next - 1; begin != _frames.begin() && number >= first; --number) {
        const CapturedFrame &frame = **std::prev(begin);
        if (frame.number != number || !isUsable(frame)) break;
        --begin;
    }
    std::deque<CapturedFramePtr> row(begin, _frames.end());
    for (const CapturedFramePtr &frame : row)
        frame->remembered = CapturedFrame::New;
    _frames.erase(begin, _frames.end());
    clear();
    return row;
}

void CaptureMemory::forgetOldest()
{
    CapturedFrame &frame = *_frames.front();
    frame.remembered = CapturedFrame::Forgotten;
    _bytes -= frame.keptWeight;
    _rawBytes -= frame.rawWeight;
    _frames.pop_front();
}

void CaptureMemory::clear()
{
    while (!_frames.empty())
        forgetOldest();
    _raw.clear();
    _bytes = 0;
    _rawBytes = 0;
}

void CaptureMemory::beginAnew()
{
    if (isOn() && !_frames.empty()) ++_restarts;
    clear();
}
