// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movformat.h"
#include "platform/qmx/clip/qmxclipchapters.h"

/// The chapter track of a clip that is being closed: a name for each stretch of it, behind one another
/// without a gap. Their text stands between the last fragment and the final moov. A value.
class MovChapters
{
public:
    /// Nothing becomes of chapters that do not lie in the clip, nor of any in one that is too long for their
    /// lengths.
    MovChapters(QList<QmxClipChapter> chapters, qint64 frames, const MovFormat &format);

    bool isEmpty() const { return _lengths.empty(); }
    /// What goes into the file, as one piece.
    const QByteArray &text() const { return _text; }
    /// The tables behind stsd of a track whose text stands at `position`.
    void writeTables(AtomWriter &atoms, qint64 position) const;

private:
    QByteArray _text;
    std::vector<quint32> _sizes;
    std::vector<quint32> _lengths;
};
