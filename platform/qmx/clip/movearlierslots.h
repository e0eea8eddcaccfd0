// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movfragment.h"
#include "platform/qmx/clip/movinput.h"

#include <deque>
#include <functional>

/// The third record of a slot: what the slots right before it say, as many of them as it has room for. So a
/// clip that grows is opened from its newest slot backwards by reading one slot in some dozens, as quickly as
/// a closed one by its tables. A slot is written when all before it is on the medium: whoever finds it whole
/// can rely on what it says of them. What a slot alone has (checksums, what proves it) stays there alone.
///
///     "QMXEARLY", size, CRC-32C of the record
///     of the first fragment told: its slot, first frame and first sample; number of fragments
///     for each: length in blocks, frames, jumps of the timecode, samples, size of each picture, frame of
///     each jump counted from the first of the fragment
///
/// Without a fragment it only tells where the slot before stands.
class MovEarlierSlots
{
public:
    /// The fragment whose slot has just been made; in order.
    void add(const MovFragment &fragment);
    /// The record for the slot that comes next, of at most `room` bytes; empty when there is nothing to tell.
    QByteArray toBytes(qsizetype room) const;

    /// Is given a fragment, as far as an index needs it, and how many frames all of them have together.
    using Use = std::function<void(const MovFragment &fragment, qint64 frames)>;
    /// Gives every fragment up to that of the slot at `newest`, in order. False when slots do not tell of
    /// each other, contradict each other, or are too many: none has been given then.
    static bool read(MovInput &input, const MovFormat &format, qint64 newest, const Use &use);

private:
    struct Entry
    {
        qint64 slot = 0;
        qint64 firstFrame = 0;
        qint64 firstSample = 0;
        QByteArray bytes;
    };
    std::deque<Entry> _entries;
    qsizetype _bytes = 0; ///< of all entries
};
