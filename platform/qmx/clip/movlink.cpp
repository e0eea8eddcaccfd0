// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movlink.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/atomwriter.h"
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movlayout.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr char magic[9] = "QMXLINK1";
constexpr size_t fixedSize = 60;
constexpr qsizetype crcPosition = 12;
// A loss takes 32 bits: a slot has room for one before each frame.
constexpr int countBits = 24;
constexpr quint32 mostLost = (quint32(1) << countBits) - 1;
} // namespace

void MovLink::noteLost(quint32 at, quint32 count)
{
    if (count == 0) return;
    if (losses.empty() || losses.back().at != at) losses.push_back({at, 0});
    losses.back().count = std::min(mostLost, losses.back().count + std::min(count, mostLost));
}

QByteArray MovLink::toBytes() const
{
    AtomWriter out;
    out.fourcc(magic);
    out.fourcc(magic + 4);
    out.u32(quint32(fixedSize + 4 * losses.size()));
    out.u32(0); // CRC-32C of the record, filled in below
    out.u32(jumpsCrc);
    out.u32(lateTicks);
    out.u32(quint32(losses.size()));
    out.bytes(QByteArray(reinterpret_cast<const char *>(link.data()), qsizetype(link.size())));
    for (const Loss &loss : losses)
        out.u32(loss.at << countBits | loss.count);
    out.patch32(crcPosition, movCrc32c(out.data().constData(), size_t(out.size())));
    return out.data();
}

std::optional<MovLink> MovLink::parse(std::span<const uchar> bytes)
{
    AtomCursor cursor(bytes);
    const auto head = cursor.take(8);
    const quint32 size = cursor.u32();
    if (!cursor.ok() || std::memcmp(head.data(), magic, 8) != 0) return std::nullopt;
    if (size < fixedSize || size > bytes.size()) return std::nullopt;
    QByteArray copy(reinterpret_cast<const char *>(bytes.data()), qsizetype(size));
    std::memset(copy.data() + crcPosition, 0, 4);
    if (!movCrcIs(cursor.u32(), copy.constData(), size)) return std::nullopt;
    MovLink record;
    record.jumpsCrc = cursor.u32();
    record.lateTicks = cursor.u32();
    const quint32 count = cursor.u32();
    const auto digest = cursor.take(record.link.size());
    if (!cursor.ok() || count != (size - fixedSize) / 4 || count > MovLayout::maxFragmentFrames + 1)
        return std::nullopt;
    std::copy(digest.begin(), digest.end(), record.link.begin());
    for (quint32 i = 0; i < count; ++i) {
        const quint32 loss = cursor.u32();
        record.losses.push_back({loss >> countBits, loss & mostLost});
    }
    return record;
}

QmxBlake3::Digest MovLink::first(quint32 timecode)
{
    QByteArray bytes;
    appendBig32(bytes, timecode);
    return QmxBlake3::hash(bytes.constData(), size_t(bytes.size()));
}

QmxBlake3::Digest MovChain::endFragment(const Digest &tail)
{
    _pictures.push_back(tail);
    for (const Digest &content : _pictures) {
        std::array<uchar, 2 * std::tuple_size_v<Digest>> both;
        std::copy(content.begin(), content.end(), std::copy(_link.begin(), _link.end(), both.begin()));
        _link = QmxBlake3::hash(both.data(), both.size());
    }
    _pictures.clear();
    return _link;
}
