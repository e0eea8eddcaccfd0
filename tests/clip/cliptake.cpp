// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/clip/cliptake.h"

#include "platform/qmx/clip/movpcm.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "tests/support/sendsignal.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

ClipTake::ClipTake(const Format &format, bool playable) : _format(format)
{
    QmxImageDesc image;
    image.setSize(format.width, format.height);
    image.setAspectRatio(format.width, format.height);
    image.setFrameRate(QmxVideoRate(format.rateNum, format.rateDen));
    image.setScanMode(format.scanMode);
    image.setDataType(QmxId(format.dataType));
    info.image = image;
    if (format.channels > 0) {
        info.audio.setDataType(QmxId(408));
        info.audio.setChannels(format.channels);
        info.audio.setSampleRate(48000, 1);
        info.audio.setFrameRate(image.frameRate());
    }
    info.startTimecode = timecode(0);
    info.reelName = QStringLiteral("A007");
    if (!playable) return;
    const QmxCodecRow *codec = qmxCodec(image.dataType());
    const auto encoder = codec->createEncoder(image);
    for (int i = 0; i < 5; ++i) {
        QmxPicture picture = QmxPicture::allocate(codec->pictureFormat, QSize(format.width, format.height));
        picture.fillBlack();
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.planeWidth(0); ++x)
                picture.row(0, y)[x] = quint16(64 + (x * (i + 1) + y * 3) % 800);
        QmxBuffer coded;
        EXPECT_FALSE(encoder->encode(picture, coded).isError());
        _pictures.append(coded);
    }
}

QmxTimecode ClipTake::timecode(qint64 number) const
{
    int start = _format.startFrame;
    for (const Jump &jump : _jumps)
        if (number >= jump.frame) start += jump.by;
    return QmxTimecode(start, info.image.frameRate().timecodeRate(), _format.drop).advanced(int(number));
}

QmxBuffer ClipTake::picture(qint64 number) const
{
    if (!_pictures.isEmpty()) return _pictures[number % _pictures.size()];
    QmxBuffer bytes = QmxBuffer::allocate(3000 + (number * 977) % 9000);
    quint32 value = quint32(number) * 2654435761u + 1;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        value = value * 1664525 + 1013904223;
        bytes.data()[i] = uchar(value >> 24);
    }
    return bytes;
}

QmxAudio ClipTake::sound(qint64 number) const
{
    const QmxVideoRate rate = info.image.frameRate();
    const qint64 start = qmxAudioStart(number, rate);
    QmxAudio audio = QmxAudio::silence(info.audio, qmxAudioSamples(number, rate));
    QmxBuffer buffer = audio.buffer();
    auto *values = reinterpret_cast<qint32 *>(buffer.data());
    for (int i = 0; i < audio.samples() * _format.channels; ++i)
        values[i] = qint32((quint32(start * _format.channels + i) * 2654435761u) & 0xffffff00);
    return audio;
}

QmxFrame ClipTake::frame(qint64 number) const
{
    QmxFrame frame;
    frame.vids().append(QmxImage(info.image, {picture(number)}));
    if (_format.channels > 0) frame.auds().append(sound(number));
    frame.meta().insert(QmxId(12), QVariant::fromValue(timecode(number)));
    return frame;
}

qint64 ClipTake::pictureBytes(qint64 frames) const
{
    qint64 sum = 0;
    for (qint64 i = 0; i < frames; ++i)
        sum += picture(i).size();
    return sum;
}

QByteArray ClipTake::soundBytes(qint64 frames) const
{
    QByteArray bytes;
    for (qint64 i = 0; i < frames; ++i) {
        const QmxAudio audio = sound(i);
        const qint64 values = qint64(audio.samples()) * _format.channels;
        QByteArray part(values * 3, Qt::Uninitialized);
        MovPcm::toFile(audio.data(), values, reinterpret_cast<uchar *>(part.data()));
        bytes += part;
    }
    return bytes;
}

QmxError ClipTake::write(QmxClipWriter &writer, qint64 from, qint64 end, int flushEvery) const
{
    for (qint64 i = from; i < end; ++i) {
        QmxError error = writer.writeFrame(frame(i));
        if (!error.isError() && (i + 1) % flushEvery == 0) error = writer.flush();
        if (error.isError()) return error;
    }
    return {};
}

void ClipTake::make(const QString &path, qint64 frames, bool close, int flushEvery) const
{
    QmxClipWriter writer;
    const QmxError error = writer.create(path, info);
    ASSERT_FALSE(error.isError()) << qPrintable(error.toString());
    ASSERT_FALSE(write(writer, 0, frames, flushEvery).isError());
    ASSERT_FALSE(writer.flush().isError());
    const QByteArray unclosed = close ? QByteArray() : readAll(path);
    ASSERT_FALSE(writer.close().isError());
    if (!close) writeAll(path, unclosed);
}

qint64 ClipTake::equalFrames(QmxClipReader &reader) const
{
    const QmxClipInfo read = reader.info();
    for (qint64 i = 0; i < read.frames; ++i) {
        QmxFrame got;
        if (reader.readFrame(i, got).isError()) return i;
        const QmxFrame &is = got;
        const QmxFrame should = frame(i);
        const QmxBuffer a = is.vids().first().buffers().first();
        const QmxBuffer b = should.vids().first().buffers().first();
        if (a.size() != b.size() || std::memcmp(a.constData(), b.constData(), size_t(a.size())) != 0)
            return i;
        if (is.vids().first().desc() != info.image || is.auds().size() != should.auds().size()) return i;
        if (!(is.meta().value(QmxId(12)).value<QmxTimecode>() == timecode(i))) return i;
        if (is.auds().isEmpty()) continue;
        const QmxAudio x = is.auds().first();
        const QmxAudio y = should.auds().first();
        if (x.desc() != info.audio || x.samples() != y.samples() ||
            std::memcmp(x.data(), y.data(), size_t(x.buffer().size())) != 0)
            return i;
    }
    return read.frames;
}

qint64 ClipTake::wholeFrames(const QString &path) const
{
    QmxClipReader reader;
    if (reader.open(path).isError()) return 0;
    EXPECT_EQ(equalFrames(reader), reader.info().frames) << "a frame is not the one written";
    return reader.info().frames;
}

qint32 recordAndKill(const ClipTake &take, const QString &path, qint64 closeAt, unsigned messages,
                     const QmxEnvironment &environment, const std::function<void()> &whileStopped)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    qint32 durable = 0;
    const pid_t child = fork();
    if (child == 0) {
        QmxClipWriter writer(environment);
        writer.create(path, take.info);
        for (qint64 i = 0;; ++i) {
            writer.writeFrame(take.frame(i));
            if (i % 12 == 11) writer.flush();
            durable = qint32(writer.framesDurable());
            if (::write(ends[1], &durable, sizeof durable) < 0) _exit(1);
            if (i == closeAt) writer.close();
        }
    }
    ::close(ends[1]);
    const auto hear = [&] { return ::read(ends[0], &durable, sizeof durable) == sizeof durable; };
    while (messages > 0 && hear())
        --messages;
    sendSignal(child, SIGSTOP);
    waitpid(child, nullptr, WUNTRACED);
    whileStopped();
    sendSignal(child, SIGKILL);
    waitpid(child, nullptr, 0);
    while (hear())
        continue;
    ::close(ends[0]);
    return durable;
}
