// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/codec/qmxvideocodec.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/transport/transportrig.h"

#include <QMap>

namespace {

struct OneOfTwo : OneTransport
{
    OneOfTwo()
        : OneTransport(QStringLiteral("generator:?rate=25&size=720x576&scan=i&tone=off"),
                       QStringLiteral("workers=1"))
    {}
    QString record(const char *name)
    {
        recordDesc = media.file(QString::fromLatin1(name));
        vtr().record();
        return recordDesc.toString();
    }
    void stop()
    {
        vtr().standbyOff();
        ASSERT_TRUE(runUntilMode(VtrMode::StandbyOff));
    }
};

/// The coded picture and the sound of each frame, by the number in its picture.
QMap<qint64, std::pair<QByteArray, QByteArray>> coded(const QString &path)
{
    QMap<qint64, std::pair<QByteArray, QByteArray>> frames;
    QmxClipReader reader;
    EXPECT_FALSE(reader.open(path).isError()) << path.toStdString();
    const auto decoder = qmxCodec(reader.info().image.dataType())->createDecoder(reader.info().image);
    for (qint64 i = 0; i < reader.info().frames; ++i) {
        QmxFrame frame;
        EXPECT_FALSE(reader.readFrame(i, frame).isError());
        const QmxBuffer picture = frame.vids().first().buffers().first();
        const QmxBuffer sound = frame.auds().first().buffer();
        QmxPicture decoded;
        EXPECT_FALSE(decoder->decode(picture, decoded).isError());
        frames[QmxStrip::read(decoded).value_or(0)] = {
            QByteArray(reinterpret_cast<const char *>(picture.constData()), picture.size()),
            QByteArray(reinterpret_cast<const char *>(sound.constData()), sound.size())};
    }
    return frames;
}

} // namespace

TEST(PreRecord, holdsByteForByteWhatASecondRecorderOfTheSameSourceRecorded)
{
    OneOfTwo early, late;
    early.startUp();
    late.startUp();
    late.environment.deck->takeOptions.change(
        [](auto &values) { values.preRecord = std::chrono::seconds(3); });
    const QString whole = early.record("whole.mov");
    Stepper::runMs(5000);
    const QString part = late.record("part.mov");
    ASSERT_TRUE(Stepper::runUntil([&] { return late.framesRecorded() >= 85; }));
    late.stop();
    Stepper::runMs(2000);
    early.stop();

    const auto all = coded(whole);
    const auto some = coded(part);
    ASSERT_GE(some.size(), 85);
    EXPECT_EQ(some.lastKey() - some.firstKey() + 1, some.size());
    for (auto frame = some.begin(); frame != some.end(); ++frame) {
        EXPECT_TRUE(all.value(frame.key()).first == frame.value().first)
            << "picture " << frame.key() << ' ' << all.value(frame.key()).first.size() << ' '
            << frame.value().first.size();
        EXPECT_TRUE(all.value(frame.key()).second == frame.value().second) << "sound of " << frame.key();
    }
}
