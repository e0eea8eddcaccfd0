// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxblake3.h"
#include "platform/qmx/clip/qmxclipinfo.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"

#include <QJsonObject>

#include <functional>

/// What is found when a clip of ours is read from its first byte to its last and compared with what it
/// carries of itself. A value.
struct QmxClipCheck
{
    enum Kind {
        Picture,
        Sound,    ///< told by half seconds: their sound has one checksum
        Timecode, ///< a timecode that does not continue the one before, or the first one
        Table,    ///< what says where things are; pictures and sound may be whole all the same
        Missing,  ///< frames that the file counts and does not have
        Chain,    ///< other pictures or sound than those that were recorded, with checksums that fit them
        Padding,  ///< bytes that nobody reads
        KindCount
    };
    struct Damage
    {
        Kind kind = Picture;
        qint64 first = -1; ///< frames; -1: it concerns the file as a whole
        qint64 last = -1;
        QString what; ///< for Table: which
    };
    /// One word, as scripts see it: "picture".
    static const char *kindName(int kind);

    /// At most so many runs of damage are listed; the counts are complete.
    static constexpr int mostListed = 200;

    QmxClipInfo info; ///< as far as the tables can be read
    bool closed = false;
    bool hasProof = false;      ///< the closed clip carries one that is whole
    qint64 frames = 0;          ///< that were looked at
    qint64 bytes = 0;           ///< that were read
    qint64 counts[KindCount]{}; ///< frames for the kinds that have them, else places
    QList<Damage> damage;       ///< in the order of the file
    QByteArray chain;           ///< last link, hexadecimal; empty: the clip is from before there was one
    QJsonObject take;           ///< its record

    bool isWhole() const;
    /// "3 pictures and the sound of 12 frames are damaged"; with places, for people.
    QString sentence() const;
    QJsonObject toJson() const;

    /// Whoever waits is told how many bytes of how many are done; false ends it (ECANCELED).
    using Pace = std::function<bool(qint64 done, qint64 total)>;
    /// Sees every byte of the file in order.
    using Tap = std::function<void(const uchar *data, qint64 size)>;

    /// Reads the clip past the page cache where the file system allows that. A growing one is checked up to
    /// its last flush. What cannot be read counts as damaged. Errors: ENOTSUP, another program made it;
    /// ENODATA, it has no frame yet; ECANCELED; else errno of the medium. Blocks; any thread.
    static QmxError run(const QString &path, QmxClipCheck &result, const QmxEnvironment &environment,
                        const Pace &pace = {}, const Tap &tap = {});
    /// The same for the sound and the timecodes alone of the half seconds that the frames from `first` to
    /// before `end` lie in, through the page cache: pictures are checked whenever they are read, these are
    /// not.
    static QmxError runSound(const QString &path, qint64 first, qint64 end, QmxClipCheck &result,
                             const QmxEnvironment &environment);
    /// Whether a file that begins so may be one of ours.
    static bool looksOurs(const void *head, qint64 size);
    /// What a clip says of itself, without reading it: `closed`, `hasProof`, `chain`, `take`.
    static QmxError claims(const QString &path, QmxClipCheck &result, const QmxEnvironment &environment);
};
