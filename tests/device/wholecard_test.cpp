// SPDX-License-Identifier: GPL-3.0-or-later
// The card with its real edges: generator, ProRes, strip.
#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/device/picturework.h"
#include "platform/qmx/device/qmxstrip.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "tests/support/logcollector.h"
#include "tests/support/stepper.h"

#include <gtest/gtest.h>

#include <mutex>

namespace {
struct Shown
{
    std::mutex mutex;
    QList<QmxOutputFrame> frames;
};

class MemorySink : public QmxSink
{
public:
    explicit MemorySink(std::shared_ptr<Shown> shown) : _shown(std::move(shown)) {}
    void show(const QmxOutputFrame &frame) override
    {
        std::lock_guard lock(_shown->mutex);
        _shown->frames.append(frame);
    }
    QString statusText() const override { return {}; }

private:
    std::shared_ptr<Shown> _shown;
};

QmxImageDesc sdFormat()
{
    QmxImageDesc desc;
    desc.setSize(720, 486);
    desc.setAspectRatio(4, 3);
    desc.setFrameRate(QmxVideoRate(30000, 1001));
    desc.setScanMode(QmxImageDesc::Interlaced);
    desc.setDataType(QmxId(202));
    return desc;
}

QmxVideoDeviceSetup setupOf(int mode)
{
    QmxAudioDesc audio;
    audio.setDataType(QmxId(408));
    audio.setChannels(8);
    audio.setSampleRate(48000, 1);
    audio.setFrameRate(sdFormat().frameRate());
    QmxVideoDeviceSetup setup;
    setup.setMode(mode);
    setup.setImageDesc(sdFormat());
    setup.setAudioDesc(audio);
    setup.setVideoInputSource(QmxId(601));
    setup.setMaxBuffers(180);
    return setup;
}
} // namespace

TEST(WholeCard, recordsAndPlaysEveryFrameOnce)
{
    auto shown = std::make_shared<Shown>();
    LumenOptions options;
    options.profile =
        LumenProfile::parse(QStringLiteral("[inputs]\n601=generator:?rate=30000/1001&size=720x486&scan=i\n"),
                            QStringLiteral("p"));
    options.createSink = [shown](const QString &, const QmxEnvironment &) -> std::unique_ptr<QmxSink> {
        return std::make_unique<MemorySink>(shown);
    };
    QmxVideoDevice device(options, nullptr);
    ASSERT_TRUE(device.open(QStringLiteral("lumen")));
    device.setup(setupOf(2));
    Stepper::runTicks(3, 30000, 1001);
    device.setProperty(QmxId(22), QVariant::fromValue(QmxId(1606)));
    QList<QmxFrame> take;
    constexpr int length = 30;
    ASSERT_TRUE(Stepper::runUntil([&] {
        while (device.framesReadable() > 0 && take.size() < length)
            device.readFrame(take.emplace_back());
        return take.size() == length;
    }));

    device.setProperty(QmxId(22), QVariant::fromValue(QmxId(1600)));
    device.setup(setupOf(1));
    Stepper::deliver();
    const auto decoder = qmxCodec(QmxId(202))->createDecoder(sdFormat());
    std::optional<quint32> first;
    qint64 samples = 0;
    for (int i = 0; i < length; ++i) {
        const QmxFrame &frame = take.at(i);
        QmxPicture picture;
        ASSERT_FALSE(frame.vids().first().buffers().isEmpty()) << i;
        ASSERT_FALSE(decoder->decode(frame.vids().first().buffers().first(), picture).isError());
        const std::optional<quint32> count = QmxStrip::read(picture);
        ASSERT_TRUE(count);
        if (!first) first = count;
        EXPECT_EQ(*count, *first + quint32(i));
        samples += frame.auds().first().samples();
        device.writeFrame(frame);
    }
    EXPECT_EQ(samples, length * 8008 / 5); // thirty frames are six turns of the cadence

    shown->frames.clear();
    Stepper::runTicks(length, 30000, 1001);
    ASSERT_EQ(shown->frames.size(), length);
    for (int i = 0; i < length; ++i)
        EXPECT_EQ(QmxStrip::read(shown->frames.at(i).picture).value_or(0), *first + quint32(i)) << i;
}

TEST(PictureWork, tablesAndTextLeaveTheOriginal)
{
    QmxPicture grey = QmxPicture::allocate(QmxPicture::Format::Yuv422P10, QSize(1280, 720));
    grey.fillBlack();
    for (int y = 0; y < grey.height(); ++y)
        std::fill_n(grey.row(0, y), grey.width(), quint16(502));
    QmxImageLut identity(QmxId(1100), 1024);
    QmxImageLut inverse(QmxId(1100), 1024);
    for (int i = 0; i < 3 * 1024; ++i) {
        identity.lutData()[i] = short(i % 1024);
        inverse.lutData()[i] = short(1023 - i % 1024);
    }
    inverse.lutData()[512] = 1023; // red of mid grey
    const QmxPicture same = PictureWork::withLut(grey, identity);
    EXPECT_NEAR(same.row(0, 9)[9], 502, 1);
    EXPECT_NEAR(same.row(1, 9)[9], 512, 1);
    const QmxPicture reddish = PictureWork::withLut(grey, inverse);
    EXPECT_GT(reddish.row(2, 9)[9], 700);
    EXPECT_EQ(grey.row(2, 9)[9], 512);

    const QmxPicture text = PictureWork::withText(grey, QStringLiteral("10:00:00:00"));
    int bright = 0;
    for (int y = 0; y < text.height(); ++y)
        for (int x = 0; x < text.width(); ++x)
            bright += text.row(0, y)[x] == 940;
    EXPECT_GT(bright, 500);
    EXPECT_EQ(grey.row(0, 640)[600], 502);
    const QmxPicture wide = PictureWork::inFormat(grey, QmxPicture::Format::Yuv444P10);
    EXPECT_EQ(wide.row(1, 0)[1279], 512);
    EXPECT_FALSE(PictureWork::inFormat(grey, QmxPicture::Format::Rgb444P10).isValid());
}
