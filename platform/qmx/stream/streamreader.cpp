// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreader.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxtaskthread.h"
#include "platform/qmx/stream/qmxplaylistindex.h"
#include "platform/qmx/stream/streamreaderblack.h"
#include "platform/qmx/stream/streamreaderentries.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <deque>
#include <limits>
#include <mutex>
#include <utility>

namespace {
constexpr int maximumRequests = 64;
} // namespace

struct StreamReader::State : std::enable_shared_from_this<StreamReader::State>
{
    struct Request
    {
        int frame = 0;
        int number = 0;
        void *user = nullptr;
    };
    enum class Step { Open, Refresh, Read, Close, Idle };

    State(const StreamReaderSource &what, const Events &receiver, const QmxEnvironment &where)
        : source(what), events(receiver), environment(where), entries(what, where)
    {}

    void run();
    Step nextStep(Request &request);
    void openSource();
    void refreshClip();
    void readFrame(const Request &request);
    QmxError readFrame(int index, qint64 local, QmxFrame &frame);
    void fitDescription(int index, qint64 local, QmxFrame &frame);
    void openNeighbours(int index);
    void cancelRequests();
    void deliver(Result result);
    void setLength(qint64 frames) { length = int(qMin<qint64>(frames, std::numeric_limits<int>::max())); }
    QmxMetadataHash meta(int frame) const;

    const StreamReaderSource source;
    const Events events;
    const QmxEnvironment environment;
    StreamReaderEntries entries;
    std::atomic<int> length = 0;
    std::atomic<bool> growing = false;
    std::weak_ptr<QmxTaskThread> opener;

    mutable std::mutex mutex; ///< guards what follows
    std::deque<Request> requests;
    QList<int> wishes;
    int reading = -1; ///< the wish being read
    qint64 busySince = 0;
    QList<Result> results;
    bool openAsked = false;
    bool refreshAsked = false;
    bool closeAsked = false;
    bool scheduled = false;
    bool done = false;

    int neighboursOf = -1; ///< reader thread: the entry whose neighbours have been asked for last
};

void StreamReader::State::run()
{
    for (;;) {
        Request request;
        switch (nextStep(request)) {
        case Step::Open:
            openSource();
            break;
        case Step::Refresh:
            refreshClip();
            break;
        case Step::Read:
            readFrame(request);
            break;
        case Step::Close:
            cancelRequests();
            entries.closeAll();
            {
                const std::lock_guard lock(mutex);
                done = true;
            }
            events.closed();
            return;
        case Step::Idle:
            return;
        }
    }
}

StreamReader::State::Step StreamReader::State::nextStep(Request &request)
{
    const std::lock_guard lock(mutex);
    reading = -1;
    busySince = environment.clock->now();
    if (closeAsked) return Step::Close;
    if (std::exchange(openAsked, false)) return Step::Open;
    if (!requests.empty()) {
        request = requests.front();
        requests.pop_front();
        return Step::Read;
    }
    if (!wishes.isEmpty()) {
        reading = wishes.takeFirst();
        request = {reading, 0, nullptr};
        return Step::Read;
    }
    if (std::exchange(refreshAsked, false)) return Step::Refresh;
    scheduled = false;
    busySince = 0;
    return Step::Idle;
}

/// A clip is open when its file is; a list as soon as one of its entries can be read, since that one tells
/// how the frames of those that cannot shall look.
void StreamReader::State::openSource()
{
    QmxError error(ENODATA, QStringLiteral("The play list has no frames"));
    for (int index = 0; index < source.entries.size(); ++index) {
        QmxError reason;
        const std::shared_ptr<QmxClipReader> clip = entries.open(index, reason);
        if (!clip) {
            if (index == 0) error = reason;
            continue;
        }
        const QmxClipInfo info = clip->info();
        setLength(source.isList ? source.length : info.frames);
        growing = !source.isList && !info.closed && !info.foreign;
        QmxStreamInfo told;
        told.vids().append(info.image);
        if (info.audio.isValid()) told.auds().append(info.audio);
        told.setReelName(info.reelName);
        told.setEffectiveFrameRate(info.effectiveRate);
        told.setLength(length);
        if (source.isList) openNeighbours(index);
        events.opened({}, told);
        return;
    }
    {
        const std::lock_guard lock(mutex);
        done = true;
    }
    events.opened(error, {});
}

void StreamReader::State::refreshClip()
{
    QmxError error;
    const std::shared_ptr<QmxClipReader> clip = entries.open(0, error);
    if (!clip || clip->refresh().isError()) return;
    const QmxClipInfo info = clip->info();
    entries.update(0, info);
    growing = !info.closed;
    const int before = length;
    setLength(info.frames);
    if (length != before) events.grown();
}

void StreamReader::State::readFrame(const Request &request)
{
    Result result;
    result.frame = request.frame;
    result.request = request.number;
    result.user = request.user;
    const qint64 begin = environment.clock->now();
    const int index = request.frame >= 0 && request.frame < length ? source.entryOf(request.frame) : -1;
    if (index < 0) {
        result.error =
            QmxError(EINVAL, QStringLiteral("Frame %1 lies outside the stream").arg(request.frame));
    } else {
        const qint64 local = request.frame - source.entries.at(index).first;
        result.error = readFrame(index, local, result.data);
        if (result.error.isError()) {
            environment.deck->counters.add(QmxCounters::ReadErrors);
            const StreamReaderEntries::Description form = entries.description(index);
            result.data = StreamReaderBlack::frame(form.image, form.audio, local);
        } else {
            fitDescription(index, local, result.data);
        }
        const QmxMetadataHash keys = meta(request.frame);
        const QList<QmxId> ids = keys.keys();
        for (const QmxId &id : ids)
            result.data.meta().insert(id, keys.value(id));
        if (source.isList) openNeighbours(index);
    }
    result.microseconds = (environment.clock->now() - begin) / 1000;
    deliver(result);
}

QmxError StreamReader::State::readFrame(int index, qint64 local, QmxFrame &frame)
{
    QmxError error;
    const std::shared_ptr<QmxClipReader> clip = entries.open(index, error);
    if (!clip) return error;
    error = clip->readFrame(local, frame);
    if (error.value() == EINVAL && local >= clip->info().frames && !clip->refresh().isError()) {
        // The list knows more frames than there were when the entry was opened: it may have grown.
        entries.update(index, clip->info());
        error = clip->readFrame(local, frame);
    }
    return error;
}

/// Every frame of an entry has the same descriptions, whatever the file holds at this place.
void StreamReader::State::fitDescription(int index, qint64 local, QmxFrame &frame)
{
    const StreamReaderEntries::Description form = entries.description(index);
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
void StreamReader::State::openNeighbours(int index)
{
    if (index == neighboursOf) return;
    neighboursOf = index;
    const std::shared_ptr<QmxTaskThread> thread = opener.lock();
    if (!thread) return;
    const int count = int(source.entries.size());
    for (const int neighbour : {(index + 1) % count, (index + count - 1) % count}) {
        thread->post([self = shared_from_this(), neighbour] {
            {
                const std::lock_guard lock(self->mutex);
                if (self->closeAsked) return;
            }
            QmxError error;
            self->entries.open(neighbour, error);
        });
    }
}

/// The stream is being closed: whoever waits for a frame is told that it does not come.
void StreamReader::State::cancelRequests()
{
    std::deque<Request> waiting;
    {
        const std::lock_guard lock(mutex);
        waiting.swap(requests);
        wishes.clear();
    }
    for (const Request &request : waiting)
        deliver({request.frame, {}, QmxError(ECANCELED), 0, request.number, request.user});
}

void StreamReader::State::deliver(Result result)
{
    bool first = false;
    {
        const std::lock_guard lock(mutex);
        first = results.isEmpty();
        // No longer being read, or one who lets it go and wants it again before the next step would get none.
        if (result.request == 0) reading = -1;
        results.append(std::move(result));
    }
    if (first) events.results();
}

QmxMetadataHash StreamReader::State::meta(int frame) const
{
    QmxMetadataHash keys;
    const int index = source.entryOf(frame);
    if (index < 0) return keys;
    keys.insert(QmxIds::frameNumber, frame);
    keys.insert(QmxIds::firstFrame, frame == 0);
    keys.insert(QmxIds::lastFrame, frame == length - 1);
    if (const std::optional<QmxClipInfo> info = entries.info(index)) {
        const QmxTimecode timecode = info->timecodeAt(frame - source.entries.at(index).first);
        if (timecode.isValid()) keys.insert(QmxIds::timecode, QVariant::fromValue(timecode));
    }
    if (source.isList)
        keys.insert(QmxIds::listPosition, QVariant::fromValue(QmxPlayListIndex(source.entries.at(index).name,
                                                                               source.listIndex.at(index))));
    return keys;
}

StreamReader::StreamReader(const StreamReaderSource &source, const Events &events,
                           const QmxEnvironment &environment)
    : _state(std::make_shared<State>(source, events, environment)),
      _thread(std::make_unique<QmxTaskThread>(QStringLiteral("qmx-read"), QmxTaskThread::defaultBound,
                                              environment))
{
    if (!source.isList) return;
    _opener =
        std::make_shared<QmxTaskThread>(QStringLiteral("qmx-open"), QmxTaskThread::defaultBound, environment);
    _state->opener = _opener;
}

StreamReader::~StreamReader()
{
    bool done = false;
    {
        const std::lock_guard lock(_state->mutex);
        done = _state->done;
        _state->closeAsked = true; // a thread that is left behind ends at its next step
    }
    // The event loop does not wait for a file: threads in the middle of something end by themselves.
    if (!done) _thread->abandon();
    if (_opener && _opener->pending() > 0) _opener->abandon();
}

/// With the state's mutex held.
void StreamReader::schedule()
{
    if (_state->scheduled || _state->done) return;
    _state->scheduled = _thread->post([state = _state] { state->run(); });
}

void StreamReader::open()
{
    {
        const std::lock_guard lock(_state->mutex);
        _state->openAsked = true;
        schedule();
        if (_state->scheduled) return;
        _state->done = true;
    }
    _state->events.opened(
        {EAGAIN, QStringLiteral("It cannot be played: the system has no thread to read it")}, {});
}

void StreamReader::close()
{
    const std::lock_guard lock(_state->mutex);
    _state->closeAsked = true;
    schedule();
}

bool StreamReader::read(int frame, int request, void *user)
{
    const std::lock_guard lock(_state->mutex);
    if (int(_state->requests.size()) >= maximumRequests) return false;
    _state->requests.push_back({frame, request, user});
    schedule();
    return true;
}

void StreamReader::want(const QList<int> &frames)
{
    const std::lock_guard lock(_state->mutex);
    _state->wishes.clear();
    for (const int frame : frames) {
        if (frame == _state->reading) continue;
        const bool waits =
            std::any_of(_state->results.cbegin(), _state->results.cend(), [frame](const Result &result) {
                return result.frame == frame && result.request == 0;
            });
        if (!waits) _state->wishes.append(frame);
    }
    if (!_state->wishes.isEmpty()) schedule();
}

QList<StreamReader::Result> StreamReader::takeResults()
{
    const std::lock_guard lock(_state->mutex);
    return std::exchange(_state->results, {});
}

int StreamReader::pending() const
{
    const std::lock_guard lock(_state->mutex);
    return int(_state->requests.size()) + int(_state->wishes.size()) + (_state->reading >= 0 ? 1 : 0);
}

qint64 StreamReader::busySince() const
{
    const std::lock_guard lock(_state->mutex);
    return _state->done ? 0 : _state->busySince;
}

int StreamReader::length() const
{
    return _state->length;
}

bool StreamReader::isGrowing() const
{
    return _state->growing;
}

void StreamReader::refresh()
{
    const std::lock_guard lock(_state->mutex);
    _state->refreshAsked = true;
    schedule();
}

QmxMetadataHash StreamReader::meta(int frame) const
{
    return _state->meta(frame);
}
