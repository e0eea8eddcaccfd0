// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movsampleentry.h"

#include <bit>
#include <cstring>

namespace {

constexpr int maxChannels = 64;
constexpr size_t pascalName = 32;
// Format flags of a version 2 sound description.
constexpr quint32 lpcmFloat = 0x1;
constexpr quint32 lpcmBigEndian = 0x2;
constexpr quint32 lpcmSigned = 0x4;

void parsePicture(AtomCursor &entry, MovMovie::Track &track)
{
    entry.skip(16); // version, revision, vendor, qualities
    track.width = entry.u16();
    track.height = entry.u16();
    entry.skip(4 + 4 + 4 + 2 + pascalName + 2);
    entry.skip(2); // colour table
    while (auto atom = entry.next()) {
        AtomCursor body(atom->content);
        if (atom->type == atomType("fiel")) {
            track.interlaced = body.u8() == 2;
        } else if (atom->type == atomType("pasp")) {
            const quint32 width = body.u32();
            const quint32 height = body.u32();
            if (!body.ok() || width == 0 || height == 0 || width > 0xffff || height > 0xffff) continue;
            track.pixelWidth = width;
            track.pixelHeight = height;
        }
    }
}

/// enda may stand in the entry itself or in a wave atom within it.
void parseSoundAtoms(AtomCursor &entry, MovMovie::Track &track, int depth)
{
    while (auto atom = entry.next()) {
        AtomCursor body(atom->content);
        if (atom->type == atomType("enda")) {
            if (body.u16() & 0xff) track.pcm.bigEndian = false;
        } else if (atom->type == atomType("wave") && depth == 0) {
            parseSoundAtoms(body, track, depth + 1);
        }
    }
}

struct PcmName
{
    const char *fourcc;
    int bits;
    bool bigEndian;
};
constexpr PcmName pcmNames[] = {
    {"sowt", 16, false}, {"twos", 16, true}, {"in24", 24, true}, {"in32", 32, true}, {"lpcm", 0, false},
};

void parseSound(AtomCursor &entry, MovMovie::Track &track)
{
    const int version = entry.u16();
    entry.skip(6);
    track.channels = entry.u16();
    int bits = entry.u16();
    entry.skip(4);
    track.sampleRate = int(entry.u32() >> 16);
    for (const PcmName &name : pcmNames) {
        if (std::strcmp(name.fourcc, track.fourcc) != 0) continue;
        track.isPcm = true;
        track.pcm.bits = name.bits;
        track.pcm.bigEndian = name.bigEndian;
    }
    // 8-bit twos has the same name as 16-bit.
    if (track.isPcm && track.pcm.bits == 16 && bits != 16) track.isPcm = false;
    if (version == 1) {
        entry.skip(16);
    } else if (version == 2) {
        entry.skip(4);
        const double rate = std::bit_cast<double>(entry.u64());
        track.sampleRate = rate > 0 && rate < 1e6 ? int(rate) : 0;
        track.channels = int(std::min<quint32>(entry.u32(), maxChannels + 1));
        entry.skip(4);
        bits = int(entry.u32());
        const quint32 flags = entry.u32();
        const quint32 frameBytes = entry.u32();
        entry.skip(4);
        track.pcm.bits = bits;
        track.pcm.bigEndian = flags & lpcmBigEndian;
        if (!(flags & lpcmSigned) || flags & lpcmFloat ||
            qint64(frameBytes) * 8 != qint64(bits) * track.channels)
            track.isPcm = false;
    }
    parseSoundAtoms(entry, track, 0);
    const bool known = bits == 16 || bits == 24 || bits == 32 || track.pcm.bits == 24 || track.pcm.bits == 32;
    if (!known || track.pcm.bits == 0 || track.channels < 1 || track.channels > maxChannels)
        track.isPcm = false;
}

void parseTimecode(AtomCursor &entry, MovMovie::Track &track)
{
    entry.skip(4);
    track.dropFrame = entry.u32() & 1;
    entry.skip(8); // scale and duration, as the media's
    track.timecodeFps = entry.u8();
    entry.skip(1);
    while (auto atom = entry.next()) {
        if (atom->type != atomType("name")) continue;
        AtomCursor body(atom->content);
        const quint16 length = body.u16();
        body.skip(2);
        const auto text = body.take(length);
        track.reelName =
            QString::fromUtf8(reinterpret_cast<const char *>(text.data()), qsizetype(text.size()));
    }
}

} // namespace

bool movParseDescriptions(AtomCursor &cursor, MovMovie::Track &track)
{
    cursor.skip(4);
    const quint32 count = cursor.u32();
    const auto first = cursor.next();
    if (!first) return count == 0;
    track.descriptions = int(std::min<quint32>(count, 1000));
    for (int i = 0; i < 4; ++i)
        track.fourcc[i] = char(first->type >> (24 - 8 * i));
    AtomCursor entry(first->content);
    entry.skip(8); // reserved, data reference
    if (track.handler == atomType("vide"))
        parsePicture(entry, track);
    else if (track.handler == atomType("soun"))
        parseSound(entry, track);
    else if (track.handler == atomType("tmcd"))
        parseTimecode(entry, track);
    return true;
}
