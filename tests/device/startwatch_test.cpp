// SPDX-License-Identifier: GPL-3.0-or-later
// The frame at which a take begins, from a timecode or a time of day.
#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/device/startwatch.h"

#include "tests/support/print.h"

#include <gtest/gtest.h>

namespace {
constexpr qint64 second = QmxClock::nsPerSecond;
constexpr int kept = 100;

/// A clock with pictures whose timecode runs with it.
class Frames
{
public:
    Frames(const QmxVideoRate &rate, const QmxTimecode &first) : _rate(rate), _timecode(first) {}

    StartWatch::Frame step(StartWatch &watch)
    {
        const StartWatch::Frame frame{++_index, base + _rate.nanoseconds(_index) + shift, false, _timecode};
        _timecode = _timecode.advanced(1);
        watch.step(frame, _rate, kept);
        return frame;
    }
    void jump(int frames) { _timecode = _timecode.advanced(frames); }
    qint64 index() const { return _index; }
    qint64 wall(qint64 index) const { return base + _rate.nanoseconds(index) + shift; }

    qint64 base = QmxTakeMoment::parse("2030-01-31T22:59:00Z", 0)->wall;
    qint64 shift = 0;

private:
    const QmxVideoRate _rate;
    QmxTimecode _timecode;
    qint64 _index = 0;
};

QmxTakeMoment at(const QString &text, qint64 now = 0)
{
    return QmxTakeMoment::parse(text, now).value();
}
} // namespace

TEST(StartWatch, findsTheFrameEarlyAndLateAtEveryRate)
{
    const std::tuple<QmxVideoRate, bool> rates[] = {{QmxVideoRate(24), false},
                                                    {QmxVideoRate(25), false},
                                                    {QmxVideoRate(30000, 1001), true},
                                                    {QmxVideoRate(50), false},
                                                    {QmxVideoRate(60000, 1001), true}};
    for (const auto &[rate, drop] : rates) {
        const int fps = rate.timecodeRate();
        const QmxTimecode first(23, 59, 58, 0, fps, drop);
        // Across midnight, where drop-frame counting leaves nothing out; and a minute later, where it does.
        for (const int frames : {3 * fps, 63 * fps}) {
            const QmxTimecode wanted = first.advanced(frames);
            StartWatch early, late;
            Frames a(rate, first), b(rate, first);
            early.set(at(wanted.toString()), at(wanted.advanced(50).toString()));
            for (int i = 0; i < frames + 80; ++i) {
                const StartWatch::Frame frame = a.step(early);
                b.step(late);
                ASSERT_EQ(early.window().isSet(), frames - i <= 10 * fps) << fps << ' ' << i;
                ASSERT_EQ(early.window().keepsOut(frame.index),
                          early.window().isSet() && (i < frames || i >= frames + 50))
                    << i;
                EXPECT_EQ(i == frames, frame.timecode == wanted);
            }
            EXPECT_EQ(early.window().in, frames + 1);
            late.set(at(wanted.toString()), {});
            EXPECT_EQ(late.window().in, frames + 1) << "it is in memory";
            // The same moment by the clock, a microsecond off.
            for (const int off : {-1000, 0, 1000}) {
                StartWatch byTime;
                Frames c(rate, first);
                byTime.set(at(QmxTakeMoment::toText(c.wall(frames + 1) + off)), {});
                for (int i = 0; i < frames + 9; ++i)
                    c.step(byTime);
                EXPECT_EQ(byTime.window().in, frames + 1) << fps;
            }
        }
    }
}

TEST(StartWatch, aClockOrATimecodeThatJumpsNeitherLosesTheStartNorHoldsTheTakeForEver)
{
    const QmxVideoRate rate(25);
    qputenv("TZ", "UTC");
    tzset();
    const auto wait = [&](const char *start, const std::function<void(Frames &)> &jump,
                          const char *first = "10:00:00:00") {
        StartWatch watch;
        QmxTimecode timecode{QString::fromLatin1(first)};
        timecode.setFPS(25);
        Frames frames(rate, timecode);
        watch.set(at(start), {});
        for (int i = 0; i < 25; ++i)
            frames.step(watch);
        jump(frames);
        while (frames.index() < 1000 && (!watch.window().isSet() || watch.window().in > frames.index()))
            frames.step(watch);
        return frames.index();
    };
    const char *byTime = "2030-01-31T22:59:05Z";
    const char *byTimecode = "10:00:05:00";
    EXPECT_EQ(wait(byTimecode, [](Frames &) {}), 126);
    EXPECT_EQ(wait(byTime, [](Frames &) {}), 125);
    // Set right by a second: the start follows. By an hour: it stays where it was expected.
    EXPECT_EQ(wait(byTime, [](Frames &frames) { frames.shift = second; }), 100);
    EXPECT_EQ(wait(byTime, [](Frames &frames) { frames.shift = -second; }), 150);
    EXPECT_EQ(wait(byTime, [](Frames &frames) { frames.shift = -3600 * second; }), 125);
    EXPECT_EQ(wait(byTimecode, [](Frames &frames) { frames.jump(25); }), 101);
    EXPECT_EQ(wait(byTimecode, [](Frames &frames) { frames.jump(-9000); }), 126);
    // Still far away, and passed in one step: at once.
    EXPECT_EQ(wait("2030-01-31T22:59:25Z", [](Frames &frames) { frames.shift = 60 * second; }), 26);
    EXPECT_EQ(wait("10:00:20:00", [](Frames &frames) { frames.jump(60 * 25); }), 26);
    // A timecode about a moment: the frame that carries it, unless it has nothing to do with the clock.
    const char *about = "22:59:05:00 2030-01-31T22:59:05Z";
    EXPECT_EQ(wait(
                  about, [](Frames &) {}, "22:59:00:00"),
              126);
    EXPECT_EQ(wait(about, [](Frames &) {}), 125);
}

TEST(StartWatch, aStartThatIsPastIsToldAndHoldsNothing)
{
    StartWatch watch;
    Frames frames(QmxVideoRate(25), QmxTimecode(10, 0, 0, 0, 25, false));
    frames.step(watch);
    watch.set(at("2030-01-31T22:58:50Z"), {});
    EXPECT_TRUE(watch.isPast(frames.index()));
    EXPECT_FALSE(watch.window().isSet());
    watch.set(at("10:00:02:00"), {});
    for (int i = 0; i < 50 + kept; ++i)
        ASSERT_FALSE(watch.isPast(frames.step(watch).index)) << i;
    frames.step(watch);
    EXPECT_TRUE(watch.isPast(frames.step(watch).index));
}

TEST(StartWatch, aTakeThatComesLateBeginsAsNearAsTheMemoryReachesAndKnowsByHowMuch)
{
    for (const int wait : {kept + 50, kept + 50 + 61 * 25}) {
        StartWatch watch;
        Frames frames(QmxVideoRate(25), QmxTimecode(10, 0, 0, 0, 25, false));
        watch.set(at("10:00:01:00"), at("10:00:09:00"));
        for (int i = 0; i < 26 + wait; ++i) {
            const qint64 now = frames.step(watch).index;
            if (watch.isPast(now)) watch.giveUp(now);
        }
        EXPECT_FALSE(watch.isSet());
        watch.takeBegins(frames.index());
        EXPECT_EQ(watch.asked().value_or(-1), wait > 60 * 25 ? -1 : 26);
        if (!watch.asked()) continue;
        EXPECT_EQ(watch.window().in, frames.index() + 1 - kept);
        while (frames.index() < 300)
            frames.step(watch);
        EXPECT_EQ(watch.window().out, 0) << "an end that was forgotten ends nothing";
    }
    // A schedule that comes late itself: its end holds.
    StartWatch watch;
    Frames frames(QmxVideoRate(25), QmxTimecode(10, 0, 0, 0, 25, false));
    while (frames.index() < 300)
        frames.step(watch);
    watch.set(at(QmxTakeMoment::toText(frames.wall(100))), at(QmxTakeMoment::toText(frames.wall(500))));
    ASSERT_TRUE(watch.isPast(300));
    watch.giveUp(300);
    frames.step(watch);
    watch.takeBegins(frames.index());
    EXPECT_EQ(watch.asked(), 100);
    EXPECT_EQ(watch.window().in, 301 + 1 - kept);
    while (frames.index() < 500)
        frames.step(watch);
    EXPECT_EQ(watch.window().out, 500);
}

TEST(TakeMoment, isReadAsPeopleWriteIt)
{
    const qint64 noon = at("2030-06-01T12:00:00").wall;
    EXPECT_EQ(at("12:00:01.000001", noon).wall - noon, second + 1000);
    EXPECT_EQ(at("23:30:00", noon - 12 * 3600 * second + 60 * second).wall, noon - 45000 * second + 0)
        << "of the evening before";
    EXPECT_EQ(at(QmxTakeMoment::toText(noon + 250'000'000)).wall, noon + 250'000'000);
    EXPECT_EQ(at("01:00:00;02").timecode.isDropFrame(), true);
    EXPECT_EQ(at("").kind, QmxTakeMoment::None);
    for (const char *text :
         {"10", "10:00", "25:00:00", "10:00:00:", "10:00:00.", "2030-02-30T10:00:00", "10:00:00Z",
          "10:00:00.1234567", "10:61:00:00", "10:00:00:60", " 10:00:00", "now"})
        EXPECT_FALSE(QmxTakeMoment::parse(QString::fromLatin1(text), noon)) << text;
}
