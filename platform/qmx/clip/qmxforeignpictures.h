// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/clip/qmxforeignfile.h"
#include "platform/qmx/codec/qmxpictureconverter.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmximage.h"

#include <map>

/// The pictures of a foreign file by number, at a constant rate: a picture stays until the next one is due.
/// The pictures around the last one asked for are kept, so that reverse costs one decoding of each group.
class QmxForeignPictures
{
public:
    explicit QmxForeignPictures(const QmxEnvironment &environment) : _file(environment) {}
    QmxError open(const QString &path);
    QmxError read(qint64 number, QmxImage &image);

    QmxImageDesc desc() const { return _desc; }
    qint64 count() const { return _count; }
    /// Of the first picture, in seconds of the file.
    double startTime() const;
    const QmxForeignFile &file() const { return _file; }

private:
    QmxError describe(const QString &path);
    qint64 numberOf(const AVFrame *frame) const;
    qint64 timestampOf(qint64 number) const;
    /// Decodes until the picture of `number` is there; false at the end of the file.
    bool decodeTo(qint64 number);
    bool seekTo(qint64 number);
    bool keep(const AVFrame *frame, qint64 number);
    const QmxImage *kept(qint64 number) const;
    void forgetFarFrom(qint64 number);

    QmxForeignFile _file;
    QString _path;
    QmxImageDesc _desc;
    qint64 _count = 0;
    qint64 _start = 0; ///< timestamp of the first picture
    size_t _limit = 1; ///< pictures kept
    QmxPictureConverter _converter;
    std::unique_ptr<QmxVideoEncoder> _encoder;
    std::map<qint64, QmxImage> _kept;
    qint64 _runStart = -1; ///< first and last number decoded without a seek between; -1: none
    qint64 _runEnd = -1;
    bool _atEnd = false;
};
