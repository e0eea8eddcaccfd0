// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/device/playbackqueue.h"

#include "platform/qmx/core/qmxids.h"

#include <algorithm>
#include <cstring>

namespace {
bool isHold(const QmxFrame &frame)
{
    return frame.meta().value(QmxIds::hold).toBool();
}

/// Its stream had nothing to give before: nobody was late.
bool isAfterWait(const QmxFrame &frame)
{
    return frame.meta().value(QmxIds::afterWait).toBool();
}

QmxBuffer firstBuffer(const QmxFrame &frame)
{
    if (frame.vids().isEmpty()) return {};
    return frame.vids().first().buffers().value(0);
}

/// Bytes taken from all over two buffers of one size are equal. Enough to tell a frame that could be read
/// from the black one that stood in for it, without going through a whole picture.
bool looksAlike(const QmxBuffer &a, const QmxBuffer &b)
{
    constexpr qsizetype samples = 64, sampleBytes = 64;
    const qsizetype stride = std::max(sampleBytes, a.size() / samples);
    for (qsizetype at = 0; at < a.size(); at += stride) {
        const qsizetype bytes = std::min(sampleBytes, a.size() - at);
        if (std::memcmp(a.constData() + at, b.constData() + at, size_t(bytes)) != 0) return false;
    }
    return true;
}

/// The same frame of the same stream, also when it has been read from the medium once more since: a shuttle
/// runs so far ahead of the output that the frame on it has left the cache when the next speed comes back to
/// it.
bool isSameFrame(const QmxFrame &a, const QmxFrame &b)
{
    if (a.origin() != b.origin() ||
        a.meta().value(QmxIds::frameNumber) != b.meta().value(QmxIds::frameNumber))
        return false;
    const QmxBuffer first = firstBuffer(a), second = firstBuffer(b);
    if (first == second) return true;
    return a.origin() != 0 && first.size() == second.size() &&
           a.vids().value(0).desc() == b.vids().value(0).desc() && looksAlike(first, second);
}
} // namespace

PlaybackQueue::PlaybackQueue()
{
    beginRun(false);
}

void PlaybackQueue::beginRun(bool byFlush)
{
    _newest = std::make_shared<Run>();
    _newest->id = ++_lastRun;
    _newest->byFlush = byFlush;
    _gap = false;
}

bool PlaybackQueue::write(const QmxFrame &frame, const DecodedPicturePtr &picture, qint64 now)
{
    Item item;
    item.frame = frame;
    item.picture = picture;
    item.run = _newest;
    item.first = !_newest->hasFrames;
    if (item.first) {
        _newest->hasFrames = true;
        _newest->firstWritten = now;
    }
    _items.push_back(item);
    if (isAfterWait(frame)) _gap = false;
    if (!_gap || _gapReported || _newest->id != _shown.run) return false;
    _gapReported = true;
    return true;
}

void PlaybackQueue::setup(const QmxVideoDeviceSetup &setup)
{
    beginRun(false);
    Item item;
    item.setup = setup;
    item.run = _newest;
    _items.push_back(item);
}

const PlaybackQueue::Item *PlaybackQueue::firstOfNewest() const
{
    const Item *kept = nullptr;
    for (const Item &item : _items) {
        if (item.setup) continue;
        if (item.first && item.run == _newest) return &item;
        // Nothing has been written since the flush that kept it: it is still what comes next.
        if (item.kept && !_newest->hasFrames) kept = &item;
    }
    return kept;
}

void PlaybackQueue::flush()
{
    std::deque<Item> left;
    for (auto item = _items.rbegin(); item != _items.rend(); ++item) {
        if (!item->setup) continue;
        left.push_back(*item);
        break;
    }
    const Item *first = firstOfNewest();
    const auto awaited =
        std::find_if(_items.begin(), _items.end(), [](const Item &item) { return item.awaited; });
    if (awaited != _items.end() && &*awaited != first) left.push_back(*awaited);
    if (first) {
        left.push_back(*first);
        left.back().kept = true;
    }
    _items = std::move(left);
    beginRun(true);
}

void PlaybackQueue::clear()
{
    _items.clear();
    _shown = Shown();
    _shownUnderSetup = false;
    _reportedKey.reset();
    beginRun(false);
}

int PlaybackQueue::frames() const
{
    return int(std::count_if(_items.begin(), _items.end(), [](const Item &item) { return !item.setup; }));
}

qint64 PlaybackQueue::codedBytes() const
{
    qint64 bytes = 0;
    for (const Item &item : _items) {
        for (const QmxImage &image : item.frame.vids())
            for (const QmxBuffer &buffer : image.buffers())
                bytes += buffer.isValid() ? buffer.capacity() : 0;
        for (const QmxAudio &audio : item.frame.auds())
            bytes += audio.isValid() ? audio.buffer().capacity() : 0;
    }
    return bytes;
}

std::optional<QmxFrame> PlaybackQueue::current() const
{
    if (const Item *first = firstOfNewest()) return first->frame;
    if (_shown.valid) return _shown.frame;
    return {};
}

QList<DecodedPicturePtr> PlaybackQueue::ahead(int frames) const
{
    QList<DecodedPicturePtr> pictures;
    for (const Item &item : _items) {
        if (item.setup) continue;
        if (frames-- <= 0) break;
        pictures.append(item.picture);
    }
    return pictures;
}

bool PlaybackQueue::equalsShown(const Item &item) const
{
    return _shown.valid && _shownUnderSetup && isSameFrame(item.frame, _shown.frame);
}

bool PlaybackQueue::hasStarted(Run &run, qint64 now) const
{
    if (run.started) return true;
    int decoded = 0;
    for (const Item &item : _items) {
        if (item.setup || item.run.get() != &run) continue;
        if (item.picture->state != DecodedPicture::Done) break;
        ++decoded;
    }
    run.started = decoded >= startFrames || std::chrono::nanoseconds(now - run.firstWritten) >= startTime;
    return run.started;
}

bool PlaybackQueue::isDue(const Item &item, qint64 now) const
{
    if (item.picture->state != DecodedPicture::Done) return false;
    if (isHold(item.frame) || item.kept) return true;
    // A run whose first frame was on the output already is under way even before it counts as started.
    return hasStarted(*item.run, now) || (_shown.valid && _shown.run == item.run->id);
}

bool PlaybackQueue::setupWaitsBehindFront() const
{
    return std::any_of(_items.begin() + 1, _items.end(), [](const Item &item) { return !!item.setup; });
}

/// The set-up at the front comes into force with the first frame after it, or at once when nothing of
/// playback is on the output. Whether the front has changed.
bool PlaybackQueue::applySetup(qint64 now, Step &step)
{
    const auto next =
        std::find_if(_items.begin(), _items.end(), [](const Item &item) { return !item.setup; });
    if (next == _items.end() ? _shown.valid : !isDue(*next, now)) return false;
    while (!_items.empty() && _items.front().setup) {
        step.setup = _items.front().setup;
        _items.pop_front();
    }
    _shownUnderSetup = false;
    return true;
}

/// Frames that need no tick because their picture is on the output. Whether the front has changed.
bool PlaybackQueue::passOver(Step &step)
{
    Item item = _items.front();
    if (!equalsShown(item)) return false;
    if (item.picture->state != DecodedPicture::Done) item.picture = _shown.picture;
    const bool takenAsShown = item.first && item.run->byFlush && _shown.run != item.run->id;
    if (!takenAsShown && !setupWaitsBehindFront()) return false;
    _items.pop_front();
    const bool isNew = step.newFrame;
    show(item, step);
    step.newFrame = isNew;
    return true;
}

void PlaybackQueue::show(const Item &item, Step &step)
{
    _shown = {item.frame, item.picture, item.run->id, isHold(item.frame), true};
    _shownUnderSetup = true;
    _gap = false;
    _gapReported = false;
    step.newFrame = true;
    if (!item.frame.isKeyFrame()) {
        _reportedKey.reset();
        return;
    }
    // An end frame is written again and again; it is reported once, and once more when it begins to hold
    // (looping has been switched off on it).
    if (_reportedKey && _reportedKey->run == _shown.run && _reportedKey->hold == _shown.hold &&
        isSameFrame(_reportedKey->frame, _shown.frame))
        return;
    _reportedKey = _shown;
    step.keys.append({item.frame.meta(), item.run->id});
}

/// No frame for this tick: a dropped one if the run goes on and has been shown at full speed.
void PlaybackQueue::noteGap(Step &step)
{
    if (!_shown.valid || _shown.hold) return;
    const bool more = !_items.empty() && !_items.front().setup && _items.front().run->id == _shown.run;
    const bool open = _items.empty() && _newest->id == _shown.run && _newest->started;
    if (more && (!_items.front().run->started || isAfterWait(_items.front().frame))) return;
    if (!more && !open) return;
    _gap = true;
    if (!more || _gapReported) return;
    _gapReported = true;
    step.dropped = true;
}

PlaybackQueue::Step PlaybackQueue::tick(qint64 now)
{
    Step step;
    while (!_items.empty()) {
        if (_items.front().setup) {
            if (!applySetup(now, step)) break;
            continue;
        }
        if (passOver(step)) continue;
        const Item item = _items.front();
        if (isDue(item, now)) {
            _items.pop_front();
            show(item, step);
        } else {
            _items.front().awaited = item.kept;
        }
        break;
    }
    if (step.newFrame) return step;
    noteGap(step);
    step.isLate = _shown.valid && !_items.empty() && !_items.front().setup &&
                  _items.front().picture->state != DecodedPicture::Done;
    return step;
}
