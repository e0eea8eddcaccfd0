// SPDX-License-Identifier: GPL-3.0-or-later
// The card with its real edges: generator, ProRes, strip.
#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/device/picturework.h"
#include "platform/qmx/device/qmxsourceformat.h"
#include "platform/qmx/device/qmxstrip.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "tests/support/logcollector.h"
#include "tests/support/stepper.h"

#include <gtest/gtest.h>

#include <mutex>

namespace {
struct Shown
{
    QList<QmxOutputFrame> taken() const
    {
        const std::lock_guard lock(mutex);
        return frames;
    }
    void clear()
    {
        const std::lock_guard lock(mutex);
        frames.clear();
    }
    mutable std::mutex mutex;
    QList<QmxOutputFrame> frames; ///< of the device's thread
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

LumenOptions withSink(const std::shared_ptr<Shown> &shown, const QString &input)
{
    LumenOptions options;
    options.profile = LumenProfile::parse(QStringLiteral("[inputs]\n601=") + input, QStringLiteral("p"));
    options.createSink = [shown](const QString &, const QmxEnvironment &) -> std::unique_ptr<QmxSink> {
        return std::make_unique<MemorySink>(shown);
    };
    return options;
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
    QmxVideoDevice device(withSink(shown, QStringLiteral("generator:?rate=30000/1001&size=720x486&scan=i")),
                          nullptr);
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

    shown->clear();
    Stepper::runTicks(length, 30000, 1001);
    const QList<QmxOutputFrame> seen = shown->taken();
    ASSERT_EQ(seen.size(), length);
    for (int i = 0; i < length; ++i)
        EXPECT_EQ(QmxStrip::read(seen.at(i).picture).value_or(0), *first + quint32(i)) << i;
}

TEST(WholeCard, convertsOnTheWayInAndOut)
{
    const struct
    {
        const char *input; ///< of the generator
        int in, out;
        bool segmented;
        const char *captured, *shown;
    } cases[] = {
        {"rate=50&size=1280x720", 1200, 0, false, "1920x1080p50", "1920x1080p50"},
        {"rate=50&size=1280x720", 1201, 0, true, "1280x720p50", "1280x720p50"},
        {"rate=25&size=720x576&scan=i", 1201, 1202, false, "1920x1080i25", "720x576i25"},
        {"rate=29.97&size=720x486&scan=i", 1201, 0, false, "1920x1080i29.97", "1920x1080i29.97"},
        {"rate=59.94&size=1920x1080", 1200, 1200, false, "1280x720p59.94", "1920x1080p59.94"},
        {"rate=29.97&size=1920x1080", 1200, 1202, true, "1920x1080p29.97", "720x486psf29.97"},
    };
    for (const auto &now : cases) {
        SCOPED_TRACE(std::string(now.input) + ' ' + now.captured);
        auto shown = std::make_shared<Shown>();
        LumenOptions options = withSink(shown, QStringLiteral("generator:?%1").arg(QLatin1String(now.input)));
        QmxVideoDevice device(options, nullptr);
        QmxImageDesc captured;
        int reports = 0;
        QObject::connect(&device, &QmxVideoDevice::inputChanged, [&](int, const QmxVideoState &state) {
            captured = state.captureImageDesc();
            ++reports;
        });
        ASSERT_TRUE(device.open(QStringLiteral("lumen")));
        Stepper::deliver();
        QmxVideoDeviceSetup setup = setupOf(2);
        setup.setVideoInConvert(QmxId(now.in));
        setup.setVideoOutConvert(QmxId(now.out));
        setup.setForcePSFOutput(now.segmented);
        setup.setVideoOutputSDILevelA(now.segmented);
        setup.setVideoOutputType(QmxId(632));
        setup.setHdmiOutputMode(QmxId(56));
        setup.setAudioInputLevel(QmxId(1402));
        // As the recorder does: it follows the format that is reported.
        for (int i = 0; i < 3; ++i) {
            QmxImageDesc desc = captured;
            desc.setDataType(QmxId(205));
            setup.setImageDesc(desc);
            device.setup(setup);
            Stepper::runMs(1000);
        }
        const QmxImageDesc in = QmxSourceFormat::fromText(QLatin1String(now.captured));
        EXPECT_EQ(captured.toString(), in.toString());
        EXPECT_LE(reports, 2) << "the one at the start, and one for the conversion";

        device.setProperty(QmxId(22), QVariant::fromValue(QmxId(1606)));
        QList<QmxFrame> take;
        ASSERT_TRUE(Stepper::runUntil([&] {
            while (device.framesReadable() > 0)
                device.readFrame(take.emplace_back());
            return take.size() >= 4;
        }));
        const auto decoder = qmxCodec(QmxId(205))->createDecoder(setup.imageDesc());
        QmxPicture first, last;
        ASSERT_FALSE(
            decoder->decode(std::as_const(take[0]).vids().first().buffers().first(), first).isError());
        ASSERT_FALSE(
            decoder->decode(std::as_const(take[3]).vids().first().buffers().first(), last).isError());
        EXPECT_EQ(first.size(), QSize(in.width(), in.height()));
        EXPECT_EQ(QmxStrip::read(last).value_or(0), QmxStrip::read(first).value_or(9) + 3);

        const QmxImageDesc out = QmxSourceFormat::fromText(QLatin1String(now.shown));
        const QmxOutputFrame frame = shown->taken().last();
        EXPECT_EQ(frame.desc.scanMode(), out.scanMode());
        EXPECT_EQ(frame.desc.frameRate(), out.frameRate());
        EXPECT_EQ(QSize(frame.desc.width(), frame.desc.height()), QSize(out.width(), out.height()));
        EXPECT_EQ(frame.picture.size(), QSize(out.width(), out.height()));
        EXPECT_TRUE(QmxStrip::read(frame.picture)) << "the picture is still that of the input";
        EXPECT_EQ(frame.connection,
                  QStringLiteral("RGB 4:4:4 legal range, SDI level %1, HDMI 4:4:4, analog +15 dBu")
                      .arg(QLatin1Char(now.segmented ? 'A' : 'B')));
    }
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
