// SPDX-License-Identifier: GPL-3.0-or-later
// Every raster at every rate that the recorder knows, from the input to the file.
#include "platform/qmx/core/qmxaudio.h"
#include "platform/qmx/device/lumenoptions.h"
#include "platform/qmx/device/qmxnullsink.h"
#include "platform/qmx/device/qmxsourceformat.h"
#include "platform/qmx/device/qmxstrip.h"
#include "platform/qmx/device/qmxvideodevice.h"
#include "platform/qmx/stream/qmxclipreader.h"
#include "platform/qmx/stream/qmxclipwriter.h"
#include "tests/support/logcollector.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QFile>

namespace {
constexpr int rows = 69;
constexpr const char *hdModes = "psf23.98 psf24 psf25 psf29.97 psf30 i25 i29.97 i30 "
                                "p23.98 p24 p25 p29.97 p30 p50 p59.94 p60";

struct Raster
{
    const char *size;
    const char *modes;
};
constexpr Raster rasters[] = {
    {"720x486", "i29.97"},  {"720x576", "i25"},     {"1280x720", "p50 p59.94 p60"}, {"1920x1080", hdModes},
    {"2048x1080", hdModes}, {"3840x2160", hdModes}, {"4096x2160", hdModes},
};

/// Captures frames of one format in record: as the transport does, with 2 channels in ProRes Proxy.
QList<QmxFrame> capture(const QString &format, int count)
{
    QmxImageDesc desc = QmxSourceFormat::fromText(format);
    desc.setDataType(QmxId(205));
    LumenOptions options;
    options.profile = LumenProfile::parse(
        QStringLiteral("[inputs]\n601=generator:?size=720x576&format=%1@0&tc=10:00:00:00").arg(format),
        QStringLiteral("p"));
    options.createSink = [](const QString &, const QmxEnvironment &) -> std::unique_ptr<QmxSink> {
        return std::make_unique<QmxNullSink>(QString());
    };
    QmxVideoDevice device(options, nullptr);
    EXPECT_TRUE(device.open(QStringLiteral("lumen")));
    QmxAudioDesc audio;
    audio.setDataType(QmxId(408));
    audio.setChannels(2);
    audio.setSampleRate(48000, 1);
    audio.setFrameRate(desc.frameRate());
    QmxVideoDeviceSetup setup;
    setup.setMode(2);
    setup.setImageDesc(desc);
    setup.setAudioDesc(audio);
    setup.setVideoInputSource(QmxId(601));
    setup.setTimecodeInputSource(QmxId(1520));
    setup.setMaxBuffers(100);
    int vbis = 0;
    QObject::connect(&device, &QmxVideoDevice::vbi, [&vbis] { ++vbis; });
    device.setup(setup);
    Stepper::runTicks(1, desc.frameRate().num(), desc.frameRate().den());
    device.setProperty(QmxId(22), QVariant::fromValue(QmxId(1606)));
    vbis = 0;
    Stepper::runTicks(2, desc.frameRate().num(), desc.frameRate().den());
    // The ticks of the device and those of the test differ by the rounding of a nanosecond.
    EXPECT_NEAR(vbis, desc.isInterlaced() ? 4 : 2, 1) << "a field, or a frame";
    EXPECT_EQ(vbis > 2, desc.isInterlaced());
    QList<QmxFrame> frames;
    EXPECT_TRUE(Stepper::runUntil([&] {
        while (device.framesReadable() > 0)
            device.readFrame(frames.emplace_back());
        return frames.size() >= count;
    }));
    frames.resize(count);
    return frames;
}
} // namespace

TEST(Formats, everyRasterAndRateIsCapturedRecordedAndReadAgain)
{
    const TestDir dir;
    int seen = 0;
    for (const Raster &raster : rasters) {
        for (const QString &mode : QString::fromLatin1(raster.modes).split(QLatin1Char(' '))) {
            ++seen;
            const QString format = QLatin1String(raster.size) + mode;
            SCOPED_TRACE(format.toStdString());
            const QmxImageDesc desc = QmxSourceFormat::fromText(format);
            const QmxVideoState state = QmxSourceFormat::state(desc);
            ASSERT_TRUE(state.isValid() && !state.recInhibit().isValid());
            const QList<QmxFrame> frames = capture(format, 2);
            QmxClipInfo info;
            info.image = frames.first().vids().first().desc();
            info.audio = frames.first().auds().first().desc();
            QmxClipWriter writer;
            ASSERT_FALSE(writer.create(dir.file(format), info).isError());
            for (const QmxFrame &frame : frames)
                ASSERT_FALSE(writer.writeFrame(frame).isError());
            ASSERT_FALSE(writer.close().isError());

            QmxClipReader reader;
            ASSERT_FALSE(reader.open(dir.file(format)).isError());
            const QmxImageDesc read = reader.info().image;
            EXPECT_EQ(read, info.image);
            EXPECT_EQ(QSize(read.width(), read.height()), QSize(desc.width(), desc.height()));
            EXPECT_EQ(read.scanMode(), desc.scanMode());
            EXPECT_EQ(read.frameRate(), desc.frameRate());
            const auto decoder = qmxCodec(QmxId(205))->createDecoder(read);
            quint32 before = 0;
            for (int i = 0; i < 2; ++i) {
                QmxFrame got;
                ASSERT_FALSE(reader.readFrame(i, got).isError());
                QmxPicture picture;
                const QmxFrame &frame = got;
                ASSERT_FALSE(decoder->decode(frame.vids().first().buffers().first(), picture).isError());
                const quint32 count = QmxStrip::read(picture).value_or(0);
                ASSERT_TRUE(QmxStrip::read(picture));
                if (i > 0) {
                    EXPECT_EQ(count, before + 1);
                }
                before = count;
                const auto timecode = frame.meta().value(QmxId(12)).value<QmxTimecode>();
                EXPECT_EQ(timecode.fps(), desc.frameRate().timecodeRate());
                EXPECT_EQ(timecode.toFrameNumber(),
                          QmxTimecode(10, 0, 0, 0, timecode.fps(), 0).toFrameNumber() + int(count));
                EXPECT_EQ(frame.auds().first().samples(), frames[i].auds().first().samples());
            }
            QFile::remove(dir.file(format));
        }
    }
    EXPECT_EQ(seen, rows);
}
