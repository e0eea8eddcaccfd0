// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movclaims.h"

#include "platform/qmx/clip/atomcursor.h"

#include <algorithm>
#include <cerrno>

namespace {

constexpr int maxDepth = 8;
/// A day in fragments of half a second has two million.
constexpr int maxAtoms = 4'000'000;
/// Old sound coders count samples of which several lie in a byte.
constexpr qint64 samplesPerByte = 8;

class Claims
{
public:
    explicit Claims(MovInput &input) : _input(input) {}

    QmxError walk(qint64 from, qint64 end, int depth)
    {
        while (end - from >= 8 && depth <= maxDepth) {
            if (++_atoms > maxAtoms) return _input.damaged("it has too many atoms");
            uchar head[16] = {};
            QmxError error = _input.readSmall(head, std::min<qint64>(sizeof head, end - from), from);
            if (error.isError()) return error.value() == EILSEQ ? QmxError() : error;
            AtomCursor cursor(head);
            quint64 size = cursor.u32();
            const quint32 type = cursor.u32();
            const int headSize = size == 1 ? 16 : 8;
            if (size == 1) size = cursor.u64();
            if (size == 0) size = quint64(end - from);
            if (size < quint64(headSize)) return {};
            // One that reaches beyond what it is in is read all the same, up to there.
            const qint64 next = from + qint64(std::min<quint64>(size, quint64(end - from)));
            error = atom(type, from + headSize, next, depth);
            if (error.isError()) return error;
            from = next;
        }
        return {};
    }

private:
    QmxError atom(quint32 type, qint64 content, qint64 end, int depth)
    {
        switch (type) {
        case atomType("moov"):
        case atomType("trak"):
        case atomType("mdia"):
        case atomType("minf"):
        case atomType("stbl"):
        case atomType("mvex"):
        case atomType("moof"):
        case atomType("traf"):
            return walk(content, end, depth + 1);
        case atomType("trun"): // flags, count
            return claim(content + 4, end);
        case atomType("stsz"):
        case atomType("stz2"): // flags, size of all, count
            return claim(content + 8, end);
        default:
            return {};
        }
    }

    QmxError claim(qint64 at, qint64 end)
    {
        uchar bytes[4] = {};
        if (at + qint64(sizeof bytes) > end) return {};
        QmxError error = _input.readSmall(bytes, sizeof bytes, at);
        if (error.isError()) return error;
        _samples += qFromBigEndian<quint32>(bytes);
        if (_samples / samplesPerByte > _input.size())
            return _input.damaged("it claims more frames than it can hold");
        return {};
    }

    MovInput &_input;
    int _atoms = 0;
    qint64 _samples = 0;
};

} // namespace

QmxError movCheckClaims(MovInput &input)
{
    return Claims(input).walk(0, input.size(), 0);
}
