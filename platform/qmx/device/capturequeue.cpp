// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/capturequeue.h"

#include "platform/qmx/core/qmxids.h"

#include <algorithm>

QmxFrame CapturedFrame::toFrame() const
{
    QmxFrame frame;
    QmxImage image(desc);
    if (hasPicture) image = QmxImage(desc, {coded});
    image.setValid(hasPicture);
    frame.vids().append(image);
    if (audio.desc().isValid()) frame.auds().append(audio);
    frame.meta() = metadata;
    frame.meta().insert(QmxIds::timecode, QVariant::fromValue(timecode));
    return frame;
}

void CaptureQueue::setBounds(int frames, qint64 rawBytes)
{
    _maxFrames = std::max(frames, 1);
    _maxRawBytes = rawBytes;
}

qint64 CaptureQueue::rawBytes() const
{
    qint64 bytes = 0;
    for (const auto *queue : {&_frames, &_history})
        for (const CapturedFramePtr &frame : *queue)
            bytes += (frame->picture.isValid() ? frame->picture.buffer().capacity() : 0) +
                     (frame->coded.isValid() ? frame->coded.capacity() : 0);
    return bytes;
}

bool CaptureQueue::push(const CapturedFramePtr &frame)
{
    const qint64 bytes = frame->picture.isValid() ? frame->picture.buffer().capacity() : 0;
    const auto full = [&] { return size() >= _maxFrames || rawBytes() + bytes > _maxRawBytes; };
    bool lost = false;
    if (full()) {
        // What has been read already goes first; frames that nobody records make room for new ones.
        _history.clear();
        while (full() && !_frames.empty() && !_recording) {
            _frames.pop_front();
            lost = true;
        }
        if (_recording && full()) {
            _gap = true;
            return true;
        }
    }
    frame->afterGap = _gap && _recording;
    _gap = false;
    _frames.push_back(frame);
    return lost;
}

bool CaptureQueue::isReady(const CapturedFrame &frame) const
{
    return !_recording || !frame.hasPicture || frame.coding == CapturedFrame::Coded;
}

int CaptureQueue::readable() const
{
    if (!_recording) return size();
    const auto end = std::find_if(_frames.begin(), _frames.end(),
                                  [this](const CapturedFramePtr &frame) { return !isReady(*frame); });
    return int(end - _frames.begin());
}

CapturedFramePtr CaptureQueue::take()
{
    if (_frames.empty() || !isReady(*_frames.front())) return {};
    CapturedFramePtr frame = _frames.front();
    _frames.pop_front();
    if (!_recording && _runningSince && frame->number >= *_runningSince) _history.push_back(frame);
    return frame;
}

void CaptureQueue::clear()
{
    _frames.clear();
    _history.clear();
    _gap = false;
}

void CaptureQueue::forgetHistory(qint64 now)
{
    if (!_runningSince || now - *_runningSince > preRoll) _history.clear();
}

void CaptureQueue::setRunningSince(std::optional<qint64> number, qint64 now)
{
    if (_runningSince != number) _history.clear();
    _runningSince = number;
    forgetHistory(now);
}

void CaptureQueue::beginRecord(qint64 now, std::optional<qint64> first)
{
    if (_recording) return;
    _recording = true;
    _gap = false;
    forgetHistory(now);
    const bool triggered = !_history.empty();
    _frames.insert(_frames.begin(), _history.begin(), _history.end());
    _history.clear();
    while (first && !_frames.empty() && _frames.front()->number < *first)
        _frames.pop_front();
    for (const CapturedFramePtr &frame : _frames) {
        frame->afterGap = false;
        // The camera's flag of that time would end the take at once.
        if (triggered) frame->metadata.remove(QmxIds::cameraRecord);
    }
}

void CaptureQueue::endRecord()
{
    _recording = false;
    _gap = false;
    for (const CapturedFramePtr &frame : _frames)
        frame->afterGap = false;
}

QList<CapturedFramePtr> CaptureQueue::takeUncoded()
{
    QList<CapturedFramePtr> frames;
    if (!_recording) return frames;
    for (const CapturedFramePtr &frame : _frames) {
        if (frame->coding != CapturedFrame::Raw || !frame->hasPicture || frame->waitsForWork) continue;
        frame->coding = CapturedFrame::Queued;
        frames.append(frame);
    }
    return frames;
}

bool CaptureQueue::coded(const CapturedFramePtr &frame, const QmxBuffer &buffer)
{
    frame->coding = CapturedFrame::Coded;
    frame->coded = buffer;
    frame->picture = QmxPicture();
    if (buffer.isValid()) return false;
    const auto at = std::find(_frames.begin(), _frames.end(), frame);
    if (at == _frames.end() || !_recording) return false;
    const auto next = _frames.erase(at);
    if (next == _frames.end())
        _gap = true;
    else
        (*next)->afterGap = true;
    return true;
}

QmxTimecode CaptureQueue::stamp(const QmxTimecode &first)
{
    QmxTimecode timecode = first;
    for (const CapturedFramePtr &frame : _frames) {
        frame->timecode = timecode;
        timecode = timecode.advanced(1);
    }
    return timecode;
}
