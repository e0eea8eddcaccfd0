// SPDX-License-Identifier: GPL-3.0-or-later
// Start here: one command of the operator becomes a clip on the medium, and
// everything that the recorder tells about it comes back.
#include "tests/scenarios/recorderrig.h"

namespace {
using RecordScenario = RecorderRig;
}

TEST_F(RecordScenario, oneCommandMakesAClipOfEveryFrame)
{
    begin();
    EXPECT_EQ(number(eParam_TransportStatus), 1u);
    EXPECT_EQ(text(eParam_CurrentClip), "N/A");

    const qint64 recorded = counter(QmxCounters::FramesRecorded);
    const qint64 dropped = counter(QmxCounters::FramesDroppedCapture);
    beginTake();
    ASSERT_TRUE(until([this] { return counter(QmxCounters::RecordedUpTo) >= 50; }));
    EXPECT_TRUE(reads(eParam_TransportStatus, 2u));
    EXPECT_TRUE(reads(eParam_StorageState, 1u)) << "the media daemon must leave the medium alone";
    const QString clip = text(eParam_CurrentClip);
    EXPECT_TRUE(clip.endsWith(".mov"));
    EXPECT_EQ(text(eParam_RecordBaseName) + ".mov", clip);
    EXPECT_EQ(shared("/xpd_currentTimecode"), vtr().lastVBI().tcgTimecode().toString());
    // What is recorded is what the output shows, a tick each.
    const QList<Shown> seen = takeShown();
    for (qsizetype i = 1; i < seen.size(); ++i)
        ASSERT_EQ(seen.at(i).strip, seen.at(i - 1).strip + 1) << i;

    ASSERT_TRUE(stop());
    EXPECT_TRUE(reads(eParam_TransportStatus, 1u));
    EXPECT_TRUE(reads(eParam_StorageState, 2u));
    EXPECT_EQ(text(eParam_CurrentClip), clip);
    const Take take = Take::read("/media/A/" + clip);
    take.expectWhole();
    EXPECT_GE(take.frames(), 50);
    EXPECT_EQ(counter(QmxCounters::RecordedUpTo), take.frames());
    EXPECT_EQ(counter(QmxCounters::FramesRecorded) - recorded, take.frames());
    EXPECT_EQ(counter(QmxCounters::FramesDroppedCapture), dropped);
    EXPECT_EQ(take.info.image.width(), 720);
    EXPECT_TRUE(take.info.image.isInterlaced());
    EXPECT_EQ(take.info.audio.channels(), 2);
    EXPECT_EQ(take.samples, QList<int>(take.frames(), 1920));
    // Stopped, the display holds the last timecode of the take, give or take the
    // two frames on the way.
    const QString held = shared("/xpd_currentTimecode");
    pass(500);
    EXPECT_EQ(shared("/xpd_currentTimecode"), held);
    EXPECT_NEAR(QmxTimecode(held).toFrameNumber(),
                QmxTimecode(take.timecodes.last().toString()).toFrameNumber(), 3);
}
