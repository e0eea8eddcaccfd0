// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreadahead.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"
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
/// After a seek the frame sought is all that is read for so long: while it is decoded, on a machine with few
/// processors, reading ahead would take one from it. Playback needs the next frame later than that.
constexpr std::chrono::milliseconds soughtAlone(10);

} // namespace

StreamReadAhead::StreamReadAhead(const QmxEnvironment &environment, std::function<void()> ready)
    : _environment(environment), _ready(std::move(ready))
{
    _soughtFirst.setSingleShot(true);
    _soughtFirst.setInterval(soughtAlone);
    _soughtFirst.setTimerType(Qt::PreciseTimer);
    QObject::connect(&_soughtFirst, &QTimer::timeout, &_soughtFirst, [this] { fill(); });
}

void StreamReadAhead::postAlarm(QmxAlarm::AlarmLevel level, const QString &text)
{
    _environment.deck->alarms.post(
        QmxAlarm(QmxIds::alarmMediaReadFailed, level, text, QStringLiteral("streamcache"), __LINE__));
}

void StreamReadAhead::setSize(int frames)
{
    _size = qMax(1, frames);
    fill();
}

void StreamReadAhead::setSpeed(double speed)
{
    if (speed == _speed) return;
    _edge.restart();
    _speed = speed;
    _cadence.setSpeed(speed, axis());
    fill();
}

void StreamReadAhead::begin()
{
    closed();
    _edge.begin(false, 0, 0);
    _live.reset();
    _follows.reset();
    _part.reset();
    _largestFrame = 0;
    _inBadRun = false;
    _alarmRaised = false;
    _axis = StreamAxis(std::numeric_limits<int>::max());
    _edgeBehind = 0;
    go(0);
    _origin = _environment.deck->playhead.openBegins();
    _environment.deck->playhead.setPosition(0);
}

void StreamReadAhead::closed()
{
    _frames.clear();
    _environment.deck->counters.set(QmxCounters::MaterialFrames, 0);
    _environment.deck->counters.set(QmxCounters::MaterialGrows, 0);
}

void StreamReadAhead::opened()
{
    const QList<QmxImageDesc> images = _stream->info().vids();
    const double rate = images.isEmpty() ? 0 : images.first().frameRate().toDouble();
    _axis = _stream->reader()->axis();
    const auto edge = _axis.edge(first());
    _edgeBehind = edge ? edge->behind : 0;
    _edge.begin(edge.has_value(), edge ? edge->at : _axis.end(), rate);
    tellLength();
}

/// How long the material is, and whether what stands here becomes longer: then up to where that ends now.
void StreamReadAhead::tellLength()
{
    const int here = position();
    const auto edge = _axis.edge(here);
    const bool grows = edge && here >= edge->first;
    QmxCounters *counters = &_environment.deck->counters;
    counters->set(QmxCounters::MaterialFrames, _axis.count(grows ? edge->at : _axis.end()));
    counters->set(QmxCounters::MaterialGrows, grows ? 1 : 0);
}

/// Which end play runs into is another one behind an entry that has ended, and after a seek.
void StreamReadAhead::beAtEdge()
{
    const auto edge = _axis.edge(position());
    const int behind = edge ? edge->behind : 0;
    if (behind == _edgeBehind) return;
    // Faster play that had come up to the newest frame of an entry is fast again in the next one.
    const bool goesOn = _edge.isPaced() && _edgeBehind < _axis.end();
    _edgeBehind = behind;
    if (goesOn) _cadence.setSpeed(_speed, axis());
    _edge.changed(edge.has_value(), edge ? edge->at : _axis.end());
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
        if (const auto order = _environment.deck->startOrders.take(_stream->path())) apply(*order);
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
    // Of a clip that grows nobody is beyond the end: there the last frame is the newest one.
    const StreamAxis here = axis();
    const int frame = to.toLast ? here.advanced(here.end(), -1) : _axis.sought(to.frame);
    if (_part && (frame < first() || frame >= here.end())) _part.reset();
    if (_live && _live->frame != frame) _live.reset();
    _follows.reset();
    go(frame);
    _inBadRun = false;
    _soughtFirst.start();
    moved();
    // Also when the frame was there already: whoever has sought plays it now and not a tick later.
    if (_frames.contains(position()) || isBeforeStart() || isBehindEnd()) _ready();
}

void StreamReadAhead::moved()
{
    // Past an end the frame at that end is the one that comes next.
    const int here = position();
    _environment.deck->playhead.setPosition(
        _axis.has(here) ? here : qMax(first(), _axis.advanced(here, here < 0 ? 1 : -1)));
    beAtEdge();
    tellLength();
    fill();
}

/// Asks for what is missing in the direction of travel, and lets go what has been left.
void StreamReadAhead::fill()
{
    if (!isReading()) return;
    const QList<int> upcoming = _cadence.upcoming(window(), axis());
    dropFar(upcoming);
    const qsizetype wanted = _soughtFirst.isActive() ? 1 : upcoming.size();
    QList<int> missing;
    for (const int frame : upcoming.mid(0, wanted))
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

int StreamReadAhead::loaded()
{
    if (!isReading()) return 0;
    const bool still = _environment.deck->playhead.isStill();
    if (_live && _speed == 1.0 && !still && !joinLive()) return 0;
    if (!still && isLeftBehind() && !joinAgain()) return 0;
    if (isBeforeStart()) return 0;
    int count = 0;
    const QList<int> upcoming = _cadence.upcoming(_size, axis());
    while (count < upcoming.size() && _frames.contains(upcoming.at(count)))
        ++count;
    if (still) return count;
    const int waits = _edge.waits();
    count = _edge.release(position(), count, _speed, inDevice(), _environment.clock->now());
    if (_edge.waits() > waits) _environment.deck->counters.add(QmxCounters::LiveWaits);
    return count;
}

int StreamReadAhead::inDevice() const
{
    return int(_environment.deck->counters.value(QmxCounters::PlaybackQueue));
}

/// Playback at normal speed begins where it was sent to be near the newest frame: there has become elsewhere
/// since. When the next flush comes is known once one has come; false: not yet.
bool StreamReadAhead::joinLive()
{
    if (_edge.isGrowing() && !_edge.hasGrown()) return false;
    const Live live = *std::exchange(_live, std::nullopt);
    if (_edge.isGrowing()) {
        _follows = live.seconds;
        go(liveFrame(live.seconds));
        moved();
    }
    return true;
}

/// More than a second further behind than it was to be: its recorder has stood still, or this machine has
/// held pictures.
bool StreamReadAhead::isLeftBehind() const
{
    if (!_follows || _speed != 1.0 || !_edge.isGrowing()) return false;
    return double(_axis.end() - position() + inDevice()) > (1 + *_follows) * _edge.rate();
}

/// What lies between is left out: live is what was asked for. The device shows first what it has, or it would
/// be as late as that with what is new; false: it still has enough.
bool StreamReadAhead::joinAgain()
{
    constexpr int few = 4;
    if (inDevice() > few) return false;
    const int from = position();
    go(liveFrame(*_follows));
    _edge.skipped();
    moved();
    qmxLogOutput(QmxLogLevel::Info, "streamcache", __LINE__,
                 "%d frames are passed over to be near the newest one again\n", position() - from);
    return true;
}

int StreamReadAhead::liveFrame(double seconds) const
{
    return qMax(0, _axis.end() - _edge.distance(_environment.clock->now()) - int(seconds * _edge.rate()));
}

/// The cadence begins anew from there.
void StreamReadAhead::go(int frame)
{
    _cadence.seek(frame);
    _cadence.setSpeed(_speed, axis());
    _edge.restart();
}

void StreamReadAhead::apply(const QmxStartOrder &order)
{
    int frame = int(qMin<qint64>(order.frame, last()));
    if (order.isPart() && order.first < _axis.end()) _part = order;
    if (order.place == QmxStartOrder::Place::Output)
        frame = _stream->reader()->frameAt(_environment.deck->playhead.timecodeShown());
    if (order.place == QmxStartOrder::Place::Live) {
        frame = liveFrame(order.seconds);
        _live = Live{frame, order.seconds};
    }
    _inBadRun = false;
    go(frame);
    moved();
    // It counts from here, not from where playback was.
    _environment.deck->playhead.settle();
    if (_frames.contains(position())) _ready();
}

QmxFrame StreamReadAhead::peek() const
{
    if (!isReading() || isBeforeStart() || !axis().has(position())) return {};
    const auto held = _frames.constFind(position());
    QmxFrame frame;
    if (held != _frames.constEnd()) {
        frame = *held;
    } else {
        frame.meta() = _stream->reader()->meta(position());
        frame.setOrigin(_origin);
    }
    if (_edge.isAfterWait()) frame.meta().insert(QmxIds::afterWait, true);
    if (_part) {
        frame.meta().insert(QmxIds::firstFrame, position() == first());
        frame.meta().insert(QmxIds::lastFrame, position() == axis().end() - 1);
    }
    return frame;
}

QmxFrame StreamReadAhead::read()
{
    QmxFrame frame = peek();
    if (isReading() && _frames.contains(position())) {
        const int before = position();
        ++_cadence.reads;
        // A stride over the newest frame: from here on one after the other, as they come.
        if (_edge.isGrowing() && _speed > 1.0 && !_edge.isPaced() && !_axis.has(position())) {
            _cadence.seek(before + 1);
            _cadence.setSpeed(1.0, axis());
            _edge.pace();
        }
        _edge.handedOn();
        moved();
        _environment.deck->playhead.settle();
    }
    return frame;
}

QList<StreamReader::Result> StreamReadAhead::take(const QList<StreamReader::Result> &results)
{
    if (!isReading()) return {};
    const QList<int> upcoming = _cadence.upcoming(window(), axis());
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

/// The end that play runs into from here has moved on, or has become real.
void StreamReadAhead::growEdge(bool isDry)
{
    const auto edge = _axis.edge(position());
    const bool grows = edge && edge->behind == _edgeBehind;
    _edge.grew(grows, grows ? edge->at : position(), isDry, _environment.clock->now());
}

/// What was the last frame is so no longer.
void StreamReadAhead::grown()
{
    if (!isReading()) return;
    const StreamReader *reader = _stream->reader();
    const int before = position();
    const bool waits = before >= first() && !_axis.has(before);
    _axis = reader->axis();
    // What lies behind the entry that has grown stays where it is, also for who goes back into it.
    if (!waits && position() != before) _cadence.seek(before);
    growEdge(waits && inDevice() == 0);
    beAtEdge();
    tellLength();
    for (auto item = _frames.begin(); item != _frames.end(); ++item) {
        const bool last = item.key() == _axis.end() - 1 && !_axis.growsAtEnd();
        if (std::as_const(item.value()).meta().value(QmxIds::lastFrame).toBool() != last)
            item.value().meta().insert(QmxIds::lastFrame, last);
    }
    fill();
    _ready();
}
