// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movclaims.h"

#include "platform/qmx/clip/atomcursor.h"

#include <QByteArray>

#include <algorithm>
#include <cerrno>

namespace {

/// A day in fragments of half a second has two million.
constexpr int maxAtoms = 4'000'000;
/// Old sound coders count samples of which several lie in a byte.
constexpr qint64 samplesPerByte = 8;
/// Samples that room is made for one by one: a day with several tracks has twenty million.
constexpr qint64 mostSamples = 32'000'000;
/// Plain sound is taken in pieces of so many samples.
constexpr qint64 samplesPerPiece = 1024;
constexpr qint64 longestDescription = qint64(256) << 20; ///< the one of a day has a hundred
constexpr qint64 mostDescribed = qint64(2) << 30;        ///< with all fragments
constexpr qint64 chunkSize = 65536;

/// Where libavformat takes atoms from when they stand outside of everything; all that is in one of these it
/// may take for an atom, wherever it stands.
constexpr quint32 outermost[] = {
    atomType("moov"), atomType("moof"), atomType("trak"), atomType("mdia"), atomType("minf"),
    atomType("stbl"), atomType("mvex"), atomType("traf"), atomType("udta"), atomType("meta"),
    atomType("edts"), atomType("dinf"), atomType("stsd"), atomType("wave"), atomType("ilst"),
    atomType("tref"), atomType("sinf"), atomType("schi"), atomType("ipro"), atomType("mfra"),
    atomType("trun"), atomType("stsz"), atomType("stz2"), atomType("cmov"), atomType("hoov"),
};

class Claims
{
public:
    explicit Claims(MovInput &input) : _input(input) {}

    QmxError walk(qint64 from, qint64 end, bool isMovie)
    {
        while (end - from >= 8) {
            if (++_atoms > maxAtoms) return _input.damaged("it has too many atoms");
            uchar head[16] = {};
            QmxError error = _input.readSmall(head, std::min<qint64>(sizeof head, end - from), from);
            if (error.isError()) return error.value() == EILSEQ ? QmxError() : error;
            AtomCursor cursor(head);
            quint64 size = cursor.u32();
            const quint32 type = cursor.u32();
            // A movie may hide in what is said to be free.
            const quint32 within = qFromBigEndian<quint32>(head + 12);
            const bool hides =
                type == atomType("free") && (within == atomType("mvhd") || within == atomType("cmov"));
            const int headSize = size == 1 ? 16 : 8;
            if (size == 1) size = cursor.u64();
            if (size == 0) size = quint64(end - from);
            if (size < quint64(headSize)) return {};
            // One that reaches beyond what it is in is read all the same, up to there.
            const qint64 next = from + qint64(std::min<quint64>(size, quint64(end - from)));
            const bool isRead =
                std::find(std::begin(outermost), std::end(outermost), type) != std::end(outermost);
            if (!isMovie && (type == atomType("moov") || type == atomType("hoov") || hides))
                error = movie(from, from + headSize, next);
            else if (isMovie || isRead)
                error = scan(from, next, isMovie && type == atomType("trak"));
            if (error.isError()) return error;
            from = next;
        }
        return {};
    }

private:
    /// Of one track, or of all that is in no track.
    struct Track
    {
        qint64 samples = 0;      ///< of one size each: that their number is true shows nowhere
        qint64 chunks = 0;       ///< of plain sound
        qint64 longestChunk = 0; ///< samples
        bool isSound = false;
        bool isOther = false; ///< or may be
    };

    QmxError movie(qint64 from, qint64 content, qint64 end)
    {
        if (end - from > longestDescription) return _input.damaged("its description is too long");
        return walk(content, end, true);
    }

    /// Looks for all atoms that make room for something. Not by how they lie in each other: what reads them
    /// finds some in places where they do not belong.
    QmxError scan(qint64 from, qint64 end, bool isTrack)
    {
        _described += end - from;
        if (end - from > longestDescription || _described > mostDescribed)
            return _input.damaged("its description is too long");
        Track track;
        QByteArray bytes;
        quint32 code = 0;
        for (qint64 at = from; at < end; at += bytes.size()) {
            bytes.resize(std::min(chunkSize, end - at));
            QmxError error = _input.read(bytes.data(), bytes.size(), at);
            for (qsizetype i = 0; !error.isError() && i < bytes.size(); ++i) {
                code = code << 8 | uchar(bytes[i]);
                error = atom(code, at + i + 1, end, track);
            }
            if (error.isError()) return error;
        }
        return sum(track, isTrack);
    }

    QmxError atom(quint32 type, qint64 content, qint64 end, Track &track)
    {
        switch (type) {
        case atomType("trun"): // flags, count
            return count(content + 4, end, _single);
        case atomType("stsz"):
        case atomType("stz2"): // flags, size of all, count
            return sizes(type, content, end, track);
        case atomType("stts"): // flags, count, of how many, duration
            track.isOther = track.isOther || number(content + 4, end) != 1 || number(content + 12, end) != 1;
            return {};
        case atomType("stsc"):
            return chunkLengths(content, end, track);
        case atomType("stco"):
        case atomType("co64"): // flags, count
            track.chunks += std::min<qint64>(number(content + 4, end), (end - content) / 4);
            return {};
        case atomType("hdlr"):
            return kind(number(content + 8, end), track);
        case atomType("cmov"): // what it holds shows only when it has been made room for
            if (number(content + 4, end) == atomType("dcom"))
                return _input.damaged("its description is compressed, which is not read");
            return {};
        default:
            return {};
        }
    }

    QmxError kind(quint32 handler, Track &track)
    {
        const bool isData =
            handler == atomType("alis") || handler == atomType("url ") || handler == atomType("mdir");
        if (handler == atomType("soun"))
            track.isSound = true;
        else if (!isData)
            track.isOther = true;
        return {};
    }

    QmxError sizes(quint32 type, qint64 content, qint64 end, Track &track)
    {
        const bool isTable = type == atomType("stz2") || number(content + 4, end) == 0;
        return count(content + 8, end, isTable ? _single : track.samples);
    }

    QmxError chunkLengths(qint64 content, qint64 end, Track &track)
    {
        constexpr qint64 rowSize = 12; // the first chunk, samples, description
        const qint64 rows = std::min<qint64>(number(content + 4, end), (end - content) / rowSize);
        for (qint64 row = 0; row < rows; ++row)
            track.longestChunk =
                std::max<qint64>(track.longestChunk, number(content + 12 + row * rowSize, end));
        return {};
    }

    QmxError sum(const Track &track, bool isTrack)
    {
        const bool isPlainSound = isTrack && track.isSound && !track.isOther;
        _single += isPlainSound ? track.chunks * (track.longestChunk / samplesPerPiece + 1) : track.samples;
        const bool isTooMuch = _single > mostSamples || (!isPlainSound && _single > _input.size());
        return isTooMuch ? _input.damaged("it claims more frames than it can hold") : QmxError();
    }

    /// 0 where there is none.
    quint32 number(qint64 at, qint64 end)
    {
        uchar bytes[4] = {};
        if (at + qint64(sizeof bytes) > end || _input.readSmall(bytes, sizeof bytes, at).isError()) return 0;
        return qFromBigEndian<quint32>(bytes);
    }

    QmxError count(qint64 at, qint64 end, qint64 &to)
    {
        const quint32 claimed = number(at, end);
        to += claimed;
        _samples += claimed;
        if (_samples / samplesPerByte > _input.size())
            return _input.damaged("it claims more frames than it can hold");
        return {};
    }

    MovInput &_input;
    int _atoms = 0;
    qint64 _described = 0;
    qint64 _samples = 0;
    qint64 _single = 0; ///< of them those that room is made for one by one
};

} // namespace

QmxError movCheckClaims(MovInput &input)
{
    return Claims(input).walk(0, input.size(), false);
}
