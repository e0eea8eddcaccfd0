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
constexpr char trailer[5] = "QMXP";
constexpr qsizetype tailSize = digestSize + 8; // digest, size, trailer
constexpr int mostTracks = 16;
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

QByteArray MovProof::sealed(const QByteArray &header, QByteArray moov, qint64 position,
                            const QJsonObject &take) const
{
    const QByteArray text = QJsonDocument(take).toJson(QJsonDocument::Compact);
    AtomWriter out;
    out.begin("uuid");
    out.bytes(QByteArray(reinterpret_cast<const char *>(owner), sizeof owner));
    out.fourcc(magic);
    out.fourcc(magic + 4);
    out.u32(movCrc32c(header.constData(), size_t(header.size())));
    out.u64(quint64(position));
    out.u64(quint64(moov.size()));
    const qsizetype crcPlace = out.size();
    out.u32(0); // of the moov, filled in below
    out.u32(quint32(text.size()));
    out.bytes(text);
    add(out, _first);
    out.u32(_count);
    out.bytes(_parts);
    const quint32 size = quint32(out.size() + tailSize);
    out.patch32(0, size);
    qToBigEndian(quint32(moov.size()) + size, moov.data());
    out.patch32(crcPlace, movCrc32c(moov.constData(), size_t(moov.size())));
    add(out, QmxBlake3::hash(out.data().constData(), size_t(out.size())));
    out.u32(size);
    out.fourcc(trailer);
    return moov + out.data();
}

namespace {

/// The size of a box of ours that stands there and claims that size; 0: there is none.
qint64 sizeAt(MovInput &input, qint64 position)
{
    uchar head[atomHead + sizeof owner];
    if (position < MovLayout::headerSize || position > input.size() - qint64(sizeof head)) return 0;
    if (input.readSmall(head, sizeof head, position).isError()) return 0;
    AtomCursor cursor(head);
    const qint64 size = cursor.u32();
    const bool isOurs =
        cursor.u32() == atomType("uuid") && std::memcmp(head + atomHead, owner, sizeof owner) == 0;
    return isOurs && size >= qint64(sizeof head) + tailSize && size <= input.size() - position ? size : 0;
}

} // namespace

MovProof::Place MovProof::find(MovInput &input, qint64 moov)
{
    uchar bytes[atomHead];
    const qint64 end = input.size() - qint64(sizeof bytes);
    if (end >= MovLayout::headerSize && !input.readSmall(bytes, sizeof bytes, end).isError()) {
        AtomCursor cursor(bytes);
        const qint64 size = cursor.u32();
        const qint64 position = input.size() - size;
        if (cursor.u32() == atomType(trailer) && sizeAt(input, position) == size) return {position, size};
    }
    // Its end is damaged: it stands behind the tracks.
    qint64 at = moov + qint64(atomHead);
    for (int i = 0; moov > 0 && i < mostTracks && at <= end; ++i) {
        if (const qint64 size = sizeAt(input, at); size > 0) return {at, size};
        if (input.readSmall(bytes, sizeof bytes, at).isError()) break;
        at += std::max<qint64>(AtomCursor(bytes).u32(), atomHead);
    }
    return {};
}

std::optional<MovProof::Contents> MovProof::parse(std::span<const uchar> box)
{
    if (box.size() < atomHead + sizeof owner + size_t(tailSize)) return std::nullopt;
    const size_t content = box.size() - size_t(tailSize);
    const QmxBlake3::Digest digest = QmxBlake3::hash(box.data(), content);
#ifndef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
    if (std::memcmp(digest.data(), box.data() + content, digestSize) != 0) return std::nullopt;
#endif
    AtomCursor cursor(box.first(content));
    AtomCursor end(box.last(8));
    const bool isWhole =
        cursor.u32() == box.size() && end.u32() == box.size() && end.u32() == atomType(trailer);
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
