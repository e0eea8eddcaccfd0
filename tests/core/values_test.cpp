// SPDX-License-Identifier: GPL-3.0-or-later
// The values that every part hands around.
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxerror.h"
#include "platform/qmx/core/qmxframe.h"
#include "platform/qmx/core/qmximagelut.h"
#include "platform/qmx/core/qmxpackedtimecode.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/core/qmxvbiinfo.h"
#include "platform/qmx/core/qmxvideostate.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"

#include <gtest/gtest.h>

#include <QMetaType>
#include <QVariant>

#include <cstdlib>
#include <ctime>

namespace {

/// The digits one frame on, by the words of the standard: carry, and leave out the first numbers of every
/// minute that is no multiple of ten.
struct Digits
{
    int h = 0, m = 0, s = 0, f = 0;
    void next(int fps, int leftOut)
    {
        if (++f < fps) return;
        f = 0;
        if (++s < 60) return;
        s = 0;
        if (++m == 60) {
            m = 0;
            h = (h + 1) % 24;
        }
        if (m % 10 != 0) f = leftOut;
    }
};

} // namespace

TEST(Timecode, EveryFrameOfADayBothWays)
{
    const struct
    {
        int fps, drop, leftOut, framesADay;
    } cases[] = {{30, 1, 2, 2589408}, {60, 1, 4, 5178816}, {25, 0, 0, 2160000}, {24, 1, 0, 2073600}};
    for (const auto &c : cases) {
        Digits digits;
        for (int frame = 0; frame < c.framesADay; ++frame, digits.next(c.fps, c.leftOut)) {
            const QmxTimecode counted(frame, c.fps, c.drop);
            const QmxTimecode made(digits.h, digits.m, digits.s, digits.f, c.fps, c.drop);
            ASSERT_EQ(counted, made) << frame;
            ASSERT_EQ(made.toFrameNumber(), frame) << made.toString().toStdString();
        }
        EXPECT_EQ(digits.h + digits.m + digits.s + digits.f, 0) << "the day wraps";
        EXPECT_EQ(QmxTimecode(c.framesADay, c.fps, c.drop), QmxTimecode(0, c.fps, c.drop));
        EXPECT_EQ(QmxTimecode(-1, c.fps, c.drop), QmxTimecode(c.framesADay - 1, c.fps, c.drop));
        EXPECT_EQ(QmxTimecode(c.framesADay - 1, c.fps, c.drop).advanced(2), QmxTimecode(1, c.fps, c.drop));
    }
}

TEST(Timecode, TextBothWaysAndBadText)
{
    EXPECT_EQ(QmxTimecode("10:20:30:12").toString(), "10:20:30:12");
    for (const char *text : {"00:00:00:00", "23:59:58:59", "10:20:30:12"})
        EXPECT_EQ(QmxTimecode(QmxPackedTimecode::pack(QmxTimecode(text)), 0, 0, 0, 0, 0), QmxTimecode(text));
    EXPECT_FALSE(
        QmxTimecode(QmxPackedTimecode::marker | 24 << QmxPackedTimecode::hoursAt, 0, 0, 0, 0, 0).isValid());
    EXPECT_EQ(QmxTimecode("10:20:30;12").toString(), "10:20:30;12");
    EXPECT_TRUE(QmxTimecode("01:00:00.02").isDropFrame());
    EXPECT_EQ(QmxTimecode().toString(), "--:--:--:--");
    const char *const bad[] = {
        "",         "--:--:--:--", "1:2:3:4",     "24:00:00:00",  "10:60:00:00", "10:00:60:00",
        "10:00:00", "10;00:00:00", "10:00:00:0x", "10:00:00:000", "-1:00:00:00"};
    for (const char *text : bad)
        EXPECT_FALSE(QmxTimecode(QString(text)).isValid()) << text;
}

TEST(Timecode, IsHarmlessWithoutRateAndWithDigitsThatTheRateDoesNotHave)
{
    const QmxTimecode noRate("10:00:00:00");
    EXPECT_EQ(noRate.fps(), 0);
    EXPECT_EQ(noRate.toFrameNumber(), 0);
    EXPECT_EQ(noRate.advanced(5), noRate);
    EXPECT_FALSE(QmxTimecode(100, 0, false).isValid());
    EXPECT_EQ(QmxTimecode().toFrameNumber(), 0);

    QmxTimecode timecode(10, 0, 0, 29, 30, false);
    timecode.setFPS(25);
    EXPECT_EQ(timecode.toString(), "10:00:00:29") << "setters keep the digits";
    EXPECT_EQ(timecode.advanced(1).toString(), "10:00:01:00") << "counts on with the next second";
    // Numbers that drop-frame counting leaves out.
    EXPECT_EQ(QmxTimecode(0, 1, 0, 0, 30, true).advanced(1).toString(), "00:01:00;03");

    // A change of ":" to ";" must be seen; two without validity are alike.
    EXPECT_NE(QmxTimecode(1, 2, 3, 4, 30, false), QmxTimecode(1, 2, 3, 4, 30, true));
    EXPECT_TRUE(QmxTimecode(1, 2, 3, 4, 30, false).timecodeMatches(QmxTimecode(1, 2, 3, 4, 25, true)));
    QmxTimecode one(1, 2, 3, 4, 30, false);
    one.setValid(false);
    EXPECT_EQ(one, QmxTimecode());
}

TEST(Timecode, TimeOfDayFollowsTheWallClockInLocalTime)
{
    setenv("TZ", "UTC-2", 1); // two hours ahead
    tzset();
    const auto at = [](int h, int m, int s, int ms) {
        return (1'700'006'400LL + (h - 2) * 3600 + m * 60 + s) * QmxClock::nsPerSecond + ms * 1'000'000LL;
    };
    Stepper::clock()->setWallTime(at(14, 5, 6, 520));
    EXPECT_EQ(QmxTimecode::fromTimeOfDay(25, false).toString(), "14:05:06:13");
    EXPECT_EQ(QmxTimecode::fromTimeOfDay(0, false).frames(), 0);
    // Drop-frame counting stays with the time of day, and no number comes twice over midnight.
    for (const int fps : {30, 60}) {
        for (int hour = 0; hour < 24; ++hour) {
            Stepper::clock()->setWallTime(at(hour, 10, 0, 1));
            EXPECT_EQ(QmxTimecode::fromTimeOfDay(fps, true), QmxTimecode(hour, 10, 0, 0, fps, true));
        }
        QmxTimecode next(23, 59, 59, fps - 10, fps, true);
        for (int frame = 0; frame < 20; ++frame, next = next.advanced(1)) {
            Stepper::clock()->setWallTime(at(24, 0, 0, 1) +
                                          (frame - 10) * 1001 * QmxClock::nsPerSecond / fps / 1000);
            EXPECT_EQ(QmxTimecode::fromTimeOfDay(fps, true), next);
        }
    }
    unsetenv("TZ");
    tzset();
}

TEST(Rates, AreExactAndGiveEveryFrameItsSamples)
{
    EXPECT_EQ(QmxVideoRate(24000, 1000), QmxVideoRate(24));
    EXPECT_NE(QmxVideoRate(24000, 1001), QmxVideoRate(24));
    EXPECT_EQ(QmxVideoRate(60000, 1001).timecodeRate(), 60);
    for (const QmxVideoRate &none :
         {QmxVideoRate(), QmxVideoRate(0), QmxVideoRate(25, 0), QmxVideoRate(-25)}) {
        EXPECT_FALSE(none.isValid());
        EXPECT_EQ(none.timecodeRate(), 0);
        EXPECT_EQ(none.toDouble(), 0.0);
        EXPECT_EQ(qmxAudioSamples(7, none), 0);
    }

    QList<int> samples;
    for (int frame = 0; frame < 5; ++frame)
        samples.append(qmxAudioSamples(frame, QmxVideoRate(30000, 1001)));
    EXPECT_EQ(samples, (QList<int>{1602, 1601, 1602, 1601, 1602}));
    // The last one is no rate of ours, but a file may claim it.
    const QmxVideoRate rates[] = {{24000, 1001},           24, 25, {30000, 1001}, 30, 50, {60000, 1001}, 60,
                                  {2147483647, 2147483629}};
    for (const QmxVideoRate &rate : rates) {
        // Whatever the frame number: no drift against the exact product, none in a hundred years.
        for (const qint64 frame : {0LL, 1LL, 29'999LL, 1'234'567'891LL, 190'000'000'000LL}) {
            const long double exact = (long double)frame * qmxAudioRate * rate.den() / rate.num();
            EXPECT_NEAR(double(qmxAudioStart(frame, rate) - exact), 0.0, 0.5001);
        }
        EXPECT_EQ(qmxAudioStart(-rate.num(), rate), -qint64(qmxAudioRate) * rate.den());
    }
}

TEST(Ids, ZeroIsNoneAndUnknownNumbersNameThemselves)
{
    EXPECT_EQ(QmxId(0), QmxId());
    EXPECT_FALSE(QmxId(0).isValid());
    EXPECT_TRUE(QmxId(-5).isValid());
    EXPECT_EQ(QmxId(0).name(), "None");
    for (const int unknown : {-1, 13, 1602, 1999, 99999})
        EXPECT_EQ(QmxId(unknown).name(), QString::number(unknown));
    // All alarms have names of their own.
    QSet<QString> names;
    for (int id = 1901; id <= 1921; ++id)
        names.insert(QmxId(id).name());
    EXPECT_EQ(names.size(), 21);
}

TEST(Frames, CopiesShareUntilOneIsChanged)
{
    QmxImageDesc desc;
    desc.setSize(1920, 1080);
    desc.setFrameRate(25);
    QmxFrame frame;
    EXPECT_FALSE(frame.isValid());
    EXPECT_EQ(frame, QmxFrame());
    const QmxBuffer bytes = QmxBuffer::copyOf("coded", 5);
    frame.vids().append(QmxImage(desc, {bytes}));
    frame.meta().insert(QmxId(1), 7);
    QmxFrame copy = frame;
    EXPECT_EQ(copy, frame);
    EXPECT_EQ(copy.vids()[0].buffers()[0].serial(), bytes.serial()) << "the picture is not copied";
    copy.meta().insert(QmxId(14), true);
    copy.setKeyFrameFlag(true);
    EXPECT_NE(copy, frame);
    EXPECT_FALSE(frame.meta().contains(QmxId(14)));
    EXPECT_FALSE(frame.isKeyFrame());
    EXPECT_EQ(frame.bytes(), bytes.capacity());
    QmxFrame moved = std::move(copy);
    EXPECT_TRUE(moved.isKeyFrame());
    copy = frame; // a moved-from frame is usable
    EXPECT_EQ(copy, frame);

    EXPECT_FALSE(QmxImage(desc).isValid());
    EXPECT_EQ(QmxImage(desc).desc(), desc);
    EXPECT_FALSE(QmxImage(desc, {QmxBuffer()}).isValid());
    QmxAudioDesc sound;
    sound.setChannels(2);
    EXPECT_TRUE(QmxAudio(sound, QmxBuffer::allocate(16), 2).isValid());
    EXPECT_FALSE(QmxAudio(sound, QmxBuffer::allocate(15), 2).isValid()) << "fewer bytes than samples";
    const QmxAudio silence = QmxAudio::silence(sound, 1602);
    EXPECT_TRUE(std::all_of(silence.data(), silence.data() + 1602 * 2, [](qint32 s) { return s == 0; }));
}

TEST(Values, CompareByContentAndTravelAsVariants)
{
    QmxImageLut lut(QmxId(1100), 1024);
    EXPECT_EQ(lut.entries(), 1024);
    QmxImageLut other = lut;
    other.lutData()[3 * 1024 - 1] = 1023;
    EXPECT_NE(lut, other);
    EXPECT_EQ(std::as_const(lut).lutData()[3 * 1024 - 1], 0) << "the copy detached";
    lut.lutData()[3 * 1024 - 1] = 1023;
    EXPECT_EQ(lut, other);
    other.setFilename("a.cube");
    EXPECT_NE(lut, other);
    EXPECT_EQ(QmxImageLut(QmxId(1), -3).entries(), 0);
    // As metadata they compare by value, too: the device compares hashes.
    QmxMetadataHash a, b;
    a.insert(QmxId(12), QVariant::fromValue(QmxTimecode(1, 2, 3, 4, 25, 0)));
    b.insert(QmxId(12), QVariant::fromValue(QmxTimecode(1, 2, 3, 4, 25, 0)));
    EXPECT_EQ(a, b);
    b.insert(QmxId(12), QVariant::fromValue(QmxTimecode(1, 2, 3, 5, 25, 0)));
    EXPECT_NE(a, b);
    for (const char *type :
         {"QmxId", "QmxError", "QmxTimeStamp", "QmxTimecode", "QmxFrame", "QmxMetadataHash", "QmxVideoState",
          "QmxVbiInfo", "QmxAlarm", "QmxImageLut", "QmxMetadata"})
        EXPECT_TRUE(QMetaType::fromName(type).isValid()) << type;
}
