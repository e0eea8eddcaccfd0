// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipreader.h"

#include "platform/qmx/clip/movclaims.h"
#include "platform/qmx/clip/movcrc.h"
#include "platform/qmx/clip/movsound.h"
#include "platform/qmx/clip/qmxclipindex.h"
#include "platform/qmx/clip/qmxforeignclip.h"
#include "platform/qmx/clip/qmximagesequence.h"
#include "platform/qmx/core/qmxids.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

struct QmxClipReader::Private
{
    explicit Private(const QmxEnvironment &env) : environment(env), input(env) {}

    QmxError readPicture(qint64 frame, QmxImage &image);
    QmxError openForeign(const QString &path);

    QmxEnvironment environment;
    MovInput input;
    QmxClipIndex index;
    std::unique_ptr<QmxForeignClip> foreign;
    QString path;
    bool open = false;
};

QmxError QmxClipReader::Private::openForeign(const QString &name)
{
    QmxError error = input.isOpen() ? movCheckClaims(input) : QmxError();
    if (error.isError()) return error;
    foreign = std::make_unique<QmxForeignClip>(environment);
    error = foreign->open(name);
    if (error.isError()) foreign.reset();
    return error;
}

QmxError QmxClipReader::Private::readPicture(qint64 frame, QmxImage &image)
{
    const auto &entry = index.frames[size_t(frame)];
    if (entry.size == 0) return input.damaged("a frame is lost");
    QmxBuffer buffer = QmxBuffer::allocate(entry.size);
    if (!buffer.isValid())
        return {ENOMEM, QStringLiteral("No picture memory is left to read clip %1").arg(path)};
    QmxError error = input.read(buffer.data(), entry.size, entry.offset);
    if (error.isError()) return error;
    const std::optional<quint32> crc = index.crc(input, frame);
    if (!crc && index.isOwn() && !index.info.closed) return input.damaged("the record of a frame is lost");
    if (crc && movCrc32c(buffer.constData(), entry.size) != *crc)
        return input.damaged("a frame has changed on the medium");
    image = QmxImage(index.info.image, {buffer});
    return {};
}

QmxClipReader::QmxClipReader(const QmxEnvironment &environment) : d(std::make_unique<Private>(environment)) {}

QmxClipReader::~QmxClipReader() = default;

QmxError QmxClipReader::open(const QString &path)
{
    close();
    d->path = path;
    // A folder of pictures is a clip, but none of ours.
    const bool isFolder = QmxImageSequence::isFolder(path, *d->environment.files);
    QmxError error = isFolder ? QmxError(ENOTSUP) : d->input.open(path);
    if (!error.isError()) error = d->index.load(d->input, true);
    if (error.value() == ENOTSUP) error = d->openForeign(path);
    d->open = !error.isError();
    if (!d->open) d->input.close();
    return error;
}

void QmxClipReader::close()
{
    d->open = false;
    d->input.close();
    d->foreign.reset();
    d->index = QmxClipIndex();
}

bool QmxClipReader::isOpen() const
{
    return d->open;
}

QString QmxClipReader::path() const
{
    return d->path;
}

QmxClipInfo QmxClipReader::info() const
{
    if (!d->open) return {};
    return d->foreign ? d->foreign->info() : d->index.info;
}

QmxError QmxClipReader::refresh()
{
    if (!d->open || d->foreign) return {};
    return d->index.refresh(d->input);
}

QmxError QmxClipReader::readFrame(qint64 frame, QmxFrame &out)
{
    const QmxClipInfo &info = d->foreign ? d->foreign->info() : d->index.info;
    if (!d->open || frame < 0 || frame >= info.frames)
        return {EINVAL, QStringLiteral("Clip %1 has no frame %2").arg(d->path).arg(frame)};
    QmxImage image;
    QmxAudio audio;
    QmxError error = d->foreign ? d->foreign->readPicture(frame, image) : d->readPicture(frame, image);
    if (!error.isError() && info.audio.isValid())
        error =
            d->foreign ? d->foreign->readAudio(frame, audio) : movReadSound(d->input, d->index, frame, audio);
    if (error.isError()) return error;
    QmxFrame result;
    result.vids().append(image);
    if (info.audio.isValid()) result.auds().append(audio);
    result.meta().insert(QmxIds::timecode, QVariant::fromValue(info.timecodeAt(frame)));
    out = result;
    return {};
}

QmxError QmxClipReader::probe(const QString &path, QmxClipInfo &info, const QmxEnvironment &environment)
{
    MovInput input(environment);
    QmxClipIndex index;
    const bool isFolder = QmxImageSequence::isFolder(path, *environment.files);
    QmxError error = isFolder ? QmxError(ENOTSUP) : input.open(path);
    if (!error.isError()) error = index.load(input, false);
    if (error.value() == ENOTSUP) {
        QmxForeignClip foreign(environment);
        error = input.isOpen() ? movCheckClaims(input) : QmxError();
        if (!error.isError()) error = foreign.open(path);
        info = foreign.info();
    } else {
        info = index.info;
    }
    if (error.isError()) info = QmxClipInfo();
    return error;
}

bool QmxClipReader::isBeingRecorded(const QString &path, const QmxEnvironment &environment)
{
    const int fd = environment.files->open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    const bool locked = environment.files->flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    environment.files->close(fd); // releases the lock
    return locked;
}
