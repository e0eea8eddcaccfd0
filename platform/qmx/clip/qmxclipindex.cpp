// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipindex.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/movdescribe.h"
#include "platform/qmx/clip/movearlierslots.h"
#include "platform/qmx/clip/movlayout.h"
#include "platform/qmx/clip/movplaces.h"
#include "platform/qmx/clip/movslotsahead.h"
#include "platform/qmx/clip/movwaymarks.h"

#include <algorithm>
#include <cerrno>

namespace {

/// How far behind a damaged slot the next whole one is looked for: no fragment is longer.
constexpr qint64 maxSearch = qint64(1) << 31;
/// In one clip: what is searched, and frames that are given a place although they are lost. A few bytes can
/// claim any number of either, and half a megabyte of holes looks like gigabytes.
constexpr qint64 maxSearchOfClip = 2 * maxSearch;
constexpr qint64 maxLostFrames = qint64(1) << 18; // more than an hour at 60 frames a second
constexpr qint64 maxFrames = qint64(1) << 24;
constexpr qint64 searchStep = qint64(1) << 20;

} // namespace

QmxTimecode QmxClipInfo::timecodeAt(qint64 frame) const
{
    if (frame < 0 || frame >= frames || timecodeRuns.isEmpty()) return {};
    auto run =
        std::upper_bound(timecodeRuns.begin(), timecodeRuns.end(), frame,
                         [](qint64 value, const TimecodeRun &item) { return value < item.firstFrame; });
    if (run == timecodeRuns.begin()) return {};
    --run;
    return run->start.advanced(int(frame - run->firstFrame));
}

QmxError QmxClipIndex::identify(MovInput &input, Place &place, qint64 &moov)
{
    place = Place::Foreign;
    uchar head[MovLayout::moovPosition + 8];
    if (input.size() < qint64(sizeof head)) return {};
    QmxError error = input.readSmall(head, sizeof head, 0);
    if (error.isError()) return error;
    AtomCursor cursor(head);
    const bool startsLikeOurs = cursor.u32() == MovLayout::flipPosition && cursor.u32() == atomType("ftyp") &&
                                cursor.u32() == atomType("qt  ");
    cursor.skip(8);
    const quint32 size = cursor.u32();
    const quint32 type = cursor.u32();
    const quint64 length = cursor.u64();
    cursor.skip(4);
    if (!startsLikeOurs || cursor.u32() != atomType("moov")) return {};

    // Nobody else puts a moov there. Damage further on, or the loss of it, does not make a clip foreign.
    if (size == quint32(MovLayout::flipSize) && type == atomType("wide")) {
        place = Place::Growing;
    } else if (size == 1 && type == atomType("mdat") && length <= quint64(1) << 62) {
        place = Place::Closed;
        moov = MovLayout::flipPosition + qint64(length);
    }
    return {};
}

QmxError QmxClipIndex::load(MovInput &input, bool tables)
{
    info = QmxClipInfo();
    frames.clear();
    sounds.clear();
    _fragments.clear();
    Place place;
    qint64 moov = 0;
    QmxError error = identify(input, place, moov);
    if (!error.isError() && place == Place::Foreign && _onlySlots) place = Place::Growing;
    if (!error.isError())
        error = place == Place::Foreign ? loadForeign(input, tables) : loadOwn(input, place, moov, tables);
    if (!error.isError() && info.frames == 0)
        return {ENODATA, QStringLiteral("Clip %1 has no frames").arg(input.path())};
    return error;
}

QmxError QmxClipIndex::loadOwn(MovInput &input, Place place, qint64 moov, bool tables)
{
    _own = true;
    if (place == Place::Closed && !_onlySlots && !loadFinal(input, moov, tables).isError()) return {};
    // Still growing, or its end is missing: the first moov and the slots are there.
    frames.clear();
    sounds.clear();
    info = QmxClipInfo();
    QmxError error = MovMovie::read(input, MovLayout::moovPosition, true, _movie);
    if (!error.isError()) error = describe(input);
    if (error.isError()) return error;
    _nextSlot = MovLayout::firstSlot;
    _nextSequence = 1;
    _lost = _searched = 0;
    return walk(input);
}

QmxError QmxClipIndex::loadFinal(MovInput &input, qint64 moov, bool tables)
{
    QmxError error = MovMovie::read(input, moov, tables, _movie);
    if (!error.isError()) error = describe(input);
    if (error.isError()) return error;
    const auto *video = _movie.firstTrack(atomType("vide"));
    info.frames = video->samples;
    info.closed = true;
    if (tables) {
        error = movPlaceFrames(input, *video, frames);
        if (!error.isError()) error = placeSounds(input);
        if (!error.isError() && qint64(frames.size()) != info.frames)
            error = input.damaged("frames are missing");
    }
    return error.isError() ? error : readTimecodes(input);
}

QmxError QmxClipIndex::loadForeign(MovInput &input, bool tables)
{
    _own = false;
    qint64 moov = 0;
    QmxError error = MovMovie::find(input, moov);
    if (!error.isError()) error = MovMovie::read(input, moov, tables, _movie);
    // What this parser does not understand another one may.
    if (error.isError()) return error.value() == EILSEQ ? QmxError(ENOTSUP, error.toString()) : error;
    info.foreign = info.closed = true;
    const auto *video = _movie.firstTrack(atomType("vide"));
    qint64 first = 0;
    qint64 count = 0;
    if (!video || _movie.fragmented || !movStandsAlone(_movie, *video, first, count))
        return {ENOTSUP, QStringLiteral("Clip %1 needs another demultiplexer").arg(input.path())};
    error = describe(input);
    if (error.isError()) return {ENOTSUP, error.toString()};
    info.frames = count;
    if (tables) {
        error = movPlaceFrames(input, *video, frames);
        if (!error.isError()) error = placeSounds(input);
        if (error.isError()) return error;
        frames.erase(frames.begin(), frames.begin() + std::min<qint64>(first, qint64(frames.size())));
        if (qint64(frames.size()) > count) frames.resize(size_t(count));
        info.frames = qint64(frames.size());
    }
    return readTimecodes(input);
}

QmxError QmxClipIndex::describe(MovInput &input)
{
    const auto *video = _movie.firstTrack(atomType("vide"));
    if (!video) return input.damaged("it has no pictures");
    const quint32 delta = video->fragmentDuration ? video->fragmentDuration : video->constantDelta();
    info.image = movDescribeImage(*video, delta);
    if (!info.image.isValid()) return input.damaged("its pictures are not described");
    _format.frameDuration = delta;
    if (_own) {
        uchar slot[MovLayout::slotSize];
        const bool read = !input.read(slot, sizeof slot, MovLayout::firstSlot).isError();
        const auto traits = read ? MovFragment::traits(slot) : std::nullopt;
        if (traits) movApplyTraits(*traits, info.image);
        soundPhase = traits ? traits->soundPhase : 0;
    }
    if (const auto *timecode = timecodeTrack()) info.reelName = timecode->reelName;
    if (_movie.created > MovLayout::secondsFrom1904To1970)
        info.created = qint64(_movie.created - MovLayout::secondsFrom1904To1970);
    return describeSound(input);
}

QmxError QmxClipIndex::describeSound(MovInput &input)
{
    int channels = 0;
    for (const auto &track : _movie.tracks) {
        if (track.handler != atomType("soun")) continue;
        if (!track.isPcm || track.descriptions != 1 || track.sampleRate != qmxAudioRate)
            return {ENOTSUP, QStringLiteral("The sound of clip %1 needs decoding").arg(input.path())};
        Sound sound;
        sound.channels = track.channels;
        sound.form = track.pcm;
        if (!movSoundShift(_movie, track, sound.shift))
            return {ENOTSUP, QStringLiteral("The sound of clip %1 is edited").arg(input.path())};
        channels += sound.channels;
        sounds.push_back(sound);
    }
    if (channels > 0) info.audio = movAudioDesc(channels, info.image.frameRate());
    _format.channels = channels;
    return {};
}

QmxError QmxClipIndex::placeSounds(MovInput &input)
{
    size_t index = 0;
    for (const auto &track : _movie.tracks) {
        if (track.handler != atomType("soun")) continue;
        QmxError error = movPlaceSound(input, track, sounds[index++]);
        if (error.isError()) return error;
    }
    return {};
}

const MovMovie::Track *QmxClipIndex::timecodeTrack() const
{
    const auto *video = _movie.firstTrack(atomType("vide"));
    for (quint32 id : video ? video->timecodeTracks : std::vector<quint32>()) {
        const auto *track = _movie.track(id);
        if (track && track->handler == atomType("tmcd")) return track;
    }
    return _movie.firstTrack(atomType("tmcd"));
}

void QmxClipIndex::addRun(qint64 frame, quint32 value)
{
    const auto *track = timecodeTrack();
    if (!track || value > quint32(std::numeric_limits<int>::max())) return;
    const QmxTimecode start(int(value), info.image.frameRate().timecodeRate(), track->dropFrame);
    if (!start.isValid()) return;
    if (!info.timecodeRuns.isEmpty() && info.timecodeRuns.last().firstFrame >= frame) return;
    info.timecodeRuns.append({frame, start});
    if (frame == 0) info.startTimecode = start;
}

/// The samples of the timecode track that the moov knows of: each begins a run.
QmxError QmxClipIndex::readTimecodes(MovInput &input)
{
    info.timecodeRuns.clear();
    const auto *track = timecodeTrack();
    // The rate must be that of the pictures: a timecode that counts differently is not ours to convert.
    if (!track || track->timeScale == 0 || track->timecodeFps != info.image.frameRate().timecodeRate())
        return {};
    std::vector<Frame> samples;
    if (movPlaceFrames(input, *track, samples).isError()) return {};
    const QmxVideoRate rate = info.image.frameRate();
    qint64 time = 0;
    size_t index = 0;
    for (const auto &run : track->times) {
        for (quint32 i = 0; i < run.count && index < samples.size(); ++i, ++index, time += run.delta) {
            uchar bytes[4] = {};
            if (samples[index].size != sizeof bytes) continue;
            if (input.readSmall(bytes, sizeof bytes, samples[index].offset).isError()) return {};
            const double frame = double(time) / track->timeScale * rate.toDouble();
            if (frame >= 0 && frame < double(info.frames)) addRun(qRound64(frame), AtomCursor(bytes).u32());
        }
    }
    return {};
}

void QmxClipIndex::append(const MovFragment &fragment, MovInput &input)
{
    // Fragments lost to damage leave frames that cannot be read: numbers and timecodes stay. Each had at
    // least its slot in the part of the file that was skipped.
    if (fragment.firstFrame > qint64(frames.size()) && fragment.sequence > _nextSequence) {
        const qint64 lostFragments = std::min<qint64>(fragment.sequence - _nextSequence,
                                                      (fragment.slot - _nextSlot) / MovLayout::slotSize);
        const qint64 lost = fragment.firstFrame - qint64(frames.size());
        if (lost <= lostFragments * MovLayout::maxFragmentFrames && _lost + lost <= maxLostFrames) {
            info.lostFrames.append({qint64(frames.size()), fragment.firstFrame - 1});
            frames.resize(size_t(fragment.firstFrame));
            _lost += lost;
        }
    }
    if (_keepFragments) {
        // Whoever finishes the file counts as we do here.
        _fragments.push_back(fragment);
        _fragments.back().firstFrame = qint64(frames.size());
    }
    if (info.frames == 0) {
        info.frames = 1; // so that the first timecode lies within the clip
        readTimecodes(input);
    }
    for (const auto &jump : fragment.jumps) {
        uchar bytes[4] = {};
        if (!input.read(bytes, sizeof bytes, jump.offset).isError())
            addRun(jump.frame, AtomCursor(bytes).u32());
    }
    for (const auto &frame : fragment.frames)
        frames.push_back({frame.offset, frame.size});
    if (!sounds.empty() && fragment.samples() > 0)
        sounds.front().chunks.push_back({fragment.firstSample, fragment.audioOffset, fragment.samples()});
    info.frames = qint64(frames.size());
    _nextSlot = fragment.end;
    _nextSequence = fragment.sequence + 1;
}

/// By the newest slot, which tells of those before it. What slots tell of themselves alone is not known then.
bool QmxClipIndex::loadByNewest(MovInput &input, const std::vector<qint64> &marks)
{
    if (_keepFragments || _onlySlots) return false;
    // The mark of the newest slot can be on the medium before the slot is.
    constexpr size_t tries = 2;
    const auto use = [&](const MovFragment &fragment, qint64 all) {
        if (qint64(frames.size()) >= maxFrames) return; // as a walk ends there
        frames.reserve(size_t(std::min(all, maxFrames)));
        append(fragment, input);
    };
    for (size_t i = 0; i < std::min(tries, marks.size()); ++i)
        if (MovEarlierSlots::read(input, _format, marks[marks.size() - 1 - i], use)) return true;
    return false;
}

QmxError QmxClipIndex::walk(MovInput &input)
{
    MovSlotsAhead ahead;
    if (_nextSlot == MovLayout::firstSlot) {
        uchar head[MovLayout::block];
        const auto marks =
            input.read(head, sizeof head, 0).isError() ? std::vector<qint64>() : MovWaymarks::read(head);
        if (!loadByNewest(input, marks)) ahead.read(input, _format, marks);
    }
    while (_nextSlot <= input.size() - MovLayout::slotSize && qint64(frames.size()) < maxFrames) {
        std::optional<MovFragment> fragment = ahead.take(_nextSlot);
        bool isOpen = false;
        if (!fragment) {
            QmxError error = readSlot(input, fragment, isOpen);
            if (error.isError()) return error;
        }
        if (!fragment) {
            MovFragment later;
            if (isOpen || !findSlot(input, _nextSlot + MovLayout::block, later)) break;
            fragment = later;
        }
        append(*fragment, input);
    }
    return {};
}

/// The fragment of the next slot, nothing when it is damaged or still open.
QmxError QmxClipIndex::readSlot(MovInput &input, std::optional<MovFragment> &fragment, bool &isOpen)
{
    uchar slot[MovLayout::slotSize];
    QmxError error = input.read(slot, sizeof slot, _nextSlot);
    if (error.isError()) return error;
    fragment = MovFragment::fromSlot(slot, _nextSlot, input.size(), _format);
    isOpen = MovFragment::isOpenSlot(slot);
    return {};
}

/// The next whole slot behind a damaged one.
bool QmxClipIndex::findSlot(MovInput &input, qint64 from, MovFragment &fragment)
{
    const qint64 end = std::min(from + maxSearch, input.size());
    QByteArray piece(searchStep, Qt::Uninitialized);
    for (; from < end && _searched < maxSearchOfClip; from += piece.size()) {
        piece.resize(std::min(searchStep, (end - from) / MovLayout::block * MovLayout::block));
        if (piece.isEmpty() || input.read(piece.data(), piece.size(), from).isError()) return false;
        _searched += piece.size();
        for (qsizetype i = 0; i < piece.size(); i += MovLayout::block) {
            const std::span<const uchar> slot(reinterpret_cast<const uchar *>(piece.constData()) + i,
                                              size_t(MovLayout::block));
            const auto found = MovFragment::fromSlot(slot, from + i, input.size(), _format);
            if (!found || found->sequence < _nextSequence) continue;
            fragment = *found;
            return true;
        }
    }
    return false;
}

std::optional<quint32> QmxClipIndex::crc(MovInput &input, qint64 frame)
{
    if (!_own) return std::nullopt;
    // Pictures of one fragment follow each other without a gap; the slot stands right before the first.
    qint64 first = frame;
    const auto follows = [this](qint64 i) {
        const Frame &before = frames[size_t(i - 1)];
        return before.offset + MovLayout::roundUp(before.size) == frames[size_t(i)].offset;
    };
    while (first > 0 && frame - first < MovLayout::maxFragmentFrames && follows(first))
        --first;
    if (_crcs.empty() || first != _crcFirst) {
        uchar slot[MovLayout::slotSize];
        _crcs.clear();
        if (input.read(slot, sizeof slot, frames[size_t(first)].offset - MovLayout::slotSize).isError())
            return std::nullopt;
        _crcs = MovFragment::frameCrcs(slot);
        _crcFirst = first;
    }
    const size_t index = size_t(frame - first);
    return index < _crcs.size() ? std::optional(_crcs[index]) : std::nullopt;
}

QmxError QmxClipIndex::refresh(MovInput &input)
{
    if (!_own || info.closed) return {};
    QmxError error = input.refreshSize();
    Place place = Place::Growing;
    qint64 moov = 0;
    if (!error.isError()) error = identify(input, place, moov);
    if (error.isError()) return error;
    if (place == Place::Closed) {
        QmxClipIndex closed;
        closed._own = true;
        if (!closed.loadFinal(input, moov, true).isError() && closed.info.frames >= info.frames) {
            closed.info.image = info.image;
            closed._keepFragments = _keepFragments;
            *this = std::move(closed);
            return {};
        }
    }
    return walk(input);
}
