// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/capturequeue.h"

#include "platform/qmx/core/qmxids.h"

#include <algorithm>
#include <utility>

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
    if (hasPicture && proof) frame.meta().insert(QmxIds::pictureProof, QVariant::fromValue(proof));
    return frame;
}

void CaptureQueue::setBounds(int frames, qint64 rawBytes)
{
    _maxFrames = std::max(frames, 1);
    _maxRawBytes = rawBytes;
}

qint64 CaptureQueue::rawBytes() const
{
    qint64 bytes = _memory.rawBytes();
    for (const CapturedFramePtr &frame : _frames)
        bytes += (frame->picture.isValid() ? frame->picture.buffer().capacity() : 0) +
                 (frame->coded.isValid() ? frame->coded.capacity() : 0);
    return bytes;
}

bool CaptureQueue::isFull(qint64 bytes) const
{
    const bool hasEarlier = _recording && _memory.isOn();
    const CaptureMemory::Bounds more = hasEarlier ? _memory.bounds() : CaptureMemory::Bounds();
    return size() >= _maxFrames + more.frames || rawBytes() + bytes > _maxRawBytes + more.bytes;
}

bool CaptureQueue::push(const CapturedFramePtr &frame)
{
    const qint64 bytes = frame->picture.isValid() ? frame->picture.buffer().capacity() : 0;
    bool lost = false;
    if (_memory.isOn() && !_recording)
        while (size() >= _maxFrames)
            take();
    if (isFull(bytes)) {
        // What has been read already goes first; frames that nobody records make room for new ones.
        _memory.beginAnew();
        while (isFull(bytes) && !_frames.empty() && !_recording) {
            _frames.pop_front();
            lost = true;
        }
        if (_recording && isFull(bytes)) {
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
    // A take that begins earlier has thousands: none is looked at twice.
    while (_ready < qsizetype(_frames.size()) && isReady(*_frames[size_t(_ready)]))
        ++_ready;
    return int(_ready);
}

CapturedFramePtr CaptureQueue::take()
{
    if (_frames.empty() || !isReady(*_frames.front())) return {};
    CapturedFramePtr frame = _frames.front();
    _frames.pop_front();
    _ready = std::max<qsizetype>(_ready - 1, 0);
    const bool justStarted = _runningSince && frame->number >= *_runningSince;
    if (!_recording && (_memory.isOn() || justStarted)) _memory.remember(frame);
    return frame;
}

void CaptureQueue::skip()
{
    if (_memory.isOn())
        while (take()) {}
    else
        clear();
}

void CaptureQueue::clear()
{
    _frames.clear();
    _ready = 0;
    _memory.clear();
    _gap = false;
}

bool CaptureQueue::startedRecently(qint64 now) const
{
    return _runningSince && now - *_runningSince <= preRoll;
}

void CaptureQueue::setRunningSince(std::optional<qint64> number, qint64 now)
{
    const bool isOther = std::exchange(_runningSince, number) != number;
    if (!_memory.isOn() && (isOther || !startedRecently(now))) _memory.clear();
}

void CaptureQueue::beginRecord(qint64 now, const TakeBegin &begin)
{
    if (_recording) return;
    _recording = true;
    _ready = 0;
    _gap = false;
    const auto isLost = [](const CapturedFramePtr &frame) {
        return frame->hasPicture && frame->coding == CapturedFrame::Coded && !frame->coded.isValid();
    };
    const auto lost = std::find_if(_frames.rbegin(), _frames.rend(), isLost);
    if (lost != _frames.rend()) {
        _frames.erase(_frames.begin(), lost.base());
        _memory.clear();
    }
    qint64 first = now + 1 - begin.earlier;
    if (startedRecently(now)) first = std::min(first, *_runningSince);
    // (The frame of this very tick may be still to come.)
    const qint64 next = _frames.empty() ? std::max(_memory.newest() + 1, now) : _frames.front()->number;
    insertEarlier(_memory.handOut(next, begin.first.value_or(first)));
    while (begin.first && !_frames.empty() && _frames.front()->number < *begin.first)
        _frames.pop_front();
    for (const CapturedFramePtr &frame : _frames)
        frame->afterGap = false;
}

/// They are of a time when nobody knew of the take.
void CaptureQueue::insertEarlier(std::deque<CapturedFramePtr> earlier)
{
    if (earlier.empty()) return;
    _frames.insert(_frames.begin(), earlier.begin(), earlier.end());
    const QmxMetadataHash newest = _frames.back()->metadata;
    for (const CapturedFramePtr &frame : _frames) {
        // The camera's flag of that time would end the take at once.
        if (frame->metadata.contains(QmxIds::cameraRecord)) frame->metadata.remove(QmxIds::cameraRecord);
        for (const QmxId &key : {QmxIds::recordName, QmxIds::effectiveFrameRate}) {
            const QVariant value = newest.value(key);
            if (frame->metadata.value(key) == value) continue;
            if (value.isValid())
                frame->metadata.insert(key, value);
            else
                frame->metadata.remove(key);
        }
    }
}

void CaptureQueue::endRecord()
{
    _recording = false;
    _gap = false;
    for (const CapturedFramePtr &frame : _frames)
        frame->afterGap = false;
}

bool CaptureQueue::wantsCoded(const CapturedFrame &frame) const
{
    return _recording || (_memory.isOn() && frame.remembered != CapturedFrame::Forgotten);
}

QList<CapturedFramePtr> CaptureQueue::takeUncoded()
{
    QList<CapturedFramePtr> frames;
    if (!_recording && !_memory.isOn()) return frames;
    _memory.takeUncoded(frames);
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
    _memory.settle(frame);
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

qint64 CaptureQueue::codedBytes() const
{
    qint64 bytes = 0;
    for (const CapturedFramePtr &frame : _frames)
        bytes += (frame->coded.isValid() ? frame->coded.capacity() : 0) +
                 (frame->audio.isValid() ? frame->audio.buffer().capacity() : 0);
    return bytes;
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
