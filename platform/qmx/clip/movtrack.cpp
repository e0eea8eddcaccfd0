// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movtrack.h"

#include "platform/qmx/clip/movlayout.h"

#include <limits>

namespace {

constexpr quint32 trackFlags = 0xf; // enabled, in movie, preview and poster
constexpr quint16 fullVolume = 0x100;
constexpr quint16 languageUndetermined = 0x55c4; // "und" in three times five bits
constexpr quint16 copyMode = 0x40;               // ditherCopy, as every writer sets it
constexpr quint16 opaque = 0x8000;

void writeMatrix(AtomWriter &atoms)
{
    for (quint32 value : {0x10000u, 0u, 0u, 0u, 0x10000u, 0u, 0u, 0u, 0x40000000u})
        atoms.u32(value);
}

/// Version 1 (64-bit times) only where it is needed: not every program reads it.
bool needs64(qint64 duration)
{
    return duration > std::numeric_limits<qint32>::max();
}

void writeTimes(AtomWriter &atoms, const MovFormat &format)
{
    for (int i = 0; i < 2; ++i) // creation, modification
        atoms.u32(quint32(format.created));
}

void writeTimes64(AtomWriter &atoms, const MovFormat &format)
{
    atoms.u64(format.created);
    atoms.u64(format.created);
}

void writeTrackHeader(AtomWriter &atoms, const MovFormat &format, MovFormat::TrackId track, qint64 duration)
{
    const bool wide = needs64(duration);
    atoms.begin("tkhd", wide ? 1 : 0, track == MovFormat::ChapterTrack ? 0 : trackFlags);
    wide ? writeTimes64(atoms, format) : writeTimes(atoms, format);
    atoms.u32(track);
    atoms.u32(0);
    wide ? atoms.u64(quint64(duration)) : atoms.u32(quint32(duration));
    atoms.zeros(8);
    atoms.u16(0); // layer
    atoms.u16(0); // alternate group
    atoms.u16(track == MovFormat::AudioTrack ? fullVolume : 0);
    atoms.u16(0);
    writeMatrix(atoms);
    const bool video = track == MovFormat::VideoTrack;
    atoms.u32(video ? quint32(format.info.image.width()) << 16 : 0);
    atoms.u32(video ? quint32(format.info.image.height()) << 16 : 0);
    atoms.end();
}

void writeEdit(AtomWriter &atoms, qint64 duration)
{
    const bool wide = needs64(duration);
    atoms.begin("edts");
    atoms.begin("elst", wide ? 1 : 0, 0);
    atoms.u32(1);
    wide ? atoms.u64(quint64(duration)) : atoms.u32(quint32(duration));
    wide ? atoms.u64(0) : atoms.u32(0); // media time
    atoms.u32(0x10000);                 // rate
    atoms.end();
    atoms.end();
}

void writeMediaHeader(AtomWriter &atoms, const MovFormat &format, quint32 scale, qint64 duration)
{
    const bool wide = needs64(duration);
    atoms.begin("mdhd", wide ? 1 : 0, 0);
    wide ? writeTimes64(atoms, format) : writeTimes(atoms, format);
    atoms.u32(scale);
    wide ? atoms.u64(quint64(duration)) : atoms.u32(quint32(duration));
    atoms.u16(languageUndetermined);
    atoms.u16(0); // quality
    atoms.end();
}

void writeHandler(AtomWriter &atoms, const char *component, const char *type, const char *name)
{
    const QByteArray text(name);
    atoms.begin("hdlr", 0, 0);
    atoms.fourcc(component);
    atoms.fourcc(type);
    atoms.zeros(12);
    atoms.u8(quint8(text.size())); // a Pascal string in QuickTime
    atoms.bytes(text);
    atoms.end();
}

void writeMediaKind(AtomWriter &atoms, MovFormat::TrackId track)
{
    if (track == MovFormat::VideoTrack) {
        atoms.begin("vmhd", 0, 1);
        atoms.u16(copyMode);
        for (int i = 0; i < 3; ++i)
            atoms.u16(opaque);
        atoms.end();
    } else if (track == MovFormat::AudioTrack) {
        atoms.begin("smhd", 0, 0);
        atoms.u32(0); // balance
        atoms.end();
    } else {
        atoms.begin("gmhd");
        atoms.begin("gmin", 0, 0);
        atoms.u16(copyMode);
        for (int i = 0; i < 3; ++i)
            atoms.u16(opaque);
        atoms.u32(0); // balance
        atoms.end();
        if (track == MovFormat::ChapterTrack) {
            atoms.begin("text");
            writeMatrix(atoms);
            atoms.end();
            atoms.end();
            return;
        }
        atoms.begin("tmcd");
        atoms.begin("tcmi", 0, 0);
        atoms.u16(0);  // font
        atoms.u16(0);  // face
        atoms.u16(12); // size
        atoms.u16(0);
        atoms.zeros(6); // text colour
        for (int i = 0; i < 3; ++i)
            atoms.u16(0xffff); // background
        atoms.u8(0);           // font name
        atoms.end();
        atoms.end();
        atoms.end();
    }
}

void writeDataReference(AtomWriter &atoms)
{
    atoms.begin("dinf");
    atoms.begin("dref", 0, 0);
    atoms.u32(1);
    atoms.begin("url ", 0, 1); // in this file
    atoms.end();
    atoms.end();
    atoms.end();
}

void writeDescription(AtomWriter &atoms, const MovFormat &format, MovFormat::TrackId track)
{
    atoms.begin("stsd", 0, 0);
    atoms.u32(1);
    if (track == MovFormat::VideoTrack)
        format.writeVideoEntry(atoms);
    else if (track == MovFormat::AudioTrack)
        format.writeAudioEntry(atoms);
    else if (track == MovFormat::TimecodeTrack)
        format.writeTimecodeEntry(atoms);
    else
        MovFormat::writeChapterEntry(atoms);
    atoms.end();
}

void writeReference(AtomWriter &atoms, const char *kind, MovFormat::TrackId track)
{
    atoms.begin(kind);
    atoms.u32(track);
    atoms.end();
}

struct Handler
{
    const char *type;
    const char *name;
};

Handler handlerOf(MovFormat::TrackId track)
{
    switch (track) {
    case MovFormat::VideoTrack:
        return {"vide", "Video"};
    case MovFormat::AudioTrack:
        return {"soun", "Sound"};
    case MovFormat::TimecodeTrack:
        return {"tmcd", "Timecode"};
    case MovFormat::ChapterTrack:
        break;
    }
    return {"text", "Chapters"};
}

void writeNoSamples(AtomWriter &atoms)
{
    for (const char *table : {"stts", "stsc", "stsz", "stco"}) {
        atoms.begin(table, 0, 0);
        atoms.u32(0);
        if (QByteArray(table) == "stsz") atoms.u32(0);
        atoms.end();
    }
}

void writeStartTimecode(AtomWriter &atoms, const MovFormat &format, quint32 offset)
{
    atoms.begin("stts", 0, 0);
    atoms.u32(1);
    atoms.u32(1);
    atoms.u32(format.frameDuration);
    atoms.end();
    atoms.begin("stsc", 0, 0);
    for (quint32 value : {1, 1, 1, 1})
        atoms.u32(value);
    atoms.end();
    atoms.begin("stsz", 0, 0);
    atoms.u32(4);
    atoms.u32(1);
    atoms.end();
    atoms.begin("stco", 0, 0);
    atoms.u32(1);
    atoms.u32(offset);
    atoms.end();
}

void writeExtends(AtomWriter &atoms, const MovFormat &format, qint64 frames)
{
    atoms.begin("mvex");
    // Without this length some programs show the first fragment's only.
    atoms.begin("mehd", 1, 0);
    atoms.u64(quint64(frames) * format.frameDuration);
    atoms.end();
    for (quint32 track : {MovFormat::VideoTrack, MovFormat::AudioTrack, MovFormat::TimecodeTrack}) {
        if (track == MovFormat::AudioTrack && !format.hasAudio()) continue;
        if (track == MovFormat::TimecodeTrack && !format.hasTimecode) continue;
        atoms.begin("trex", 0, 0);
        atoms.u32(track);
        atoms.u32(1); // description
        atoms.u32(track == MovFormat::AudioTrack ? 1 : format.frameDuration);
        atoms.u32(0); // size
        atoms.u32(0); // flags
        atoms.end();
    }
    atoms.end();
}

QByteArray openMoovWith(const MovFormat &format, qint64 frames, qint64 timecodeOffset)
{
    AtomWriter atoms;
    atoms.begin("moov");
    MovTrack::writeMovieHeader(atoms, format, 0);
    MovTrack::write(atoms, format, MovFormat::VideoTrack, {}, [&] { writeNoSamples(atoms); });
    if (format.hasAudio())
        MovTrack::write(atoms, format, MovFormat::AudioTrack, {}, [&] { writeNoSamples(atoms); });
    if (format.hasTimecode)
        MovTrack::write(atoms, format, MovFormat::TimecodeTrack, {},
                        [&] { writeStartTimecode(atoms, format, quint32(timecodeOffset)); });
    writeExtends(atoms, format, frames);
    atoms.end();
    return atoms.data();
}

} // namespace

namespace MovTrack {

void writeMovieHeader(AtomWriter &atoms, const MovFormat &format, qint64 duration)
{
    const bool wide = needs64(duration);
    atoms.begin("mvhd", wide ? 1 : 0, 0);
    wide ? writeTimes64(atoms, format) : writeTimes(atoms, format);
    atoms.u32(format.timeScale);
    wide ? atoms.u64(quint64(duration)) : atoms.u32(quint32(duration));
    atoms.u32(0x10000); // rate
    atoms.u16(fullVolume);
    atoms.zeros(10);
    writeMatrix(atoms);
    atoms.zeros(24); // preview, poster, selection
    atoms.u32(MovFormat::ChapterTrack + 1);
    atoms.end();
}

void write(AtomWriter &atoms, const MovFormat &format, MovFormat::TrackId track, const Lengths &lengths,
           const std::function<void()> &writeTables)
{
    const bool audio = track == MovFormat::AudioTrack;
    const quint32 scale = audio ? quint32(format.sampleRate) : format.timeScale;
    const qint64 mediaDuration = audio ? lengths.samples : lengths.movie;
    const qint64 duration = audio ? lengths.samples * format.timeScale / format.sampleRate : lengths.movie;
    atoms.begin("trak");
    writeTrackHeader(atoms, format, track, duration);
    if (duration > 0) writeEdit(atoms, duration);
    if (track == MovFormat::VideoTrack && (format.hasTimecode || lengths.hasChapters)) {
        atoms.begin("tref");
        if (format.hasTimecode) writeReference(atoms, "tmcd", MovFormat::TimecodeTrack);
        if (lengths.hasChapters) writeReference(atoms, "chap", MovFormat::ChapterTrack);
        atoms.end();
    }
    atoms.begin("mdia");
    writeMediaHeader(atoms, format, scale, mediaDuration);
    writeHandler(atoms, "mhlr", handlerOf(track).type, handlerOf(track).name);
    atoms.begin("minf");
    writeMediaKind(atoms, track);
    writeHandler(atoms, "dhlr", "url ", "Data");
    writeDataReference(atoms);
    atoms.begin("stbl");
    writeDescription(atoms, format, track);
    writeTables();
    atoms.end();
    atoms.end();
    atoms.end();
    atoms.end();
}

QByteArray openMoov(const MovFormat &format, qint64 frames)
{
    return openMoovWith(format, frames, startTimecodeOffset(format));
}

qint64 startTimecodeOffset(const MovFormat &format)
{
    if (format.timecodeOffset > 0) return format.timecodeOffset;
    // Its own place does not change the size of the moov before it.
    return MovLayout::moovPosition + openMoovWith(format, 0, 0).size() + MovLayout::mdatHead;
}

} // namespace MovTrack
