// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreadahead.h"

#include "platform/qmx/core/qmxalarmcontroller.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxmemorypool.h"
#include "platform/qmx/stream/qmxstream.h"

#include <cstdlib>
#include <utility>

namespace {

/// Frames around the position that are kept although they have been left, for steps to and fro.
constexpr int keptNear = 5;
/// The cache's share of the pool, and how many frames it may have however large they are.
constexpr int poolShare = 6;
constexpr int minimumFrames = 4;

void postAlarm(QmxAlarm::AlarmLevel level, const QString &text)
{
    QmxAlarmController::post(
        QmxAlarm(QmxIds::alarmMediaReadFailed, level, text, QStringLiteral("streamcache"), __LINE__));
}

} // namespace

void StreamReadAhead::setSize(int frames)
{
    _size = qMax(1, frames);
    fill();
}

void StreamReadAhead::setSpeed(double speed)
{
    _cadence.setSpeed(speed, _length);
    fill();
}

void StreamReadAhead::begin()
{
    closed();
    _largestFrame = 0;
    _inBadRun = false;
    _alarmRaised = false;
    _length = std::numeric_limits<int>::max();
    _cadence.seek(0);
    _origin = _environment.deck->playhead.openBegins();
    _environment.deck->playhead.setPosition(0);
}

void StreamReadAhead::opened()
{
    _length = _stream->reader()->length();
}

void StreamReadAhead::openFailed()
{
    _environment.deck->playhead.openFails(_origin);
}

/// What was asked for before the stream was open comes after what the receivers of openIsDone did, and so
/// wins over it.
void StreamReadAhead::openDelivered()
{
    if (isReading()) {
        moved();
        _environment.deck->playhead.settle();
        if (_kept) seek(*std::exchange(_kept, std::nullopt));
    }
    _environment.deck->playhead.openEnds(_origin);
}

bool StreamReadAhead::isReading() const
{
    return _stream && _stream->isOpen() && _stream->isReadable();
}

/// How many frames ahead; fewer when they are so large that the pool would suffer.
int StreamReadAhead::window() const
{
    if (_largestFrame == 0) return _size;
    QmxMemoryPool::UsageData usage;
    QmxMemoryPool::instance()->getUsageData(usage);
    const qint64 fitting = qint64(usage.totalSize) / poolShare / _largestFrame;
    return int(qBound(qint64(qMin(_size, minimumFrames)), fitting, qint64(_size)));
}

void StreamReadAhead::seek(const Seek &to)
{
    if (!isReading()) {
        _kept = to;
        return;
    }
    _cadence.seek(to.toLast ? _length - 1 : qBound(-1, to.frame, _length));
    _inBadRun = false;
    moved();
    // Also when the frame was there already: whoever has sought plays it now and not a tick later.
    if (_frames.contains(position()) || isBeforeStart() || isBehindEnd()) _ready();
}

void StreamReadAhead::moved()
{
    // Past an end the frame at that end is the one that comes next.
    _environment.deck->playhead.setPosition(qBound(0, position(), qMax(0, _length - 1)));
    fill();
}

/// Asks for what is missing in the direction of travel, and lets go what has been left.
void StreamReadAhead::fill()
{
    if (!isReading()) return;
    const QList<int> upcoming = _cadence.upcoming(window(), _length);
    dropFar(upcoming);
    QList<int> missing;
    for (const int frame : upcoming)
        if (!_frames.contains(frame)) missing.append(frame);
    _stream->reader()->want(missing);
    _environment.deck->counters.set(QmxCounters::CacheFrames, _frames.size());
}

void StreamReadAhead::dropFar(const QList<int> &upcoming)
{
    const int here = position();
    _frames.removeIf([&upcoming, here](const QHash<int, QmxFrame>::iterator &item) {
        return std::abs(item.key() - here) > keptNear && !upcoming.contains(item.key());
    });
}

int StreamReadAhead::loaded() const
{
    if (!isReading()) return 0;
    int count = 0;
    const QList<int> upcoming = _cadence.upcoming(_size, _length);
    while (count < upcoming.size() && _frames.contains(upcoming.at(count)))
        ++count;
    return count;
}

QmxFrame StreamReadAhead::peek() const
{
    if (!isReading() || isBeforeStart() || isBehindEnd()) return {};
    const auto held = _frames.constFind(position());
    if (held != _frames.constEnd()) return *held;
    QmxFrame frame;
    frame.meta() = _stream->reader()->meta(position());
    frame.setOrigin(_origin);
    return frame;
}

QmxFrame StreamReadAhead::read()
{
    QmxFrame frame = peek();
    if (isReading() && _frames.contains(position())) {
        ++_cadence.reads;
        moved();
        _environment.deck->playhead.settle();
    }
    return frame;
}

QList<StreamReader::Result> StreamReadAhead::take(const QList<StreamReader::Result> &results)
{
    if (!isReading()) return {};
    const QList<int> upcoming = _cadence.upcoming(window(), _length);
    QList<StreamReader::Result> errors;
    bool readable = false;
    bool came = false;
    for (const StreamReader::Result &result : results) {
        if (!upcoming.contains(result.frame)) continue;
        QmxFrame frame = result.data;
        frame.setOrigin(_origin);
        _frames.insert(result.frame, frame);
        _largestFrame = qMax(_largestFrame, frame.bytes());
        came = true;
        const bool inRun = std::exchange(_inBadRun, result.error.isError());
        if (!result.error.isError())
            readable = true;
        else if (!inRun)
            errors.append(result);
    }
    if (came) _ready();
    fill();
    if (readable && errors.isEmpty() && std::exchange(_alarmRaised, false))
        postAlarm(QmxAlarm::Clear, QString());
    for (const StreamReader::Result &result : std::as_const(errors)) {
        _alarmRaised = true;
        postAlarm(QmxAlarm::Warning, result.error.toString());
    }
    return errors;
}

/// What was the last frame is so no longer.
void StreamReadAhead::grown()
{
    if (!isReading()) return;
    _length = _stream->reader()->length();
    for (auto item = _frames.begin(); item != _frames.end(); ++item) {
        const bool last = item.key() == _length - 1;
        if (std::as_const(item.value()).meta().value(QmxIds::lastFrame).toBool() != last)
            item.value().meta().insert(QmxIds::lastFrame, last);
    }
    fill();
    _ready();
}
