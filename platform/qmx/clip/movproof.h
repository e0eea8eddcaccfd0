// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/movinput.h"
#include "platform/qmx/clip/movtake.h"

#include <optional>
#include <span>
#include <vector>

/// The box of a closed clip that proves it: checksums of every picture, of the sound and of every table, the
/// chain, and the record of the take. It is a 'uuid' atom, the last one in the moov, which other readers
/// skip.
///
///     uuid   16 bytes that say whose it is, "QMXPROF1"
///            checksum of the first 8192 bytes; place, size and checksum of the moov up to here
///            record of the take: size, JSON
///            first link of the chain; number of fragments; the fragments (see Part)
///            BLAKE3 of all before it in the box; size of the box, "QMXP": by these it is found from the end
class MovProof
{
public:
    /// What is known of a fragment; its pictures stand one behind the other, each in whole blocks, then the
    /// sound, then the timecodes that jump.
    struct Part
    {
        struct Picture
        {
            quint32 size = 0;
            quint32 crc = 0;
        };
        qint64 slot = 0;
        qint64 end = 0;
        qint64 firstFrame = 0;
        quint32 sequence = 0;
        quint32 soundBytes = 0;
        quint32 soundCrc = 0;
        quint32 jumps = 0;
        quint32 jumpsCrc = 0;
        quint32 slotCrc = 0;
        std::optional<QmxBlake3::Digest> link; ///< after it; of older clips there is none
        std::vector<Picture> pictures;
    };
    struct Contents
    {
        quint32 headerCrc = 0;
        qint64 moov = 0;     ///< its offset in the file
        qint64 moovSize = 0; ///< up to the box
        quint32 moovCrc = 0;
        QJsonObject take;
        QmxBlake3::Digest first{};
        std::vector<Part> parts;
    };
    static Part partOf(const MovFragment &fragment, int soundFrameBytes);

    /// The first link of the chain of a file that begins with `header`: by its first timecode.
    static QmxBlake3::Digest firstLink(const QByteArray &header);

    void begin(const QByteArray &header);
    const QmxBlake3::Digest &first() const { return _first; }
    void append(const MovFragment &fragment, const MovFormat &format);
    const MovTake &take() const { return _take; }

    /// The moov that goes to `position` of a file that begins with `header`, with the box in it.
    QByteArray sealed(const QByteArray &header, QByteArray moov, qint64 position,
                      const QJsonObject &take) const;

    struct Place
    {
        qint64 position = 0;
        qint64 size = 0; ///< 0: there is none
    };
    /// Where a file that has its moov at `moov` (0: not known) has the box.
    static Place find(MovInput &input, qint64 moov);
    /// Nothing when anything in it is not as it was written.
    static std::optional<Contents> parse(std::span<const uchar> box);

private:
    MovTake _take;
    QmxBlake3::Digest _first{};
    quint32 _count = 0;
    QByteArray _parts; ///< in the form that they have in the file
};
