// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/stills/stillclips.h"

#include "companions/stills/stillpicture.h"
#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/core/qmxfiles.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>

namespace {
constexpr char text[] = "LOSS OF VIDEO";
} // namespace

QmxError writeStillClip(const QString &directory, const StillFile &clip)
{
    const QString path = QDir(directory).filePath(clip.file);
    const QString unfinished = path + QStringLiteral(".new");
    if (!QDir().mkpath(QFileInfo(path).path()))
        return QmxError(EACCES, QStringLiteral("Cannot make the directory of %1").arg(path));
    const QmxCodecRow *row = qmxCodec(clip.desc.dataType());
    const QmxPicture picture =
        drawStill(row->pictureFormat, QSize(clip.desc.width(), clip.desc.height()), text);
    if (!picture.isValid())
        return QmxError(ENOMEM, QStringLiteral("No memory for the picture of %1").arg(path));
    QmxBuffer coded;
    QmxError error = row->createEncoder(clip.desc)->encode(picture, coded);
    if (error.isError()) return error;

    const QmxEnvironment environment = QmxEnvironment::current();
    environment.files->unlink(unfinished); // one that a former run left
    QmxClipInfo info;
    info.image = clip.desc;
    QmxFrame frame;
    frame.vids().append(QmxImage(clip.desc, {coded}));
    QmxClipWriter writer(environment);
    error = writer.create(unfinished, info);
    if (!error.isError()) error = writer.writeFrame(frame);
    if (const QmxError closed = writer.close(); !error.isError()) error = closed;
    if (!error.isError() && environment.files->rename(unfinished, path) != 0) {
        const int reason = errno;
        error = QmxError(reason,
                         QStringLiteral("Cannot rename %1: %2").arg(unfinished, QmxError(reason).toString()));
    }
    if (error.isError()) environment.files->unlink(unfinished);
    return error;
}
