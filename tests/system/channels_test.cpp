// SPDX-License-Identifier: GPL-3.0-or-later
// Several recorders on one machine.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

namespace {
constexpr auto smallPicture = "[inputs]\n601=generator:?rate=25&size=720x576&scan=i&count=machine\n";
} // namespace

TEST(Channels, aTakeOfAllHoldsTheSameFramesAndOneThatDiesTakesNothingFromTheOthers)
{
    Sandbox sandbox({"--channels", "3"});
    sandbox.setProfile(smallPicture);
    const ProgramResult result = sandbox.run(R"sh(
        await 'xpctl --all ready >/dev/null'
        say together; xpctl --all --json record --for 2
        for channel in 1 2 3; do
            clip=$(xpctl --channel $channel get current_clip)
            [ $channel = 1 ] && folder=/media/A || folder=/media/A/channel-$channel
            cp $folder/$clip $OUT/$channel.mov
        done
        say lists; xpctl --channel 2 --json clips; xpctl --json clips
        say dies; xpctl --all record
        kill -KILL $(cat /run/xp/channels/3/xpd.pid)
        await '[ $(XP_CHANNEL=2 recorded) -ge 50 ]'
        xpctl --channels 1,2 --json stop
        say dropped
        for channel in 1 2; do xpctl --channel $channel metrics | grep '^xp_frames_dropped_capture_total'; done
        say refuses; xpctl --all record || echo refused
        xpctl status | head -1
        for bad in 0 65 9 x; do ! xpctl --channel $bad status 2>&1 || exit 1; done
        ! xpctl channel remove 2 2>&1 || exit 1
        xpctl channel remove 3 2>&1 || true
        cp $(ls /media/A/channel-3/*.mov | tail -1) $OUT/killed.mov
    )sh");
    EXPECT_EQ(said(result.out, "together").count("\"first_frame_offset\":0"), 3) << result.out.toStdString();
    const auto first = stripsOf(sandbox.out("1.mov"));
    ASSERT_EQ(first.size(), 50);
    EXPECT_EQ(brokenAt(first), QString());
    for (const QString &other : {QStringLiteral("2.mov"), QStringLiteral("3.mov")})
        EXPECT_EQ(stripsOf(sandbox.out(other)), first) << "not the same frames: " << other.toStdString();
    EXPECT_EQ(said(result.out, "lists").count("take_001.mov"), 2) << "each has its own";
    EXPECT_EQ(said(result.out, "dies").count("\"status\":0"), 2);
    EXPECT_EQ(said(result.out, "dropped").count("_total 0"), 2) << result.out.toStdString();
    EXPECT_TRUE(said(result.out, "refuses").contains("refused"));
    EXPECT_TRUE(said(result.out, "refuses").contains("stopped")) << "one that could has begun a take";
    const auto killed = stripsOf(sandbox.out("killed.mov"));
    EXPECT_GE(killed.size(), 1);
    EXPECT_EQ(brokenAt(killed), QString());
}
