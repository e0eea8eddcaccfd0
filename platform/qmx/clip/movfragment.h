// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movformat.h"
#include "platform/qmx/clip/movlink.h"

#include <optional>
#include <span>
#include <vector>

class MovEarlierSlots;

/// Half a second of a clip: what one slot describes.
struct MovFragment
{
    struct Frame
    {
        qint64 offset = 0; ///< in the file
        quint32 size = 0;
        quint32 crc = 0; ///< CRC-32C of the picture's bytes
    };
    /// The timecode does not continue at this frame.
    struct Jump
    {
        qint64 frame = 0;  ///< of the clip
        quint32 value = 0; ///< timecode as a frame number
        qint64 offset = 0; ///< in the file, of the four bytes
    };

    quint32 sequence = 1; ///< of the fragment, from 1
    qint64 slot = 0;      ///< its offset in the file
    qint64 end = 0;       ///< offset of the next slot
    qint64 firstFrame = 0;
    qint64 firstSample = 0;
    std::vector<Frame> frames;
    qint64 audioOffset = 0;
    std::vector<quint32> audioBlocks; ///< samples that came with each frame
    quint32 audioCrc = 0;
    std::vector<Jump> jumps;
    quint32 lost = 0;     ///< frames lost within or before this fragment
    quint32 replaced = 0; ///< frames that repeat the picture before them
    /// What proves it; a slot of a clip from before there were proofs has none.
    MovLink link;
    bool isLinked = false;
    quint32 slotCrc = 0; ///< CRC-32C of the slot as it stands in the file

    qint64 samples() const;

    /// The 4096 bytes of its slot, which also tells of those before it.
    QByteArray toSlot(const MovFormat &format, const MovEarlierSlots &earlier) const;

    /// What a slot says. Values of jumps are not in it, only their places. Nothing when the slot is still
    /// open or anything in it is wrong; `fileSize` bounds every offset.
    static std::optional<MovFragment> fromSlot(std::span<const uchar> slot, qint64 position, qint64 fileSize,
                                               const MovFormat &format);
    /// An open slot: a free atom that reaches to the end of the file.
    static QByteArray openSlot();
    static bool isOpenSlot(std::span<const uchar> slot);

    /// What only our own record tells of a clip as a whole; it survives the close.
    struct ClipTraits
    {
        int scanMode = 0;
        int aspectWidth = 0;
        int aspectHeight = 0;
        int soundPhase = 0; ///< frame of the cadence of samples with which the clip begins
    };
    static std::optional<ClipTraits> traits(std::span<const uchar> slot);
    /// Checksums of the pictures of a slot, empty when it is not one.
    static std::vector<quint32> frameCrcs(std::span<const uchar> slot);
};
