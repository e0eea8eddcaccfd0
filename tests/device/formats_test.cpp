// SPDX-License-Identifier: GPL-3.0-or-later
// Every raster at every rate that the recorder knows, from the input to the file.
#include "platform/qmx/clip/qmxclipreader.h"
#include "platform/qmx/clip/qmxclipwriter.h"
#include "platform/qmx/core/qmxaudio.h"
#include "platform/qmx/edges/qmxsourceformat.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/device/devicebench.h"
#include "tests/support/logcollector.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <gtest/gtest.h>

#include <QFile>

#include <algorithm>

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

/// Captures frames of one format in record, as the transport does. `device`: lines of the profile.
QList<QmxFrame> capture(const QString &format, int dataType, int channels, int count,
                        const QString &device = {})
{
    QmxImageDesc desc = QmxSourceFormat::fromText(format);
    desc.setDataType(QmxId(dataType));
    const QString profile =
        QStringLiteral("[device]\n%2\n[inputs]\n601=generator:?size=720x576&format=%1@0&tc=10:00:00:00");
    QmxVideoDevice card(DeviceBench::keeping(std::make_shared<BenchEdges>(), profile.arg(format, device)),
                        nullptr);
    EXPECT_TRUE(card.open(QStringLiteral("lumen")));
    QmxVideoDeviceSetup setup = DeviceBench::setupFor(desc, channels);
    setup.setTimecodeInputSource(QmxId(1520));
    int vbis = 0;
    QObject::connect(&card, &QmxVideoDevice::vbi, [&vbis] { ++vbis; });
    card.setup(setup);
    Stepper::runTicks(1, desc.frameRate().num(), desc.frameRate().den());
    card.setProperty(QmxId(22), QVariant::fromValue(QmxId(1606)));
    vbis = 0;
    Stepper::runTicks(2, desc.frameRate().num(), desc.frameRate().den());
    // The ticks of the device and those of the test differ by the rounding of a nanosecond.
    EXPECT_NEAR(vbis, desc.isInterlaced() ? 4 : 2, 1) << "a field, or a frame";
    EXPECT_EQ(vbis > 2, desc.isInterlaced());
    QList<QmxFrame> frames;
    EXPECT_TRUE(Stepper::runUntil([&] {
        while (card.framesReadable() > 0)
            card.readFrame(frames.emplace_back());
        return frames.size() >= count;
    }));
    frames.resize(count);
    return frames;
}

/// The description of the clip's pictures.
QmxImageDesc writeClip(const QString &path, const QList<QmxFrame> &frames)
{
    QmxClipInfo info;
    info.image = frames.first().vids().first().desc();
    info.audio = frames.first().auds().first().desc();
    QmxClipWriter writer;
    EXPECT_FALSE(writer.create(path, info).isError());
    for (const QmxFrame &frame : frames)
        EXPECT_FALSE(writer.writeFrame(frame).isError());
    EXPECT_FALSE(writer.close().isError());
    return info.image;
}

/// Luma of a clip's pictures, 8 bits, by the ffmpeg program.
QByteArray lumaOf(const QString &path)
{
    const ProgramResult result =
        runProgram("ffmpeg", {"-v", "error", "-apply_cropping", "0", "-i", path, "-map", "0:v", "-vf",
                              "format=yuv422p,extractplanes=y", "-f", "rawvideo", "-"});
    EXPECT_EQ(result.status, 0) << result.err.constData();
    return result.out;
}

/// Where the white box of the generator's picture begins in a line.
int boxIn(const uchar *line, int width)
{
    constexpr uchar nearlyWhite = 220;
    return int(std::find_if(line, line + width, [](uchar value) { return value > nearlyWhite; }) - line);
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
            const QList<QmxFrame> frames = capture(format, 205, 2, 2);
            const QmxImageDesc captured = writeClip(dir.file(format), frames);

            QmxClipReader reader;
            ASSERT_FALSE(reader.open(dir.file(format)).isError());
            const QmxImageDesc read = reader.info().image;
            EXPECT_EQ(read, captured);
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

TEST(Formats, theProfileChoosesTheProResCoder)
{
    const auto firstCoded = [](const char *line) {
        const QmxFrame frame = capture(QStringLiteral("720x576i25"), 202, 2, 1, QLatin1String(line)).first();
        const QmxImage image = frame.vids().first();
        QmxPicture picture;
        const QmxBuffer coded = image.buffers().first();
        EXPECT_EQ(qmxCodec(QmxId(202))->createDecoder(image.desc())->decode(coded, picture), QmxError());
        EXPECT_TRUE(QmxStrip::read(picture));
        return QByteArray(reinterpret_cast<const char *>(coded.constData()), coded.size());
    };
    const QByteArray own = firstCoded("prores_coder=own");
    EXPECT_EQ(firstCoded(""), own) << "it is what a profile without a word of it gets";
    EXPECT_NE(firstCoded("prores_coder=libav"), own);
}

TEST(Formats, everyCodecKeepsPicturesFieldsAndSoundForOtherPrograms)
{
    const TestDir dir;
    constexpr int count = 2;
    const struct
    {
        const char *format, *fieldOrder; ///< the latter in ffprobe's words
        int channels;
    } cases[] = {
        {"720x486i29.97", "bt", 2},
        {"1280x720p50", "progressive", 8},
        {"1920x1080i25", "tb", 8},
        {"1920x1080psf25", "progressive", 2},
    };
    for (const QmxCodecRow &row : qmxCodecs()) {
        for (const auto &now : cases) {
            SCOPED_TRACE(std::string(row.name) + ' ' + now.format);
            const QList<QmxFrame> frames =
                capture(QLatin1String(now.format), row.dataType.value(), now.channels, count);
            const QString path = dir.file(QStringLiteral("a.mov"));
            QFile::remove(path);
            const QmxImageDesc captured = writeClip(path, frames);

            const ProgramResult probe = runProgram("ffprobe", {"-v", "error", "-show_entries",
                                                               "stream=codec_tag_string,field_order,channels",
                                                               "-of", "csv=p=0", path});
            const QByteArray expected = QByteArray(row.fourcc, 4) + ',' + now.fieldOrder + '\n';
            EXPECT_TRUE(probe.out.startsWith(expected)) << probe.out.constData();
            EXPECT_EQ(probe.out.split('\n').value(1).split(',').last().toInt(), now.channels);

            const int width = captured.width(), height = captured.height();
            const QByteArray luma = lumaOf(path);
            ASSERT_EQ(luma.size(), qsizetype(width) * height * count);
            const auto *first = reinterpret_cast<const uchar *>(luma.constData());
            const auto strip = QmxStrip::readLuma8(first, width, height, width);
            ASSERT_TRUE(strip);
            EXPECT_EQ(QmxStrip::readLuma8(first + qsizetype(width) * height, width, height, width),
                      *strip + 1);
            // The box moves on from one field to the next, in the order that the file tells.
            const int line = height / 4 * 2 + 4; // of the top field
            const int top = boxIn(first + qsizetype(line) * width, width);
            const int bottom = boxIn(first + qsizetype(line + 1) * width, width);
            const int movement = !captured.isInterlaced() ? 0 : now.fieldOrder[0] == 't' ? 4 : -4;
            EXPECT_NEAR(bottom - top, movement, 1);
        }
    }
}
