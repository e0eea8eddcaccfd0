// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreader.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/stream/qmxplaylistindex.h"
#include "platform/qmx/stream/streamreaderblack.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

namespace {
constexpr int maximumRequests = 64;

int frameNumber(qint64 frames)
{
    return int(qMin<qint64>(frames, std::numeric_limits<int>::max()));
}
} // namespace

StreamReader::StreamReader(const StreamReaderSource &source, const Events &events, QObject *listener,
                           const QmxEnvironment &environment)
    : StreamActor(QStringLiteral("qmx-read"), listener, environment),
      _source(source),
      _events(events),
      _entries(source, environment),
      _growth(source, _entries, environment),
      _list(source, _entries, environment)
{
    if (source.isList)
        _opener = std::make_shared<QmxTaskThread>(QStringLiteral("qmx-open"), QmxTaskThread::defaultBound,
                                                  environment);
}

/// The event loop does not wait for a file: threads in the middle of something end by themselves.
void StreamReader::end()
{
    bool done = false;
    std::shared_ptr<QmxTaskThread> opener;
    {
        const std::lock_guard lock(_mutex);
        done = _done;
        _closeAsked = true; // a thread that is left behind ends at its next step
        opener = std::move(_opener);
    }
    leaveThread(!done);
    if (opener && opener->pending() > 0) opener->abandon();
}

void StreamReader::open()
{
    if (askToOpen()) return;
    tell([this] {
        _events.opened({EAGAIN, QStringLiteral("It cannot be played: the system has no thread to read it")},
                       {});
    });
}

bool StreamReader::read(int frame, int request, void *user)
{
    const std::lock_guard lock(_mutex);
    if (int(_requests.size()) >= maximumRequests) return false;
    _requests.push_back({frame, request, user});
    schedule();
    return true;
}

void StreamReader::want(const QList<int> &frames)
{
    const std::lock_guard lock(_mutex);
    _wishes.clear();
    for (const int frame : frames) {
        if (frame == _reading) continue;
        const bool waits = std::any_of(_results.cbegin(), _results.cend(), [frame](const Result &result) {
            return result.frame == frame && result.request == 0;
        });
        if (!waits) _wishes.append(frame);
    }
    if (!_wishes.isEmpty()) schedule();
}

QList<StreamReader::Result> StreamReader::takeResults()
{
    const std::lock_guard lock(_mutex);
    return std::exchange(_results, {});
}

int StreamReader::pending() const
{
    const std::lock_guard lock(_mutex);
    return int(_requests.size()) + int(_wishes.size()) + (_reading >= 0 ? 1 : 0);
}

qint64 StreamReader::busySince() const
{
    const std::lock_guard lock(_mutex);
    return _done ? 0 : _busySince;
}

StreamAxis StreamReader::axis() const
{
    const std::lock_guard lock(_mutex);
    return _axis;
}

int StreamReader::length() const
{
    const StreamAxis now = axis();
    return now.count(now.end());
}

bool StreamReader::isGrowing() const
{
    return _growing;
}

void StreamReader::refresh()
{
    const std::lock_guard lock(_mutex);
    _refreshAsked = true;
    schedule();
}

int StreamReader::frameAt(const QmxTimecode &timecode) const
{
    const std::optional<QmxClipInfo> info = _entries.info(0);
    if (!info || info->frames == 0) return 0;
    if (const auto frame = QmxClipPart::frameAt(*info, timecode.toString())) return int(*frame);
    const QmxTimecode last = info->timecodeAt(info->frames - 1);
    return last.isValid() && timecode.toFrameNumber() > last.toFrameNumber() ? int(info->frames) - 1 : 0;
}

bool StreamReader::step()
{
    Request request;
    switch (nextStep(request)) {
    case Step::Open:
        openSource();
        return true;
    case Step::Refresh:
        look();
        return true;
    case Step::Read:
        readFrame(request);
        return true;
    case Step::Close:
        closeAll();
        return false;
    case Step::Idle:
        break;
    }
    return false;
}

StreamReader::Step StreamReader::nextStep(Request &request)
{
    const std::lock_guard lock(_mutex);
    _reading = -1;
    _busySince = _environment.clock->now();
    if (_closeAsked) return Step::Close;
    if (std::exchange(_openAsked, false)) return Step::Open;
    if (!_requests.empty()) {
        request = _requests.front();
        _requests.pop_front();
        return Step::Read;
    }
    if (!_wishes.isEmpty()) {
        _reading = _wishes.takeFirst();
        request = {_reading, 0, nullptr};
        return Step::Read;
    }
    if (std::exchange(_refreshAsked, false)) return Step::Refresh;
    _scheduled = false;
    _busySince = 0;
    return Step::Idle;
}

/// A clip is open when its file is; a list as soon as one of its entries can be read, since that one tells
/// how the frames of those that cannot shall look.
void StreamReader::openSource()
{
    QmxError error(ENODATA, QStringLiteral("The play list has no frames"));
    for (int index = 0; index < _source.entries.size(); ++index) {
        QmxError reason;
        const std::shared_ptr<QmxClipReader> clip = _entries.open(index, reason);
        if (!clip) {
            if (index == 0) error = reason;
            continue;
        }
        const QmxClipInfo info = clip->info();
        const StreamAxis axis = axisAtBegin();
        {
            const std::lock_guard lock(_mutex);
            _axis = axis;
        }
        QmxStreamInfo told;
        told.vids().append(info.image);
        if (info.audio.isValid()) told.auds().append(info.audio);
        told.setReelName(info.reelName);
        told.setEffectiveFrameRate(info.effectiveRate);
        told.setLength(axis.count(axis.end()));
        if (_source.isList) openNeighbours(index);
        tell([this, told] { _events.opened({}, told); });
        return;
    }
    {
        const std::lock_guard lock(_mutex);
        _done = true;
    }
    tell([this, error] { _events.opened(error, {}); });
}

StreamAxis StreamReader::axisAtBegin()
{
    if (_source.isList) {
        StreamAxis axis = _list.begin();
        _growing = _list.isGrowing();
        return axis;
    }
    const StreamReaderGrowth::Now now = _growth.begin();
    _growing = now.growing;
    return {frameNumber(now.length), now.growing};
}

void StreamReader::look()
{
    QString ended;
    StreamAxis axis;
    if (_source.isList) {
        axis = _list.look(qMax(0, _neighboursOf), ended);
        _growing = _list.isGrowing();
    } else {
        const StreamReaderGrowth::Now now = _growth.look();
        axis = {frameNumber(now.length), now.growing};
        _growing = now.growing;
        ended = now.ended;
    }
    bool changed = false;
    {
        const std::lock_guard lock(_mutex);
        changed = axis != _axis;
        _axis = axis;
    }
    if (changed) tell([this, ended] { _events.grown(ended); });
}

void StreamReader::readFrame(const Request &request)
{
    Result result;
    result.frame = request.frame;
    result.request = request.number;
    result.user = request.user;
    const qint64 begin = _environment.clock->now();
    const bool isInside = axis().has(request.frame);
    StreamReaderEntries::Place place =
        isInside ? _entries.place(request.frame) : StreamReaderEntries::Place{-1, 0};
    if (place.index < 0) {
        result.error =
            QmxError(EINVAL, QStringLiteral("Frame %1 lies outside the stream").arg(request.frame));
    } else {
        QmxError error;
        _entries.open(place.index, error);
        place = _entries.place(request.frame); // where an entry begins is known when it is open
        result.error = readPlace(place, result.data);
        if (result.error.isError()) {
            _environment.deck->counters.add(QmxCounters::ReadErrors);
            const StreamReaderEntries::Description form = _entries.description(place.index);
            result.data = StreamReaderBlack::frame(form.image, form.audio, place.frame);
        } else {
            fitDescription(place.index, place.frame, result.data);
        }
        const QmxMetadataHash keys = meta(request.frame);
        const QList<QmxId> ids = keys.keys();
        for (const QmxId &id : ids)
            result.data.meta().insert(id, keys.value(id));
        if (_source.isList) openNeighbours(place.index);
    }
    result.took = _environment.clock->since(begin);
    deliver(result);
}

QmxError StreamReader::readPlace(const StreamReaderEntries::Place &place, QmxFrame &frame)
{
    QmxError error;
    const std::shared_ptr<QmxClipReader> clip = _entries.open(place.index, error);
    if (!clip) return error;
    error = clip->readFrame(place.frame, frame);
    if (error.value() == EINVAL && place.frame >= clip->info().frames && !clip->refresh().isError()) {
        // The list knows more frames than there were when the entry was opened: it may have grown.
        _entries.update(place.index, clip->info());
        error = clip->readFrame(place.frame, frame);
    }
    return error;
}

/// Every frame of an entry has the same descriptions, whatever the file holds at this place.
void StreamReader::fitDescription(int index, qint64 local, QmxFrame &frame)
{
    const StreamReaderEntries::Description form = _entries.description(index);
    const QmxFrame &given = frame;
    if (given.vids().isEmpty())
        frame.vids().append(StreamReaderBlack::frame(form.image, {}, local).vids().constFirst());
    else if (given.vids().constFirst().desc() != form.image)
        frame.vids().first().setDesc(form.image);
    if (!form.audio.isValid()) {
        if (!given.auds().isEmpty()) frame.auds().clear();
    } else if (given.auds().isEmpty() || given.auds().constFirst().desc() != form.audio) {
        frame.auds() = {StreamReaderBlack::silence(form.audio, local)};
    }
}

/// The entries before and after, also around the ends for who plays in a loop.
void StreamReader::openNeighbours(int index)
{
    if (index == _neighboursOf) return;
    _neighboursOf = index;
    std::shared_ptr<QmxTaskThread> opener;
    {
        const std::lock_guard lock(_mutex);
        opener = _opener;
    }
    if (!opener) return; // the owner has let go
    const int count = int(_source.entries.size());
    for (const int neighbour : {(index + 1) % count, (index + count - 1) % count})
        opener->post([this, self = shared_from_this(), neighbour] { openNeighbour(neighbour); });
}

void StreamReader::openNeighbour(int index)
{
    {
        const std::lock_guard lock(_mutex);
        if (_closeAsked) return;
    }
    QmxError error;
    _entries.open(index, error);
}

/// Whoever waits for a frame is told that it does not come.
void StreamReader::closeAll()
{
    std::deque<Request> waiting;
    {
        const std::lock_guard lock(_mutex);
        waiting.swap(_requests);
        _wishes.clear();
    }
    for (const Request &request : waiting)
        deliver({request.frame, {}, QmxError(ECANCELED), {}, request.number, request.user});
    _entries.closeAll();
    {
        const std::lock_guard lock(_mutex);
        _done = true;
    }
    tell([this] { _events.closed(); });
}

void StreamReader::deliver(Result result)
{
    bool first = false;
    {
        const std::lock_guard lock(_mutex);
        first = _results.isEmpty();
        // No longer being read, or one who lets it go and wants it again before the next step would get none.
        if (result.request == 0) _reading = -1;
        _results.append(std::move(result));
    }
    if (first) tell([this] { _events.results(); });
}

QmxMetadataHash StreamReader::meta(int frame) const
{
    QmxMetadataHash keys;
    const StreamAxis axis = this->axis();
    const StreamReaderEntries::Place place = _entries.place(frame);
    if (place.index < 0 || (_source.isList && frame >= axis.end())) return keys;
    keys.insert(QmxIds::frameNumber, frame);
    keys.insert(QmxIds::firstFrame, frame == axis.first());
    keys.insert(QmxIds::lastFrame, frame == axis.end() - 1 && !axis.growsAtEnd());
    if (const std::optional<QmxClipInfo> info = _entries.info(place.index)) {
        const QmxTimecode timecode = info->timecodeAt(place.frame);
        if (timecode.isValid()) keys.insert(QmxIds::timecode, QVariant::fromValue(timecode));
    }
    if (_source.isList)
        keys.insert(QmxIds::listPosition,
                    QVariant::fromValue(QmxPlayListIndex(
                        _entries.name(place.index), _entries.listIndex(place.index), axis.count(frame))));
    return keys;
}
