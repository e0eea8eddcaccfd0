// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxsanitizer.h"
#include "platform/qmx/edges/qmxfullpicture.h"
#include "platform/qmx/edges/qmxloudness.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/qmx/edges/qmxscopes.h"
#include "platform/qmx/edges/qmxsink.h"
#include "platform/qmx/edges/qmxsourceformat.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/edges/pictures.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"

#include <QLibrary>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include <unistd.h>

namespace {
QString uniqueName(const char *what)
{
    return QStringLiteral("/xp_test_%1_%2").arg(QLatin1String(what)).arg(getpid());
}

std::unique_ptr<QmxSink> createSink(const QString &address)
{
    return qmxCreateSink(address, QmxEnvironment::current());
}

/// A picture whose samples are what `value` says of their plane and row.
template <class Value>
QmxPicture pictureOf(const QSize &size, Value value)
{
    QmxPicture picture = QmxPicture::allocate(QmxPicture::Format::Yuv422P10, size);
    for (int plane = 0; plane < 3; ++plane)
        for (int y = 0; y < size.height(); ++y)
            std::fill_n(picture.row(plane, y), picture.planeWidth(plane), quint16(value(plane, y)));
    return picture;
}
} // namespace

TEST(Preview, readerNeverSeesATornPicture)
{
    const QString name = uniqueName("torn");
    QmxPreviewReader reader;
    EXPECT_FALSE(reader.open(name));
    QmxPreviewWriter writer(name);
    ASSERT_TRUE(writer.isOpen());
    ASSERT_TRUE(reader.open(name));
    QmxPreviewPicture seen;
    EXPECT_FALSE(reader.read(seen)); // nothing published yet

    std::atomic<bool> stop = false;
    std::thread publisher([&] {
        QmxPreviewPicture picture;
        for (qint64 n = 1; !stop; ++n) {
            picture.tick = n;
            picture.width = 320 + 2 * int(n % 100);
            picture.height = 180;
            const qsizetype pixels = picture.width * picture.height;
            picture.luma.fill(char(n), pixels);
            picture.cb.fill(char(n + 1), pixels / 4);
            picture.cr.fill(char(n + 2), pixels / 4);
            picture.timecode = QString::number(n);
            picture.peaks.fill(double(n));
            writer.write(picture);
        }
    });
    // A reader that is overtaken again and again may give up; what it gives is whole.
    int whole = 0;
    qint64 previous = 0;
    while (whole < 2000) {
        if (!reader.read(seen)) continue;
        ++whole;
        EXPECT_GE(seen.tick, previous);
        previous = seen.tick;
        const auto isAll = [](const QByteArray &bytes, qint64 value) {
            return bytes == QByteArray(bytes.size(), char(value));
        };
        const bool ok = seen.width == 320 + 2 * int(seen.tick % 100) && isAll(seen.luma, seen.tick) &&
                        isAll(seen.cb, seen.tick + 1) && isAll(seen.cr, seen.tick + 2) &&
                        seen.timecode == QString::number(seen.tick) && seen.peaks[7] == double(seen.tick);
        EXPECT_TRUE(ok) << seen.tick;
        if (!ok) break;
    }
    stop = true;
    publisher.join();
}

TEST(Preview, sinkShowsPictureMetersAndWhatBelongsToThem)
{
    const QString name = uniqueName("sink");
    const auto sink = createSink("preview:" + name);
    QmxPreviewReader reader;
    ASSERT_TRUE(reader.open(name));
    GeneratedFrames generated(QStringLiteral("1920x1080i25"));
    QmxOutputFrame &frame = generated.frame;
    for (quint32 i = 0; i < 12; ++i) {
        generated.next();
        frame.timecode = QmxTimecode(10, 0, 0, int(i), 25, 0);
        frame.metadata.insert(QmxId(1), 500 + int(i));
        frame.connection = QStringLiteral("4:2:2 legal range, SDI level A");
        frame.input = QStringLiteral("Nothing connected");
        frame.outputs = QStringLiteral("Null output, 7 frames\n");
        sink->show(frame);
        ASSERT_TRUE(Stepper::waitFor([&] { return reader.count() == i + 1; }));
        QmxPreviewPicture seen;
        ASSERT_TRUE(reader.read(seen));
        const auto *luma = reinterpret_cast<const uchar *>(seen.luma.constData());
        EXPECT_EQ(QmxStrip::readLuma8(luma, seen.width, seen.height, seen.width), i);
        EXPECT_EQ(seen.frameNumber, 500 + int(i));
        EXPECT_EQ(seen.timecode, frame.timecode.toString());
        EXPECT_EQ(seen.tick, frame.tick.index);
        EXPECT_EQ(seen.time, frame.tick.deadline);
        EXPECT_EQ(seen.connection, frame.connection);
        // The second bar is yellow: little blue, and the mark is louder than the tone.
        const int chromaWidth = seen.width / 2;
        EXPECT_LT(uchar(seen.cb[seen.height / 2 * 3 / 4 * chromaWidth + chromaWidth * 3 / 16]), 70);
        EXPECT_NEAR(seen.peaks[3], i % 10 == 0 ? 0.75 : 0.126, 0.01);
    }
    frame.picture = QmxPicture();
    frame.audio = QmxAudio();
    frame.metadata = QmxMetadataHash();
    sink->show(frame);
    ASSERT_TRUE(Stepper::waitFor([&] { return reader.count() == 13; }));
    QmxPreviewPicture black;
    ASSERT_TRUE(reader.readTexts(black));
    EXPECT_TRUE(black.luma.isEmpty());
    EXPECT_EQ(black.input, frame.input);
    EXPECT_EQ(black.outputs, frame.outputs);
    ASSERT_TRUE(reader.read(black));
    EXPECT_FALSE(black.hasPicture);
    EXPECT_EQ(black.width, 960);
    EXPECT_EQ(black.luma, QByteArray(black.luma.size(), char(16)));
    EXPECT_EQ(black.frameNumber, -1);
    EXPECT_EQ(sink->dropped(), 0);
}

TEST(Preview, aWholePictureIsGivenToWhoAsksForOne)
{
    const QString name = uniqueName("full");
    const auto sink = createSink("preview:" + name);
    QmxPreviewReader count;
    QmxFullPictureReader reader;
    ASSERT_TRUE(count.open(name));
    ASSERT_TRUE(reader.open(QmxFullPicture::nameBeside(name)));
    QmxOutputFrame frame;
    frame.desc = QmxSourceFormat::fromText(QStringLiteral("1920x1080p25"));
    frame.picture = pictureOf({1920, 1080}, [](int plane, int y) { return plane * 300 + y % 256; });
    Ticks ticks(QmxVideoRate(25));
    QmxFullPicture full;
    for (const bool isAsked : {false, true}) {
        if (isAsked) reader.ask();
        const quint64 before = count.count();
        frame.tick = ticks.next();
        sink->show(frame);
        ASSERT_TRUE(Stepper::waitFor([&] { return count.count() > before; }));
        if (isAsked) {
            ASSERT_TRUE(Stepper::waitFor([&] { return reader.read(full); }));
        }
    }
    EXPECT_EQ(full.width, 1920);
    EXPECT_EQ(full.height, 1080);
    ASSERT_EQ(full.planes[1].size(), 960U * 1080U);
    EXPECT_EQ(full.planes[0][1000U * 1920U + 7], 1000 % 256);
    EXPECT_EQ(full.planes[2].back(), 600 + 1079 % 256);
}

TEST(Preview, loudnessIsThatOfTheStandardsReferenceTone)
{
    // A sine of 1 kHz at -23 dB of full scale on both of two channels is -23 LUFS.
    QmxLoudness loudness;
    EXPECT_EQ(loudness.shortTerm(), QmxPreviewPicture::quietest);
    QmxAudioDesc desc;
    desc.setChannels(2);
    for (int frame = 0; frame < 100; ++frame) {
        const QmxAudio audio = QmxAudio::silence(desc, 1920);
        auto *samples = const_cast<qint32 *>(audio.data());
        for (int i = 0; i < 1920; ++i)
            samples[2 * i] = samples[2 * i + 1] =
                qint32(2147483647.0 * 0.0708 * std::sin(2 * M_PI * 1000 * (frame * 1920 + i) / 48000));
        loudness.add(audio);
    }
    EXPECT_NEAR(loudness.momentary(), -23, 0.1);
    EXPECT_NEAR(loudness.shortTerm(), -23, 0.1);
    loudness.add(QmxAudio()); // the sound is gone
    EXPECT_EQ(loudness.momentary(), QmxPreviewPicture::quietest);
}

TEST(Preview, scopesAreMadeFromTenBitsAndOnlyWhileSomebodyLooks)
{
    const QString name = uniqueName("scopes");
    const auto sink = createSink("preview:" + name);
    QmxPreviewReader pictures;
    QmxScopesReader reader;
    ASSERT_TRUE(pictures.open(name));
    ASSERT_TRUE(reader.open(QmxScopes::nameBeside(name)));
    QmxOutputFrame frame;
    frame.desc = QmxSourceFormat::fromText(QStringLiteral("1920x1080p25"));
    // Full saturation: red 940, green 64, blue 63.
    const auto red = [](int plane, int) { return std::array{250, 409, 960}[size_t(plane)]; };
    frame.picture = pictureOf({1920, 1080}, red);
    Ticks ticks(QmxVideoRate(25));
    quint64 shown = 0;
    const auto show = [&](int count) {
        for (int i = 0; i < count; ++i) {
            frame.tick = ticks.next();
            sink->show(frame);
            ++shown;
            ASSERT_TRUE(Stepper::waitFor([&] { return pictures.count() == shown; }));
            Stepper::deliver();
        }
    };
    const auto scopes = std::make_unique<QmxScopes>();
    show(10);
    EXPECT_FALSE(reader.read(*scopes)); // nobody has asked
    reader.ask();
    show(10);
    ASSERT_TRUE(reader.read(*scopes));
    const auto lit = [](const uchar *tile, int columns, int column) {
        QList<int> rows;
        for (int row = 0; row < QmxScopes::levels; ++row)
            if (tile[row * columns + column] > 0) rows.append(row);
        return rows;
    };
    const auto row = [](int value) { return QList<int>{QmxScopes::levels - 1 - value / 4}; };
    for (int column = 0; column < QmxScopes::columns; ++column)
        ASSERT_EQ(lit(scopes->waveform.data(), QmxScopes::columns, column), row(250));
    const int third = QmxScopes::paradeColumns;
    EXPECT_EQ(lit(scopes->parade.data(), 3 * third, third / 2), row(940));
    EXPECT_EQ(lit(scopes->parade.data(), 3 * third, third + third / 2), row(64));
    EXPECT_EQ(lit(scopes->parade.data(), 3 * third, 2 * third + third / 2), row(63));
    EXPECT_EQ(lit(scopes->vectorscope.data(), QmxScopes::levels, 409 / 4), row(960));
    // Pictures of a clip may be as small as scopes can be made from, but what stands is measured whole.
    const QmxImageDesc uhd = QmxSourceFormat::fromText(QStringLiteral("3840x2160p25"));
    EXPECT_EQ(sink->divisor(uhd, false), 2);
    EXPECT_EQ(sink->divisor(uhd, true), 1);
    frame.picture = pictureOf({960, 540}, red);
    show(10);
    ASSERT_TRUE(reader.read(*scopes));
    EXPECT_EQ(scopes->lines, 1080);
    EXPECT_EQ(lit(scopes->parade.data(), 3 * third, third / 2), row(940)); // by BT.709
    show(QmxScopesReader::askedForTicks + 10);
    EXPECT_EQ(sink->divisor(uhd, true), 4);
    ASSERT_TRUE(reader.read(*scopes));
    const qint64 last = scopes->tick;
    show(10);
    ASSERT_TRUE(reader.read(*scopes));
    EXPECT_EQ(scopes->tick, last); // nobody has looked for long
}

TEST(Sinks, aFileGetsEveryFrameWithItsSound)
{
    const TestDir dir;
    const QString path = dir.file(QStringLiteral("out.ts"));
    GeneratedFrames generated(QStringLiteral("720x576i25"));
    {
        const auto sink = createSink("file:" + path);
        for (int i = 0; i < 30; ++i) {
            sink->show(generated.next());
            // Virtual time stands still until the output's thread has written it.
            Stepper::run(QmxClock::nsPerMillisecond);
        }
        EXPECT_EQ(sink->dropped(), 0) << sink->statusText().toStdString();
    }
    const QString raw = dir.file(QStringLiteral("raw")), sound = dir.file(QStringLiteral("sound"));
    const ProgramResult result = runProgram(
        QStringLiteral("ffmpeg"),
        QStringLiteral("-v error -i %1 -map v -vf extractplanes=y -fps_mode passthrough -f rawvideo "
                       "%2 -map a -f s32le -ac 2 %3")
            .arg(path, raw, sound)
            .split(QLatin1Char(' ')));
    EXPECT_EQ(result.status, 0) << result.err.constData();
    const QByteArray pictures = readAll(raw), samples = readAll(sound);
    constexpr int bytes = 720 * 576;
    ASSERT_EQ(pictures.size(), 30 * bytes);
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(QmxStrip::readLuma8(reinterpret_cast<const uchar *>(pictures.constData()) + i * bytes, 720,
                                      576, 720),
                  quint32(i));
    EXPECT_NEAR(double(samples.size()) / 8, 30 * 1920, 2 * 1152);

    expectLog(QStringLiteral("sinks"), QStringLiteral("shows nothing"));
    EXPECT_TRUE(createSink("widow:")->statusText().contains(QLatin1String("preview:")));
    expectLog(QStringLiteral("qmxmuxsink"), QStringLiteral("Not a directory"));
    const auto hopeless = createSink("file:/proc/self/status/x.ts");
    hopeless->show(generated.frame);
    EXPECT_TRUE(Stepper::waitFor([&] { return hopeless->dropped() == 1; }));
}

TEST(Sinks, aWindowShowsEveryFormat)
{
    qputenv("SDL_VIDEODRIVER", "dummy"); // a desktop without a screen
    allowLog(QStringLiteral("qmxmuxsink"));
    const auto window = createSink("window:Programme");
    QmxOutputFrame frame;
    Ticks ticks(QmxVideoRate(25));
    for (const char *format : {"720x576i25", "1280x720p50", "1920x1080psf24"}) {
        frame.desc = QmxSourceFormat::fromText(QLatin1String(format));
        frame.picture =
            QmxPicture::allocate(QmxPicture::Format::Yuv422P10, {frame.desc.width(), frame.desc.height()});
        frame.picture.fillBlack();
        for (int i = 0; i < 3; ++i) {
            frame.tick = ticks.next();
            window->show(frame);
            Stepper::run(QmxClock::nsPerMillisecond);
        }
        EXPECT_TRUE(window->statusText().contains(frame.desc.toString()))
            << window->statusText().toStdString();
    }
    EXPECT_TRUE(window->statusText().contains(QLatin1String("9 frames, 0 dropped")))
        << window->statusText().toStdString();
}

// (Graphics drivers are loaded for it, and unloaded with what they have not given back.)
#if !QMX_HAS_ADDRESS_SANITIZER
TEST(Sinks, aWindowWithoutADesktopSaysSo)
{
    allowLog(QStringLiteral("qmxmuxsink"));
    QmxOutputFrame frame;
    frame.tick = Ticks(QmxVideoRate(25)).next();
    frame.desc = QmxSourceFormat::fromText(QLatin1String("720x576i25"));
    frame.picture =
        QmxPicture::allocate(QmxPicture::Format::Yuv422P10, {frame.desc.width(), frame.desc.height()});
    frame.picture.fillBlack();
    const auto quit = reinterpret_cast<void (*)()>(QLibrary("SDL2-2.0", 0).resolve("SDL_Quit"));
    ASSERT_TRUE(quit);
    quit();                                  // it looks for a desktop once a process
    qputenv("SDL_VIDEODRIVER", "offscreen"); // what it takes where there is no desktop
    const auto unseen = createSink("window:");
    unseen->show(frame);
    EXPECT_TRUE(Stepper::waitFor([&] { return unseen->problem().contains("no desktop"); }))
        << unseen->statusText().toStdString();
}
#endif
