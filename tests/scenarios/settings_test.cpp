// SPDX-License-Identifier: GPL-3.0-or-later
// Settings while pictures run, and the cuts of a list.
#include "tests/scenarios/recorderrig.h"

namespace {

class SettingsScenario : public RecorderRig
{
protected:
    /// Each picture a tick long, none black: from the second picture on of what
    /// was shown.
    static void expectSeamless(const QList<Shown> &seen)
    {
        for (qsizetype i = 1; i < seen.size(); ++i) {
            ASSERT_TRUE(seen.at(i).hasPicture) << i;
            ASSERT_EQ(seen.at(i).frame, seen.at(i - 1).frame + 1) << i;
        }
    }
    /// The recorder has news of a clip, as its media daemon tells them.
    void tellOfClips() { write(eParam_MediaUpdated, QString::number(++_updates)); }
    void playFrom(int frame)
    {
        enterStill();
        cueAndWait(frame);
        speed("1");
        ASSERT_TRUE(until([&] { return onOutput() > frame; }));
        takeShown();
    }

private:
    int _updates = 0;
};

/// Settings that reach the card.
const std::pair<eParam_t, const char *> cardSettings[] = {
    {eParam_Superimpose, "1"},      {eParam_Superimpose, "0"},  {eParam_VideoOutputType, "3"},
    {eParam_OutputConversion, "6"}, {eParam_SyncSource, "3"},   {eParam_AudioInputLevel, "2"},
    {eParam_OutputFrameMode, "0"},  {eParam_AudioChannels, "1"}};

} // namespace

TEST_F(SettingsScenario, inPlayTheyCostNoPicture)
{
    begin();
    const Take take = Take::read(record(12500));
    playFrom(0);
    for (const auto &[param, value] : cardSettings) {
        write(param, value);
        passTicks(20);
    }
    // One at each distance from the half second that the transport waits.
    write(eParam_Superimpose, "1");
    passTicks(3);
    write(eParam_Superimpose, "0");
    passTicks(60);
    const QList<Shown> seen = takeShown();
    EXPECT_GT(seen.size(), 200);
    expectSeamless(seen);
    EXPECT_EQ(counter(QmxCounters::FramesDroppedPlayback), 0);
    EXPECT_TRUE(data(eParam_AlarmFrameDropped).isEmpty());
    EXPECT_EQ(vtr().state().speed(), 1.0);
    EXPECT_EQ(take.frames() > seen.constLast().frame, true);
}

TEST_F(SettingsScenario, inATakeTheyCostNoPictureAndCountForTheNextOne)
{
    begin();
    const QString path = beginTake();
    for (const auto &[param, value] : cardSettings) {
        write(param, value);
        passTicks(9);
    }
    write(eParam_RecordCodec, "3");
    pass(1500);
    ASSERT_TRUE(stop());
    const Take take = Take::read(path);
    take.expectWhole();
    EXPECT_EQ(take.info.image.dataType(), QmxId(202));
    EXPECT_EQ(take.info.audio.channels(), 2);
    pass(1000);
    const Take next = Take::read(record(800));
    next.expectWhole();
    EXPECT_EQ(next.info.image.dataType(), QmxId(205));
    EXPECT_EQ(next.info.audio.channels(), 8);
    EXPECT_EQ(next.timecodes.first(), take.timecodes.last().advanced(1));
}

TEST_F(SettingsScenario, aCutOfEqualFormatsIsNotSeen)
{
    begin();
    QList<Take> takes;
    for (const int ms : {1200, 200, 1500})
        takes.append(Take::read(record(ms)));
    write(eParam_PlaybackSource, "1");
    tellOfClips();
    pass(200);
    playFrom(5);
    const int total = takes[0].frames() + takes[1].frames() + takes[2].frames();
    passTicks(total);
    QList<Shown> seen = takeShown();
    while (seen.size() > 1 && seen.constLast().frame == seen.at(seen.size() - 2).frame)
        seen.removeLast();
    expectSeamless(seen);
    EXPECT_EQ(seen.constLast().frame, total - 1);
    for (const Shown &one : seen) {
        qint64 frame = one.frame;
        int entry = 0;
        while (frame >= takes[entry].frames())
            frame -= takes[entry++].frames();
        ASSERT_EQ(one.strip, takes[entry].strips.at(frame)) << one.frame;
        ASSERT_EQ(one.timecode, takes[entry].timecodes.at(frame).toString()) << one.frame;
    }
    EXPECT_TRUE(reads(eParam_CurrentPlayListIndex, 2u));
    EXPECT_EQ(currentPath(), takes[2].path);
}

TEST_F(SettingsScenario, aListOfTwoFormatsHoldsItsLastPictureAtTheCut)
{
    begin();
    QList<Take> takes;
    takes.append(Take::read(record(2000)));
    write(eParam_SignalGeneratorFormat, "2"); // 720p50
    write(eParam_VideoSignalGenerator, "1");
    pass(2000);
    takes.append(Take::read(record(2000)));
    ASSERT_EQ(takes[1].info.image.width(), 1280);
    write(eParam_PlaybackSource, "1");
    tellOfClips();
    pass(200);
    playFrom(takes[0].frames() - 30);
    const int total = takes[0].frames() + takes[1].frames();
    ASSERT_TRUE(until([&] { return onOutput() == total - 1; }));
    const QList<Shown> seen = takeShown();
    for (qsizetype i = 1; i < seen.size(); ++i) {
        const Shown &one = seen.at(i);
        ASSERT_TRUE(one.hasPicture) << one.frame;
        const bool isCut = one.frame >= takes[0].frames();
        ASSERT_EQ(one.strip,
                  isCut ? takes[1].strips.at(one.frame - takes[0].frames()) : takes[0].strips.at(one.frame));
        // Only the last picture before the cut may stay.
        if (one.frame == seen.at(i - 1).frame)
            ASSERT_EQ(one.frame, takes[0].frames() - 1);
        else
            ASSERT_EQ(one.frame, seen.at(i - 1).frame + 1);
    }
    EXPECT_EQ(LogCollector::texts("vtrobject").filter("Requires Video Reset").size(), 3)
        << "one out of stop, one to the cue, one at the cut";
}
