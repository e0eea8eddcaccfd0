// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/stream/streamrig.h"

#include "platform/qmx/clip/qmxclipwriter.h"

#include <cstring>

namespace {
const QByteArray mark("numbered frame ");
const int startTimecode = 10 * 3600 * 25;
} // namespace

QmxImageDesc imageDesc(int width, int height)
{
    QmxImageDesc desc;
    desc.setSize(width, height);
    desc.setAspectRatio(16, 9);
    desc.setFrameRate(QmxVideoRate(25));
    desc.setDataType(QmxId(202));
    return desc;
}

QmxAudioDesc audioDesc(int channels)
{
    QmxAudioDesc desc;
    if (channels == 0) return desc;
    desc.setDataType(QmxId(408));
    desc.setChannels(channels);
    desc.setSampleRate(48000, 1);
    desc.setFrameRate(QmxVideoRate(25));
    return desc;
}

QmxFrame numberedFrame(int number, const QmxImageDesc &image, int channels)
{
    constexpr int bytes = 2000;
    QmxFrame frame;
    QmxBuffer picture = QmxBuffer::allocate(bytes);
    std::memset(picture.data(), 0x5a, size_t(bytes));
    const QByteArray text = mark + QByteArray::number(number) + '\0';
    std::memcpy(picture.data(), text.constData(), size_t(text.size()));
    frame.vids().append(QmxImage(image, {picture}));
    if (channels > 0) {
        const int samples = qmxAudioSamples(number, image.frameRate());
        QmxBuffer sound = QmxBuffer::allocate(samples * channels * qsizetype(sizeof(qint32)));
        std::fill_n(reinterpret_cast<qint32 *>(sound.data()), samples * channels, (number + 1) << 8);
        frame.auds().append(QmxAudio(audioDesc(channels), sound, samples));
    }
    frame.meta().insert(QmxId(12), QVariant::fromValue(QmxTimecode(startTimecode + number, 25, false)));
    return frame;
}

int numberOf(const QmxFrame &frame)
{
    if (frame.vids().isEmpty() || !frame.vids().constFirst().isValid()) return -2;
    const QmxBuffer picture = frame.vids().constFirst().buffers().constFirst();
    const QByteArray text(reinterpret_cast<const char *>(picture.constData()),
                          int(qMin<qsizetype>(40, picture.size())));
    return text.startsWith(mark) ? std::atoi(text.constData() + mark.size()) : -1;
}

int timecodeOf(const QmxFrame &frame)
{
    return frame.meta().value(QmxId(12)).value<QmxTimecode>().toFrameNumber() - startTimecode;
}

void makeClip(const QString &path, int frames, int first, const QmxImageDesc &image, int channels)
{
    QmxClipInfo info;
    info.image = image;
    info.audio = audioDesc(channels);
    QmxClipWriter writer;
    ASSERT_EQ(writer.create(path, info), QmxError());
    for (int frame = 0; frame < frames; ++frame)
        ASSERT_EQ(writer.writeFrame(numberedFrame(first + frame, image, channels)), QmxError());
    ASSERT_EQ(writer.close(), QmxError());
}

QmxPlayListEntry listEntry(const QString &path, int length)
{
    QmxPlayListEntry entry;
    entry.setName(path.section(QLatin1Char('/'), -1));
    entry.setDesc(path);
    entry.setLength(length);
    return entry;
}

StreamRig::StreamRig()
{
    cache.setCacheSize(25);
    cache.setStream(&stream);
    const auto add = [this](const QString &text) { events.append(text); };
    connect(&stream, &QmxStream::openIsDone, this,
            [add](int, const QmxError &error) { add(QStringLiteral("open %1").arg(error.value())); });
    connect(&stream, &QmxStream::closeIsDone, this, [add] { add("close"); });
    connect(&stream, &QmxStream::readIsDone, this,
            [add](int frame, const QmxFrame &, const QmxError &error, void *) {
                add(QStringLiteral("read %1 %2").arg(frame).arg(error.value()));
            });
    connect(&cache, &QmxStreamCache::error, this, [add](int position, const QmxError &error) {
        add(QStringLiteral("error %1 %2").arg(position).arg(error.value()));
    });
    connect(&cache, &QmxStreamCache::ready, this, [this] { ++readies; });
    connect(&_alarms, &QmxAlarmController::alarmTriggered, this, [add](const QmxAlarm &alarm) {
        add(QStringLiteral("alarm %1 %2").arg(alarm.id().value()).arg(int(alarm.level())));
    });
    _failures = deck().recordFailures.subscribe([add](const QString &, const QmxError &error) {
        add(QStringLiteral("failure %1").arg(error.value()));
    });
}

int StreamRig::open(QmxStream::Mode mode)
{
    int result = -1;
    const auto connection = connect(&stream, &QmxStream::openIsDone, this,
                                    [&result](int, const QmxError &error) { result = error.value(); });
    EXPECT_TRUE(stream.open(mode));
    EXPECT_TRUE(Stepper::runUntil([&result] { return result >= 0; }));
    disconnect(connection);
    return result;
}

int StreamRig::openForRead(const QVariant &desc)
{
    stream.setAutoType();
    stream.setDesc(desc);
    return open(QmxStream::Read);
}

void StreamRig::describe(const QString &path)
{
    QmxStreamInfo info;
    info.vids().append(imageDesc());
    info.auds().append(audioDesc());
    stream.setInfo(info);
    stream.setType(QmxId(100));
    stream.setDesc(path);
}

int StreamRig::openForWrite(const QString &path)
{
    describe(path);
    return open(QmxStream::Write);
}

void StreamRig::close()
{
    stream.close();
    EXPECT_TRUE(Stepper::runUntil([this] { return stream.isClosed(); }));
}

QList<int> StreamRig::play(int count)
{
    QList<int> numbers;
    while (numbers.size() < count && Stepper::runUntil([this] { return cache.framesInCache() > 0; }))
        numbers.append(numberOf(cache.read()));
    return numbers;
}

void StreamRig::record(int first, int count)
{
    for (int frame = first; frame < first + count; ++frame)
        deviceQueue.append(numberedFrame(frame));
    while (!deviceQueue.isEmpty() && !cache.cacheIsFull())
        cache.write(deviceQueue.takeFirst());
}

void StreamRig::recordPaced(int first, int count)
{
    for (int i = 0; i < count; ++i) {
        record(first + i, 1);
        Stepper::runTicks(1);
    }
}
