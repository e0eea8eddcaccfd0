// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/movwaymarks.h"

#include "platform/qmx/clip/atomcursor.h"
#include "platform/qmx/clip/atomwriter.h"
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movlayout.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr char magic[9] = "QMXMARKS";
constexpr size_t fixedSize = 16; // magic, checksum of what follows, number
constexpr size_t markSize = 8;
constexpr size_t timecodeSize = 12; // of the mdat between moov and free
constexpr size_t atomHead = 8;

/// Where the content of the free atom begins; 0: there is none in this block.
size_t contentPosition(std::span<const uchar> block)
{
    if (block.size() < size_t(MovLayout::moovPosition) + atomHead) return 0;
    AtomCursor moov(block.subspan(size_t(MovLayout::moovPosition)));
    const quint32 size = moov.u32();
    if (moov.u32() != atomType("moov") || size > block.size()) return 0;
    const size_t place = size_t(MovLayout::moovPosition) + size + timecodeSize;
    if (place + atomHead + fixedSize > block.size()) return 0;
    AtomCursor pad(block.subspan(place));
    pad.skip(4);
    return pad.u32() == atomType("free") ? place + atomHead : 0;
}
} // namespace

void MovWaymarks::add(qint64 slot)
{
    _newest = slot;
    if (_seen++ % _stride != 0) return;
    if (_slots.size() == most) {
        for (size_t i = 0; i < most / 2; ++i)
            _slots[i] = _slots[2 * i];
        _slots.resize(most / 2);
        _stride *= 2;
    }
    _slots.push_back(slot);
}

void MovWaymarks::write(QByteArray &header) const
{
    const std::span<const uchar> block(reinterpret_cast<const uchar *>(header.constData()),
                                       size_t(std::min<qint64>(header.size(), MovLayout::block)));
    const size_t place = contentPosition(block);
    if (place == 0) return;
    const size_t room = (block.size() - place - fixedSize) / markSize;
    if (room == 0 || _slots.empty()) return;
    size_t step = 1;
    while (_slots.size() / step >= room)
        step *= 2;
    AtomWriter marks;
    quint32 count = 0;
    for (size_t i = 0; i < _slots.size() && _slots[i] < _newest && count + 1 < room; i += step, ++count)
        marks.u64(quint64(_slots[i]));
    marks.u64(quint64(_newest));
    ++count;
    AtomWriter record;
    record.fourcc(magic);
    record.fourcc(magic + 4);
    record.u32(movCrc32c(marks.data().constData(), size_t(marks.size())));
    record.u32(count);
    record.bytes(marks.data());
    header.replace(qsizetype(place), record.size(), record.data());
}

std::vector<qint64> MovWaymarks::read(std::span<const uchar> block)
{
    const size_t place = contentPosition(block);
    if (place == 0 || std::memcmp(block.data() + place, magic, 8) != 0) return {};
    AtomCursor cursor(block.subspan(place + 8));
    const quint32 crc = cursor.u32();
    const quint32 count = cursor.u32();
    if (count > (block.size() - place - fixedSize) / markSize) return {};
    const auto bytes = cursor.take(count * markSize);
    if (!movCrcIs(crc, bytes.data(), bytes.size())) return {};
    std::vector<qint64> marks;
    AtomCursor numbers(bytes);
    for (quint32 i = 0; i < count; ++i) {
        const quint64 slot = numbers.u64();
        const quint64 least = marks.empty() ? quint64(MovLayout::firstSlot) : quint64(marks.back()) + 1;
        if (slot < least || slot > quint64(1) << 62 || slot % MovLayout::block != 0) return {};
        marks.push_back(qint64(slot));
    }
    return marks;
}
