// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movmovie.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/movsampleentry.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr int maxDepth = 8;
constexpr int maxAtoms = 20000;
constexpr size_t maxTracks = 64;
constexpr qint64 maxTableBytes = qint64(256)
                                 << 20; ///< of all tracks together: a day at 60 frames a second has 80 MB

struct Place
{
    quint32 type = 0;
    qint64 content = 0;
    qint64 end = 0;
};

/// The header of the atom at `offset`, which must end at `limit` at the latest.
QmxError readPlace(MovInput &input, qint64 offset, qint64 limit, Place &place)
{
    uchar head[16] = {};
    QmxError error = input.readSmall(head, 8, offset);
    if (error.isError()) return error;
    AtomCursor cursor(head);
    quint64 size = cursor.u32();
    place.type = cursor.u32();
    place.content = offset + 8;
    if (size == 1) {
        error = input.readSmall(head + 8, 8, offset + 8);
        if (error.isError()) return error;
        size = cursor.u64();
        place.content = offset + 16;
    } else if (size == 0) {
        size = quint64(limit - offset);
    }
    if (size < quint64(place.content - offset) || size > quint64(limit - offset))
        return input.damaged("the size of an atom is wrong");
    place.end = offset + qint64(size);
    return {};
}

class Reader
{
public:
    Reader(MovInput &input, bool tables, MovMovie &movie) : _input(input), _tables(tables), _movie(movie) {}

    QmxError container(qint64 from, qint64 end, int depth)
    {
        if (depth > maxDepth) return _input.damaged("atoms are nested too deeply");
        while (end - from >= 8) {
            if (++_atoms > maxAtoms) return _input.damaged("it has too many atoms");
            Place place;
            QmxError error = readPlace(_input, from, end, place);
            if (!error.isError()) error = atom(place, depth);
            if (error.isError()) return error;
            from = place.end;
        }
        return {};
    }

private:
    QmxError atom(const Place &place, int depth)
    {
        switch (place.type) {
        case atomType("trak"):
            if (_movie.tracks.size() >= maxTracks) return _input.damaged("it has too many tracks");
            _movie.tracks.emplace_back();
            return container(place.content, place.end, depth + 1);
        case atomType("mvex"):
            _movie.fragmented = true;
            [[fallthrough]];
        case atomType("mdia"):
        case atomType("minf"):
        case atomType("stbl"):
        case atomType("edts"):
        case atomType("tref"):
            return container(place.content, place.end, depth + 1);
        case atomType("cmov"):
            return _input.damaged("its header is compressed");
        default:
            break;
        }
        for (const Leaf &leaf : leaves) {
            if (leaf.type != place.type) continue;
            const bool inTrack = !_movie.tracks.empty();
            if (leaf.needsTrack && !inTrack) return {};
            return load(place, leaf);
        }
        return {};
    }

    struct Leaf
    {
        quint32 type;
        bool needsTrack;
        qint64 headBytes; ///< what is read of it when tables are not wanted; 0: all
        bool (Reader::*parse)(AtomCursor &);
    };
    static const std::initializer_list<Leaf> leaves;

    QmxError load(const Place &place, const Leaf &leaf)
    {
        qint64 size = place.end - place.content;
        if (!wantsTables() && leaf.headBytes > 0) size = std::min(size, leaf.headBytes);
        _tableBytes += size;
        if (_tableBytes > maxTableBytes) return _input.damaged("its tables are too large");
        QByteArray bytes(size, Qt::Uninitialized);
        QmxError error = _input.readSmall(bytes.data(), size, place.content);
        if (error.isError()) return error;
        AtomCursor cursor({reinterpret_cast<const uchar *>(bytes.constData()), size_t(size)});
        if (!(this->*leaf.parse)(cursor) || !cursor.ok()) return _input.damaged("an atom is malformed");
        return {};
    }

    MovMovie::Track &track() { return _movie.tracks.back(); }

    /// Timecode tracks are small and always read.
    bool wantsTables() const
    {
        return _tables || (!_movie.tracks.empty() && _movie.tracks.back().handler == atomType("tmcd"));
    }

    /// The count of a table whose entries have `entryBytes`; what does not fit makes the atom malformed.
    static bool fits(AtomCursor &cursor, quint32 count, size_t entryBytes)
    {
        return cursor.ok() && count <= cursor.left() / entryBytes;
    }

    bool mvhd(AtomCursor &cursor)
    {
        const bool wide = cursor.u8() == 1;
        cursor.skip(3);
        _movie.created = wide ? cursor.u64() : cursor.u32();
        cursor.skip(wide ? 8 : 4);
        _movie.timeScale = cursor.u32();
        return true;
    }

    bool tkhd(AtomCursor &cursor)
    {
        const bool wide = cursor.u8() == 1;
        cursor.skip(wide ? 19 : 11);
        track().id = cursor.u32();
        return true;
    }

    bool mdhd(AtomCursor &cursor)
    {
        const bool wide = cursor.u8() == 1;
        cursor.skip(wide ? 19 : 11);
        track().timeScale = cursor.u32();
        return true;
    }

    bool hdlr(AtomCursor &cursor)
    {
        cursor.skip(8);
        const quint32 type = cursor.u32();
        // The second one, within minf, is that of the data.
        if (track().handler == 0) track().handler = type;
        return true;
    }

    bool elst(AtomCursor &cursor)
    {
        const bool wide = cursor.u8() == 1;
        cursor.skip(3);
        const quint32 count = cursor.u32();
        if (!fits(cursor, count, wide ? 20 : 12)) return false;
        for (quint32 i = 0; i < count; ++i) {
            const qint64 duration = wide ? qint64(cursor.u64()) : qint64(cursor.u32());
            const qint64 time = wide ? qint64(cursor.u64()) : qint64(qint32(cursor.u32()));
            cursor.skip(4);
            track().edits.push_back({duration, time});
        }
        return true;
    }

    bool timecodeReference(AtomCursor &cursor)
    {
        while (cursor.left() >= 4)
            track().timecodeTracks.push_back(cursor.u32());
        return true;
    }

    bool stsd(AtomCursor &cursor) { return movParseDescriptions(cursor, track()); }

    bool stts(AtomCursor &cursor)
    {
        cursor.skip(4);
        const quint32 count = cursor.u32();
        if (!fits(cursor, count, 8)) return false;
        track().times.clear();
        for (quint32 i = 0; i < count; ++i) {
            const quint32 samples = cursor.u32();
            track().times.push_back({samples, cursor.u32()});
        }
        return true;
    }

    bool ctts(AtomCursor &)
    {
        track().reordered = true;
        return true;
    }

    bool stsc(AtomCursor &cursor)
    {
        cursor.skip(4);
        const quint32 count = cursor.u32();
        if (!wantsTables()) return true;
        if (!fits(cursor, count, 12)) return false;
        track().chunkRuns.clear();
        for (quint32 i = 0; i < count; ++i) {
            const quint32 first = cursor.u32();
            const quint32 samples = cursor.u32();
            cursor.skip(4);
            if (first == 0 || samples == 0) return false;
            if (i > 0 && first <= track().chunkRuns.back().first) return false;
            track().chunkRuns.push_back({first, samples});
        }
        return true;
    }

    bool stsz(AtomCursor &cursor)
    {
        cursor.skip(4);
        track().sampleSize = cursor.u32();
        track().samples = cursor.u32();
        if (!wantsTables() || track().sampleSize != 0) return true;
        if (!fits(cursor, track().samples, 4)) return false;
        track().sizes.resize(track().samples);
        for (quint32 &size : track().sizes)
            size = cursor.u32();
        return true;
    }

    template <class Number>
    bool offsets(AtomCursor &cursor)
    {
        cursor.skip(4);
        const quint32 count = cursor.u32();
        if (!wantsTables()) return true;
        if (!fits(cursor, count, sizeof(Number))) return false;
        track().chunks.resize(count);
        for (qint64 &offset : track().chunks)
            offset = sizeof(Number) == 4 ? qint64(cursor.u32()) : qint64(cursor.u64());
        return true;
    }

    bool trex(AtomCursor &cursor)
    {
        cursor.skip(4);
        const quint32 id = cursor.u32();
        cursor.skip(4);
        const quint32 duration = cursor.u32();
        for (auto &candidate : _movie.tracks)
            if (candidate.id == id) candidate.fragmentDuration = duration;
        return true;
    }

    MovInput &_input;
    bool _tables;
    MovMovie &_movie;
    int _atoms = 0;
    qint64 _tableBytes = 0;
};

const std::initializer_list<Reader::Leaf> Reader::leaves = {
    {atomType("mvhd"), false, 0, &Reader::mvhd},
    {atomType("tkhd"), true, 0, &Reader::tkhd},
    {atomType("mdhd"), true, 0, &Reader::mdhd},
    {atomType("hdlr"), true, 0, &Reader::hdlr},
    {atomType("elst"), true, 0, &Reader::elst},
    {atomType("tmcd"), true, 0, &Reader::timecodeReference},
    {atomType("stsd"), true, 0, &Reader::stsd},
    {atomType("stts"), true, 0, &Reader::stts},
    {atomType("ctts"), true, 8, &Reader::ctts},
    {atomType("stsc"), true, 8, &Reader::stsc},
    {atomType("stsz"), true, 12, &Reader::stsz},
    {atomType("stco"), true, 8, &Reader::offsets<quint32>},
    {atomType("co64"), true, 8, &Reader::offsets<quint64>},
    {atomType("trex"), false, 0, &Reader::trex},
};

} // namespace

quint32 MovMovie::Track::constantDelta() const
{
    if (times.empty() || times.front().delta == 0) return 0;
    for (size_t i = 1; i < times.size(); ++i) {
        const bool lastSample = i + 1 == times.size() && times[i].count == 1;
        if (times[i].delta != times.front().delta && !lastSample) return 0;
    }
    return times.front().delta;
}

QmxError MovMovie::read(MovInput &input, qint64 offset, bool tables, MovMovie &movie)
{
    movie = MovMovie();
    Place place;
    QmxError error = readPlace(input, offset, input.size(), place);
    if (error.isError()) return error;
    if (place.type != atomType("moov")) return input.damaged("its description is missing");
    error = Reader(input, tables, movie).container(place.content, place.end, 0);
    if (!error.isError() && movie.timeScale == 0) return input.damaged("its time scale is missing");
    return error;
}

QmxError MovMovie::find(MovInput &input, qint64 &offset)
{
    offset = 0;
    for (int i = 0; i < maxAtoms && input.size() - offset >= 8; ++i) {
        Place place;
        QmxError error = readPlace(input, offset, input.size(), place);
        if (error.isError()) return error;
        if (place.type == atomType("moov")) return {};
        offset = place.end;
    }
    return {EILSEQ, QStringLiteral("%1 is no clip, or its description is missing").arg(input.path())};
}

const MovMovie::Track *MovMovie::firstTrack(quint32 handler) const
{
    for (const Track &track : tracks)
        if (track.handler == handler) return &track;
    return nullptr;
}

const MovMovie::Track *MovMovie::track(quint32 id) const
{
    for (const Track &track : tracks)
        if (track.id == id) return &track;
    return nullptr;
}
