// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreadergrowth.h"

#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <algorithm>
#include <cerrno>

namespace {

constexpr qint64 ms = QmxClock::nsPerMillisecond;
/// Two flushes without a new frame: then it is worth asking whether somebody still records.
constexpr qint64 quietTime = 1000 * ms;
/// So long a medium may fail to answer before the clip counts as ended.
constexpr qint64 brokenTime = 2000 * ms;
/// So long the next clip of a take may stay away when one has been closed, and so long be without frames.
constexpr qint64 sequelWithin = 600 * ms;
constexpr qint64 framesWithin = 3000 * ms;

} // namespace

StreamReaderGrowth::StreamReaderGrowth(const StreamReaderSource &source, StreamReaderEntries &entries,
                                       const QmxEnvironment &environment, int index)
    : _source(source), _entries(entries), _environment(environment), _last(index)
{}

qint64 StreamReaderGrowth::lengthOf(const QmxClipInfo &info) const
{
    const QmxClipPart::Range range = _entries.range(_last);
    const QmxClipPart part = _last < _source.entries.size() ? _source.entries.at(_last).part : QmxClipPart();
    const qint64 end = part.isPart && !part.to.isEmpty() ? std::min(range.end, info.frames) : info.frames;
    return std::max<qint64>(0, end - range.first);
}

/// A part of a clip ends where it says, however much of the clip follows.
bool StreamReaderGrowth::isAtItsEnd(const QmxClipInfo &info) const
{
    if (_last >= _source.entries.size()) return false;
    const QmxClipPart part = _source.entries.at(_last).part;
    return part.isPart && !part.to.isEmpty() && info.frames >= _entries.range(_last).end;
}

/// Whether the clip that has just been opened may become longer.
bool StreamReaderGrowth::grows(QmxClipReader &clip)
{
    const QmxClipInfo info = clip.info();
    if (info.closed || info.foreign || isAtItsEnd(info)) return false;
    if (QmxClipReader::isBeingRecorded(_path, _environment)) return true;
    // Finished since it was opened: it has its last frames only now, and may go on in another one.
    if (clip.refresh().isError() || !clip.info().closed) return false;
    _entries.update(_last, clip.info());
    return true;
}

StreamReaderGrowth::Now StreamReaderGrowth::begin()
{
    _path = _source.entries.at(_last).path;
    QmxError error;
    const std::shared_ptr<QmxClipReader> clip = _entries.open(_last, error);
    if (!clip) return {};
    const bool growing = grows(*clip);
    const QmxClipInfo info = clip->info();
    _frames = lengthOf(info);
    _changed = now();
    const bool goesOn = growing || (!_source.isList && followAgain(info));
    return {_before + _frames, goesOn, {}};
}

/// What was played behind the clip when it was opened before is still there. Whether the last one grows.
bool StreamReaderGrowth::followAgain(const QmxClipInfo &first)
{
    bool isLastGrowing = false;
    QmxClipInfo info = first;
    for (const QString &path : _source.sequels) {
        bool mayCome = false;
        if (_source.entries.constFirst().part.isPart || !info.closed || !follow(path, info, mayCome)) break;
        QmxError error;
        const std::shared_ptr<QmxClipReader> clip = _entries.open(_last, error);
        isLastGrowing = clip && grows(*clip);
        info = clip ? clip->info() : QmxClipInfo();
        _frames = std::max(_frames, lengthOf(info));
    }
    return isLastGrowing;
}

StreamReaderGrowth::Now StreamReaderGrowth::look()
{
    QmxError error;
    const std::shared_ptr<QmxClipReader> clip = _entries.open(_last, error);
    if (clip) error = clip->refresh();
    if (error.isError()) {
        if (_brokenAt == 0) _brokenAt = now();
        if (now() - _brokenAt < brokenTime) return {_before + _frames, true, {}};
        return stopped(error.toString());
    }
    _brokenAt = 0;
    const QmxClipInfo info = clip->info();
    _entries.update(_last, info);
    const qint64 frames = lengthOf(info);
    if (frames > _frames) _changed = now();
    _frames = std::max(_frames, frames);
    if (isAtItsEnd(info)) return stopped({});
    if (info.closed) return closed(info);
    if (now() - _changed < quietTime || QmxClipReader::isBeingRecorded(_path, _environment))
        return {_before + _frames, true, {}};
    // Whoever has just finished it let go of the lock behind the last write.
    if (!clip->refresh().isError() && clip->info().closed) return closed(clip->info());
    return stopped(QStringLiteral("whoever recorded it has gone"));
}

StreamReaderGrowth::Now StreamReaderGrowth::stopped(const QString &why)
{
    Now now{_before + _frames, false, {}};
    if (!why.isEmpty())
        now.ended = QStringLiteral("%1 ends after its %2 safe frames: %3").arg(_path).arg(_frames).arg(why);
    return now;
}

/// The file is finished: the take has ended, or it goes on in another one.
StreamReaderGrowth::Now StreamReaderGrowth::closed(const QmxClipInfo &info)
{
    _entries.update(_last, info);
    _frames = std::max(_frames, lengthOf(info));
    if (_closedAt == 0) _closedAt = now();
    bool mayCome = false;
    const QStringList candidates =
        _source.isList ? QStringList() : _environment.deck->takeSequel.after(_path);
    for (const QString &candidate : candidates)
        if (follow(candidate, info, mayCome)) return {_before + _frames, true, {}};
    const qint64 within = mayCome ? framesWithin : sequelWithin;
    if (!candidates.isEmpty() && now() - _closedAt < within) return {_before + _frames, true, {}};
    // What a recorder leaves behind that has gone is closed by somebody else, as a rule within this second.
    QmxClipCheck claims;
    const bool isLeft = !QmxClipCheck::claims(_path, claims, _environment).isError() &&
                        claims.take.value(QLatin1String("closed_by")).toString() == QLatin1String("repair");
    return stopped(isLeft ? QStringLiteral("whoever recorded it has gone, and it has been closed for him")
                          : QString());
}

/// Whether the clip at `path` is the one that follows; `mayCome`: it is there and has no frame yet.
bool StreamReaderGrowth::follow(const QString &path, const QmxClipInfo &before, bool &mayCome)
{
    QmxClipInfo info;
    const QmxError error = QmxClipReader::probe(path, info, _environment);
    // Its writer may be about to lock it: no question about that lock before it holds frames.
    if (error.isError()) {
        mayCome = mayCome || error.value() == ENODATA || error.value() == EILSEQ;
        return false;
    }
    const QmxTimecode next = before.timecodeAt(before.frames - 1).advanced(1);
    const QmxTimecode first = info.timecodeAt(0);
    const bool follows = next.isValid() == first.isValid() && (!next.isValid() || next == first);
    if (!follows || info.image != before.image || info.audio != before.audio) return false;
    _entries.append(path, int(_frames));
    _before += _frames;
    _path = path;
    ++_last;
    QmxError failed;
    const std::shared_ptr<QmxClipReader> clip = _entries.open(_last, failed);
    _frames = clip ? lengthOf(clip->info()) : 0;
    _changed = now();
    _closedAt = 0;
    qmxLogOutput(QmxLogLevel::Info, "streamreader", __LINE__, "The take goes on in %s\n", qPrintable(path));
    return true;
}
