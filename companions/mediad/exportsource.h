// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxclippart.h"
#include "platform/qmx/clip/qmxclipreader.h"

#include <QJsonArray>
#include <QStringList>

/// Clips and parts of clips, read one after the other as if they were one clip. One thread, which blocks.
class ExportSource
{
public:
    explicit ExportSource(const QmxEnvironment &environment) : _environment(environment), _reader(environment)
    {}

    struct Piece
    {
        QString path;
        QmxClipPart::Range range;
        qint64 begin = 0; ///< its first frame in what comes out
    };
    const QList<Piece> &pieces() const { return _pieces; }

    /// `entries` as play lists name them; names without a folder are in `folder`. Errors: as of reading a
    /// clip; EINVAL when a part is not there or the clips do not fit together.
    QmxError open(const QString &folder, const QStringList &entries);

    qint64 frames() const { return _frames; }
    /// What they take in their files, about.
    qint64 bytes() const { return _bytes; }
    /// All of them have the description of the first; timecode and reel are its.
    const QmxClipInfo &info() const { return _info; }
    /// Whether the coded pictures can stand in a clip of ours as they are.
    bool isCopyable() const;
    /// Which frames of what, with the chain of each clip that has one.
    QJsonArray origin() const;

    /// The next frame, with its timecode. Damaged pictures, sound or timecodes are an error: nothing is made
    /// up.
    QmxError next(QmxFrame &frame);

private:
    QmxError add(const QString &folder, const QString &entry);
    QmxError checkSound(const Piece &piece) const;
    QString whyItDiffers(const QmxClipInfo &other) const;

    const QmxEnvironment _environment;
    QmxClipReader _reader;
    QList<Piece> _pieces;
    QmxClipInfo _info;
    qint64 _frames = 0;
    qint64 _bytes = 0;
    qsizetype _piece = 0; ///< that is read
    qint64 _next = 0;     ///< frame of it
};
