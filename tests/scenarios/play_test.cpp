// SPDX-License-Identifier: GPL-3.0-or-later
// Playback as one sees it: the frame on the output, tick by tick.
#include "platform/qmx/codec/pixelfont.h"
#include "tests/scenarios/recorderrig.h"
#include "tests/scenarios/shuttlemodel.h"

#include <set>

namespace {

class PlayScenario : public RecorderRig
{
protected:
    /// A take of a known start, in still on its first frame.
    void prepare(int ms)
    {
        begin();
        write(eParam_TimecodePresetHour, QStringLiteral("10"));
        take = Take::read(record(ms));
        take.expectWhole();
        enterStill();
        takeShown();
    }

    /// Frames shown since the last call; each must be the picture of that number,
    /// with its timecode.
    QList<qint64> frames()
    {
        QList<qint64> numbers;
        for (const Shown &one : takeShown()) {
            EXPECT_FALSE(one.isCapture);
            EXPECT_GE(one.frame, 0);
            if (one.frame < 0 || one.frame >= take.frames()) return numbers;
            EXPECT_EQ(one.strip, take.strips.at(one.frame)) << "frame " << one.frame;
            EXPECT_EQ(one.timecode, take.timecodes.at(one.frame).toString()) << "frame " << one.frame;
            numbers.append(one.frame);
        }
        return numbers;
    }

    /// From still on frame `from`: what the output shows at a speed is what the
    /// rules say, but for a start that takes a tick or two.
    void expectRun(int from, const QString &value, int ticks, bool isLooping)
    {
        SCOPED_TRACE(value.toStdString() + " from " + std::to_string(from));
        cueAndWait(from);
        frames();
        speed(value);
        passTicks(ticks);
        QList<qint64> seen = frames();
        const ShuttleModel model{take.frames(), int(value.toDouble() * 64), isLooping};
        QList<qint64> expected = model.run(from, ticks + 8);
        // The picture of the cue stands until the speed has come through, and then
        // as long as its due.
        const auto leadingOf = [from](const QList<qint64> &list) {
            return std::find_if(list.begin(), list.end(), [from](qint64 f) { return f != from; }) -
                   list.begin();
        };
        const qsizetype held = leadingOf(seen), due = leadingOf(expected);
        EXPECT_LE(held, due + 3);
        seen = seen.mid(held);
        expected = expected.mid(due);
        EXPECT_EQ(seen, expected.mid(0, seen.size()));
    }

    /// Whether the line in the lower part of the output's picture is its timecode and these words.
    static bool isBurnedIn(const QString &words)
    {
        QmxPreviewReader reader;
        QmxPreviewPicture shown;
        if (!reader.open() || !reader.read(shown)) return false;
        const QString line = shown.timecode + QLatin1Char(' ') + words;
        constexpr int width = 720, height = 576, dot = 4, advance = dot * (PixelFont::width + 1);
        const int left = (width - int(line.size() + 1) * advance) / 2 + advance / 2;
        const int top = height - dot * (PixelFont::height + 1) - height / 12;
        int wrong = 0;
        for (int i = 0; i < line.size() * PixelFont::width * PixelFont::height; ++i) {
            const int letter = i / (PixelFont::width * PixelFont::height);
            const int column = i % PixelFont::width, row = i / PixelFont::width % PixelFont::height;
            const int x = left + letter * advance + column * dot + dot / 2, y = top + row * dot + dot / 2;
            const qsizetype at = qsizetype(y * shown.height / height) * shown.width + x * shown.width / width;
            const bool isLit = uchar(shown.luma.at(at)) > 128;
            wrong += isLit != PixelFont::dot(line.at(letter), column, row);
        }
        return wrong == 0;
    }

    Take take;
};

} // namespace

TEST_F(PlayScenario, everySpeedShowsTheFramesOfItsCadenceAndHoldsTheEnds)
{
    prepare(4000);
    const int last = take.frames() - 1;
    expectRun(0, "1", 30, false);
    expectRun(10, "0.5", 40, false);
    expectRun(90, "-2", 30, false);
    expectRun(60, "-1", 30, false);
    expectRun(60, "-0.5", 30, false);
    expectRun(5, "1.75", 30, false);
    // Over the end, where it stays and goes still.
    const struct
    {
        const char *speed;
        int from, end;
    } ends[] = {{"1", last - 20, last}, {"0.5", last - 8, last}, {"20", 3, last},
                {"-1", 20, 0},          {"-0.5", 8, 0},          {"-20", last - 3, 0}};
    for (const auto &end : ends) {
        expectRun(end.from, end.speed, 30, false);
        EXPECT_TRUE(until([this] { return vtr().state().speedFlags().isStill(); })) << end.speed;
        EXPECT_TRUE(reads(eParam_TransportStatus, 15u)) << end.speed;
        pass(1500);
        for (const qint64 frame : frames())
            ASSERT_EQ(frame, end.end) << end.speed;
    }
    EXPECT_EQ(counter(QmxCounters::FramesDroppedPlayback), 0);
}

TEST_F(PlayScenario, loopsRunOverBothEnds)
{
    prepare(2000);
    write(eParam_LoopPlayback, "1");
    for (const char *value : {"1", "-1", "0.5", "-0.5", "20", "-20", "3"})
        expectRun(take.frames() / 2, value, 150, true);
    EXPECT_EQ(counter(QmxCounters::FramesDroppedPlayback), 0);
}

TEST_F(PlayScenario, theBurnedInLineTellsWhatTheTransportDoes)
{
    prepare(2000);
    write(eParam_LoopPlayback, "1");
    write(eParam_Superimpose, "6");
    pass(1000);
    const std::pair<const char *, const char *> rows[] = {{"1", "PLAY"}, {"0", "STILL"}, {"0.5", "PLAY"},
                                                          {"2", "FF"},   {"-1", "PLAY"}, {"-0.5", "PLAY"},
                                                          {"-4", "REW"}};
    for (const auto &[value, word] : rows) {
        speed(value);
        EXPECT_TRUE(until([word = word] { return isBurnedIn(word); }, 1000)) << value << ' ' << word;
    }
    write(eParam_Superimpose, "5");
    EXPECT_TRUE(until([this] { return isBurnedIn(text(eParam_CurrentClip)); }, 1500));
    write(eParam_Superimpose, "6");
    command(4);
    command(4);
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
    EXPECT_TRUE(until([] { return isBurnedIn("STOP"); }, 1500));
    beginTake();
    EXPECT_TRUE(until([] { return isBurnedIn("REC"); }, 1500));
    ASSERT_TRUE(stop());
}

TEST_F(PlayScenario, everyStepOfABurstCounts)
{
    prepare(2000);
    cueAndWait(10);
    const auto settlesAt = [this](qint64 frame) {
        EXPECT_TRUE(until([&] { return isIdle() && onOutput() == frame; }, 3000)) << onOutput();
        pass(300);
        EXPECT_EQ(onOutput(), frame);
    };
    for (int i = 0; i < 7; ++i)
        command(7); // faster than their pictures come
    settlesAt(17);
    for (int i = 0; i < 12; ++i) {
        command(7);
        passTicks(2);
    }
    settlesAt(29);
    for (int i = 0; i < 5; ++i) {
        command(8);
        passTicks(2);
    }
    settlesAt(24);
    // At the ends a step goes nowhere.
    cueAndWait(0);
    command(8);
    settlesAt(0);
    cueAndWait(take.frames() - 1);
    command(7);
    settlesAt(take.frames() - 1);
    // A dial, one speed a tick: the picture goes on.
    cueAndWait(5);
    frames();
    for (int i = 0; i < 25; ++i) {
        speed(QString::number(1.1 + 0.05 * i));
        passTicks(1);
    }
    const QList<qint64> dialled = frames();
    EXPECT_GE(std::set<qint64>(dialled.begin(), dialled.end()).size(), 12u);
    EXPECT_TRUE(std::is_sorted(dialled.begin(), dialled.end()));
}

TEST_F(PlayScenario, theStatusIsTrueForWhoIsBackBeforeItWasTold)
{
    prepare(3000);
    speed("3.5");
    EXPECT_TRUE(reads(eParam_TransportStatus, 4u));
    ASSERT_TRUE(settles(VtrMode::Play));
    vtr().standbyOff();
    ASSERT_TRUE(Stepper::runUntil([this] { return !vtr().hasPendingModeChange(); }));
    vtr().play(3.5);
    pass(100);
    EXPECT_EQ(vtr().state().speed(), 3.5);
    EXPECT_TRUE(reads(eParam_TransportStatus, 4u)) << number(eParam_TransportStatus);
}

TEST_F(PlayScenario, cuesHoldWhereverTheyAreGiven)
{
    prepare(3000);
    const auto shows = [this](qint64 frame, const char *what) {
        EXPECT_TRUE(until([&] { return isIdle() && onOutput() == frame; }, 4000))
            << what << ' ' << onOutput();
        pass(800);
        EXPECT_EQ(onOutput(), frame) << what;
    };
    write(eParam_CueToTimecode, "10:00:01:05");
    shows(30, "by timecode");
    cue(take.frames() + 500);
    shows(take.frames() - 1, "beyond the end");
    cue(12);
    cue(40);
    cue(33);
    shows(33, "the last of three");

    // Out of stop: the cue waits for the stream to open. The flush may end before
    // the open and after it.
    for (int wait : {0, 10, 30, 60}) {
        ASSERT_TRUE(stop() || stop());
        command(4);
        ASSERT_TRUE(settles(VtrMode::StandbyOff));
        cue(21 + wait);
        ASSERT_TRUE(until([this] { return vtr().state().mode().isInModePlay(); }));
        pass(wait);
        shows(std::min(21 + wait, take.frames() - 1), "out of stop");
        files->stallNth(FaultyFiles::Open, 1, (10 + 7 * wait) * QmxClock::nsPerMillisecond);
    }
    // The place is kept over a stop, and forgotten for another clip.
    cueAndWait(44);
    command(4);
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
    enterStill();
    EXPECT_EQ(onOutput(), 44);
    command(4);
    ASSERT_TRUE(settles(VtrMode::StandbyOff));
    take = Take::read(record(1500));
    enterStill();
    EXPECT_EQ(onOutput(), 0);
}
