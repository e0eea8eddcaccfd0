// SPDX-License-Identifier: GPL-3.0-or-later
// The card with its real edges: generator, ProRes, strip.
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/device/picturework.h"
#include "platform/qmx/edges/qmxfullpicture.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/qmx/edges/qmxsourceformat.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/device/devicebench.h"
#include "tests/support/logcollector.h"
#include "tests/support/stepper.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <atomic>
#include <utility>

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
        const auto edges = std::make_shared<BenchEdges>();
        QmxVideoDevice device(
            DeviceBench::keeping(edges, QLatin1String("[inputs]\n601=generator:?") + now.input), nullptr);
        QmxImageDesc captured;
        int reports = 0;
        QObject::connect(&device, &QmxVideoDevice::inputChanged, [&](int, const QmxVideoState &state) {
            captured = state.captureImageDesc();
            ++reports;
        });
        ASSERT_TRUE(device.open(QStringLiteral("lumen")));
        Stepper::deliver();
        QmxVideoDeviceSetup setup;
        // As the recorder does: it follows the format that is reported.
        for (int i = 0; i < 3; ++i) {
            QmxImageDesc desc = captured;
            desc.setDataType(QmxId(205));
            setup = DeviceBench::setupFor(desc, 8);
            setup.setVideoInConvert(QmxId(now.in));
            setup.setVideoOutConvert(QmxId(now.out));
            setup.setForcePSFOutput(now.segmented);
            setup.setVideoOutputSDILevelA(now.segmented);
            setup.setVideoOutputType(QmxId(632));
            setup.setHdmiOutputMode(QmxId(56));
            setup.setAudioInputLevel(QmxId(1402));
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
        const QmxOutputFrame frame = [&edges] {
            const std::lock_guard lock(edges->mutex);
            return edges->shown.last();
        }();
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

namespace {
/// Frames with strips, numbered from 0 on, to be held.
QList<QmxFrame> codedFrames(const QmxImageDesc &desc, int count)
{
    const auto source = qmxCreateInternalGenerator(desc, QmxId(802), QmxId(), QmxEnvironment::current());
    const auto encoder = qmxCodec(desc.dataType())->createEncoder(desc);
    QList<QmxFrame> frames(count);
    for (int number = 0; number < count; ++number) {
        QmxTick tick;
        tick.deadline = number * 40 * QmxClock::nsPerMillisecond;
        tick.rate = desc.frameRate();
        QmxBuffer coded;
        EXPECT_FALSE(encoder->encode(source->take(tick).picture, coded).isError());
        frames[number].vids().append(QmxImage(desc, {coded}));
        frames[number].meta().insert(QmxIds::frameNumber, number);
        frames[number].meta().insert(QmxIds::hold, true);
    }
    return frames;
}

/// Remembers what the sink behind it is shown.
class Listening : public QmxSink
{
public:
    Listening(std::shared_ptr<BenchEdges> edges, std::unique_ptr<QmxSink> real)
        : _edges(std::move(edges)), _real(std::move(real))
    {}
    void show(const QmxOutputFrame &frame) override
    {
        _real->show(frame);
        std::lock_guard lock(_edges->mutex);
        _edges->shown.append(frame);
    }
    QString statusText() const override { return {}; }
    int divisor(const QmxImageDesc &desc, bool stands) const override { return _real->divisor(desc, stands); }

private:
    std::shared_ptr<BenchEdges> _edges;
    std::unique_ptr<QmxSink> _real;
};
} // namespace

TEST(WholeCard, aPreviewAloneIsDecodedAsSmallAsItIsAndWholeWhenSomebodyAsks)
{
    const QString name = QStringLiteral("/xp_test_small_%1").arg(QCoreApplication::applicationPid());
    const auto edges = std::make_shared<BenchEdges>();
    LumenOptions options = DeviceBench::keeping(edges, QString());
    options.createSink = [&](const QString &, const QmxEnvironment &environment) {
        return std::make_unique<Listening>(edges,
                                           qmxCreateSink(QStringLiteral("preview:") + name, environment));
    };
    QmxVideoDevice device(options, nullptr);
    ASSERT_TRUE(device.open(QStringLiteral("lumen")));
    Stepper::deliver();
    QmxImageDesc desc = QmxSourceFormat::fromText(QStringLiteral("1280x720p25"));
    desc.setDataType(QmxId(203));
    device.setup(DeviceBench::setupFor(desc, 2, 1));
    Stepper::deliver();
    constexpr int last = 9;
    for (const QmxFrame &frame : codedFrames(desc, last + 1))
        device.writeFrame(frame);
    const auto shown = [&] {
        const std::lock_guard lock(edges->mutex);
        return edges->shown.isEmpty() ? QmxPicture() : edges->shown.last().picture;
    };
    ASSERT_TRUE(Stepper::runUntil([&] {
        const QmxPicture picture = shown();
        return picture.isValid() && QmxStrip::read(picture) == quint32(last);
    }));
    EXPECT_EQ(shown().size(), QSize(640, 360));
    QmxPreviewReader preview;
    QmxPreviewPicture seen;
    ASSERT_TRUE(preview.open(name));
    ASSERT_TRUE(Stepper::runUntil([&] { return preview.read(seen) && seen.frameNumber == last; }));
    EXPECT_EQ(QmxStrip::readLuma8(reinterpret_cast<const uchar *>(seen.luma.constData()), seen.width,
                                  seen.height, seen.width),
              quint32(last));
    QmxFullPictureReader full;
    QmxFullPicture whole;
    ASSERT_TRUE(full.open(QmxFullPicture::nameBeside(name)));
    full.ask();
    ASSERT_TRUE(Stepper::runUntil([&] { return full.read(whole); }));
    EXPECT_EQ(whole.width, 1280);
    EXPECT_EQ(QmxStrip::read(shown()), quint32(last));
}

namespace {
/// ProRes 4444 that takes its time on the clock, less for smaller pictures.
class SlowDecoder : public QmxVideoDecoder
{
public:
    static inline std::atomic<int> wholeMs = 0;
    static const QmxCodecRow *codec(const QmxId &)
    {
        static QmxCodecRow row = *qmxCodec(QmxId(205));
        row.createDecoder = [](const QmxImageDesc &desc) -> std::unique_ptr<QmxVideoDecoder> {
            auto decoder = std::make_unique<SlowDecoder>();
            decoder->_real = qmxCodec(QmxId(205))->createDecoder(desc);
            return decoder;
        };
        return &row;
    }
    QmxError decode(const QmxBuffer &coded, QmxPicture &to) override { return decodeSmaller(coded, 1, to); }
    QmxError decodeSmaller(const QmxBuffer &coded, int divisor, QmxPicture &to) override
    {
        Stepper::clock()->sleepFor(std::chrono::milliseconds(wholeMs / divisor));
        return _real->decodeSmaller(coded, divisor, to);
    }

private:
    std::unique_ptr<QmxVideoDecoder> _real;
};
} // namespace

TEST(WholeCard, fastPlayThatIsTooMuchToDecodeGetsSofterAndWhatStandsIsWhole)
{
    const auto edges = std::make_shared<BenchEdges>();
    LumenOptions options = DeviceBench::keeping(edges, QStringLiteral("[device]\nworkers=2\n"));
    options.codec = SlowDecoder::codec;
    QmxVideoDevice device(options, nullptr);
    ASSERT_TRUE(device.open(QStringLiteral("lumen")));
    Stepper::deliver();
    QmxImageDesc desc = QmxSourceFormat::fromText(QStringLiteral("720x576i25"));
    desc.setDataType(QmxId(205));
    device.setup(DeviceBench::setupFor(desc, 2, 1));
    Stepper::deliver();
    const QList<QmxFrame> clip = codedFrames(desc, 30);
    int next = 0;
    const auto play = [&](int ticks, int step) {
        for (int i = 0; i < ticks; ++i) {
            for (; device.framesWritable() > 20; next = (next + step) % int(clip.size()))
                device.writeFrame(clip.at(next));
            Stepper::runTicks(1);
        }
        const std::lock_guard lock(edges->mutex);
        return std::exchange(edges->shown, {});
    };
    const auto expectMoving = [&](int divisor) {
        for (const QmxOutputFrame &frame : play(25, 7)) {
            ASSERT_FALSE(frame.isRepeat);
            ASSERT_EQ(frame.divisor, divisor);
            ASSERT_EQ(frame.picture.size(), QSize(desc.width(), desc.height()));
            ASSERT_EQ(QmxStrip::read(frame.picture), frame.metadata.value(QmxIds::frameNumber).toUInt());
        }
    };
    const auto turn = [&](const QmxId &direction) {
        device.setProperty(QmxIds::direction, QVariant::fromValue(direction));
        device.flush();
    };
    turn(QmxIds::directionFastForward);
    for (const auto &[wholeMs, divisor] : {std::pair{100, 2}, {20, 1}, {300, 4}}) {
        SlowDecoder::wholeMs = wholeMs; // of the 80 ms that two workers have a tick
        play(50, 7);
        expectMoving(divisor);
    }
    EXPECT_GT(QmxEnvironment::current().deck->counters.value(QmxCounters::PicturesSoft), 50);
    // At the end of a clip, as a still, and at normal speed: whole, however long that takes.
    EXPECT_EQ(play(40, 0).last().divisor, 1);
    play(25, 7);
    expectMoving(4);
    turn(QmxIds::directionStill);
    EXPECT_EQ(play(25, 0).last().divisor, 1);
    turn(QmxIds::directionPlay);
    for (const QmxOutputFrame &frame : play(25, 1))
        EXPECT_EQ(frame.divisor, 1);
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
}

TEST(PictureWork, enlargedPicturesLieWhereTheWholeOnesDid)
{
    // Samples of a smaller picture are means: a ramp stays the same ramp, and fields that differ stay apart.
    for (const bool interlaced : {false, true}) {
        QmxPicture small = QmxPicture::allocate(QmxPicture::Format::Yuv422P10, QSize(150, 43));
        const auto sample = [&](int x, int y) { return interlaced && y % 2 ? 64 : 200 + x; };
        for (int y = 0; y < small.height(); ++y)
            for (int x = 0; x < small.width(); ++x)
                small.row(0, y)[x] = quint16(sample(4 * x, y));
        const QmxPicture large = PictureWork::enlarged(small, QSize(299, 85), interlaced);
        for (int y = 0; y < large.height(); ++y)
            for (int x = 1; x < large.width() - 1; ++x)
                ASSERT_EQ(large.row(0, y)[x], sample(2 * x - 1, y)) << x << ' ' << y;
        EXPECT_EQ(PictureWork::enlarged(large, large.size(), false).size(), large.size()) << "is no half";
    }
}
