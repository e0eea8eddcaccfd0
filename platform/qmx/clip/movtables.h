// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movchapters.h"
#include "platform/qmx/clip/movfragment.h"

/// The sample tables of a clip. They are kept in the form that they have in the file and grow with every
/// fragment, so that a take of twelve hours closes as quickly as a short one.
class MovTables
{
public:
    void append(const MovFragment &fragment);

    qint64 frames() const { return _frames; }
    qint64 samples() const { return _samples; }

    /// The moov atom of a closed clip; the text of its chapters stands at `text`.
    QByteArray finalMoov(const MovFormat &format, const MovChapters &chapters, qint64 text) const;

    /// The first 8192 bytes of a clip that is being recorded; its length as of `frames`.
    static QByteArray openHeader(const MovFormat &format, qint64 frames);
    /// Makes the first bytes those of a closed clip, whose final moov stands at `moov`.
    static void flipHeader(QByteArray &header, qint64 moov);

private:
    struct ChunkRun
    {
        quint32 firstChunk;
        quint32 samples;
    };

    void writeVideo(AtomWriter &atoms, const MovFormat &format) const;
    void writeAudio(AtomWriter &atoms, const MovFormat &format) const;
    void writeSamples(AtomWriter &atoms, const MovFormat &format) const;
    void writeBlocks(AtomWriter &atoms, const MovFormat &format) const;
    void writeTimecode(AtomWriter &atoms, const MovFormat &format) const;

    qint64 _frames = 0;
    qint64 _samples = 0;
    QByteArray _sizes;        ///< of pictures: 32-bit big-endian
    QByteArray _offsets;      ///< of pictures: 64-bit big-endian
    QByteArray _audioOffsets; ///< of the sound of each fragment: 64-bit big-endian
    quint32 _audioChunks = 0;
    std::vector<ChunkRun> _audioRuns;
    std::vector<MovFragment::Jump> _jumps;
};
