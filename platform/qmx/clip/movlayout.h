// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

/// Where things stand in a clip file of our own.
///
///     0      ftyp (20), then a 16-byte place: 'wide' while recording, the 64-bit head of an 'mdat' after
///     36     first moov; 12-byte mdat with the first timecode; free with the waymarks (MovWaymarks)
///     4096   in the same free: what is known of the take as it begins (MovTake)
///     8192   slot 0: [free with our records][moof][head of a 32-bit mdat, the last 8 bytes]; the records are
///     that of the fragment, MovLink and MovEarlierSlots
///     12288  pictures, each at a multiple of 4096; the sound; later timecodes
///     N      the next slot; the last one, not filled yet, is a free of size 0 ("to the end")
///     close  the proof and the final moov overwrite the open slot (with chapters: they stand behind it, the
///     text of the chapters first), then the place at 20 swallows all before it
namespace MovLayout {

constexpr qint64 block = 4096; ///< unit of aligned writes
constexpr qint64 headerSize = 8192;
constexpr qint64 flipPosition = 20; ///< of the 16 bytes that tell a growing file from a closed one
constexpr qint64 flipSize = 16;
constexpr qint64 moovPosition = flipPosition + flipSize;
constexpr qint64 firstSlot = headerSize;
constexpr qint64 slotSize = block;
constexpr qint64 mdatHead = 8;

/// Offsets in a fragment are signed 32 bit; the margin covers its sound.
constexpr qint64 maxFragmentBytes = (qint64(1) << 31) - (qint64(64) << 20);
/// What a slot can describe, record included, with a timecode jump at every frame.
constexpr int maxFragmentFrames = 80;

/// Times in a file count from 1904.
constexpr quint64 secondsFrom1904To1970 = 2082844800;

constexpr qint64 roundUp(qint64 size)
{
    return (size + block - 1) / block * block;
}

} // namespace MovLayout
