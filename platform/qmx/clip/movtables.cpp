// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movtables.h"

#include "platform/qmx/clip/movlayout.h"
#include "platform/qmx/clip/movtrack.h"

#include <limits>

namespace {

void writeOneSampleAChunk(AtomWriter &atoms)
{
    atoms.begin("stsc", 0, 0);
    for (quint32 value : {1, 1, 1, 1}) // one entry: from chunk 1 on, one sample, description 1
        atoms.u32(value);
    atoms.end();
}

} // namespace

void MovTables::append(const MovFragment &fragment)
{
    for (const auto &frame : fragment.frames) {
        appendBig32(_sizes, frame.size);
        appendBig64(_offsets, quint64(frame.offset));
    }
    _frames += qint64(fragment.frames.size());
    const qint64 samples = fragment.samples();
    if (samples > 0) {
        appendBig64(_audioOffsets, quint64(fragment.audioOffset));
        ++_audioChunks;
        if (_audioRuns.empty() || _audioRuns.back().samples != samples)
            _audioRuns.push_back({_audioChunks, quint32(samples)});
        _samples += samples;
    }
    _jumps.insert(_jumps.end(), fragment.jumps.begin(), fragment.jumps.end());
}

void MovTables::writeVideo(AtomWriter &atoms, const MovFormat &format) const
{
    atoms.begin("stts", 0, 0);
    atoms.u32(1);
    atoms.u32(quint32(_frames));
    atoms.u32(format.frameDuration);
    atoms.end();
    writeOneSampleAChunk(atoms);
    atoms.begin("stsz", 0, 0);
    atoms.u32(0);
    atoms.u32(quint32(_frames));
    atoms.bytes(_sizes);
    atoms.end();
    atoms.begin("co64", 0, 0);
    atoms.u32(quint32(_frames));
    atoms.bytes(_offsets);
    atoms.end();
}

void MovTables::writeAudio(AtomWriter &atoms, const MovFormat &format) const
{
    if (_samples <= std::numeric_limits<quint32>::max())
        writeSamples(atoms, format);
    else
        writeBlocks(atoms, format);
    atoms.begin("co64", 0, 0);
    atoms.u32(_audioChunks);
    atoms.bytes(_audioOffsets);
    atoms.end();
}

/// As uncompressed sound is described: a sample is a moment of all channels.
void MovTables::writeSamples(AtomWriter &atoms, const MovFormat &format) const
{
    atoms.begin("stts", 0, 0);
    atoms.u32(1);
    atoms.u32(quint32(_samples));
    atoms.u32(1);
    atoms.end();
    atoms.begin("stsc", 0, 0);
    atoms.u32(quint32(_audioRuns.size()));
    for (const ChunkRun &run : _audioRuns) {
        atoms.u32(run.firstChunk);
        atoms.u32(run.samples);
        atoms.u32(1);
    }
    atoms.end();
    atoms.begin("stsz", 0, 0);
    atoms.u32(quint32(format.audioFrameBytes()));
    atoms.u32(quint32(_samples));
    atoms.end();
}

/// A count has 32 bits, a day and an hour of sound more samples: then a sample is all the sound of a
/// fragment, with its own length and size, as it is in a clip that grows.
void MovTables::writeBlocks(AtomWriter &atoms, const MovFormat &format) const
{
    const auto chunksOf = [this](size_t run) {
        const quint32 end = run + 1 < _audioRuns.size() ? _audioRuns[run + 1].firstChunk : _audioChunks + 1;
        return end - _audioRuns[run].firstChunk;
    };
    atoms.begin("stts", 0, 0);
    atoms.u32(quint32(_audioRuns.size()));
    for (size_t run = 0; run < _audioRuns.size(); ++run) {
        atoms.u32(chunksOf(run));
        atoms.u32(_audioRuns[run].samples);
    }
    atoms.end();
    writeOneSampleAChunk(atoms);
    atoms.begin("stsz", 0, 0);
    atoms.u32(0);
    atoms.u32(_audioChunks);
    for (size_t run = 0; run < _audioRuns.size(); ++run)
        for (quint32 chunk = 0; chunk < chunksOf(run); ++chunk)
            atoms.u32(_audioRuns[run].samples * quint32(format.audioFrameBytes()));
    atoms.end();
}

void MovTables::writeTimecode(AtomWriter &atoms, const MovFormat &format) const
{
    const quint32 count = quint32(_jumps.size() + 1);
    atoms.begin("stts", 0, 0);
    atoms.u32(count);
    qint64 from = 0;
    for (size_t i = 0; i <= _jumps.size(); ++i) {
        const qint64 to = i < _jumps.size() ? _jumps[i].frame : _frames;
        atoms.u32(1);
        atoms.u32(quint32(to - from) * format.frameDuration);
        from = to;
    }
    atoms.end();
    writeOneSampleAChunk(atoms);
    atoms.begin("stsz", 0, 0);
    atoms.u32(4);
    atoms.u32(count);
    atoms.end();
    atoms.begin("co64", 0, 0);
    atoms.u32(count);
    atoms.u64(quint64(MovTrack::startTimecodeOffset(format)));
    for (const auto &jump : _jumps)
        atoms.u64(quint64(jump.offset));
    atoms.end();
}

QByteArray MovTables::finalMoov(const MovFormat &format, const MovChapters &chapters, qint64 text) const
{
    const qint64 movieDuration = _frames * format.frameDuration;
    const MovTrack::Lengths lengths{movieDuration, _samples, !chapters.isEmpty()};
    AtomWriter atoms;
    atoms.begin("moov");
    MovTrack::writeMovieHeader(atoms, format, movieDuration);
    MovTrack::write(atoms, format, MovFormat::VideoTrack, lengths, [&] { writeVideo(atoms, format); });
    if (format.hasAudio())
        MovTrack::write(atoms, format, MovFormat::AudioTrack, lengths, [&] { writeAudio(atoms, format); });
    if (format.hasTimecode)
        MovTrack::write(atoms, format, MovFormat::TimecodeTrack, lengths,
                        [&] { writeTimecode(atoms, format); });
    if (!chapters.isEmpty())
        MovTrack::write(atoms, format, MovFormat::ChapterTrack, lengths,
                        [&] { chapters.writeTables(atoms, text); });
    atoms.end();
    return atoms.data();
}

QByteArray MovTables::openHeader(const MovFormat &format, qint64 frames)
{
    AtomWriter atoms;
    atoms.begin("ftyp");
    atoms.fourcc("qt  ");
    atoms.u32(0x20050300);
    atoms.fourcc("qt  ");
    atoms.end();
    atoms.begin("wide");
    atoms.zeros(8);
    atoms.end();
    atoms.bytes(MovTrack::openMoov(format, frames));
    atoms.begin("mdat");
    atoms.u32(format.startFrame);
    atoms.end();
    atoms.begin("free");
    atoms.zeros(int(MovLayout::headerSize - atoms.size()));
    atoms.end();
    return atoms.data();
}

void MovTables::flipHeader(QByteArray &header, qint64 moov)
{
    AtomWriter head;
    head.u32(1);
    head.fourcc("mdat");
    head.u64(quint64(moov - MovLayout::flipPosition));
    header.replace(MovLayout::flipPosition, MovLayout::flipSize, head.data());
}
