// SPDX-License-Identifier: GPL-3.0-or-later
// The media daemon beside the recorder: it dies, the recorder dies, media go.
#include "tests/support/print.h"
#include "tests/system/sandbox.h"

#include <gtest/gtest.h>

namespace {
constexpr auto generator576 = "[inputs]\n601=generator:?rate=25&size=720x576&scan=i\n";

constexpr auto helpers = R"sh(
    await() { # CONDITION: until it holds, at most 60 s
        local tries=0
        until eval "$1"; do
            tries=$((tries + 1)); [ $tries -lt 1200 ] || { echo "never: $1" >&2; cat /run/xp/*.out >&2; exit 9; }
            read -rt 0.05 <> <(:) || true
        done
    }
    recorded() { xpctl --json status | sed -E 's/.*"recorded_up_to":([0-9]+).*/\1/'; }
    kill_mediad() {
        mediad=$(cat /var/lock/xpmediad.lock)
        kill -KILL $mediad
        await '! kill -0 $mediad 2>/dev/null'
    }
)sh";
} // namespace

TEST(Media, aMediaDaemonThatRestartsInATakeTouchesNothing)
{
    Sandbox sandbox;
    sandbox.setProfile(generator576);
    const ProgramResult result = sandbox.run(helpers + QString(R"sh(
        xpctl record >&2
        kill_mediad
        xpmediad >/run/xp/second.out 2>&1
        frames=$(recorded)
        await '[ $(recorded) -gt $((frames + 50)) ]'
        cat /run/xp/second.out
        echo == $(xpctl get active_media_path) $(xpctl get rollover_media_path)
        xpctl stop >&2
        await 'grep -q media_updated /run/xp/second.out'
        cp /media/A/*.mov $OUT/take.mov
    )sh"));
    ASSERT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
    EXPECT_EQ(result.out, QByteArray("== /media/A /media/B\n"));
    EXPECT_EQ(brokenAt(stripsOf(sandbox.out("take.mov"))), QString());
}

TEST(Media, whatAKilledRecorderLeftIsRepairedNowOrAtTheNextStart)
{
    for (const bool watched : {true, false}) {
        SCOPED_TRACE(watched ? "the media daemon is there" : "it starts later");
        Sandbox sandbox;
        sandbox.setProfile(generator576);
        const ProgramResult result = sandbox.run(
            helpers + QString(watched ? "" : "xpctl get transport_running >/dev/null; kill_mediad\n") +
            R"sh(
        xpctl record >&2
        await '[ $(recorded) -ge 25 ]'
        kill -KILL $(cat /run/xp/xpd.pid)
        recorded
        if ! kill -0 $(cat /var/lock/xpmediad.lock) 2>/dev/null; then
            xpctl get transport_status >&2
            xpmediad >/run/xp/xpmediad.out 2>&1
        fi
        await 'grep -q "take_001.mov was left unfinished and has been repaired" /run/xp/xpmediad.out'
        await '[ "$(xpctl get transport_status)" = shut_down ]'
        echo "$(xpctl get transport_running) $(xpctl get storage_state)"
        cp /media/A/*.mov $OUT/take.mov
    )sh");
        ASSERT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
        const QList<QByteArray> lines = result.out.split('\n');
        EXPECT_EQ(lines.value(1), QByteArray("off released"));
        const auto strips = stripsOf(sandbox.out("take.mov"));
        EXPECT_GE(strips.size(), lines.value(0).toInt());
        EXPECT_EQ(brokenAt(strips), QString());
        const ProgramResult atoms = runProgram("ffprobe", {"-v", "trace", sandbox.out("take.mov")});
        EXPECT_TRUE(atoms.err.contains("type:'moov'"));
        EXPECT_FALSE(atoms.err.contains("type:'mvex'")) << "not closed";
    }
}

TEST(Media, aMediumThatIsTakenOutMakesRoomForTheOtherOne)
{
    Sandbox sandbox;
    sandbox.setProfile(generator576);
    const ProgramResult result = sandbox.run(helpers + QString(R"sh(
        xpctl record --for 1 >&2
        xpctl get current_clip
        await '[ "$(xpctl get storage_state)" = released ]'
        await 'umount /media/A'
        await '[ "$(xpctl get active_media_path)" = /media/B ]'
        echo "$(xpctl get current_clip) '$(xpctl get rollover_media_path)'"
        mount -o loop "$XP_SANDBOX_DIR/medium-A.img" /media/A
        await '[ "$(xpctl get rollover_media_path)" = /media/A ]'
        xpctl record --for 1 >&2
        xpctl clips
    )sh"));
    ASSERT_EQ(result.status, 0) << result.err.toStdString() << result.out.toStdString();
    EXPECT_TRUE(result.out.startsWith("take_001.mov\nN/A ''\n")) << result.out.toStdString();
    EXPECT_TRUE(result.out.contains("take_002.mov")) << result.out.toStdString();
}
