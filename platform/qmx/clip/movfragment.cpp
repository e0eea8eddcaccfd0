// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movfragment.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movearlierslots.h"
#include "platform/qmx/clip/movlayout.h"

#include <numeric>

namespace {

// Flags of tfhd and trun (ISO/IEC 14496-12, 8.8.7 and 8.8.8).
constexpr quint32 tfhdVideo = 0x29;     // base data offset, default duration, default flags
constexpr quint32 tfhdBlocks = 0x39;    // and default size
constexpr quint32 trunSize = 0x201;     // data offset, a size for each sample
constexpr quint32 trunBlocks = 0x301;   // data offset, a duration and a size for each sample
constexpr quint32 trunDuration = 0x101; // data offset, a duration for each sample

// Our record, at the start of the free atom's content; other readers skip it.
constexpr char recordMagic[9] = "QMXSLOT1";
constexpr size_t recordFixed = 56;
constexpr size_t recordCrcPosition = 12;

struct Record
{
    quint32 sequence = 0;
    quint32 moofCrc = 0;
    MovFragment::ClipTraits traits;
    quint32 lost = 0;
    quint32 replaced = 0;
    quint32 audioCrc = 0;
    std::vector<quint32> frameCrcs;
    size_t size = 0; ///< in the slot
};

QByteArray recordBytes(const Record &record)
{
    AtomWriter out;
    out.fourcc(recordMagic);
    out.fourcc(recordMagic + 4);
    out.u32(quint32(recordFixed + 4 * record.frameCrcs.size()));
    out.u32(0); // CRC-32C of the record, filled in below
    out.u32(record.sequence);
    out.u32(record.moofCrc);
    out.u32(quint32(record.traits.scanMode));
    out.u32(quint32(record.traits.aspectWidth));
    out.u32(quint32(record.traits.aspectHeight));
    out.u32(record.lost);
    out.u32(record.replaced);
    out.u32(record.audioCrc);
    out.u32(quint32(record.frameCrcs.size()));
    out.u32(quint32(record.traits.soundPhase));
    for (quint32 crc : record.frameCrcs)
        out.u32(crc);
    out.patch32(recordCrcPosition, movCrc32c(out.data().constData(), size_t(out.size())));
    return out.data();
}

std::optional<Record> parseRecord(std::span<const uchar> content)
{
    AtomCursor cursor(content);
    const auto magic = cursor.take(8);
    const quint32 size = cursor.u32();
    if (!cursor.ok() || std::memcmp(magic.data(), recordMagic, 8) != 0) return std::nullopt;
    if (size < recordFixed || size > content.size()) return std::nullopt;
    QByteArray copy(reinterpret_cast<const char *>(content.data()), qsizetype(size));
    std::memset(copy.data() + recordCrcPosition, 0, 4);
    if (!movCrcIs(cursor.u32(), copy.constData(), size)) return std::nullopt;
    Record record;
    record.size = size;
    record.sequence = cursor.u32();
    record.moofCrc = cursor.u32();
    record.traits.scanMode = int(cursor.u32());
    record.traits.aspectWidth = int(cursor.u32());
    record.traits.aspectHeight = int(cursor.u32());
    record.lost = cursor.u32();
    record.replaced = cursor.u32();
    record.audioCrc = cursor.u32();
    const quint32 count = cursor.u32();
    record.traits.soundPhase = int(cursor.u32() % MovFormat::soundPhases);
    if (count != (size - recordFixed) / 4) return std::nullopt;
    for (quint32 i = 0; i < count; ++i)
        record.frameCrcs.push_back(cursor.u32());
    return cursor.ok() ? std::optional(record) : std::nullopt;
}

void beginTraf(AtomWriter &atoms, quint32 track, qint64 base, quint32 duration, std::optional<quint32> size,
               quint64 decodeTime)
{
    atoms.begin("traf");
    atoms.begin("tfhd", 0, size ? tfhdBlocks : tfhdVideo);
    atoms.u32(track);
    atoms.u64(quint64(base));
    atoms.u32(duration);
    if (size) atoms.u32(*size);
    atoms.u32(0); // flags: every sample is a sync sample
    atoms.end();
    atoms.begin("tfdt", 1, 0);
    atoms.u64(decodeTime);
    atoms.end();
}

/// Sizes do not depend on `base`, so a first call with 0 measures.
QByteArray moofBytes(const MovFragment &fragment, const MovFormat &format, qint64 base)
{
    AtomWriter atoms;
    atoms.begin("moof");
    atoms.begin("mfhd", 0, 0);
    atoms.u32(fragment.sequence);
    atoms.end();

    const quint64 start = quint64(fragment.firstFrame) * format.frameDuration;
    beginTraf(atoms, MovFormat::VideoTrack, base, format.frameDuration, std::nullopt, start);
    for (const auto &frame : fragment.frames) {
        atoms.begin("trun", 0, trunSize);
        atoms.u32(1);
        atoms.u32(quint32(frame.offset - base));
        atoms.u32(frame.size);
        atoms.end();
    }
    atoms.end();

    if (format.hasAudio()) {
        // One entry for the sound of a frame: some readers take seconds when every sample has its own.
        beginTraf(atoms, MovFormat::AudioTrack, base, 1, quint32(format.audioFrameBytes()),
                  quint64(fragment.firstSample));
        atoms.begin("trun", 0, trunBlocks);
        atoms.u32(quint32(fragment.audioBlocks.size()));
        atoms.u32(quint32(fragment.audioOffset - base));
        for (quint32 samples : fragment.audioBlocks) {
            atoms.u32(samples);
            atoms.u32(samples * quint32(format.audioFrameBytes()));
        }
        atoms.end();
        atoms.end();
    }

    if (!fragment.jumps.empty()) {
        const qint64 endFrame = fragment.firstFrame + qint64(fragment.frames.size());
        beginTraf(atoms, MovFormat::TimecodeTrack, base, format.frameDuration, 4,
                  quint64(fragment.jumps.front().frame) * format.frameDuration);
        atoms.begin("trun", 0, trunDuration);
        atoms.u32(quint32(fragment.jumps.size()));
        atoms.u32(quint32(fragment.jumps.front().offset - base));
        for (size_t i = 0; i < fragment.jumps.size(); ++i) {
            const qint64 next = i + 1 < fragment.jumps.size() ? fragment.jumps[i + 1].frame : endFrame;
            atoms.u32(quint32(next - fragment.jumps[i].frame) * format.frameDuration);
        }
        atoms.end();
        atoms.end();
    }
    atoms.end();
    return atoms.data();
}

/// One traf while it is parsed.
class TrafParser
{
public:
    TrafParser(MovFragment &fragment, qint64 fileSize, const MovFormat &format)
        : _fragment(fragment), _fileSize(fileSize), _format(format)
    {}

    bool parse(std::span<const uchar> content)
    {
        AtomCursor cursor(content);
        while (auto atom = cursor.next()) {
            AtomCursor body(atom->content);
            if (atom->type == atomType("tfhd") && !header(body)) return false;
            if (atom->type == atomType("tfdt") && !decodeTime(body)) return false;
            if (atom->type == atomType("trun") && !run(body)) return false;
        }
        return cursor.ok();
    }

private:
    bool header(AtomCursor &body)
    {
        const quint32 flags = body.u32() & 0xffffff;
        _track = body.u32();
        _base = qint64(body.u64());
        return body.ok() && (flags == tfhdVideo || flags == tfhdBlocks) && _base >= 0 && _base < _fileSize;
    }

    bool decodeTime(AtomCursor &body)
    {
        body.skip(4);
        const quint64 time = body.u64();
        if (!body.ok() || time > quint64(1) << 62) return false;
        if (_track == MovFormat::AudioTrack)
            _fragment.firstSample = qint64(time);
        else if (_track == MovFormat::VideoTrack)
            _fragment.firstFrame = qint64(time / _format.frameDuration);
        _jumpFrame = qint64(time / _format.frameDuration);
        return true;
    }

    bool contains(qint64 offset, qint64 size) const
    {
        return offset >= 0 && size >= 0 && size <= _fileSize && offset <= _fileSize - size;
    }

    bool run(AtomCursor &body)
    {
        body.skip(4);
        const quint32 count = body.u32();
        const qint64 offset = _base + qint32(body.u32());
        if (!body.ok() || _base < 0 || count > quint32(MovLayout::maxFragmentFrames)) return false;
        if (_track == MovFormat::VideoTrack) {
            const quint32 size = body.u32();
            if (count != 1 || !contains(offset, size)) return false;
            _fragment.frames.push_back({offset, size, 0});
        } else if (_track == MovFormat::AudioTrack && _format.hasAudio()) {
            qint64 bytes = 0;
            _fragment.audioOffset = offset;
            for (quint32 i = 0; i < count; ++i) {
                const quint32 samples = body.u32();
                const quint32 size = body.u32();
                if (qint64(samples) * _format.audioFrameBytes() != size) return false;
                bytes += size;
                _fragment.audioBlocks.push_back(samples);
            }
            if (!contains(offset, bytes)) return false;
        } else if (_track == MovFormat::TimecodeTrack) {
            if (!contains(offset, qint64(count) * 4)) return false;
            qint64 frame = _jumpFrame;
            for (quint32 i = 0; i < count; ++i) {
                _fragment.jumps.push_back({frame, 0, offset + qint64(i) * 4});
                frame += body.u32() / _format.frameDuration;
            }
        }
        return body.ok();
    }

    MovFragment &_fragment;
    qint64 _fileSize;
    const MovFormat &_format;
    quint32 _track = 0;
    qint64 _base = -1;
    qint64 _jumpFrame = 0;
};

} // namespace

qint64 MovFragment::samples() const
{
    return std::accumulate(audioBlocks.begin(), audioBlocks.end(), qint64(0));
}

QByteArray MovFragment::toSlot(const MovFormat &format, const MovEarlierSlots &earlier) const
{
    const qsizetype moofSize = moofBytes(*this, format, 0).size();
    const qint64 freeSize = MovLayout::slotSize - MovLayout::mdatHead - moofSize;
    const QByteArray moof = moofBytes(*this, format, slot + freeSize);

    Record record;
    record.sequence = sequence;
    record.moofCrc = movCrc32c(moof.constData(), size_t(moof.size()));
    const QmxImageDesc &image = format.info.image;
    record.traits = {image.scanMode(), image.aspectWidth(), image.aspectHeight(), format.soundPhase};
    record.lost = lost;
    record.replaced = replaced;
    record.audioCrc = audioCrc;
    for (const auto &frame : frames)
        record.frameCrcs.push_back(frame.crc);

    // free, moof, mdat, in this order: a free between the other two, or a 64-bit mdat, stops some readers.
    AtomWriter atoms;
    atoms.begin("free");
    atoms.bytes(recordBytes(record));
    if (isLinked) atoms.bytes(link.toBytes());
    atoms.bytes(earlier.toBytes(freeSize - atoms.size()));
    atoms.zeros(int(freeSize - atoms.size()));
    atoms.end();
    atoms.bytes(moof);
    atoms.u32(quint32(end - (slot + MovLayout::slotSize) + MovLayout::mdatHead));
    atoms.fourcc("mdat");
    return atoms.data();
}

std::optional<MovFragment> MovFragment::fromSlot(std::span<const uchar> slot, qint64 position,
                                                 qint64 fileSize, const MovFormat &format)
{
    // The head of the mdat is checked by hand: its content lies beyond the slot.
    if (slot.size() != size_t(MovLayout::slotSize)) return std::nullopt;
    AtomCursor mdat(slot.last(size_t(MovLayout::mdatHead)));
    const quint32 mdatSize = mdat.u32();
    if (mdat.u32() != atomType("mdat") || mdatSize < MovLayout::mdatHead) return std::nullopt;

    AtomCursor cursor(slot.first(size_t(MovLayout::slotSize - MovLayout::mdatHead)));
    const auto pad = cursor.next();
    const auto moof = pad ? cursor.next() : std::nullopt;
    if (!moof || pad->type != atomType("free") || moof->type != atomType("moof")) return std::nullopt;
    const auto record = parseRecord(pad->content);
    const auto moofBytesInSlot = slot.subspan(moof->start, moof->size);
    if (!record || !movCrcIs(record->moofCrc, moofBytesInSlot.data(), moofBytesInSlot.size()))
        return std::nullopt;

    MovFragment fragment;
    fragment.slot = position;
    fragment.end = position + MovLayout::slotSize - MovLayout::mdatHead + mdatSize;
    fragment.sequence = record->sequence;
    if (fragment.end > fileSize || fragment.end % MovLayout::block != 0) return std::nullopt;
    AtomCursor inside(moof->content);
    while (auto atom = inside.next()) {
        if (atom->type != atomType("traf")) continue;
        if (!TrafParser(fragment, fragment.end, format).parse(atom->content)) return std::nullopt;
    }
    if (!inside.ok() || fragment.frames.empty() || fragment.frames.size() != record->frameCrcs.size())
        return std::nullopt;
    for (size_t i = 0; i < fragment.frames.size(); ++i)
        fragment.frames[i].crc = record->frameCrcs[i];
    fragment.audioCrc = record->audioCrc;
    fragment.lost = record->lost;
    fragment.replaced = record->replaced;
    if (const auto link = MovLink::parse(pad->content.subspan(record->size))) {
        fragment.link = *link;
        fragment.isLinked = true;
    }
    fragment.slotCrc = movCrc32c(slot.data(), slot.size());
    return fragment;
}

QByteArray MovFragment::openSlot()
{
    AtomWriter atoms;
    atoms.u32(0);
    atoms.fourcc("free");
    atoms.zeros(int(MovLayout::slotSize - atoms.size()));
    return atoms.data();
}

bool MovFragment::isOpenSlot(std::span<const uchar> slot)
{
    AtomCursor cursor(slot);
    const quint32 size = cursor.u32();
    return cursor.u32() == atomType("free") && size == 0;
}

namespace {

std::optional<Record> recordOf(std::span<const uchar> slot)
{
    AtomCursor cursor(slot);
    const auto pad = cursor.next();
    return pad && pad->type == atomType("free") ? parseRecord(pad->content) : std::nullopt;
}

} // namespace

std::optional<MovFragment::ClipTraits> MovFragment::traits(std::span<const uchar> slot)
{
    const auto record = recordOf(slot);
    return record ? std::optional(record->traits) : std::nullopt;
}

std::vector<quint32> MovFragment::frameCrcs(std::span<const uchar> slot)
{
    const auto record = recordOf(slot);
    return record ? record->frameCrcs : std::vector<quint32>();
}
