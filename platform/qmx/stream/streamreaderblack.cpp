// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/stream/streamreaderblack.h"

#include "platform/qmx/codec/qmxvideocodec.h"

#include <QList>

#include <mutex>
#include <utility>

namespace {

/// Formats that may stand in one play list before the oldest black picture is made again.
constexpr int keptPictures = 8;

QmxBuffer makeBlack(const QmxImageDesc &desc)
{
    const QmxCodecRow *codec = qmxCodec(desc.dataType());
    if (!codec || !desc.isValid()) return {};
    QmxPicture picture = QmxPicture::allocate(codec->pictureFormat, QSize(desc.width(), desc.height()));
    if (!picture.isValid()) return {};
    picture.fillBlack();
    const std::unique_ptr<QmxVideoEncoder> encoder = codec->createEncoder(desc);
    QmxBuffer coded;
    if (!encoder || encoder->encode(picture, coded).isError()) return {};
    return coded;
}

QmxBuffer blackPicture(const QmxImageDesc &desc)
{
    static std::mutex mutex;
    static QList<std::pair<QmxImageDesc, QmxBuffer>> pictures;
    const std::lock_guard lock(mutex);
    for (const auto &[known, picture] : std::as_const(pictures))
        if (known == desc) return picture;
    QmxBuffer picture = makeBlack(desc);
    if (!picture.isValid()) return picture;
    if (pictures.size() >= keptPictures) pictures.removeFirst();
    pictures.append({desc, picture});
    return picture;
}

} // namespace

QmxFrame StreamReaderBlack::frame(const QmxImageDesc &image, const QmxAudioDesc &audio, qint64 frameNumber)
{
    QmxFrame black;
    const QmxBuffer picture = blackPicture(image);
    black.vids().append(picture.isValid() ? QmxImage(image, {picture}) : QmxImage(image));
    if (audio.isValid()) black.auds().append(silence(audio, frameNumber));
    return black;
}

QmxAudio StreamReaderBlack::silence(const QmxAudioDesc &audio, qint64 frameNumber)
{
    return QmxAudio::silence(audio, qmxAudioSamples(frameNumber, audio.frameRate()));
}
