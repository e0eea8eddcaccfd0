// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/exportsource.h"

#include "platform/qmx/clip/qmxclipcheck.h"
#include "platform/qmx/codec/qmxvideocodec.h"

#include <QFileInfo>
#include <QJsonObject>

#include <cerrno>

namespace {
constexpr qsizetype mostOrigins = 256;
} // namespace

QString ExportSource::whyItDiffers(const QmxClipInfo &other) const
{
    const QmxImageDesc &a = _info.image;
    const QmxImageDesc &b = other.image;
    if (a.width() != b.width() || a.height() != b.height())
        return QStringLiteral("its pictures have another size");
    if (a.frameRate() != b.frameRate()) return QStringLiteral("it has another frame rate");
    if (a.isInterlaced() != b.isInterlaced())
        return QStringLiteral("its pictures are scanned in another way");
    if (a.dataType() != b.dataType()) return QStringLiteral("it has another codec");
    if (_info.audio.channels() != other.audio.channels())
        return QStringLiteral("it has another number of sound channels");
    return {};
}

QmxError ExportSource::add(const QString &folder, const QString &entry)
{
    const auto part = QmxClipPart::fromText(entry);
    if (!part) return {EINVAL, QStringLiteral("'%1' names no clip and no part of one").arg(entry)};
    Piece piece;
    piece.path = part->clip.contains('/') ? part->clip : folder + '/' + part->clip;
    QmxClipInfo info;
    QmxError error = QmxClipReader::probe(piece.path, info, _environment);
    if (!error.isError()) error = part->resolve(info, piece.range);
    if (error.isError()) return error;
    piece.range.end = std::min(piece.range.end, info.frames);
    if (piece.range.frames() <= 0) return {EINVAL, QStringLiteral("%1 has no frame").arg(entry)};
    if (_pieces.isEmpty()) {
        _info = info;
        _info.startTimecode = info.timecodeAt(piece.range.first);
    } else if (const QString why = whyItDiffers(info); !why.isEmpty()) {
        return {EINVAL,
                QStringLiteral("%1 does not fit behind %2: %3")
                    .arg(QFileInfo(piece.path).fileName(), QFileInfo(_pieces.first().path).fileName(), why)};
    }
    piece.begin = _frames;
    _frames += piece.range.frames();
    _bytes +=
        qint64(double(QFileInfo(piece.path).size()) * double(piece.range.frames()) / double(info.frames));
    _pieces.append(piece);
    return {};
}

QmxError ExportSource::open(const QString &folder, const QStringList &entries)
{
    for (const QString &entry : entries)
        if (QmxError error = add(folder, entry); error.isError()) return error;
    if (_pieces.isEmpty()) return {EINVAL, QStringLiteral("there is nothing to export")};
    return {};
}

bool ExportSource::isCopyable() const
{
    const QmxCodecRow *codec = qmxCodec(_info.image.dataType());
    return !_info.foreign || (codec && QByteArrayView(codec->fourcc).startsWith("ap"));
}

QJsonArray ExportSource::origin() const
{
    QJsonArray list;
    for (const Piece &piece : _pieces.first(std::min(_pieces.size(), mostOrigins))) {
        QmxClipCheck claims;
        QmxClipCheck::claims(piece.path, claims, _environment);
        list.append(QJsonObject{{"clip", QFileInfo(piece.path).fileName()},
                                {"first", piece.range.first},
                                {"last", piece.range.end - 1},
                                {"chain", QString::fromLatin1(claims.chain)}});
    }
    return list;
}

/// The reader checks pictures; damaged sound must not get a new checksum either.
QmxError ExportSource::checkSound(const Piece &piece) const
{
    QmxClipCheck check;
    const QmxError error =
        QmxClipCheck::runSound(piece.path, piece.range.first, piece.range.end, check, _environment);
    if (error.value() == ENOTSUP) return {}; // of another program: nothing to check it by
    if (error.isError()) return error;
    const bool isDamaged = check.counts[QmxClipCheck::Sound] > 0 || check.counts[QmxClipCheck::Timecode] > 0;
    return isDamaged ? QmxError(EILSEQ, QStringLiteral("%1 is damaged: %2")
                                            .arg(QFileInfo(piece.path).fileName(), check.sentence()))
                     : QmxError();
}

QmxError ExportSource::next(QmxFrame &frame)
{
    if (_piece < _pieces.size() && _reader.isOpen() && _next >= _pieces[_piece].range.end) {
        _reader.close();
        ++_piece;
    }
    if (_piece >= _pieces.size()) return {ENODATA, QStringLiteral("there are no more frames")};
    if (!_reader.isOpen()) {
        if (QmxError error = _reader.open(_pieces[_piece].path); error.isError()) return error;
        if (QmxError error = checkSound(_pieces[_piece]); error.isError()) return error;
        _next = _pieces[_piece].range.first;
    }
    if (QmxError error = _reader.readFrame(_next, frame); error.isError()) {
        const QmxTimecode timecode = _reader.info().timecodeAt(_next);
        return {error.value(),
                QStringLiteral("frame %1 (%2): %3; `xpctl verify` tells what else is damaged")
                    .arg(_next)
                    .arg(timecode.isValid() ? timecode.toString() : QStringLiteral("no timecode"),
                         error.toString())};
    }
    ++_next;
    return {};
}
