// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxgeneratorpicture.h"
#include "platform/qmx/edges/qmxpreviewsink.h"
#include "platform/qmx/edges/qmxsourceformat.h"
#include "platform/qmx/edges/qmxstrip.h"
#include "tests/edges/pictures.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {
std::unique_ptr<QmxSource> source(const QString &locator)
{
    return qmxCreateSource(locator, QmxEnvironment::current());
}
} // namespace

// (That coders and other programs leave it readable is seen wherever takes are.)
TEST(Strip, holdsEveryCountAtEverySizeAndInThePreview)
{
    for (const char *format : {"720x576i25", "1280x720p50", "1920x1080i25", "2048x1080p24", "4096x2160p24"}) {
        SCOPED_TRACE(format);
        QmxImageDesc desc = QmxSourceFormat::fromText(QLatin1String(format));
        for (const int dataType : {231, 250}) {
            desc.setDataType(QmxId(dataType));
            QmxGeneratorPicture pictures(desc, QmxId(800));
            for (const quint32 count : {0U, 1U, 0x55555555U, 0xaaaaaaaaU, 0xffffffffU, 123456789U}) {
                const QmxPicture picture = pictures.render(count);
                EXPECT_EQ(QmxStrip::read(picture), count);
                QmxPreviewPicture preview;
                QmxPreviewSink::reduce(picture, preview);
                EXPECT_EQ(preview.width<desc.width(), desc.width()> QmxPreview::maximumWidth);
                EXPECT_EQ(QmxStrip::readLuma8(reinterpret_cast<const uchar *>(preview.luma.constData()),
                                              preview.width, preview.height, preview.width),
                          count);
            }
        }
    }
}

TEST(Strip, tornDamagedOrMissingIsNothing)
{
    const QmxImageDesc desc = QmxSourceFormat::fromText(QStringLiteral("1920x1080i25"));
    QmxGeneratorPicture pictures(desc, QmxId(801));
    QmxPicture torn = pictures.render(1000);
    const QmxPicture other = pictures.render(1001);
    for (int y = 1; y < torn.height(); y += 2)
        std::copy_n(other.row(0, y), torn.width(), torn.row(0, y));
    EXPECT_EQ(QmxStrip::read(torn), std::nullopt); // one field of each

    QmxPicture damaged = pictures.render(77);
    for (int y = 0; y < 100; ++y)
        std::fill_n(damaged.row(0, y) + 900, 80, quint16(940));
    EXPECT_EQ(QmxStrip::read(damaged), std::nullopt);
    QmxPicture black = QmxPicture::allocate(QmxPicture::Format::Yuv422P10, QSize(720, 576));
    black.fillBlack();
    EXPECT_EQ(QmxStrip::read(black), std::nullopt);
    EXPECT_EQ(QmxStrip::read(QmxPicture()), std::nullopt);
}

TEST(Generator, aPictureUsedAgainIsLikeANewOneAndOneThatIsHeldStaysWhatItWas)
{
    const auto equal = [](const QmxPicture &a, const QmxPicture &b) {
        bool same = true;
        for (int plane = 0; plane < 3; ++plane)
            for (int y = 0; y < a.height(); ++y)
                same = same &&
                       std::equal(a.row(plane, y), a.row(plane, y) + a.planeWidth(plane), b.row(plane, y));
        return same;
    };
    const QmxImageDesc desc = QmxSourceFormat::fromText(QStringLiteral("720x576i25"));
    QmxGeneratorPicture pictures(desc, QmxId(800));
    const QmxPicture held = pictures.render(5);
    for (int frame = 6; frame < 200; frame += 7) {
        QmxGeneratorPicture fresh(desc, QmxId(800));
        EXPECT_TRUE(equal(pictures.render(frame), fresh.render(frame))) << frame;
    }
    QmxGeneratorPicture fresh(desc, QmxId(800));
    EXPECT_TRUE(equal(held, fresh.render(5)));
}

TEST(Generator, playsItsScriptFrameByFrame)
{
    const auto generator = source(
        QStringLiteral("generator:?rate=25&size=1920x1080&tc=09:59:59:20&loss=10-14&unstable=20-21&camera=on@"
                       "30,off@35&clip=A001&vfr=29.97"
                       "&reference=lost@5,ok@8&tcrun=off@60,on@65&format=720x576i25@40,1280x720p50@50"));
    Ticks ticks(QmxVideoRate(25));
    const QmxTimecode start(9, 59, 59, 20, 25, 0);
    for (int i = 0; i < 80; ++i) {
        SCOPED_TRACE(i);
        if (i == 51) ticks.setRate(QmxVideoRate(50)); // the device follows a tick late
        const QmxSourceFrame frame = generator->take(ticks.next());
        const bool lost = i >= 10 && i <= 14, unstable = i == 20 || i == 21;
        EXPECT_EQ(frame.state.isValid(), !lost);
        EXPECT_EQ(frame.state.isPresent(), !lost);
        EXPECT_EQ(frame.picture.isValid(), !lost && !unstable);
        ASSERT_TRUE(frame.reference.has_value());
        EXPECT_EQ(frame.reference->isLocked(), i < 5 || i >= 8);
        EXPECT_EQ(frame.audio.samples(), i < 51 ? 1920 : 960);
        if (lost) {
            EXPECT_FALSE(frame.timecode.isValid());
            EXPECT_FALSE(frame.metadata.contains(QmxId(705)));
            EXPECT_EQ(frame.audio.data()[100], 0);
            continue;
        }
        EXPECT_EQ(frame.state.recInhibit(), unstable ? QmxId(2001) : QmxId());
        EXPECT_EQ(frame.metadata.value(QmxId(705)).toBool(), i >= 30 && i < 35);
        EXPECT_EQ(frame.metadata.value(QmxId(706)).toString(), QStringLiteral("A001"));
        EXPECT_EQ(frame.metadata.value(QmxId(710)).toInt(), 30);
        EXPECT_EQ(frame.state.vfrfps(), 4);
        const QmxImageDesc desc = frame.state.inputImageDesc();
        EXPECT_EQ(desc.height(), i < 40 ? 1080 : i < 50 ? 576 : 720);
        EXPECT_EQ(desc.isInterlaced(), i >= 40 && i < 50);
        QmxTimecode expected = start;
        expected.setFPS(i < 50 ? 25 : 50);
        EXPECT_EQ(frame.timecode, expected.advanced(i < 60 ? i : i < 65 ? 60 : i - 5));
        if (frame.picture.isValid()) {
            EXPECT_EQ(QmxStrip::read(frame.picture), quint32(i));
        }
    }
}

TEST(Generator, countsByDeadlinesWhateverTheRateOfTheTicks)
{
    struct Case
    {
        QmxVideoRate source, ticks;
        quint32 afterHundredTicks;
    };
    for (const Case &c : {Case{{30000, 1001}, {30000, 1001}, 100}, Case{{50, 1}, {25, 1}, 200},
                          Case{{25, 1}, {50, 1}, 50}, Case{{24, 1}, {30, 1}, 80}}) {
        SCOPED_TRACE(c.source.toDouble());
        QmxImageDesc desc = QmxSourceFormat::desc(QSize(320, 240), c.source, QmxImageDesc::Progressive);
        const auto generator =
            qmxCreateInternalGenerator(desc, QmxId(800), QmxId(901), QmxEnvironment::current());
        Ticks ticks(c.ticks);
        quint32 previous = 0;
        qint64 samples = 0;
        for (int i = 0; i <= 100; ++i) {
            const QmxTick tick = ticks.next();
            const QmxSourceFrame frame = generator->take(tick);
            const quint32 count = QmxStrip::read(frame.picture).value_or(9999);
            if (i > 0 && c.source == c.ticks) {
                EXPECT_EQ(count, previous + 1);
            }
            EXPECT_GE(count, previous);
            const bool isNew = i == 0 || count != previous;
            previous = count;
            EXPECT_EQ(samples, qmxAudioStart(i, c.ticks));
            samples += frame.audio.samples();
            constexpr int channels = QmxSourceFormat::audioChannels;
            const int mark = QmxStrip::findMark(frame.audio.data(), frame.audio.samples(), channels, 7);
            EXPECT_EQ(mark, isNew && count % QmxStrip::markInterval == 0 ? 0 : -1) << count;
            // Between the marks the tone runs on without a click.
            for (int k = mark == 0 ? 97 : 1; k < frame.audio.samples(); ++k)
                ASSERT_LT(std::abs(qint64(frame.audio.data()[k * channels]) -
                                   frame.audio.data()[(k - 1) * channels]),
                          0x01800000);
        }
        EXPECT_EQ(previous, c.afterHundredTicks);
    }
}

TEST(Locators, nonsenseHasNoSignalAndSaysWhy)
{
    expectLog(QStringLiteral("sources"), QStringLiteral("has no signal"));
    for (const char *locator : {"", "nonsense", "generator:?rate=-1", "generator:?siez=1x1",
                                "generator:?loss=9-3", "generator:?format=1x1q1@2", "generator:?camera=up@2",
                                "generator:?size=99999x2", "file:", "foo:bar"}) {
        SCOPED_TRACE(locator);
        const auto s = source(QLatin1String(locator));
        const QmxSourceFrame frame = s->take(Ticks(QmxVideoRate(30000, 1001)).next());
        EXPECT_FALSE(frame.state.isPresent());
        EXPECT_EQ(frame.audio.samples(), 1602);
        EXPECT_TRUE(s->statusText().contains(QLatin1String("has no signal: ")))
            << s->statusText().toStdString();
        EXPECT_EQ(qmxSourceProblem(QLatin1String(locator), QmxEnvironment::current()), s->statusText());
    }
    // What a line of the profile would give is known without taking a port or a device away from anybody.
    const auto problem = [](const char *locator) {
        return qmxSourceProblem(QLatin1String(locator), QmxEnvironment::current()).toStdString();
    };
    EXPECT_EQ(problem("foo://x"), "\"foo\" is no kind of address that can be opened");
    EXPECT_EQ(problem("v4l2:/dev/no-camera"), "/dev/no-camera is not there");
    EXPECT_NE(problem("udp://:5000?audio=hw:1").find("audio=alsa:DEVICE"), std::string::npos);
    allowLog(QStringLiteral("alsa"));
    for (const char *deaf : {"udp://:5000?audio=alsa:nosuch", "v4l2:/dev/null?audio=alsa:plughw:31,0"})
        EXPECT_NE(problem(deaf).find("arecord -L"), std::string::npos) << deaf << ": " << problem(deaf);
    for (const char *good : {"generator:?rate=25", "none:", "udp://:5000", "udp://:5000?audio=alsa:null",
                             "srt://0.0.0.0:9000?mode=listener"})
        EXPECT_EQ(problem(good), "") << good;
    // A format that nobody records is still a picture to look at.
    const auto odd = source(QStringLiteral("generator:?size=1440x1080&rate=25"));
    const QmxSourceFrame frame = odd->take(Ticks(QmxVideoRate(25)).next());
    EXPECT_TRUE(frame.state.isValid());
    EXPECT_EQ(frame.state.recInhibit(), QmxId(2002));
    EXPECT_EQ(frame.state.captureImageDesc(), QmxSourceFormat::fromText(QStringLiteral("1920x1080p25")));
}
