// SPDX-License-Identifier: GPL-3.0-or-later
// Playback as one sees it: the frame on the output, tick by tick. (Speeds, ends and loops: cadence_test.cpp.)
#include "platform/qmx/codec/pixelfont.h"
#include "tests/scenarios/recorderrig.h"

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

TEST_F(PlayScenario, underADialThePictureGoesOn)
{
    prepare(2000);
    cueAndWait(5);
    frames();
    for (int i = 0; i < 25; ++i) { // one speed a tick
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

TEST_F(PlayScenario, cuesOutOfStopHoldAndAnotherClipBeginsAtItsBegin)
{
    prepare(3000);
    cue(12);
    cue(40);
    cue(33);
    EXPECT_TRUE(until([&] { return isIdle() && onOutput() == 33; }, 4000)) << "the last of three";
    // The cue waits for the stream to open. The flush may end before the open and after it.
    for (int wait : {0, 10, 30, 60}) {
        ASSERT_TRUE(stop() || stop());
        command(4);
        ASSERT_TRUE(settles(VtrMode::StandbyOff));
        const int frame = std::min(21 + wait, take.frames() - 1);
        cue(21 + wait);
        ASSERT_TRUE(until([this] { return vtr().state().mode().isInModePlay(); }));
        pass(wait);
        EXPECT_TRUE(until([&] { return isIdle() && onOutput() == frame; }, 4000)) << onOutput();
        pass(800);
        EXPECT_EQ(onOutput(), frame);
        files->stallNth(FaultyFiles::Open, 1, (10 + 7 * wait) * QmxClock::nsPerMillisecond);
    }
    ASSERT_TRUE(stop() || stop());
    take = Take::read(record(1500));
    enterStill();
    EXPECT_EQ(onOutput(), 0);
}
