// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movproof.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movlayout.h"

#include <QJsonDocument>

#include <algorithm>
#include <cstring>

namespace {

// Drawn once, by chance.
constexpr uchar owner[] = {0x5e, 0x1f, 0x0c, 0x84, 0x3b, 0x97, 0x4d, 0x62,
                           0xa8, 0x15, 0xe3, 0x70, 0xd9, 0x2a, 0x6b, 0xf4};
constexpr char magic[9] = "QMXPROF1";
constexpr size_t atomHead = 8;
constexpr size_t digestSize = std::tuple_size_v<QmxBlake3::Digest>;
constexpr qsizetype moovPlace = atomHead + sizeof owner + 8 + 4; // behind the magic and a checksum
constexpr QmxBlake3::Digest noLink{};

void add(AtomWriter &out, const QmxBlake3::Digest &digest)
{
    out.bytes(QByteArray(reinterpret_cast<const char *>(digest.data()), qsizetype(digest.size())));
}

QmxBlake3::Digest takeDigest(AtomCursor &cursor)
{
    QmxBlake3::Digest digest{};
    const auto bytes = cursor.take(digest.size());
    if (bytes.size() == digest.size()) std::copy(bytes.begin(), bytes.end(), digest.begin());
    return digest;
}

void write(AtomWriter &out, const MovProof::Part &part)
{
    out.u64(quint64(part.slot));
    out.u64(quint64(part.end));
    out.u64(quint64(part.firstFrame));
    for (const quint32 value : {part.sequence, part.soundBytes, part.soundCrc, part.jumps, part.jumpsCrc,
                                part.slotCrc, quint32(part.pictures.size())})
        out.u32(value);
    add(out, part.link.value_or(noLink));
    for (const auto &picture : part.pictures) {
        out.u32(picture.size);
        out.u32(picture.crc);
    }
}

bool read(AtomCursor &cursor, MovProof::Part &part)
{
    part.slot = qint64(cursor.u64());
    part.end = qint64(cursor.u64());
    part.firstFrame = qint64(cursor.u64());
    part.sequence = cursor.u32();
    part.soundBytes = cursor.u32();
    part.soundCrc = cursor.u32();
    part.jumps = cursor.u32();
    part.jumpsCrc = cursor.u32();
    part.slotCrc = cursor.u32();
    const quint32 pictures = cursor.u32();
    const QmxBlake3::Digest link = takeDigest(cursor);
    if (link != noLink) part.link = link;
    if (!cursor.ok() || pictures > quint32(MovLayout::maxFragmentFrames)) return false;
    for (quint32 i = 0; i < pictures; ++i) {
        const quint32 size = cursor.u32();
        part.pictures.push_back({size, cursor.u32()});
    }
    return cursor.ok();
}

/// Whether what a part claims lies within it.
bool fits(const MovProof::Part &part, qint64 from)
{
    if (part.slot < from || part.slot % MovLayout::block != 0) return false;
    qint64 end = part.slot + MovLayout::slotSize;
    for (const auto &picture : part.pictures)
        end += MovLayout::roundUp(picture.size);
    return end + MovLayout::roundUp(qint64(part.soundBytes) + 4 * qint64(part.jumps)) == part.end;
}

} // namespace

MovProof::Part MovProof::partOf(const MovFragment &fragment, int soundFrameBytes)
{
    Part part;
    part.slot = fragment.slot;
    part.end = fragment.end;
    part.firstFrame = fragment.firstFrame;
    part.sequence = fragment.sequence;
    part.soundBytes = quint32(fragment.samples() * soundFrameBytes);
    part.soundCrc = fragment.audioCrc;
    part.jumps = quint32(fragment.jumps.size());
    part.slotCrc = fragment.slotCrc;
    if (fragment.isLinked) {
        part.jumpsCrc = fragment.link.jumpsCrc;
        part.link = fragment.link.link;
    }
    for (const auto &frame : fragment.frames)
        part.pictures.push_back({frame.size, frame.crc});
    return part;
}

QmxBlake3::Digest MovProof::firstLink(const QByteArray &header)
{
    AtomCursor cursor(std::span(reinterpret_cast<const uchar *>(header.constData()), size_t(header.size())));
    cursor.skip(size_t(MovLayout::moovPosition));
    const quint32 size = cursor.u32();
    cursor.skip(size_t(size) - 4 + size_t(MovLayout::mdatHead));
    return MovLink::first(cursor.u32());
}

void MovProof::begin(const QByteArray &header)
{
    *this = MovProof();
    _first = firstLink(header);
}

void MovProof::append(const MovFragment &fragment, const MovFormat &format)
{
    _take.append(fragment, format);
    AtomWriter out;
    write(out, partOf(fragment, format.audioFrameBytes()));
    _parts.append(out.data());
    ++_count;
}

QByteArray MovProof::box(const QByteArray &header, const QByteArray &moov, qint64 position,
                         const QJsonObject &take) const
{
    const QByteArray text = QJsonDocument(take).toJson(QJsonDocument::Compact);
    AtomWriter out;
    out.begin("uuid");
    out.bytes(QByteArray(reinterpret_cast<const char *>(owner), sizeof owner));
    out.fourcc(magic);
    out.fourcc(magic + 4);
    out.u32(movCrc32c(header.constData(), size_t(header.size())));
    out.u64(0); // where the moov is, filled in below
    out.u64(quint64(moov.size()));
    out.u32(movCrc32c(moov.constData(), size_t(moov.size())));
    out.u32(quint32(text.size()));
    out.bytes(text);
    add(out, _first);
    out.u32(_count);
    out.bytes(_parts);
    const qsizetype size = out.size() + qsizetype(digestSize);
    out.patch32(0, quint32(size));
    out.patch64(moovPlace, quint64(position + size));
    add(out, QmxBlake3::hash(out.data().constData(), size_t(out.size())));
    return out.data();
}

qint64 MovProof::sizeAt(MovInput &input, qint64 position)
{
    uchar head[atomHead + sizeof owner];
    if (position < 0 || position > input.size() - qint64(sizeof head)) return 0;
    if (input.readSmall(head, sizeof head, position).isError()) return 0;
    AtomCursor cursor(head);
    const qint64 size = cursor.u32();
    const bool isOurs =
        cursor.u32() == atomType("uuid") && std::memcmp(head + atomHead, owner, sizeof owner) == 0;
    return isOurs && size >= qint64(sizeof head + digestSize) && size <= input.size() - position ? size : 0;
}

std::optional<MovProof::Contents> MovProof::parse(std::span<const uchar> box)
{
    if (box.size() < atomHead + sizeof owner + digestSize) return std::nullopt;
    const size_t content = box.size() - digestSize;
    const QmxBlake3::Digest digest = QmxBlake3::hash(box.data(), content);
#ifndef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
    if (std::memcmp(digest.data(), box.data() + content, digestSize) != 0) return std::nullopt;
#endif
    AtomCursor cursor(box.first(content));
    const bool isWhole = cursor.u32() == box.size();
    if (!isWhole || cursor.u32() != atomType("uuid")) return std::nullopt;
    if (std::memcmp(cursor.take(sizeof owner).data(), owner, sizeof owner) != 0) return std::nullopt;
    const auto head = cursor.take(8);
    if (head.empty() || std::memcmp(head.data(), magic, 8) != 0) return std::nullopt;
    Contents contents;
    contents.headerCrc = cursor.u32();
    contents.moov = qint64(cursor.u64());
    contents.moovSize = qint64(cursor.u64());
    contents.moovCrc = cursor.u32();
    const auto text = cursor.take(cursor.u32());
    contents.take = QJsonDocument::fromJson(
                        QByteArray(reinterpret_cast<const char *>(text.data()), qsizetype(text.size())))
                        .object();
    contents.first = takeDigest(cursor);
    const quint32 count = cursor.u32();
    qint64 from = MovLayout::firstSlot;
    for (quint32 i = 0; i < count && cursor.ok(); ++i) {
        Part part;
        if (!read(cursor, part) || !fits(part, from)) return std::nullopt;
        from = part.end;
        contents.parts.push_back(std::move(part));
    }
    return cursor.ok() && cursor.left() == 0 ? std::optional(std::move(contents)) : std::nullopt;
}
