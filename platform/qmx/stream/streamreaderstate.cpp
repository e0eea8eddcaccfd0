// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreaderstate.h"

#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/stream/qmxplaylistindex.h"
#include "platform/qmx/stream/streamreaderblack.h"

#include <algorithm>
#include <cerrno>
#include <utility>

void StreamReader::State::run()
{
    for (;;) {
        Request request;
        switch (nextStep(request)) {
        case Step::Open:
            openSource();
            break;
        case Step::Refresh:
            apply(growth.look());
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
        const StreamReaderGrowth::Now now = growth.begin();
        setLength(now.length);
        growing = now.growing;
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

void StreamReader::State::apply(const StreamReaderGrowth::Now &now)
{
    const bool changed = int(now.length) != length || now.growing != growing;
    setLength(now.length);
    growing = now.growing;
    if (changed) events.grown(now.ended);
}

void StreamReader::State::readFrame(const Request &request)
{
    Result result;
    result.frame = request.frame;
    result.request = request.number;
    result.user = request.user;
    const qint64 begin = environment.clock->now();
    const bool isInside = request.frame >= 0 && request.frame < length;
    StreamReaderEntries::Place place =
        isInside ? entries.place(request.frame) : StreamReaderEntries::Place{-1, 0};
    if (place.index < 0) {
        result.error =
            QmxError(EINVAL, QStringLiteral("Frame %1 lies outside the stream").arg(request.frame));
    } else {
        QmxError error;
        entries.open(place.index, error);
        place = entries.place(request.frame); // where an entry begins is known when it is open
        result.error = readPlace(place, result.data);
        if (result.error.isError()) {
            environment.deck->counters.add(QmxCounters::ReadErrors);
            const StreamReaderEntries::Description form = entries.description(place.index);
            result.data = StreamReaderBlack::frame(form.image, form.audio, place.frame);
        } else {
            fitDescription(place.index, place.frame, result.data);
        }
        const QmxMetadataHash keys = meta(request.frame);
        const QList<QmxId> ids = keys.keys();
        for (const QmxId &id : ids)
            result.data.meta().insert(id, keys.value(id));
        if (source.isList) openNeighbours(place.index);
    }
    result.microseconds = (environment.clock->now() - begin) / 1000;
    deliver(result);
}

QmxError StreamReader::State::readPlace(const StreamReaderEntries::Place &place, QmxFrame &frame)
{
    QmxError error;
    const std::shared_ptr<QmxClipReader> clip = entries.open(place.index, error);
    if (!clip) return error;
    error = clip->readFrame(place.frame, frame);
    if (error.value() == EINVAL && place.frame >= clip->info().frames && !clip->refresh().isError()) {
        // The list knows more frames than there were when the entry was opened: it may have grown.
        entries.update(place.index, clip->info());
        error = clip->readFrame(place.frame, frame);
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
    const StreamReaderEntries::Place place = entries.place(frame);
    if (place.index < 0 || (source.isList && frame >= length)) return keys;
    keys.insert(QmxIds::frameNumber, frame);
    keys.insert(QmxIds::firstFrame, frame == 0);
    const bool grows = growing;
    keys.insert(QmxIds::lastFrame, frame == length - 1 && !grows);
    if (const std::optional<QmxClipInfo> info = entries.info(place.index)) {
        const QmxTimecode timecode = info->timecodeAt(place.frame);
        if (timecode.isValid()) keys.insert(QmxIds::timecode, QVariant::fromValue(timecode));
    }
    if (source.isList)
        keys.insert(QmxIds::listPosition, QVariant::fromValue(QmxPlayListIndex(
                                              entries.name(place.index), entries.listIndex(place.index))));
    return keys;
}
