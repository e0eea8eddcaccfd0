// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxforeignclip.h"

#include "platform/qmx/clip/movdescribe.h"
#include "platform/qmx/clip/qmxforeignpictures.h"
#include "platform/qmx/clip/qmxforeignsound.h"
#include "platform/qmx/clip/qmximagesequence.h"

#include <cerrno>

struct QmxForeignClip::Private
{
    explicit Private(const QmxEnvironment &environment)
        : files(environment.files), pictures(environment), sound(environment), sequence(environment)
    {}
    void readTags();

    std::shared_ptr<QmxFiles> files;
    QmxClipInfo info;
    QmxForeignPictures pictures;
    QmxForeignSound sound;
    QmxImageSequence sequence;
    bool isSequence = false;
};

QmxForeignClip::QmxForeignClip(const QmxEnvironment &environment) : d(std::make_unique<Private>(environment))
{}
QmxForeignClip::~QmxForeignClip() = default;

void QmxForeignClip::Private::readTags()
{
    const AVFormatContext *format = pictures.file().format();
    const auto tag = [format](const char *key) {
        const AVDictionaryEntry *entry = av_dict_get(format->metadata, key, nullptr, 0);
        for (unsigned i = 0; !entry && i < format->nb_streams; ++i)
            entry = av_dict_get(format->streams[i]->metadata, key, nullptr, 0);
        return entry ? QString::fromUtf8(entry->value) : QString();
    };
    info.reelName = tag("reel_name");
    QmxTimecode start(tag("timecode"));
    if (!start.isValid()) return;
    start.setFPS(info.image.frameRate().timecodeRate());
    info.startTimecode = start;
    info.timecodeRuns.append({0, start});
}

QmxError QmxForeignClip::open(const QString &path)
{
    d->info.foreign = d->info.closed = true;
    d->isSequence = QmxImageSequence::isFolder(path, *d->files);
    if (d->isSequence) {
        QmxError error = d->sequence.open(path);
        d->info.image = d->sequence.desc();
        d->info.frames = d->sequence.count();
        d->info.foreignCodec = d->sequence.codecName();
        return error;
    }
    QmxError error = d->pictures.open(path);
    if (error.isError()) return error;
    d->info.image = d->pictures.desc();
    d->info.frames = d->pictures.count();
    d->info.foreignCodec =
        QString::fromLatin1(avcodec_get_name(d->pictures.file().stream()->codecpar->codec_id));
    error = d->sound.open(path, d->pictures.startTime());
    if (!error.isError())
        d->info.audio = movAudioDesc(d->sound.channels(), d->info.image.frameRate());
    else if (error.value() != ENODATA && error.value() != ENOTSUP)
        return error; // sound that cannot be decoded is no reason not to show the pictures, a failing medium
                      // is
    d->readTags();
    return {};
}

const QmxClipInfo &QmxForeignClip::info() const
{
    return d->info;
}

QmxError QmxForeignClip::readPicture(qint64 frame, QmxImage &image)
{
    return d->isSequence ? d->sequence.read(frame, image) : d->pictures.read(frame, image);
}

QmxError QmxForeignClip::readAudio(qint64 frame, QmxAudio &audio)
{
    const QmxVideoRate rate = d->info.image.frameRate();
    audio = QmxAudio::silence(d->info.audio, qmxAudioSamples(frame, rate));
    if (!audio.isValid()) return {ENOMEM, QStringLiteral("No memory is left to read sound")};
    QmxBuffer buffer = audio.buffer();
    return d->sound.read(qmxAudioStart(frame, rate), audio.samples(),
                         reinterpret_cast<qint32 *>(buffer.data()));
}
