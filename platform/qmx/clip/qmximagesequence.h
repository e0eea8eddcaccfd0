// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/decodingmark.h"
#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmximage.h"

#include <map>

/// A folder of numbered pictures as a clip: "shot.images" with "shot_0001.dpx", "shot_0002.dpx" and so on.
/// Rate: that of the folder's name ("shot@23.98.images"), else the one that the pictures carry (DPX),
/// else 25.
///
/// The pictures are those of the name and kind of which the folder has most; where a number is missing the
/// picture before it stays. All are shown at the size of the first. One thread at a time.
///
/// The folder stays open: what it is called by later, or a link that takes its place, changes nothing.
class QmxImageSequence
{
public:
    explicit QmxImageSequence(const QmxEnvironment &environment) : _environment(environment) {}
    ~QmxImageSequence();
    QmxImageSequence(const QmxImageSequence &) = delete;
    QmxImageSequence &operator=(const QmxImageSequence &) = delete;

    /// Whether there is a folder by this name, not a link to one.
    static bool isFolder(const QString &path, QmxFiles &files);

    /// EILSEQ when the folder holds no pictures, ENOTSUP without a decoder, else errno of the medium.
    QmxError open(const QString &folder);
    QmxError read(qint64 number, QmxImage &image);

    QmxImageDesc desc() const { return _desc; }
    qint64 count() const { return _count; }
    QString codecName() const; ///< of the pictures; empty while it is not open

private:
    QmxError openFolder();
    QmxError findFiles();
    QmxError describe();
    QmxError decode(const QString &file);
    QmxError openDecoder(int codec);
    QmxError readBytes(const QString &file, QByteArray &bytes) const;

    QmxEnvironment _environment;
    DecodingMark _mark;
    qint64 _decoded = 0;
    QString _folder;
    int _fd = -1;
    QString _inside;                  ///< the way to what is in the open folder
    std::map<qint64, QString> _files; ///< by number
    qint64 _count = 0;
    QmxImageDesc _desc;
    QmxLibav::CodecContext _decoder;
    QmxLibav::Packet _packet{av_packet_alloc()};
    QmxLibav::Frame _frame{av_frame_alloc()};
    QmxPictureConverter _converter;
    std::unique_ptr<QmxVideoEncoder> _encoder;
};
