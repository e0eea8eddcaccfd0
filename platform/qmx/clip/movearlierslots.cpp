// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movearlierslots.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/atomwriter.h"
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movlayout.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace {

constexpr char magic[9] = "QMXEARLY";
constexpr qsizetype fixedSize = 44;
constexpr qsizetype crcPosition = 12;
constexpr qsizetype commonHead = 12; // every record of a slot begins with its name and its size
/// Slots that are held at once, some 5 KB each: days of a take, where each tells of as many as usual.
constexpr size_t mostLinks = 16384;

struct Record
{
    qint64 slot = 0;
    qint64 firstFrame = 0;
    qint64 firstSample = 0;
    quint32 count = 0;
    std::span<const uchar> entries;
};

/// Our records follow one another at the begin of the free atom of a slot.
std::optional<Record> recordOf(std::span<const uchar> slot)
{
    AtomCursor free(slot);
    const quint32 freeSize = free.u32();
    free.skip(4);
    if (freeSize < commonHead || freeSize > slot.size()) return std::nullopt;
    for (std::span<const uchar> rest = slot.first(freeSize).subspan(8); rest.size() >= size_t(fixedSize);) {
        AtomCursor cursor(rest);
        const auto name = cursor.take(8);
        const quint32 size = cursor.u32();
        if (size < commonHead || size > rest.size() || name[0] == 0) return std::nullopt;
        if (std::memcmp(name.data(), magic, 8) != 0) {
            rest = rest.subspan(size);
            continue;
        }
        QByteArray copy(reinterpret_cast<const char *>(rest.data()), qsizetype(size));
        const quint32 crc = cursor.u32();
        if (size < fixedSize) return std::nullopt;
        std::memset(copy.data() + crcPosition, 0, 4);
        if (!movCrcIs(crc, copy.constData(), size)) return std::nullopt;
        Record record{qint64(cursor.u64()), qint64(cursor.u64()), qint64(cursor.u64()), cursor.u32(), {}};
        record.entries = rest.subspan(size_t(fixedSize), size - size_t(fixedSize));
        return record;
    }
    return std::nullopt;
}

/// One fragment of a record, its numbers still in the form of the file.
struct Told
{
    quint32 blocks = 0;
    quint32 frames = 0;
    quint32 jumps = 0;
    quint32 samples = 0;
    const uchar *sizes = nullptr;
    const uchar *jumpFrames = nullptr;

    quint32 size(quint32 frame) const { return qFromBigEndian<quint32>(sizes + 4 * frame); }
    quint32 jump(quint32 i) const { return qFromBigEndian<quint32>(jumpFrames + 4 * i); }
};

/// False when its numbers make no fragment.
bool next(AtomCursor &cursor, const MovFormat &format, Told &told)
{
    told.blocks = cursor.u32();
    told.frames = cursor.u16();
    told.jumps = cursor.u16();
    told.samples = cursor.u32();
    if (told.frames == 0 || told.frames > quint32(MovLayout::maxFragmentFrames) || told.jumps > told.frames)
        return false;
    told.sizes = cursor.take(size_t(4) * told.frames).data();
    told.jumpFrames = cursor.take(size_t(4) * told.jumps).data();
    if (!cursor.ok()) return false;
    qint64 bytes = MovLayout::slotSize;
    for (quint32 i = 0; i < told.frames; ++i)
        bytes += MovLayout::roundUp(told.size(i));
    for (quint32 i = 0; i < told.jumps; ++i)
        if (told.jump(i) >= told.frames) return false;
    bytes += qint64(told.samples) * format.audioFrameBytes() + 4 * qint64(told.jumps);
    return bytes <= qint64(told.blocks) * MovLayout::block;
}

/// Whether what the record tells leads to the slot that carries it.
bool leadsTo(const MovFragment &carrier, const Record &record, const MovFormat &format)
{
    AtomCursor cursor(record.entries);
    qint64 slot = record.slot;
    qint64 frame = record.firstFrame;
    qint64 sample = record.firstSample;
    Told told;
    for (quint32 i = 0; i < record.count; ++i) {
        if (!next(cursor, format, told)) return false;
        slot += qint64(told.blocks) * MovLayout::block;
        frame += told.frames;
        sample += told.samples;
    }
    return record.count == 0 ||
           (slot == carrier.slot && frame == carrier.firstFrame && sample == carrier.firstSample);
}

/// Each fragment that the record tells of.
void give(const Record &record, quint32 sequence, const MovFormat &format, qint64 frames,
          const MovEarlierSlots::Use &use)
{
    AtomCursor cursor(record.entries);
    MovFragment fragment;
    fragment.slot = record.slot;
    fragment.firstFrame = record.firstFrame;
    fragment.firstSample = record.firstSample;
    fragment.sequence = sequence;
    for (Told told; next(cursor, format, told); ++fragment.sequence) {
        fragment.end = fragment.slot + qint64(told.blocks) * MovLayout::block;
        fragment.frames.clear();
        fragment.jumps.clear();
        fragment.audioBlocks.assign(told.samples > 0 ? 1 : 0, told.samples);
        qint64 at = fragment.slot + MovLayout::slotSize;
        for (quint32 i = 0; i < told.frames; ++i) {
            fragment.frames.push_back({at, told.size(i), 0});
            at += MovLayout::roundUp(told.size(i));
        }
        fragment.audioOffset = at;
        at += qint64(told.samples) * format.audioFrameBytes();
        for (quint32 i = 0; i < told.jumps; ++i, at += 4)
            fragment.jumps.push_back({fragment.firstFrame + told.jump(i), 0, at});
        use(fragment, frames);
        fragment.slot = fragment.end;
        fragment.firstFrame += told.frames;
        fragment.firstSample += told.samples;
    }
}

/// A slot that is read, and what it tells.
struct Link
{
    QByteArray bytes;
    MovFragment fragment;
    Record record;
};

/// False: it is no slot, or not the one that `later` tells of.
bool readLink(MovInput &input, const MovFormat &format, qint64 position, const Link *later, Link &link)
{
    link.bytes.resize(MovLayout::slotSize);
    if (input.read(link.bytes.data(), link.bytes.size(), position).isError()) return false;
    const std::span<const uchar> slot(reinterpret_cast<const uchar *>(link.bytes.constData()),
                                      size_t(link.bytes.size()));
    const auto fragment = MovFragment::fromSlot(slot, position, input.size(), format);
    if (!fragment) return false;
    link.fragment = *fragment;
    if (later) {
        const quint32 between = std::max(1U, later->record.count);
        if (fragment->firstFrame != later->record.firstFrame ||
            fragment->firstSample != later->record.firstSample ||
            fragment->sequence != later->fragment.sequence - between)
            return false;
        if (later->record.count == 0 &&
            (fragment->end != later->fragment.slot ||
             fragment->firstFrame + qint64(fragment->frames.size()) != later->fragment.firstFrame))
            return false;
    }
    if (position == MovLayout::firstSlot)
        return fragment->firstFrame == 0 && fragment->firstSample == 0 && fragment->sequence == 1;
    const auto record = recordOf(slot);
    if (!record || record->slot < MovLayout::firstSlot || record->slot >= position) return false;
    link.record = *record;
    return leadsTo(*fragment, *record, format);
}

} // namespace

void MovEarlierSlots::add(const MovFragment &fragment)
{
    AtomWriter out;
    out.u32(quint32((fragment.end - fragment.slot) / MovLayout::block));
    out.u16(quint16(fragment.frames.size()));
    out.u16(quint16(fragment.jumps.size()));
    out.u32(quint32(fragment.samples()));
    for (const auto &frame : fragment.frames)
        out.u32(frame.size);
    for (const auto &jump : fragment.jumps)
        out.u32(quint32(jump.frame - fragment.firstFrame));
    _entries.push_back({fragment.slot, fragment.firstFrame, fragment.firstSample, out.data()});
    _bytes += out.size();
    while (_bytes - _entries.front().bytes.size() > MovLayout::slotSize) {
        _bytes -= _entries.front().bytes.size();
        _entries.pop_front();
    }
}

QByteArray MovEarlierSlots::toBytes(qsizetype room) const
{
    if (_entries.empty() || room < fixedSize) return {};
    auto first = _entries.end();
    qsizetype size = fixedSize;
    while (first != _entries.begin() && size + std::prev(first)->bytes.size() <= room) {
        --first;
        size += first->bytes.size();
    }
    const Entry &oldest = first == _entries.end() ? _entries.back() : *first;
    AtomWriter out;
    out.fourcc(magic);
    out.fourcc(magic + 4);
    out.u32(quint32(size));
    out.u32(0); // CRC-32C of the record, filled in below
    out.u64(quint64(oldest.slot));
    out.u64(quint64(oldest.firstFrame));
    out.u64(quint64(oldest.firstSample));
    out.u32(quint32(_entries.end() - first));
    for (; first != _entries.end(); ++first)
        out.bytes(first->bytes);
    out.patch32(crcPosition, movCrc32c(out.data().constData(), size_t(out.size())));
    return out.data();
}

bool MovEarlierSlots::read(MovInput &input, const MovFormat &format, qint64 newest, const Use &use)
{
    std::vector<Link> links; // the newest first
    for (qint64 at = newest;; at = links.back().record.slot) {
        if (links.size() == mostLinks) return false;
        Link link;
        if (!readLink(input, format, at, links.empty() ? nullptr : &links.back(), link)) return false;
        links.push_back(std::move(link));
        if (at == MovLayout::firstSlot) break;
    }
    const MovFragment &last = links.front().fragment;
    const qint64 frames = last.firstFrame + qint64(last.frames.size());
    for (size_t i = links.size() - 1; i-- > 0;) {
        const auto &[bytes, carrier, record] = links[i];
        if (record.count == 0)
            use(links[i + 1].fragment, frames);
        else
            give(record, carrier.sequence - record.count, format, frames, use);
    }
    use(last, frames);
    return true;
}
