// SPDX-License-Identifier: GPL-3.0-or-later
// Every transport command, judged by the strip of the picture on the preview output.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {
constexpr auto generator = "[inputs]\n601=generator:?rate=25&size=720x576&scan=i&tc=10:00:00:00\n";

struct Shown
{
    qint64 tick, frame, strip;
    QByteArray timecode;
};

/// The block of preview lines that the script printed behind "== NAME".
QList<Shown> block(const QByteArray &out, const QByteArray &name)
{
    QList<Shown> list;
    for (const QByteArray &line : said(out, name).split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() == 4) {
            list.append({words[0].toLongLong(), words[1].toLongLong(), words[2].toLongLong(), words[3]});
        }
    }
    return list;
}

/// The pictures advance as `speed` says: exactly in the long run, by whole frames of one cadence in between.
void expectSpeed(const QList<Shown> &shown, double speed)
{
    ASSERT_GE(shown.size(), 10);
    for (qsizetype i = 1; i < shown.size(); ++i) {
        const double moved = double(shown[i].frame - shown.first().frame);
        const double expected = double(shown[i].tick - shown.first().tick) * speed;
        EXPECT_NEAR(moved, expected, 1.0) << "picture " << i;
    }
}
} // namespace

TEST(Transport, everyCommandIsSeenOnTheOutput)
{
    Sandbox sandbox;
    sandbox.setProfile(generator);
    const ProgramResult result = sandbox.run(R"sh(
        see() { say $1; xp-preview-strip $2; }
        xpctl record --for 6 >&2
        xpctl cue 0 >&2;              see first 2
        xpctl play >&2;               see play 20
        xpctl play 0.5 >&2;           see half 20
        xpctl still >&2;              see still 5
        xpctl cue 100 >&2;            see cue 2
        xpctl step -1 >&2;            see back 2
        xpctl step 3 >&2;             see forward 2
        tc=$(xpctl --json status | sed -E 's/.*"timecode":"([^"]+)".*/\1/')
        xpctl cue 140 >&2
        xpctl cue $tc >&2;            see timecode 2
        xpctl play -2 >&2;            see reverse 20
        xpctl cue 0 >&2; xpctl play 5 >&2;  see fast 12
        xpctl cue 140 >&2; xpctl play --wait >&2; see end 3
        xpctl cue 5 >&2; xpctl play --wait -1 >&2; see start 3
        xpctl set loop_playback on
        xpctl cue 140 >&2; xpctl play >&2;  see loop 30
        xpctl set loop_playback off
        xpctl stop >&2;               see stopped 3
        xpctl --json status
    )sh");
    const QList<Shown> first = block(result.out, "first");
    ASSERT_FALSE(first.isEmpty());
    const qint64 base = first.first().strip;

    for (const char *name : {"first", "play", "half", "still", "cue", "back", "forward", "timecode",
                             "reverse", "fast", "end", "start", "loop"}) {
        SCOPED_TRACE(name);
        const QList<Shown> shown = block(result.out, name);
        ASSERT_FALSE(shown.isEmpty());
        for (const Shown &picture : shown) {
            EXPECT_EQ(picture.strip, base + picture.frame) << "the picture is not the frame it says it is";
        }
    }
    expectSpeed(block(result.out, "play"), 1.0);
    expectSpeed(block(result.out, "half"), 0.5);
    expectSpeed(block(result.out, "reverse"), -2.0);
    expectSpeed(block(result.out, "fast"), 5.0);
    for (const Shown &picture : block(result.out, "still")) {
        EXPECT_EQ(picture.frame, block(result.out, "still").first().frame);
    }
    EXPECT_EQ(block(result.out, "cue").last().frame, 100);
    EXPECT_EQ(block(result.out, "back").last().frame, 99);
    EXPECT_EQ(block(result.out, "forward").last().frame, 102);
    EXPECT_EQ(block(result.out, "timecode").last().frame, 102);
    // At the ends the transport holds the end's frame and is still.
    const QList<Shown> end = block(result.out, "end");
    EXPECT_EQ(end.first().frame, end.last().frame);
    EXPECT_GE(end.last().frame, 145);
    EXPECT_EQ(block(result.out, "start").last().frame, 0);
    // A loop goes on at the first frame, with no picture twice.
    const QList<Shown> loop = block(result.out, "loop");
    bool wrapped = false;
    for (qsizetype i = 1; i < loop.size(); ++i) {
        wrapped = wrapped || (loop[i].frame < loop[i - 1].frame && loop[i].frame <= 1);
    }
    EXPECT_TRUE(wrapped);
    EXPECT_EQ(jsonField(result.out, "status"), QString("stopped"));
}
